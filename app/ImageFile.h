#pragma once

#include <sorblib2image/CImage.h>

#include <memory>
#include <optional>
#include <string>

namespace app {

/// Reads an image file with its attributes; `as` says which pixel type to make of it instead of the file's own.
std::unique_ptr<ORVEN::CImage> ReadImage(const std::string& path,
                                         const std::optional<ORVEN::IImage::CType>& as = std::nullopt);

/// Writes an image file with its attributes, beside its name first, so that a failure never leaves half a file.
void WriteImage(const ORVEN::CImage& image, const std::string& path);

/// The pixel type that a word of the command line stands for: binary, grey8, grey16, grey32 or greyf.
std::optional<ORVEN::IImage::CType> PixelTypeOfWord(const std::string& word);

} // namespace app
