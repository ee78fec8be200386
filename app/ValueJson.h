#pragma once

#include <sorblib2core/CValue.h>

#include <nlohmann/json_fwd.hpp>

#include <memory>

namespace app {

/// The value as JSON by its kind; pointers are left out (null at the top).
nlohmann::json ToJson(const ORVEN::CValue& value);

/// The value that the JSON tells, the other way round; null for what is no value.
std::unique_ptr<ORVEN::CValue> FromJson(const nlohmann::json& json);

} // namespace app
