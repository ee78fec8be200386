#include "engine/catalogue/StCatalogueEntry.h"

#include "engine/catalogue/CMemberReader.h"
#include "engine/files/ImageFile.h"
#include "engine/files/ImageWords.h"

#include <sorblib2core/CString.h>

#include <algorithm>
#include <array>
#include <set>
#include <span>
#include <stdexcept>

namespace engine {

namespace {

constexpr const char* c_same = "same";
constexpr const char* c_equalSpacing = "equal spacing";

struct StUnit {
    const char* word;
    const char* text;
};

constexpr std::array c_units{StUnit{"length", "in the unit of the spacing"}, StUnit{"pixels", "pixels"},
                             StUnit{"angle", "radians"}, StUnit{"grey value", "as a grey value"}};

struct StSpacingWord {
    const char* word;
    EnSpacingUse use;
};

constexpr std::array c_spacingWords{StSpacingWord{"yes", SPACING_USED}, StSpacingWord{"no", SPACING_IGNORED},
                                    StSpacingWord{"irrelevant", SPACING_IRRELEVANT},
                                    StSpacingWord{"refuses unequal", SPACING_REQUIRES_EQUAL}};

bool IsOfKind(const CJson& value, EnValueKind kind) {
    switch (kind) {
    case KIND_BOOL:
        return value.IsBool();
    case KIND_LONG:
        return value.IsInteger() && value.IntegerAs<std::int32_t>();
    case KIND_DOUBLE:
        return value.IsNumber();
    case KIND_STRING:
        return value.IsString();
    case KIND_IMAGE:
        return false; // a catalogue cannot contain a file
    }
    return false;
}

StCondition ParseCondition(const CJson& object, const std::string& place) {
    CMemberReader reader(object, place + ": appliesWhen");
    StCondition condition;
    condition.key = reader.Get<std::string>("key", "");
    condition.values = reader.Get<std::vector<CJson>>("values", {});
    if (reader.Find("given") != nullptr)
        condition.isGiven = reader.Get<bool>("given");
    condition.attribute = reader.Get<std::string>("attribute", "");
    if (!condition.attribute.empty()) {
        condition.name = reader.Get<std::string>("name");
        condition.from = reader.Get<std::vector<std::string>>("from");
    }
    reader.RefuseOthers();
    const int forms = (condition.values.empty() ? 0 : 1) + (condition.isGiven ? 1 : 0) +
                      (condition.attribute.empty() ? 0 : 1);
    if (forms != 1 || condition.key.empty() == condition.attribute.empty())
        reader.Fail("needs a 'key' with 'values' or 'given', or an 'attribute'");
    return condition;
}

StRequirement ParseRequirement(const CJson& object, const std::string& place) {
    CMemberReader reader(object, place + ": requires");
    StRequirement requirement;
    requirement.values = reader.Get<std::vector<CJson>>("values", {});
    requirement.keys = reader.Get<std::vector<std::string>>("keys");
    reader.RefuseOthers();
    return requirement;
}

void RequireValuesOfKind(const std::vector<CJson>& values, EnValueKind kind, const CMemberReader& reader,
                         const char* complaint) {
    for (const CJson& value : values) {
        if (!IsOfKind(value, kind))
            reader.Fail(complaint);
    }
}

/// Reads the members that relate a parameter to others.
void ParseRelations(CMemberReader& reader, StCatalogueParameter& parameter, const std::string& place) {
    const std::string here = place + " '" + parameter.key + "'";
    for (const CJson& object : reader.Get<std::vector<CJson>>("appliesWhen", {}))
        parameter.appliesWhen.push_back(ParseCondition(object, here));
    for (const CJson& object : reader.Get<std::vector<CJson>>("requires", {})) {
        parameter.requirements.push_back(ParseRequirement(object, here));
        RequireValuesOfKind(parameter.requirements.back().values, parameter.kind, reader,
                            "'requires' has a value that is not of its kind");
    }
}

void RequireConsistent(const StCatalogueParameter& parameter, const CMemberReader& reader) {
    if (parameter.key.empty() || parameter.meaning.empty())
        reader.Fail("has an empty 'key' or 'meaning'");
    if (!parameter.defaultValue.IsNull() && !IsOfKind(parameter.defaultValue, parameter.kind))
        reader.Fail("'default' is not of its kind");
    if (parameter.isAlwaysSent && parameter.defaultValue.IsNull() && parameter.kind != KIND_IMAGE)
        reader.Fail("is always sent and has no 'default'");
    if (parameter.isFile && parameter.kind != KIND_STRING)
        reader.Fail("is a 'file' and not a string");
    if (!parameter.unit.empty() && UnitInWords(parameter.unit).empty())
        reader.Fail("'unit' is none of length, pixels, angle, grey value");
    RequireValuesOfKind(parameter.choices, parameter.kind, reader, "has a choice that is not of its kind");
}

StCatalogueParameter ParseParameter(const CJson& object, const std::string& place) {
    StCatalogueParameter parameter;
    CMemberReader reader(object, place);
    parameter.key = reader.Get<std::string>("key");
    reader.SetPlace(place + " '" + parameter.key + "'");
    const auto kind = KindOfWord(reader.Get<std::string>("kind"));
    if (!kind)
        reader.Fail("'kind' is none of " + KindWords());
    parameter.kind = *kind;
    parameter.meaning = reader.Get<std::string>("meaning");
    parameter.unit = reader.Get<std::string>("unit", "");
    parameter.isFile = reader.Get<bool>("file", false);
    parameter.isAlwaysSent = reader.Get<bool>("alwaysSent", false);
    parameter.isRequired = reader.Get<bool>("required", false);
    parameter.isIgnored = reader.Get<bool>("ignored", false);
    if (const CJson* value = reader.Find("default"))
        parameter.defaultValue = *value;
    parameter.choices = reader.Get<std::vector<CJson>>("choices", {});
    for (const auto& [name, number] :
         {std::pair("minimum", &parameter.minimum), std::pair("maximum", &parameter.maximum),
          std::pair("step", &parameter.step)}) {
        if (reader.Find(name) != nullptr)
            *number = reader.Get<double>(name);
    }
    ParseRelations(reader, parameter, place);
    reader.RefuseOthers();
    RequireConsistent(parameter, reader);
    return parameter;
}

std::vector<StCatalogueParameter> ParseParameters(const CJson& list, const std::string& place) {
    if (!list.IsArray())
        throw std::runtime_error("catalogue: " + place + ": is not a list");
    std::vector<StCatalogueParameter> parameters;
    std::set<std::string> keys;
    for (const CJson& object : list.Elements()) {
        parameters.push_back(ParseParameter(object, place));
        if (!keys.insert(parameters.back().key).second)
            throw std::runtime_error("catalogue: " + place + ": '" + parameters.back().key +
                                     "' is listed twice");
    }
    return parameters;
}

/// Raises unless all keys are those of parameters.
void RequireKnown(const std::vector<std::string>& keys, const StCatalogueEntry& entry, const char* member) {
    for (const std::string& key : keys) {
        if (entry.Parameter(key) == nullptr)
            throw std::runtime_error("catalogue: " + entry.name + ": '" + member +
                                     "' names the unknown parameter '" + key + "'");
    }
}

/// Raises if a parameter refers to another one that the entry lacks, or to a value that one cannot have.
void RequireKnownRelations(const StCatalogueEntry& entry) {
    for (const StCatalogueParameter& parameter : entry.parameters) {
        for (const StCondition& condition : parameter.appliesWhen) {
            if (condition.key.empty())
                continue;
            RequireKnown({condition.key}, entry, "appliesWhen");
            for (const CJson& value : condition.values) {
                if (!IsOfKind(value, entry.Parameter(condition.key)->kind))
                    throw std::runtime_error("catalogue: " + entry.name + ": parameters '" + parameter.key +
                                             "': 'appliesWhen' has a value of the wrong kind");
            }
        }
        for (const StRequirement& requirement : parameter.requirements)
            RequireKnown(requirement.keys, entry, "requires");
    }
    for (const StAlternatives& alternatives : entry.alternatives)
        RequireKnown(alternatives.keys, entry, "alternatives");
    for (const std::string& key : {entry.scaleFactor, entry.scaleLength}) {
        if (!key.empty())
            RequireKnown({key}, entry, "resultScale");
    }
}

void RequirePixelTypes(const std::vector<std::string>& words, const char* besides,
                       const CMemberReader& reader) {
    for (const std::string& word : words) {
        if (word != besides && !PixelTypeOfWord(word))
            reader.Fail("knows no pixel type '" + word + "'");
    }
}

StAcceptedImages ParseImages(const CJson& object, const std::string& place) {
    CMemberReader reader(object, place);
    StAcceptedImages images;
    images.types = reader.Get<std::vector<std::string>>("types");
    images.dimensions = reader.Get<std::vector<int>>("dimensions");
    images.minimumExtent = reader.Get<std::int64_t>("minimumExtent", 0);
    images.note = reader.Get<std::string>("note", "");
    images.after = reader.Get<std::vector<std::string>>("after", {});
    reader.RefuseOthers();
    RequirePixelTypes(images.types, "", reader);
    if (images.types.empty() || images.dimensions.empty())
        reader.Fail("has no 'types' or no 'dimensions'");
    return images;
}

StAlternatives ParseAlternatives(const CJson& object, const std::string& place) {
    CMemberReader reader(object, place);
    StAlternatives alternatives;
    alternatives.keys = reader.Get<std::vector<std::string>>("keys");
    alternatives.atMost = reader.Get<std::size_t>("atMost", alternatives.keys.size());
    reader.RefuseOthers();
    if (alternatives.keys.size() < 2 || alternatives.atMost == 0)
        reader.Fail("needs two 'keys' or more, and an 'atMost' above 0");
    return alternatives;
}

std::vector<StDeviation> ParseDeviations(const CJson& list, const std::string& place) {
    if (!list.IsArray())
        throw std::runtime_error("catalogue: " + place + ": is not a list");
    std::vector<StDeviation> deviations;
    for (const CJson& object : list.Elements()) {
        CMemberReader reader(object, place);
        StDeviation deviation{reader.Get<std::string>("rule"), reader.Get<std::string>("reason")};
        reader.RefuseOthers();
        if (deviation.reason.empty())
            reader.Fail("needs a 'reason'");
        for (const StDeviation& earlier : deviations) {
            if (earlier.rule == deviation.rule)
                reader.Fail("'" + deviation.rule + "' is listed twice");
        }
        deviations.push_back(std::move(deviation));
    }
    return deviations;
}

EnSpacingUse SpacingUseOfWord(const std::string& word, const CMemberReader& reader) {
    for (const auto& [known, use] : c_spacingWords) {
        if (word == known)
            return use;
    }
    reader.Fail("'usesSpacing' is none of yes, no, irrelevant, refuses unequal");
}

/// Reads a number for all pixel types, or an object with one for each; empty without the member.
std::map<std::string, double> ParseBytes(const char* name, CMemberReader& reader) {
    const CJson* const found = reader.Find(name);
    if (found == nullptr)
        return {};
    const CJson& member = *found;
    if (member.IsNumber())
        return {{"", member.Number()}};
    std::map<std::string, double> bytes;
    if (!member.IsObject())
        reader.Fail("'" + std::string(name) + "' is neither a number nor an object");
    for (const auto& [type, number] : member.Members()) {
        RequirePixelTypes({type}, "", reader);
        if (!number.IsNumber())
            reader.Fail("'" + std::string(name) + "' is of the wrong kind");
        bytes[type] = number.Number();
    }
    return bytes;
}

EnCancel CancelOfWord(const std::string& word, const CMemberReader& reader) {
    if (word == "anywhere")
        return CANCEL_ANYWHERE;
    if (word == "partly")
        return CANCEL_PARTLY;
    if (word != "nowhere")
        reader.Fail("'cancel' is none of anywhere, partly, nowhere");
    return CANCEL_NOWHERE;
}

/// Reads the members that a pack may leave out.
void ParseOptionalMembers(CMemberReader& reader, StCatalogueEntry& entry) {
    entry.group = reader.Get<std::string>("group", "");
    entry.keywords = reader.Get<std::vector<std::string>>("keywords", {});
    for (const CJson& object : reader.Get<std::vector<CJson>>("alternatives", {}))
        entry.alternatives.push_back(ParseAlternatives(object, entry.name + ": alternatives"));
    entry.asksForFile = reader.Get<bool>("asksForFile", false);
    entry.resultTypes = reader.Get<std::vector<std::string>>("resultTypes", {});
    RequirePixelTypes(entry.resultTypes, c_same, reader);
    entry.changesSize = reader.Get<bool>("changesSize", false);
    entry.suggestedFor = reader.Get<std::vector<std::string>>("suggestedFor", {});
    RequirePixelTypes(entry.suggestedFor, c_equalSpacing, reader);
    entry.parametersFor = reader.Get<std::string>("parametersFor", "");
    if (reader.Find("usesSpacing") != nullptr)
        entry.spacingUse = SpacingUseOfWord(reader.Get<std::string>("usesSpacing"), reader);
    entry.bytesPerVoxel = ParseBytes("bytesPerVoxel", reader);
    entry.fixedBytes = ParseBytes("fixedBytes", reader);
    if (const CJson* blocks = reader.Find("blocks"))
        entry.blocks = ParseCatalogueBlocks(*blocks, entry.parameters, entry.name + ": blocks");
    if (const CJson* deviations = reader.Find("deviations"))
        entry.deviations = ParseDeviations(*deviations, entry.name + ": deviations");
    if (const CJson* scale = reader.Find("resultScale")) {
        CMemberReader keys(*scale, entry.name + ": resultScale");
        entry.scaleFactor = keys.Get<std::string>("factor", "");
        entry.scaleLength = keys.Get<std::string>("length", "");
        keys.RefuseOthers();
    }
}

} // namespace

StCatalogueEntry ParseCatalogueEntry(const CJson& source) {
    CMemberReader reader(source, "an entry");
    StCatalogueEntry entry;
    entry.name = reader.Get<std::string>("name");
    reader.SetPlace(entry.name);
    entry.title = reader.Get<std::string>("title");
    entry.summary = reader.Get<std::string>("summary");
    entry.images = ParseImages(reader.Get<CJson>("images"), entry.name + ": images");
    entry.parameters = ParseParameters(reader.Get<CJson>("parameters"), entry.name + ": parameters");
    entry.settings = ParseParameters(reader.Get<CJson>("settings"), entry.name + ": settings");
    entry.opensDialogs = reader.Get<bool>("dialogs");
    entry.cancel = CancelOfWord(reader.Get<std::string>("cancel"), reader);
    entry.documentsOut = reader.Get<int>("documentsOut");
    if (const CJson* measurements = reader.Find("measurements"))
        entry.measurements = ParseCatalogueMeasurements(*measurements, entry.name + ": measurements");
    ParseOptionalMembers(reader, entry);
    reader.RefuseOthers();
    RequireKnownRelations(entry);
    if (entry.title.empty() || entry.summary.empty() || entry.summary.find('\n') != std::string::npos)
        reader.Fail("needs a 'title', and a 'summary' of one line");
    entry.source = source;
    return entry;
}

std::string AcceptedInWords(const StAcceptedImages& images) {
    std::vector<std::string> dimensions;
    for (const int dimension : images.dimensions)
        dimensions.push_back(std::to_string(dimension));
    std::string text = Alternatives(images.types) + " of " + Alternatives(dimensions) + " dimensions";
    if (images.minimumExtent > 1)
        text += ", at least " + std::to_string(images.minimumExtent) + " pixels along each axis";
    if (!images.note.empty())
        text += ", " + images.note;
    return text;
}

const StCatalogueParameter* StCatalogueEntry::Parameter(std::string_view key) const {
    const auto found = std::find_if(parameters.begin(), parameters.end(),
                                    [key](const auto& parameter) { return parameter.key == key; });
    return found != parameters.end() ? &*found : nullptr;
}

std::string UnitInWords(const std::string& unit) {
    for (const auto& [word, text] : c_units) {
        if (unit == word)
            return text;
    }
    return "";
}

std::string PlainText(const CJson& value) {
    if (value.IsString())
        return value.String();
    if (value.IsNumber() && !value.IsInteger())
        return ORVEN::CString("%1", ORVEN::CString::ENC_UTF8).Arg(value.Number(), 0).Std();
    return value.Text();
}

std::string LegalValuesWithUnit(const StCatalogueParameter& parameter) {
    std::string text = LegalValuesInWords(parameter);
    const std::string unit = UnitInWords(parameter.unit);
    if (!text.empty() && !unit.empty())
        text.append(unit.find(' ') != std::string::npos ? ", " : " ");
    return text.append(unit);
}

bool IsLegal(const StCatalogueParameter& parameter, const CJson& value) {
    if (!parameter.choices.empty())
        return std::find(parameter.choices.begin(), parameter.choices.end(), value) !=
               parameter.choices.end();
    if (!parameter.minimum && !parameter.maximum)
        return true;
    // NaN, which is written as an object, is in no range.
    return value.IsNumber() && value.Number() >= parameter.minimum.value_or(value.Number()) &&
           value.Number() <= parameter.maximum.value_or(value.Number());
}

std::string LegalValuesInWords(const StCatalogueParameter& parameter) {
    std::vector<std::string> choices;
    for (const CJson& choice : parameter.choices)
        choices.push_back(choice.IsString() && choice.String().empty() ? "''" : PlainText(choice));
    if (!choices.empty())
        return "one of " + FirstTen(choices);
    const auto number = [](double value) { return PlainText(CJson(value)); };
    if (parameter.minimum && parameter.maximum)
        return number(*parameter.minimum) + " to " + number(*parameter.maximum);
    if (parameter.minimum)
        return "at least " + number(*parameter.minimum);
    if (parameter.maximum)
        return "at most " + number(*parameter.maximum);
    return "";
}

} // namespace engine
