#include "engine/files/AttributesFile.h"

#include "engine/files/FileErrors.h"
#include "engine/files/ImageFileName.h"
#include "engine/files/TextFile.h"
#include "engine/files/ValueJson.h"
#include "engine/files/formats/HeaderChecks.h"

#include <filesystem>

namespace engine {

namespace {

const char* const c_type = "quillon type";
const char* const c_size = "size";
const char* const c_attributes = "attributes";
const char* const c_damaged = "its attributes are damaged";

constexpr int c_indent = 2;

std::unique_ptr<ORVEN::CValueMap> MapOfJson(const CJson& object) {
    if (!object.IsObject())
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

ORVEN::CSize SizeOfJson(const CJson& array) {
    if (!array.IsArray())
        throw CFileReason(c_damaged);
    std::vector<std::int64_t> extents;
    for (const CJson& extent : array.Elements()) {
        const auto number = extent.IsInteger() ? extent.IntegerAs<std::int64_t>() : std::nullopt;
        if (!number)
            throw CFileReason(c_damaged);
        extents.push_back(*number);
    }
    return CheckedSize(std::move(extents), 1);
}

StImageFacts FactsOf(const CJson& file) {
    StImageFacts facts;
    if (!file.IsObject())
        throw CFileReason("it is damaged");
    if (const CJson* const type = file.Find(c_type)) {
        facts.type = type->IsString() ? PixelTypeOfName(type->String()) : std::nullopt;
        if (!facts.type)
            throw CFileReason("the image type " + type->Text(-1, true) + " is unknown");
    }
    if (const CJson* const size = file.Find(c_size))
        facts.size = SizeOfJson(*size);
    if (const CJson* const attributes = file.Find(c_attributes))
        facts.attributes = MapOfJson(*attributes);
    return facts;
}

/// Null for a text that is not valid JSON.
CJson ParsedOrNull(const std::string& text) { return CJson::Parse(text).value_or(CJson()); }

} // namespace

std::optional<ORVEN::IImage::CType> PixelTypeOfName(const std::string& name) {
    for (const auto& type : {ORVEN::IMAGE_GREY_8, ORVEN::IMAGE_GREY_16, ORVEN::IMAGE_GREY_32,
                             ORVEN::IMAGE_GREY_F, ORVEN::IMAGE_BINARY_FG, ORVEN::IMAGE_BINARY_BG}) {
        if (name == type.ToString())
            return type;
    }
    return std::nullopt;
}

std::string AttributesText(const ORVEN::CValueMap& attributes) { return ToJson(attributes).Text(-1, true); }

std::unique_ptr<ORVEN::CValueMap> AttributesOfText(const std::string& text) {
    return MapOfJson(ParsedOrNull(text));
}

std::string SideFilePath(const std::string& imagePath) {
    const std::filesystem::path image(imagePath);
    return (image.parent_path() / SideFileName(image.filename())).string();
}

bool IsSideFile(const std::string& path) {
    try {
        (void)FileSize(path); // raises for a pipe, which must not be drained
        const CJson file = ParsedOrNull(ReadTextFile(path));
        return file.Find(c_type) != nullptr && file.Find(c_attributes) != nullptr;
    } catch (const CFileError&) {
        return false;
    }
}

std::string SideFileText(const ORVEN::CImage& image) {
    CJson size = CJson::Array();
    for (int axis = 0; axis < image.Size().Dim(); ++axis)
        size.Append(image.Size()[axis]);
    const CJson file = CJson::Object({{c_type, image.Type().ToString()},
                                      {c_size, std::move(size)},
                                      {c_attributes, ToJson(image.Attributes())}});
    return file.Text(c_indent, true) + "\n";
}

StImageFacts ReadSideFile(const std::string& imagePath) {
    const std::string path = SideFilePath(imagePath);
    std::error_code error;
    if (!std::filesystem::exists(path, error))
        return {};
    return Reading(path, [&path] {
        (void)FileSize(path); // raises unless it is a regular file
        return FactsOf(ParsedOrNull(ReadTextFile(path)));
    });
}

} // namespace engine
