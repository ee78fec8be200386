#pragma once

#include "sorblib2core/CValuePointer.h"

namespace ORVEN {

/// A pointer value that owns its pointee from the start and frees it in the end, unless the ownership has
/// moved on.
template <class T>
class CValueOwnedPointer : public CValuePointer<T> {
public:
    /// `pointer` comes from `new`, or from `new[]` for a count above 1.
    CValueOwnedPointer(T* pointer, std::size_t count)
        : CValuePointer<T>(pointer, count) {
        this->SetOwner(true);
    }
};

} // namespace ORVEN
