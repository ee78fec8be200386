#pragma once

#include "engine/catalogue/StCatalogueBlocks.h"
#include "engine/catalogue/StCatalogueMeasurement.h"
#include "engine/catalogue/ValueKind.h"
#include "engine/files/CJson.h"

#include <sorblib2image/CImage.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace engine {

/// A condition under which a parameter has an effect.
struct StCondition {
    std::string key;               ///< of another parameter; empty for a condition on the image
    std::vector<CJson> values;     ///< the other parameter has one of these values
    std::optional<bool> isGiven;   ///< in place of values: whether an image is given for the other parameter
    std::string attribute;         ///< the image has an attribute at this path
    std::string name;              ///< what the attribute is called: "cylinder"
    std::vector<std::string> from; ///< the plug-ins that store the attribute
};

/// Companions of a parameter that have to be given as well.
struct StRequirement {
    std::vector<CJson> values; ///< only if the parameter has one of these values; empty: always
    std::vector<std::string> keys;
};

/// A parameter or setting of a plug-in.
struct StCatalogueParameter {
    std::string key; ///< may be a path: "advanced/otsu_factor"
    EnValueKind kind = KIND_STRING;
    std::string meaning;
    std::string unit;          ///< a word of the catalogue, see `UnitInWords`; empty if none
    CJson defaultValue;        ///< null if none
    bool isFile = false;       ///< a string that names an input file
    bool isAlwaysSent = false; ///< sent with its default value if not given
    bool isRequired = false;   ///< the plug-in cannot do its work without it
    bool isIgnored = false;    ///< the plug-in reads it, and the result does not depend on it
    std::vector<CJson> choices;
    std::optional<double> minimum;
    std::optional<double> maximum;
    std::optional<double> step;           ///< of a spin box
    std::vector<StCondition> appliesWhen; ///< all of them; otherwise the parameter has no effect
    std::vector<StRequirement> requirements;
};

/// Parameters of which at least one has to be given.
struct StAlternatives {
    std::vector<std::string> keys;
    std::size_t atMost = 1;
};

/// The images that a plug-in's `TestParameters` accepts, as data, so that a refusal can be explained.
struct StAcceptedImages {
    std::vector<std::string> types; ///< as spelled on the command line: "grey8"
    std::vector<int> dimensions;
    std::int64_t minimumExtent = 0; ///< pixels along each axis
    std::string note;               ///< further requirements on an image
    std::vector<std::string> after; ///< the plug-ins one of which has to have measured the image
};

/// Whether a run of a plug-in can be cancelled.
enum EnCancel {
    CANCEL_ANYWHERE,
    CANCEL_PARTLY, ///< some stages or modes do not check for cancellation
    CANCEL_NOWHERE
};

/// What a plug-in makes of pixels that are not equally long along all axes.
enum EnSpacingUse {
    SPACING_UNKNOWN,
    SPACING_USED,          ///< lengths in the result are true
    SPACING_IGNORED,       ///< it counts in pixels, so that the result is distorted
    SPACING_IRRELEVANT,    ///< the result does not depend on lengths
    SPACING_REQUIRES_EQUAL ///< it refuses such an image
};

/// A rule of the contract that a plug-in breaks on purpose.
struct StDeviation {
    std::string rule; ///< its name, as `quillon validate --list` shows it
    std::string reason;
};

/// The catalogue's description of one plug-in.
struct StCatalogueEntry {
    std::string name;
    std::string title;
    std::string summary;
    std::string group;
    std::vector<std::string> keywords;
    StAcceptedImages images;
    std::vector<StCatalogueParameter> parameters;
    std::vector<StCatalogueParameter> settings; ///< passed to `Configure`
    std::vector<StAlternatives> alternatives;
    bool opensDialogs = false;
    bool asksForFile = false; ///< its result is a file that is named in a file dialog
    EnCancel cancel = CANCEL_NOWHERE;
    int documentsOut = 0; ///< maximum; 0 for a plug-in that only measures, shows or exports
    std::vector<StCatalogueMeasurement> measurements; ///< what it stores in the image
    std::vector<std::string>
        resultTypes;          ///< pixel types of new documents; "same" as the input; empty: unknown
    bool changesSize = false; ///< a new document can have another size than the input
    std::vector<std::string> suggestedFor; ///< pixel types, or "equal spacing", that others need and it makes
    std::string parametersFor;             ///< the plug-in that a report's parameters are meant for
    EnSpacingUse spacingUse = SPACING_UNKNOWN;
    /// Bytes of memory for each pixel beyond the input, at most; by pixel type, or for all under "".
    std::map<std::string, double> bytesPerVoxel;
    std::map<std::string, double> fixedBytes; ///< the same for memory that does not grow with the image
    std::string scaleFactor; ///< key of the number of new pixels for each old one along each axis
    std::string scaleLength; ///< key of the edge of new pixels
    StCatalogueBlocks blocks;
    std::vector<StDeviation> deviations;
    CJson source;

    /// The parameter with that key; null if there is none.
    [[nodiscard]] const StCatalogueParameter* Parameter(std::string_view key) const;
};

/// Parses an entry strictly: raises `std::runtime_error`, naming the entry and member, for anything missing,
/// unknown or of the wrong kind.
StCatalogueEntry ParseCatalogueEntry(const CJson& source);

/// Describes the accepted images in words.
std::string AcceptedInWords(const StAcceptedImages& images);

/// Describes the legal values of a parameter, as choices or a range, without their unit; empty if the
/// catalogue sets no limit. Of many choices, the first ten are listed.
std::string LegalValuesInWords(const StCatalogueParameter& parameter);

/// The same with the unit: "0 to 9 pixels", "at least 0, in the unit of the spacing".
std::string LegalValuesWithUnit(const StCatalogueParameter& parameter);

/// Whether a value of the parameter's kind is one of its choices, or within its range.
bool IsLegal(const StCatalogueParameter& parameter, const CJson& value);

/// The name of a unit for readers: "pixels", "in the unit of the spacing", "radians", "as a grey value".
/// Empty for an unknown one.
std::string UnitInWords(const std::string& unit);

/// A value as text: strings without quotes, numbers in their shortest form.
std::string PlainText(const CJson& value);

} // namespace engine
