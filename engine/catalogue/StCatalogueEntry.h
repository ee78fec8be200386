#pragma once

#include "engine/catalogue/ValueKind.h"

#include <sorblib2image/CImage.h>

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

namespace engine {

/// A parameter of a plug-in, or a setting of it.
struct StCatalogueParameter {
    std::string key; ///< can be a path: "advanced/otsu_factor"
    EnValueKind kind = KIND_STRING;
    std::string meaning;
    std::string unit;            ///< empty: none
    nlohmann::json defaultValue; ///< null: none
    bool isFile = false;         ///< a text that names a file to be read
    bool isAlwaysSent = false;   ///< sent with its default when it is not given
    std::vector<nlohmann::json> choices;
    std::optional<double> minimum;
    std::optional<double> maximum;
};

/// What images a plug-in's `TestParameters` lets pass, told as data so that a refusal can be explained.
struct StAcceptedImages {
    std::vector<std::string> types; ///< words of the command line: "grey8"
    std::vector<int> dimensions;
    std::int64_t minimumExtent = 0; ///< pixels along each axis
    std::string note;               ///< what else is asked of an image
};

/// Where a run of a plug-in can be cancelled.
enum EnCancel {
    CANCEL_ANYWHERE,
    CANCEL_PARTLY, ///< some parts of the work, or some modes, do not ask for it
    CANCEL_NOWHERE
};

/// What the host knows about one plug-in.
struct StCatalogueEntry {
    std::string name;
    std::string title;
    std::string summary;
    StAcceptedImages images;
    std::vector<StCatalogueParameter> parameters;
    std::vector<StCatalogueParameter> settings; ///< for `Configure`
    bool opensDialogs = false;
    EnCancel cancel = CANCEL_NOWHERE;
    int documentsOut = 0; ///< at most; 0 for a plug-in that only measures, shows or exports
    nlohmann::ordered_json source;
};

/// Reads an entry, strictly: raises `std::runtime_error`, naming entry and member, for anything that is
/// missing, unknown or of the wrong kind.
StCatalogueEntry ParseCatalogueEntry(std::string_view text);

/// The images that the plug-in takes, in words.
std::string AcceptedInWords(const StAcceptedImages& images);

/// One parameter's legal values in words: choices or range; empty if the catalogue sets no limit.
std::string LegalValuesInWords(const StCatalogueParameter& parameter);

} // namespace engine
