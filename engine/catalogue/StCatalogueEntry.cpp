#include "engine/catalogue/StCatalogueEntry.h"

#include "engine/files/ImageFile.h"
#include "engine/files/ImageWords.h"

#include <sorblib2core/CString.h>

#include <algorithm>
#include <concepts>
#include <set>
#include <stdexcept>

namespace engine {

namespace {

/// Reads the members of a JSON object and raises an error for those that were never read.
class CMemberReader {
public:
    CMemberReader(const CJson& object, std::string place)
        : m_object(object)
        , m_place(std::move(place)) {
        if (!object.IsObject())
            Fail("is no object");
    }

    void SetPlace(const std::string& place) { m_place = place; }

    [[noreturn]] void Fail(const std::string& why) const {
        throw std::runtime_error("catalogue: " + m_place + ": " + why);
    }

    const CJson* Find(const char* name) {
        m_asked.insert(name);
        return m_object.Find(name);
    }

    template <class T>
    T Get(const char* name) {
        const CJson* member = Find(name);
        if (member == nullptr)
            Fail(std::string("lacks '") + name + "'");
        return Convert<T>(*member, name);
    }

    template <class T>
    T Get(const char* name, T fallback) {
        const CJson* member = Find(name);
        return member != nullptr ? Convert<T>(*member, name) : fallback;
    }

    void RefuseOthers() const {
        std::set<std::string> others; // in a fixed order, so that the message names the same one each time
        for (const auto& [name, member] : m_object.Members()) {
            if (!m_asked.contains(name))
                others.insert(name);
        }
        if (!others.empty())
            Fail("has the unknown member '" + *others.begin() + "'");
    }

private:
    template <class T>
    T Convert(const CJson& member, const char* name) const {
        T value{};
        if (!Store(member, value))
            Fail(std::string("'") + name + "' is of the wrong kind");
        return value;
    }

    // Each stores the value if it is of this kind, without conversion.

    static bool Store(const CJson& member, CJson& value) {
        value = member;
        return true;
    }

    static bool Store(const CJson& member, bool& value) {
        return member.IsBool() && (value = member.Bool(), true);
    }

    static bool Store(const CJson& member, std::string& value) {
        return member.IsString() && (value = member.String(), true);
    }

    static bool Store(const CJson& member, double& value) {
        return member.IsNumber() && (value = member.Number(), true);
    }

    template <std::integral Integer>
    static bool Store(const CJson& member, Integer& value) {
        const auto number = member.IsInteger() ? member.IntegerAs<Integer>() : std::nullopt;
        value = number.value_or(0);
        return number.has_value();
    }

    template <class T>
    static bool Store(const CJson& member, std::vector<T>& values) {
        return member.IsArray() &&
               std::all_of(member.Elements().begin(), member.Elements().end(),
                           [&values](const CJson& element) { return Store(element, values.emplace_back()); });
    }

    const CJson& m_object;
    std::string m_place;
    std::set<std::string> m_asked;
};

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
