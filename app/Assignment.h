#pragma once

#include "ValueKind.h"

#include <optional>
#include <string>

namespace app {

/// What stands behind -p or -s: KEY=VALUE or KEY:KIND=VALUE.
struct StAssignment {
    std::string key;
    std::optional<EnValueKind> kind;
    std::string value;
};

/// Takes the text apart at its first "=". Raises `CCommandError` of status usage for a text without "=", an
/// empty step in the key, or a kind that there is not.
StAssignment ParseAssignment(const std::string& text);

} // namespace app
