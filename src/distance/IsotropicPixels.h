#pragma once

#include <sorblib2image/IImage.h>

namespace quillon {

/// For plug-ins that work in pixels alone: raises `CException` in the name of `source`, with the spacing in
/// its message, unless pixels are as long along every axis of the image. An image without spacing passes.
/// Lengths are compared exactly; NaN equals nothing.
void RequireIsotropicPixels(const ORVEN::IImage& image, const char* source);

} // namespace quillon
