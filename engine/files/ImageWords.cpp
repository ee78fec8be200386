#include "engine/files/ImageWords.h"

#include <algorithm>
#include <array>

namespace engine {

namespace {

struct StPixelTypeWord {
    const char* word;
    const ORVEN::IImage::CType& type;
};

/// The one table of these words; nothing else in the engine or a front end spells them out.
constexpr std::array<StPixelTypeWord, 5> c_table{{{"binary", ORVEN::IMAGE_BINARY_FG},
                                                  {"grey8", ORVEN::IMAGE_GREY_8},
                                                  {"grey16", ORVEN::IMAGE_GREY_16},
                                                  {"grey32", ORVEN::IMAGE_GREY_32},
                                                  {"greyf", ORVEN::IMAGE_GREY_F}}};

} // namespace

const std::vector<std::string>& PixelTypeWords() {
    static const std::vector<std::string> words = [] {
        std::vector<std::string> all;
        for (const auto& [word, type] : c_table)
            all.emplace_back(word);
        return all;
    }();
    return words;
}

std::string WordOfPixelType(const ORVEN::IImage::CType& type) {
    for (const auto& [word, known] : c_table) {
        if (known == type)
            return word;
    }
    return type.ToString();
}

std::optional<ORVEN::IImage::CType> PixelTypeOfWord(const std::string& word) {
    for (const auto& [known, type] : c_table) {
        if (word == known)
            return type;
    }
    return std::nullopt;
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

std::string FirstTen(std::span<const std::string> words) {
    constexpr std::size_t most = 10;
    std::string text;
    for (const std::string& word : words.first(std::min(words.size(), most)))
        text.append(text.empty() ? "" : ", ").append(word);
    return words.size() > most ? text + " and " + std::to_string(words.size() - most) + " more" : text;
}

} // namespace engine
