#include "cli/MeasurementArguments.h"

#include "cli/CCommandError.h"
#include "cli/PackOption.h"
#include "engine/files/ImageFile.h"
#include "engine/files/ImageFileName.h"
#include "engine/files/ImageWords.h"
#include "engine/packs/CPackSet.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace cli {

using namespace engine;

namespace {

bool IsFileName(const std::string& word) {
    std::error_code ignored;
    return std::filesystem::exists(word, ignored) || TargetOfName(word).has_value();
}

/// The name asked for, or that of the only measurement.
std::string MeasurementName(const std::string& file, const StMeasurementRequest& request,
                            const std::vector<std::string>& names) {
    if (!request.measurement.empty())
        return request.measurement;
    if (names.empty())
        throw CCommandError(STATUS_USAGE,
                            "'" + file +
                                "' holds no measurement: 'quillon list' shows the plug-ins that "
                                "measure");
    if (names.size() > 1)
        throw CCommandError(STATUS_USAGE, "'" + file + "' holds several measurements: " + ListedNames(names) +
                                              "; name one: quillon " + request.command + " " + file + " " +
                                              names.front());
    return names.front();
}

/// The measurements that a group consists of; empty if this is a measurement itself.
std::vector<std::string> PartsOf(const StMeasurement& measurement, const std::vector<std::string>& names) {
    std::vector<std::string> parts;
    for (const std::string& name : names) {
        if (measurement.description == nullptr && name.starts_with(measurement.name + "/"))
            parts.push_back(name);
    }
    return parts;
}

StTable ReadTable(const std::string& file, const StMeasurementRequest& request,
                  const std::vector<StCatalogueMeasurement>& descriptions) {
    const auto image = ReadInput(file, request.reading);
    const std::vector<std::string> names = MeasurementNames(*image, descriptions);
    const std::string name = MeasurementName(file, request, names);
    const auto measurement = FindMeasurement(*image, name, descriptions);
    if (!measurement)
        throw CCommandError(STATUS_USAGE,
                            "'" + file + "' has no measurement '" + name + "'" +
                                (names.empty() ? ": 'quillon list' shows the plug-ins that measure"
                                               : "; it has " + ListedNames(names)));
    if (const auto parts = PartsOf(*measurement, names); !parts.empty())
        throw CCommandError(STATUS_USAGE, "'" + name + "' of '" + file + "' consists of " +
                                              ListedNames(parts) + "; name one: quillon " + request.command +
                                              " " + file + " " + parts.front());
    return TableOf(*measurement, *image);
}

} // namespace

std::vector<StCatalogueMeasurement> DescriptionsIn(const std::vector<std::string>& packPaths) {
    CPackSet packs = OpenPacks(packPaths);
    return DescriptionsOf(packs.Entries());
}

std::vector<StTable> ReadTables(const StMeasurementRequest& request) {
    const std::vector<StCatalogueMeasurement> descriptions = DescriptionsIn(request.packs);
    std::vector<StTable> tables;
    for (const std::string& file : request.files)
        tables.push_back(ReadTable(file, request, descriptions));
    return tables;
}

void TakeMeasurement(StMeasurementRequest& request) {
    if (request.files.size() < 2 || IsFileName(request.files.back()))
        return;
    request.measurement = request.files.back();
    request.files.pop_back();
}

std::string LowerExtension(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return extension;
}

std::string ListedNames(const std::vector<std::string>& names) {
    std::vector<std::string> quoted;
    quoted.reserve(names.size());
    for (const std::string& name : names)
        quoted.push_back("'" + name + "'");
    return engine::FirstTen(quoted);
}

} // namespace cli
