#pragma once

#include <sorblib2image/CImage.h>

namespace quillon {

/// Returns a second image over the pixels of `image`, without copying them and without its attributes. It is
/// meant for host algorithms that need the pixels of an input, possibly with other attributes, but must not
/// modify the input itself. The view is valid as long as `image` keeps its pixels.
///
/// Raises `CExBadParam` if the pixels are not arranged in rows and planes like those of a `CImage`.
ORVEN::CImage PixelViewOf(ORVEN::CImage& image);

} // namespace quillon
