#include "engine/files/AttributesFile.h"

#include "engine/files/FileErrors.h"
#include "engine/files/ImageFileName.h"
#include "engine/files/TextFile.h"
#include "engine/files/ValueJson.h"
#include "engine/files/formats/HeaderChecks.h"

#include <nlohmann/json.hpp>

#include <filesystem>

using nlohmann::json;
using nlohmann::ordered_json;

namespace engine {

namespace {

const char* const c_type = "quillon type";
const char* const c_size = "size";
const char* const c_attributes = "attributes";
const char* const c_damaged = "its attributes are damaged";

constexpr int c_indent = 2;

std::unique_ptr<ORVEN::CValueMap> MapOfJson(const json& object) {
    if (!object.is_object())
        throw CFileReason(c_damaged);
    std::unique_ptr<ORVEN::CValue> value;
    try {
        value = FromJson(object);
    } catch (const CFileError& error) {
        throw CFileReason(std::string(c_damaged) + ": " + error.what());
    }
    if (value == nullptr || value->Map() == nullptr)
        throw CFileReason(c_damaged);
    auto map = std::make_unique<ORVEN::CValueMap>();
    map->Copy(*value, ORVEN::CValue::TF_NONE, false);
    return map;
}

ORVEN::CSize SizeOfJson(const json& array) {
    std::vector<std::int64_t> extents;
    for (const json& extent : array) {
        if (!extent.is_number_integer())
            throw CFileReason(c_damaged);
        extents.push_back(extent.get<std::int64_t>());
    }
    return CheckedSize(std::move(extents), 1);
}

StImageFacts FactsOf(const json& file) {
    StImageFacts facts;
    if (!file.is_object())
        throw CFileReason("it is damaged");
    if (const auto type = file.find(c_type); type != file.end()) {
        facts.type = type->is_string() ? PixelTypeOfName(type->get<std::string>()) : std::nullopt;
        if (!facts.type)
            throw CFileReason("the image type " + type->dump(-1, ' ', true, json::error_handler_t::replace) +
                              " is unknown");
    }
    if (const auto size = file.find(c_size); size != file.end())
        facts.size = SizeOfJson(*size);
    if (const auto attributes = file.find(c_attributes); attributes != file.end())
        facts.attributes = MapOfJson(*attributes);
    return facts;
}

} // namespace

std::optional<ORVEN::IImage::CType> PixelTypeOfName(const std::string& name) {
    for (const auto& type : {ORVEN::IMAGE_GREY_8, ORVEN::IMAGE_GREY_16, ORVEN::IMAGE_GREY_32,
                             ORVEN::IMAGE_GREY_F, ORVEN::IMAGE_BINARY_FG, ORVEN::IMAGE_BINARY_BG}) {
        if (name == type.ToString())
            return type;
    }
    return std::nullopt;
}

std::string AttributesText(const ORVEN::CValueMap& attributes) {
    return ToJson(attributes).dump(-1, ' ', true);
}

std::unique_ptr<ORVEN::CValueMap> AttributesOfText(const std::string& text) {
    return MapOfJson(json::parse(text, nullptr, false));
}

std::string SideFilePath(const std::string& imagePath) {
    const std::filesystem::path image(imagePath);
    return (image.parent_path() / SideFileName(image.filename())).string();
}

bool IsSideFile(const std::string& path) {
    try {
        (void)FileSize(path); // raises for a pipe, which must not be drained
        const json file = json::parse(ReadTextFile(path), nullptr, false);
        return file.is_object() && file.contains(c_type) && file.contains(c_attributes);
    } catch (const CFileError&) {
        return false;
    }
}

std::string SideFileText(const ORVEN::CImage& image) {
    ordered_json file;
    file[c_type] = image.Type().ToString();
    for (int axis = 0; axis < image.Size().Dim(); ++axis)
        file[c_size].push_back(image.Size()[axis]);
    file[c_attributes] = ToJson(image.Attributes());
    return file.dump(c_indent, ' ', true) + "\n";
}

StImageFacts ReadSideFile(const std::string& imagePath) {
    const std::string path = SideFilePath(imagePath);
    std::error_code error;
    if (!std::filesystem::exists(path, error))
        return {};
    return Reading(path, [&path] {
        (void)FileSize(path); // raises unless it is a regular file
        return FactsOf(json::parse(ReadTextFile(path), nullptr, false));
    });
}

} // namespace engine
