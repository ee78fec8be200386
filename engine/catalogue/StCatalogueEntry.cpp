#include "engine/catalogue/StCatalogueEntry.h"

#include "engine/catalogue/CMemberReader.h"
#include "engine/files/ImageFile.h"
#include "engine/files/ImageWords.h"

#include <sorblib2core/CString.h>

#include <set>
#include <stdexcept>

namespace engine {

namespace {

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
    if (const CJson* value = reader.Find("default"))
        parameter.defaultValue = *value;
    parameter.choices = reader.Get<std::vector<CJson>>("choices", {});
    if (const CJson* minimum = reader.Find("minimum"); minimum != nullptr)
        parameter.minimum = reader.Get<double>("minimum");
    if (const CJson* maximum = reader.Find("maximum"); maximum != nullptr)
        parameter.maximum = reader.Get<double>("maximum");
    reader.RefuseOthers();

    if (parameter.key.empty() || parameter.meaning.empty())
        reader.Fail("has an empty 'key' or 'meaning'");
    if (!parameter.defaultValue.IsNull() && !IsOfKind(parameter.defaultValue, parameter.kind))
        reader.Fail("'default' is not of its kind");
    if (parameter.isAlwaysSent && parameter.defaultValue.IsNull() && parameter.kind != KIND_IMAGE)
        reader.Fail("is always sent and has no 'default'");
    if (parameter.isFile && parameter.kind != KIND_STRING)
        reader.Fail("is a 'file' and no text");
    for (const CJson& choice : parameter.choices) {
        if (!IsOfKind(choice, parameter.kind))
            reader.Fail("has a choice that is not of its kind");
    }
    return parameter;
}

std::vector<StCatalogueParameter> ParseParameters(const CJson& list, const std::string& place) {
    if (!list.IsArray())
        throw std::runtime_error("catalogue: " + place + ": is no list");
    std::vector<StCatalogueParameter> parameters;
    std::set<std::string> keys;
    for (const CJson& object : list.Elements()) {
        parameters.push_back(ParseParameter(object, place));
        if (!keys.insert(parameters.back().key).second)
            throw std::runtime_error("catalogue: " + place + ": '" + parameters.back().key +
                                     "' stands there twice");
    }
    return parameters;
}

StAcceptedImages ParseImages(const CJson& object, const std::string& place) {
    CMemberReader reader(object, place);
    StAcceptedImages images;
    images.types = reader.Get<std::vector<std::string>>("types");
    images.dimensions = reader.Get<std::vector<int>>("dimensions");
    images.minimumExtent = reader.Get<std::int64_t>("minimumExtent", 0);
    images.note = reader.Get<std::string>("note", "");
    reader.RefuseOthers();
    for (const std::string& word : images.types) {
        if (!PixelTypeOfWord(word))
            reader.Fail("knows no pixel type '" + word + "'");
    }
    if (images.types.empty() || images.dimensions.empty())
        reader.Fail("has no 'types' or no 'dimensions'");
    return images;
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
    reader.RefuseOthers();
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

std::string LegalValuesInWords(const StCatalogueParameter& parameter) {
    std::string text;
    for (const CJson& choice : parameter.choices)
        text.append(text.empty() ? "" : ", ").append(choice.IsString() ? choice.String() : choice.Text());
    if (!parameter.choices.empty())
        return "one of " + text;
    const auto number = [](double value) {
        return ORVEN::CString("%1", ORVEN::CString::ENC_UTF8).Arg(value, 0).Std();
    };
    if (parameter.minimum && parameter.maximum)
        return number(*parameter.minimum) + " to " + number(*parameter.maximum);
    if (parameter.minimum)
        return "at least " + number(*parameter.minimum);
    if (parameter.maximum)
        return "at most " + number(*parameter.maximum);
    return "";
}

} // namespace engine
