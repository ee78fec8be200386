#pragma once

#include <sorblib2image/IImage.h>

#include <span>
#include <string>

namespace engine {

/// The command-line word for a pixel type, such as "grey8", or the type's own name if there is none.
std::string WordOfPixelType(const ORVEN::IImage::CType& type);

/// Formats a size as "384 x 191".
std::string SizeInWords(const ORVEN::CSize& size);

/// Joins the words as "a, b or c".
std::string Alternatives(std::span<const std::string> words);

} // namespace engine
