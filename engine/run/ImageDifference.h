#pragma once

#include <sorblib2image/CImage.h>

#include <optional>
#include <string>

namespace engine {

/// Where two images first differ: a sentence without a final full stop. Nothing if type, size, every bit of
/// every pixel and all attributes but the record of runs are the same. `first` and `second` are the words for
/// the two images: "the pixel at (3, 0, 1) is 7 in out.nrrd and 8 in the repeated run". Takes time linear in
/// the number of pixels.
std::optional<std::string> FirstDifference(const ORVEN::CImage& a, const std::string& first,
                                           const ORVEN::CImage& b, const std::string& second);

} // namespace engine
