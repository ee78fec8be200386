#pragma once

#include "sorblib2image/IImage.h"

namespace ORVEN {

/// Raises `CException` "Image type %1 not supported." with `function`, which does not support the type, as
/// source.
[[noreturn]] void ThrowUnsupportedType(const char* function, const IImage::CType& type);

/// Raises `CExBadParam` unless `image` has the size of `reference`. The message is "%1 of size %2 does not
/// fit the %3 of size %4." with the given words for the two images, for example "Mask image" and "image".
void RequireSameSize(const char* function, const char* imageName, const IImage& image,
                     const char* referenceName, const IImage& reference);

} // namespace ORVEN
