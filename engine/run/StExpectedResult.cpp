#include "engine/run/StExpectedResult.h"

#include "engine/errors/CEngineError.h"
#include "engine/files/ImageWords.h"

#include <algorithm>

namespace engine {

StExpectedResult Expected(const StImageOutline& image) {
    StExpectedResult expected;
    if (image.isTypeCertain)
        expected.types = {image.type};
    expected.size = image.size;
    return expected;
}

StExpectedResult Expected(const StCatalogueEntry* entry, const StExpectedResult& input) {
    if (entry == nullptr)
        return {};
    StExpectedResult result;
    if (!entry->changesSize)
        result.size = input.size;
    if (entry->documentsOut == 0) {
        result.types = input.types;
        return result;
    }
    const auto& words = entry->resultTypes;
    if (std::ranges::find(words, "same") != words.end() && input.types.empty())
        return result;
    for (const std::string& word : words) {
        if (const auto type = PixelTypeOfWord(word))
            result.types.push_back(*type);
        else
            result.types.insert(result.types.end(), input.types.begin(), input.types.end());
    }
    return result;
}

void RequireFormatsHold(const std::vector<std::string>& outputs, const StExpectedResult& result) {
    const ORVEN::CSize size = result.size.value_or(ORVEN::CSize(1, 1));
    for (const std::string& output : outputs) {
        std::optional<CFileError> refusal;
        bool isHeld = result.types.empty();
        for (const auto& type : result.types) {
            try {
                RequireFormatHolds(output, type, size);
                isHeld = true;
            } catch (const CFileError& error) {
                refusal = error;
            }
        }
        if (!isHeld)
            throw CFileError(*refusal);
    }
}

} // namespace engine
