#pragma once

#include <sorblib2image/IImage.h>

namespace quillon {

/// For plug-ins that work in pixel units only: raises `CException` in the name of `source`, with the spacing
/// in its message, unless pixels have the same length along every axis of the image. An image without spacing
/// passes. Lengths are compared exactly, and NaN is unequal to everything.
void RequireIsotropicPixels(const ORVEN::IImage& image, const char* source);

} // namespace quillon
