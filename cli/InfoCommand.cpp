#include "cli/Commands.h"
#include "engine/files/ImageFile.h"
#include "engine/files/ImageWords.h"
#include "engine/files/ValueJson.h"

#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/GreyTypeDispatch.h>
#include <sorblib2image/ImageView.h>

#include <nlohmann/json.hpp>

#include <cmath>
#include <iostream>
#include <memory>
#include <string>

using nlohmann::json;
using nlohmann::ordered_json;
using ORVEN::CQuillonHeaderTools;

namespace cli {

using namespace engine;

namespace {

struct StInfoOptions {
    std::string file;
    bool isJson = false;
};

/// Smallest and largest finite pixel value as a pair; null if there is none.
template <class Pixel>
ordered_json MinMaxOf(const ORVEN::CImage& image) {
    const ORVEN::CImageView<const Pixel> view(image);
    Pixel least{};
    Pixel greatest{};
    bool isFound = false;
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            const Pixel* const row = view.Row(y, z);
            for (std::int64_t x = 0; x < view.nx; ++x) {
                if constexpr (std::is_floating_point_v<Pixel>) {
                    if (!std::isfinite(row[x]))
                        continue;
                }
                least = isFound ? std::min(least, row[x]) : row[x];
                greatest = isFound ? std::max(greatest, row[x]) : row[x];
                isFound = true;
            }
        }
    }
    return isFound ? ordered_json{least, greatest} : ordered_json();
}

ordered_json MinMaxJson(const ORVEN::CImage& image) {
    if (image.Type().IsBinary())
        return MinMaxOf<unsigned char>(image);
    return ORVEN::DispatchGreyType(
        "cli::MinMaxJson", image.Type(),
        [&]<class Pixel>(std::type_identity<Pixel>) { return MinMaxOf<Pixel>(image); });
}

ordered_json SpacingJson(const ORVEN::CImage& image) {
    std::array<double, 3> spacing{};
    if (!CQuillonHeaderTools::GetSpacing(image, spacing[0], spacing[1], spacing[2]))
        return nullptr;
    ordered_json array = ordered_json::array();
    for (int axis = 0; axis < image.Size().Dim(); ++axis)
        array.emplace_back(ToJson(ORVEN::CValueDouble(spacing[static_cast<std::size_t>(axis)])));
    return array;
}

ordered_json HistoryJson(const ORVEN::CImage& image) {
    const ORVEN::CValue* const history = image.Attributes().Entry("history", true);
    if (history == nullptr || history->Vector() == nullptr)
        return ordered_json::array();
    return ToJson(*history);
}

ordered_json InfoJson(const std::string& file, const ORVEN::CImage& image) {
    ordered_json info;
    info["file"] = ToJson(ORVEN::CValueString(ORVEN::CString(file)));
    info["type"] = image.Type().ToString();
    info["dimension"] = image.Size().Dim();
    info["size"] = ordered_json::array();
    for (int axis = 0; axis < image.Size().Dim(); ++axis)
        info["size"].push_back(image.Size()[axis]);
    info["spacing"] = SpacingJson(image);
    info["history"] = HistoryJson(image);
    std::size_t labelCount = 0;
    info["number_of_labels"] = nullptr;
    if (CQuillonHeaderTools::GetNumberOfLabels(image, labelCount))
        info["number_of_labels"] = labelCount;
    double maxDistance = 0;
    info["max_distance"] = nullptr;
    if (CQuillonHeaderTools::GetMaxDistance(image, maxDistance))
        info["max_distance"] = ToJson(ORVEN::CValueDouble(maxDistance));
    info["min_max"] = MinMaxJson(image);
    info["attributes"] = ToJson(image.Attributes());
    return info;
}

void PrintLine(const std::string& name, const std::string& text) {
    std::cout << name << std::string(12 - std::min<std::size_t>(name.size(), 11), ' ') << text << '\n';
}

std::string Joined(const ordered_json& values, const std::string& between) {
    std::string text;
    for (const auto& value : values)
        text.append(text.empty() ? "" : between).append(value.dump());
    return text;
}

/// The text without control characters, which a terminal would interpret.
std::string Readable(const ordered_json& value) {
    if (!value.is_string())
        return value.dump();
    std::string text = value.get<std::string>();
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 127; }, ' ');
    return text;
}

/// Prints the remaining attributes as lines "path  value", with a list of plain values on one line.
void PrintTree(const json& tree, const std::string& path) {
    const bool isSpecial = tree.is_object() && tree.size() == 1 && tree.begin().key().starts_with('/');
    if (!tree.is_object() || tree.empty() || isSpecial) {
        std::cout << "  " << path << ": " << Readable(tree) << '\n';
        return;
    }
    for (const auto& [key, value] : tree.items())
        PrintTree(value, path.empty() ? Readable(key) : path + "/" + Readable(key));
}

void PrintInfo(const ordered_json& info) {
    PrintLine("file", Readable(info["file"]));
    PrintLine("type", info["type"].get<std::string>());
    PrintLine("size", Joined(info["size"], " x "));
    PrintLine("spacing", info["spacing"].is_null() ? "not known" : Joined(info["spacing"], " x "));
    PrintLine("values", info["min_max"].is_null() ? "none" : Joined(info["min_max"], " to "));
    if (!info["number_of_labels"].is_null())
        PrintLine("labels", info["number_of_labels"].dump());
    if (!info["max_distance"].is_null())
        PrintLine("distances", "up to " + info["max_distance"].dump());
    for (std::size_t i = 0; i < info["history"].size(); ++i)
        PrintLine(i == 0 ? "history" : "", Readable(info["history"][i]));
    json rest = info["attributes"];
    for (const char* const shown : {"spacing", "history", "number of labels", "max distance"})
        rest.erase(shown);
    if (!rest.empty()) {
        PrintLine("attributes", "");
        PrintTree(rest, "");
    }
}

void Info(const StInfoOptions& options) {
    const auto image = ReadImage(options.file);
    const ordered_json info = InfoJson(options.file, *image);
    if (options.isJson)
        std::cout << info.dump(2) << '\n';
    else
        PrintInfo(info);
    std::cout.flush();
}

} // namespace

void AddInfoCommand(CArgumentParser& program) {
    CCommand command = program.AddCommand(
        "info", "Tell type, size, spacing, range, history and attributes of an image file");
    const auto options = std::make_shared<StInfoOptions>();
    command.AddPositional("FILE", options->file, "The image file");
    command.AddFlag("--json", options->isJson, "As JSON, for programs");
    command.SetFooter("The range is that of the finite pixels.\n\nExample: quillon info volume.nrrd");
    command.OnRun([options] { Info(*options); });
}

} // namespace cli
