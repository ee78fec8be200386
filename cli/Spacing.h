#pragma once

#include <string>
#include <vector>

namespace cli {

/// Parses a pixel size "x,y,z", or "x,y" for a plane. Raises `CCommandError` with `STATUS_USAGE` unless these
/// are two or three positive numbers.
std::vector<double> ParseSpacing(const std::string& text);

} // namespace cli
