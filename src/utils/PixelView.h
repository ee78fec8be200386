#pragma once

#include <sorblib2image/CImage.h>

namespace quillon {

/// A second image over the pixels of `image`, without a copy of them and without its attributes: for a host
/// algorithm that is to see the pixels of an input, or other attributes, but not the input itself. The view
/// is valid as long as `image` keeps its pixels.
///
/// Raises `CExBadParam` for an image whose pixels do not stand in rows, lines and planes as those of a
/// `CImage` do.
ORVEN::CImage PixelViewOf(ORVEN::CImage& image);

} // namespace quillon
