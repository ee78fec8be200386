#pragma once

#include <sorblib2image/IImage.h>

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace engine {

/// The words for pixel types, from narrow to wide: binary, grey8, grey16, grey32, greyf.
const std::vector<std::string>& PixelTypeWords();

/// The word for a pixel type, such as "grey8", or the type's own name if there is none.
std::string WordOfPixelType(const ORVEN::IImage::CType& type);

/// The pixel type for a word; nothing for any other word.
std::optional<ORVEN::IImage::CType> PixelTypeOfWord(const std::string& word);

/// Formats a size as "384 x 191".
std::string SizeInWords(const ORVEN::CSize& size);

/// Joins the words as "a, b or c".
std::string Alternatives(std::span<const std::string> words);

/// Joins the words as "a, b, c". Of more than ten, the first ten are followed by " and 3 more" or the like: a
/// longer list helps nobody.
std::string FirstTen(std::span<const std::string> words);

} // namespace engine
