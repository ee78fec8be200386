#pragma once

#include "engine/catalogue/ValueKind.h"

#include <optional>
#include <string>

namespace engine {

/// What stands behind -p or -s: KEY=VALUE or KEY:KIND=VALUE.
struct StAssignment {
    std::string key;
    std::optional<EnValueKind> kind;
    std::string value;
};

/// Takes the text apart at its first "=". Raises `CCallerError` for a text without "=", an
/// empty step in the key, or a kind that there is not.
StAssignment ParseAssignment(const std::string& text);

} // namespace engine
