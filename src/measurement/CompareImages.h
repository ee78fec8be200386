#pragma once

#include <sorblib2image/CImage.h>

#include <string>

namespace quillon {

/// Compares two images and describes the result as lines of text.
///
/// The last lines compare types, sizes, spacings and extensions. If the images have the same size, the text
/// starts with a comparison of the pixels: which of equal, greater, lower, greater or equal, lower or equal
/// holds everywhere, how often each of them holds, and the range of the differences. Progress goes to the
/// host's progress sink. If the comparison is cancelled, the text covers the pixels visited so far.
///
/// The images are binary, of 8, 16 or 32 bits or float. Other types raise `CException` if the pixels have to
/// be compared.
std::string CompareImages(const ORVEN::CImage& a, const ORVEN::CImage& b);

} // namespace quillon
