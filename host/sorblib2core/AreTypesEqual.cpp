#include "sorblib2core/AreTypesEqual.h"

#include "sorblib2core/CValue.h"

namespace ORVEN {

bool AreTypesEqual(const std::type_info& a, const std::type_info& b) { return a == b; }

bool AreTypesEqual(const CValue* value, const std::type_info& type) {
    return value != nullptr && AreTypesEqual(value->Type(), type);
}

} // namespace ORVEN
