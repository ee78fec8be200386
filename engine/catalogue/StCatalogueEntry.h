#pragma once

#include "engine/catalogue/StCatalogueMeasurement.h"
#include "engine/catalogue/ValueKind.h"
#include "engine/files/CJson.h"

#include <sorblib2image/CImage.h>

#include <optional>
#include <string>
#include <vector>

namespace engine {

/// A parameter or setting of a plug-in.
struct StCatalogueParameter {
    std::string key; ///< may be a path: "advanced/otsu_factor"
    EnValueKind kind = KIND_STRING;
    std::string meaning;
    std::string unit;          ///< empty if none
    CJson defaultValue;        ///< null if none
    bool isFile = false;       ///< a string that names an input file
    bool isAlwaysSent = false; ///< sent with its default value if not given
    std::vector<CJson> choices;
    std::optional<double> minimum;
    std::optional<double> maximum;
};

/// The images that a plug-in's `TestParameters` accepts, as data, so that a refusal can be explained.
struct StAcceptedImages {
    std::vector<std::string> types; ///< as spelled on the command line: "grey8"
    std::vector<int> dimensions;
    std::int64_t minimumExtent = 0; ///< pixels along each axis
    std::string note;               ///< further requirements on an image
};

/// Whether a run of a plug-in can be cancelled.
enum EnCancel {
    CANCEL_ANYWHERE,
    CANCEL_PARTLY, ///< some stages or modes do not check for cancellation
    CANCEL_NOWHERE
};

/// The catalogue's description of one plug-in.
struct StCatalogueEntry {
    std::string name;
    std::string title;
    std::string summary;
    StAcceptedImages images;
    std::vector<StCatalogueParameter> parameters;
    std::vector<StCatalogueParameter> settings; ///< passed to `Configure`
    bool opensDialogs = false;
    EnCancel cancel = CANCEL_NOWHERE;
    int documentsOut = 0; ///< maximum; 0 for a plug-in that only measures, shows or exports
    std::vector<StCatalogueMeasurement> measurements; ///< what it stores in the image
    CJson source;
};

/// Parses an entry strictly: raises `std::runtime_error`, naming the entry and member, for anything missing,
/// unknown or of the wrong kind.
StCatalogueEntry ParseCatalogueEntry(const CJson& source);

/// Describes the accepted images in words.
std::string AcceptedInWords(const StAcceptedImages& images);

/// Describes the legal values of a parameter, as choices or a range; empty if the catalogue sets no limit.
std::string LegalValuesInWords(const StCatalogueParameter& parameter);

} // namespace engine
