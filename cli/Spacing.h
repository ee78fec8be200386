#pragma once

#include <array>
#include <string>

namespace cli {

/// Reads "x,y,z", or "x,y" for an image without depth, as sizes of a pixel; z is 1 then. Raises
/// `CCommandError` of status usage unless all are positive numbers.
std::array<double, 3> ParseSpacing(const std::string& text);

} // namespace cli
