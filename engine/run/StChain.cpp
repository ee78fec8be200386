#include "engine/run/StChain.h"

#include "engine/catalogue/NearestWord.h"
#include "engine/errors/CEngineError.h"
#include "engine/files/TextFile.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <set>

namespace engine {

namespace {

constexpr int c_schema = 1;

/// The members of an object in a chain. Every error is a `CCallerError`, "PLACE: WHY".
class CChainReader {
public:
    CChainReader(const CJson& object, std::string place)
        : m_object(object)
        , m_place(std::move(place)) {
        if (!object.IsObject())
            Fail("it is not an object");
    }

    void SetPlace(const std::string& place) { m_place = place; }
    [[noreturn]] void Fail(const std::string& why) const {
        throw CCallerError((m_place.empty() ? "" : m_place + ": ") + why);
    }

    const CJson* Find(const char* name) {
        m_known.emplace_back(name);
        return m_object.Find(name);
    }
    std::string Text(const char* name) {
        const CJson* const value = Find(name);
        if (value == nullptr)
            return "";
        if (!value->IsString() || value->String().empty())
            Fail(Quoted(name) + " is not a text");
        return value->String();
    }
    std::string RequiredText(const char* name) {
        std::string text = Text(name);
        if (text.empty())
            Fail(Quoted(name) + " is missing");
        return text;
    }
    bool Flag(const char* name) {
        const CJson* const value = Find(name);
        if (value != nullptr && !value->IsBool())
            Fail(Quoted(name) + " is neither true nor false");
        return value != nullptr && value->Bool();
    }
    CJson Object(const char* name) {
        const CJson* const value = Find(name);
        if (value != nullptr && !value->IsObject())
            Fail(Quoted(name) + " is not an object");
        return value != nullptr ? *value : CJson::Object();
    }
    /// An object whose values are texts.
    std::vector<std::pair<std::string, std::string>> Texts(const char* name) {
        std::vector<std::pair<std::string, std::string>> texts;
        const CJson object = Object(name);
        for (const auto& [key, value] : object.Members()) {
            if (!value.IsString())
                Fail(Quoted(name) + ": the value of " + Quoted(key) + " is not a text");
            texts.emplace_back(key, value.String());
        }
        return texts;
    }
    /// A text or a list of texts.
    std::vector<std::string> TextOrList(const char* name) {
        const CJson* const value = Find(name);
        if (value == nullptr)
            return {};
        std::vector<std::string> texts;
        for (const CJson& text : value->IsArray() ? value->Elements() : std::vector<CJson>{*value}) {
            if (!text.IsString() || text.String().empty())
                Fail(Quoted(name) + " is neither a text nor a list of texts");
            texts.push_back(text.String());
        }
        return texts;
    }
    /// Raises for a member that nobody has asked for.
    void RequireAllKnown() const {
        for (const auto& [name, value] : m_object.Members()) {
            if (std::ranges::find(m_known, name) == m_known.end())
                Fail("unknown member " + Quoted(name) + "; the nearest one is " +
                     Quoted(NearestWord(name, m_known)));
        }
    }

