#pragma once

#include <sorblib2image/IImage.h>

#include <span>
#include <string>

namespace engine {

/// The word of the command line for a pixel type, such as "grey8"; the type's own name where there is none.
std::string WordOfPixelType(const ORVEN::IImage::CType& type);

/// "384 x 191".
std::string SizeInWords(const ORVEN::CSize& size);

/// "a, b or c".
std::string Alternatives(std::span<const std::string> words);

} // namespace engine
