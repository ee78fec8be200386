#include "engine/measurements/StMeasurement.h"

#include <sorblib2image/CQuillonHeaderTools.h>

#include <algorithm>

namespace engine {

using ORVEN::CValueMap;

namespace {

const CValueMap* MapAt(const CValueMap& map, const std::string& path) {
    const ORVEN::CValue* entry = map.Entry(path, true);
    return entry != nullptr ? entry->Map() : nullptr;
}

std::string BelowFeatures(const std::string& name) {
    return ORVEN::CQuillonHeaderTools::c_sTagFeatures + "/" + name;
}

const StCatalogueMeasurement* DescriptionOf(const std::string& name,
                                            const std::vector<StCatalogueMeasurement>& descriptions) {
    const auto found = std::ranges::find(descriptions, name, &StCatalogueMeasurement::key);
    return found != descriptions.end() ? &*found : nullptr;
}

} // namespace

std::vector<StCatalogueMeasurement> DescriptionsOf(const std::vector<const StCatalogueEntry*>& entries) {
    std::vector<StCatalogueMeasurement> descriptions;
    for (const StCatalogueEntry* const entry : entries)
        descriptions.insert(descriptions.end(), entry->measurements.begin(), entry->measurements.end());
    return descriptions;
}

std::vector<std::string> MeasurementNames(const ORVEN::CImage& image,
                                          const std::vector<StCatalogueMeasurement>& descriptions) {
    std::vector<std::string> names;
    const CValueMap* features = MapAt(image.Attributes(), ORVEN::CQuillonHeaderTools::c_sTagFeatures);
    if (features == nullptr)
        return names;
    for (auto entry = features->begin(); entry != features->end(); ++entry) {
        if (entry.Value()->Map() == nullptr)
            continue;
        const std::string key = entry.Key().ToString();
        bool isDescribed = false;
        for (const StCatalogueMeasurement& description : descriptions) {
            const bool isHere = description.key == key || description.key.starts_with(key + "/");
            if (!isHere || MapAt(*features, description.key) == nullptr)
                continue;
            names.push_back(description.key);
            isDescribed = true;
        }
        if (!isDescribed)
            names.push_back(key);
    }
    std::ranges::sort(names);
    names.erase(std::ranges::unique(names).begin(), names.end());
    return names;
}

std::optional<StMeasurement> FindMeasurement(const ORVEN::CImage& image, const std::string& name,
                                             const std::vector<StCatalogueMeasurement>& descriptions) {
    const std::string& tag = ORVEN::CQuillonHeaderTools::c_sTagFeatures;
    std::string full = name.starts_with(tag + "/") ? name.substr(tag.size() + 1) : name;
    if (MapAt(image.Attributes(), BelowFeatures(full)) == nullptr) {
        const std::vector<std::string> names = MeasurementNames(image, descriptions);
        const auto endsWithName = [&](const std::string& known) { return known.ends_with("/" + name); };
        if (std::ranges::count_if(names, endsWithName) == 1)
            full = *std::ranges::find_if(names, endsWithName);
    }
    if (const CValueMap* map = MapAt(image.Attributes(), BelowFeatures(full)))
        return StMeasurement{full, map, DescriptionOf(full, descriptions)};
    if (const CValueMap* map = MapAt(image.Attributes(), name))
        return StMeasurement{name, map, nullptr};
    return std::nullopt;
}

} // namespace engine