    static std::string Quoted(const std::string& name) { return "\"" + name + "\""; }

private:
    const CJson& m_object;
    std::string m_place;
    std::vector<std::string> m_known;
};

StChainStep StepOf(const CJson& json, std::size_t index) {
    CChainReader reader(json, "step " + std::to_string(index + 1));
    StChainStep step;
    step.id = reader.RequiredText("id");
    if (step.id.find('#') != std::string::npos)
        reader.Fail("\"id\": '" + step.id + "' has a '#', which separates an id from the number of a result");
    reader.SetPlace("step '" + step.id + "'");
    step.plugin = reader.RequiredText("plugin");
    step.pack = reader.Text("pack");
    step.input = reader.Text("input");
    try {
        step.reading = InputReadingOf(reader.Object("read"));
    } catch (const CCallerError& error) {
        reader.Fail(std::string("\"read\": ") + error.what());
    }
    step.parameters = reader.Object("parameters");
    step.images = reader.Texts("images");
    step.settings = reader.Object("settings");
    for (auto& [name, value] : reader.Texts("answers"))
        step.answers.push_back({name, value});
    step.outputs = reader.TextOrList("output");
    step.isBare = reader.Flag("bare");
    step.isForced = reader.Flag("force");
    reader.RequireAllKnown();
    if (step.input.empty() && index > 0)
        reader.Fail("\"input\" is missing; only the first step can do without");
    return step;
}

void RequireDifferentIds(const StChain& chain) {
    std::set<std::string> ids;
    for (const StChainStep& step : chain.steps) {
        if (!ids.insert(step.id).second)
            throw CCallerError("step '" + step.id + "': another step has the same id");
    }
}

CJson TextsJson(const std::vector<std::pair<std::string, std::string>>& texts) {
    CJson json = CJson::Object();
    for (const auto& [key, text] : texts)
        json.Append(key, text);
    return json;
}

CJson AnswersJson(const std::vector<StWidgetAnswer>& answers) {
    CJson json = CJson::Object();
    for (const StWidgetAnswer& answer : answers) {
        if (json.Find(answer.objectName) == nullptr)
            json.Append(answer.objectName, answer.value);
    }
    return json;
}

CJson OutputsJson(const std::vector<std::string>& outputs) {
    if (outputs.size() == 1)
        return outputs.front();
    CJson json = CJson::Array();
    for (const std::string& output : outputs)
        json.Append(output);
    return json;
}

CJson StepJson(const StChainStep& step) {
    CJson json = CJson::Object({{"id", step.id}, {"plugin", step.plugin}});
    const auto appendText = [&json](const char* name, const std::string& text) {
        if (!text.empty())
            json.Append(name, text);
    };
    const auto appendObject = [&json](const char* name, CJson object) {
        if (!object.Members().empty())
            json.Append(name, std::move(object));
    };
    appendText("pack", step.pack);
    appendText("input", step.input);
    appendObject("read", ToJson(step.reading));
    appendObject("parameters", step.parameters);
    appendObject("images", TextsJson(step.images));
    appendObject("settings", step.settings);
    appendObject("answers", AnswersJson(step.answers));
    if (!step.outputs.empty())
        json.Append("output", OutputsJson(step.outputs));
    if (step.isBare)
        json.Append("bare", true);
    if (step.isForced)
        json.Append("force", true);
    return json;
}

std::optional<std::size_t> FindStep(const StChain& chain, const std::string& id) {
    const auto found = std::ranges::find(chain.steps, id, &StChainStep::id);
    return found != chain.steps.end() ? std::optional<std::size_t>(found - chain.steps.begin())
                                      : std::nullopt;
}

} // namespace

StChain ChainOf(const CJson& json) {
    CChainReader reader(json, "");
    const CJson* const schema = reader.Find("quillon");
    if (schema == nullptr)
        reader.Fail("it is not a chain: \"quillon\": 1 is missing");
    if (!(*schema == CJson(c_schema)))
        reader.Fail("\"quillon\": " + schema->Text() +
                    " is not a version of chains that this program knows; it knows 1");
    const CJson* const steps = reader.Find("steps");
    if (steps == nullptr || !steps->IsArray() || steps->Elements().empty())
        reader.Fail("\"steps\" is not a list of at least one step");
    StChain chain;
    chain.result = reader.Text("result");
    reader.RequireAllKnown();
    for (const CJson& step : steps->Elements())
        chain.steps.push_back(StepOf(step, chain.steps.size()));
    RequireDifferentIds(chain);
    if (!chain.result.empty() && !FindResult(chain, chain.result))
        reader.Fail("\"result\": there is no step '" + chain.result + "'");
    return chain;
}

StChain ReadChain(const std::string& path) {
    const std::optional<CJson> json = CJson::Parse(ReadTextFile(path));
    if (!json)
        throw CFileError("'" + path + "' is not valid JSON");
    try {
        return ChainOf(*json);
    } catch (const CCallerError& error) {
        throw CCallerError("'" + path + "': " + error.what());
    }
}

CJson ToJson(const StChain& chain) {
    CJson steps = CJson::Array();
    for (const StChainStep& step : chain.steps)
        steps.Append(StepJson(step));
    CJson json = CJson::Object({{"quillon", c_schema}, {"steps", std::move(steps)}});
    if (!chain.result.empty())
        json.Append("result", chain.result);
    return json;
}

std::optional<StResultReference> FindResult(const StChain& chain, const std::string& name) {
    const auto hash = name.rfind('#');
    const auto step = FindStep(chain, name.substr(0, hash));
    if (!step || hash == std::string::npos)
        return step ? std::optional(StResultReference{*step, 0}) : std::nullopt;
    std::size_t number = 0;
    const char* const end = name.data() + name.size();
    const auto [rest, error] = std::from_chars(name.data() + hash + 1, end, number);
    if (error != std::errc() || rest != end || number == 0)
        return std::nullopt;
    return StResultReference{*step, number - 1};
}

} // namespace engine
