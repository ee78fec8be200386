#include "engine/files/ImageFileName.h"

#include "engine/files/AttributesFile.h"
#include "engine/files/CAtomicFile.h"
#include "engine/files/FileErrors.h"
#include "engine/files/formats/MetaFile.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <string_view>

namespace fs = std::filesystem;

namespace engine {

namespace {

constexpr std::string_view c_attributesEnding = ".attributes.json";
constexpr std::size_t c_maxNameSize = 255; // in bytes, of nearly all file systems in use

bool IsOwnDataFile(const fs::path& image, const fs::path& data) {
    const auto named = MetaDataFile(image.string());
    std::error_code error;
    return named && fs::equivalent(*named, data, error);
}

bool IsOwnSideFile(const fs::path& image, const fs::path& side) {
    std::error_code error;
    return fs::is_regular_file(image, error) && IsSideFile(side.string());
}

} // namespace

std::optional<StTarget> TargetOfName(const std::string& path) {
    struct StEnding {
        const char* text;
        StTarget target;
    };
    static const std::array endings = {
        StEnding{".nrrd", {FORMAT_NRRD, PACKING_NONE}},      StEnding{".mha", {FORMAT_META, PACKING_NONE}},
        StEnding{".mhd", {FORMAT_META, PACKING_NONE, true}}, StEnding{".nii", {FORMAT_NIFTI, PACKING_NONE}},
        StEnding{".nii.gz", {FORMAT_NIFTI, PACKING_GZIP}},   StEnding{".tif", {FORMAT_TIFF, PACKING_NONE}},
        StEnding{".tiff", {FORMAT_TIFF, PACKING_NONE}},      StEnding{".png", {FORMAT_PNG, PACKING_NONE}},
    };
    std::string name = path;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const StEnding& ending : endings) {
        if (name.ends_with(ending.text))
            return ending.target;
    }
    return std::nullopt;
}

std::string SideFileName(const std::string& imageName) {
    if (imageName.size() + c_attributesEnding.size() <= c_maxNameSize)
        return imageName + std::string(c_attributesEnding);
    const auto sum = crc32_z(0, reinterpret_cast<const Bytef*>(imageName.data()), imageName.size());
    std::array<char, 16> mark{};
    std::snprintf(mark.data(), mark.size(), "~%08lx", static_cast<unsigned long>(sum));
    const std::string ending = mark.data() + std::string(c_attributesEnding);
    return imageName.substr(0, c_maxNameSize - ending.size()) + ending;
}

std::string DataFileName(const std::string& imageName) {
    return fs::path(imageName).replace_extension(".raw").string();
}

std::vector<std::string> CompanionNames(const std::string& imageName) {
    const auto target = TargetOfName(imageName);
    std::vector<std::string> names;
    if (target && target->format != FORMAT_NRRD) // NRRD holds all attributes itself
        names.push_back(SideFileName(imageName));
    if (target && target->hasDataFile)
        names.push_back(DataFileName(imageName));
    return names;
}

void RequireOwnCompanions(const std::string& path) {
    const fs::path image = FollowLink(path);
    for (const std::string& name : CompanionNames(image.filename())) {
        const fs::path companion = image.parent_path() / name;
        std::error_code error;
        const auto status = fs::symlink_status(companion, error);
        if (!fs::exists(status))
            continue;
        const bool isOwn = name.ends_with(c_attributesEnding) ? IsOwnSideFile(image, companion)
                                                              : IsOwnDataFile(image, companion);
        if (!isOwn)
            ThrowUnwritable(path,
                            "it would replace '" + companion.string() +
                                "', which does not belong to it; remove that file, or choose another name");
    }
}

} // namespace engine
