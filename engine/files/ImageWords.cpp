#include "engine/files/ImageWords.h"

#include "engine/files/ImageFile.h"

namespace engine {

std::string WordOfPixelType(const ORVEN::IImage::CType& type) {
    for (const char* word : {"binary", "grey8", "grey16", "grey32", "greyf"}) {
        if (PixelTypeOfWord(word) == type)
            return word;
    }
    return type.ToString();
}

std::string SizeInWords(const ORVEN::CSize& size) {
    std::string text;
    for (int axis = 0; axis < size.Dim(); ++axis)
        text.append(axis > 0 ? " x " : "").append(std::to_string(size[axis]));
    return text;
}

std::string Alternatives(std::span<const std::string> words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0)
            text.append(i + 1 == words.size() ? " or " : ", ");
        text.append(words[i]);
    }
    return text;
}

} // namespace engine
