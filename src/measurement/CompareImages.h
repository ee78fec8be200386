#pragma once

#include <sorblib2image/CImage.h>

#include <string>

namespace quillon {

/// What two images have to do with each other, as lines of text.
///
/// Types, sizes, spacings and extensions are compared; these lines stand last. For images of the same size
/// the pixels are compared before: which of equal, greater, lower, greater or equal, lower or equal holds
/// everywhere, how often each holds, and the range of the differences. Reports to the host's progress sink; a
/// cancelled comparison tells of the pixels seen so far.
///
/// The images are binary, of 8, 16, 32 bits or float; another type raises `CException` if the pixels are to
/// be compared.
std::string CompareImages(const ORVEN::CImage& a, const ORVEN::CImage& b);

} // namespace quillon
