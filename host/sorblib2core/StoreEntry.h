#pragma once

#include "sorblib2core/CValueContainerBase.h"
#include "sorblib2core/CValue_Key.h"

#include <memory>

namespace ORVEN {

/// Sets an entry of a container to a value that has an owner until then.
///
/// With `SetEntry(key, value.release())`, nobody owns the value while a long key is made, and it is lost if
/// memory runs out at that moment. Here, the key is made first. Raises as `SetEntry`.
inline void StoreEntry(CValueContainerBase& container, const CValue_Key& key, std::unique_ptr<CValue> value) {
    container.SetEntry(key, value.release());
}

} // namespace ORVEN
