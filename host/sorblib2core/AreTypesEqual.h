#pragma once

#include <typeinfo>

namespace ORVEN {

class CValue;

bool AreTypesEqual(const std::type_info& a, const std::type_info& b);

/// Whether the dynamic class of `value` is exactly `type`; false for null.
bool AreTypesEqual(const CValue* value, const std::type_info& type);

} // namespace ORVEN
