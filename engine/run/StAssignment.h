#pragma once

#include "engine/catalogue/ValueKind.h"

#include <optional>
#include <string>

namespace engine {

/// The argument of -p or -s: KEY=VALUE or KEY:KIND=VALUE.
struct StAssignment {
    std::string key;
    std::optional<EnValueKind> kind;
    std::string value;
};

/// Splits the text at its first "=". Raises `CCallerError` for a text without "=", an empty step in the key,
/// or an unknown kind.
StAssignment ParseAssignment(const std::string& text);

} // namespace engine
