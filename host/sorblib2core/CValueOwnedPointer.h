#pragma once

#include "sorblib2core/CValuePointer.h"

namespace ORVEN {

/// A pointer value that owns its pointee from construction and frees it on destruction, unless the ownership
/// has been moved.
template <class T>
class CValueOwnedPointer : public CValuePointer<T> {
public:
    /// `pointer` must come from `new`, or from `new[]` if `count` is above 1.
    CValueOwnedPointer(T* pointer, std::size_t count)
        : CValuePointer<T>(pointer, count) {
        this->SetOwner(true);
    }
};

} // namespace ORVEN
