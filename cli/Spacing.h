#pragma once

#include <array>
#include <string>

namespace cli {

/// Parses a pixel size "x,y,z", or "x,y" for a 2-d image, in which case z is 1. Raises `CCommandError` with
/// `STATUS_USAGE` unless all are positive numbers.
std::array<double, 3> ParseSpacing(const std::string& text);

} // namespace cli
