#include "engine/run/StRunEntry.h"

#include "engine/catalogue/ValueKind.h"
#include "engine/errors/CEngineError.h"
#include "engine/files/ValueJson.h"

#include <sorblib2core/CValueMap.h>
#include <sorblib2core/StoreEntry.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <numeric>

namespace engine {

namespace {

// Members of an entry. Parameters can be named by paths, which no key of an attribute can hold, so whatever
// is given by key is a list.
const char* const c_key = "key";

CJson SourceJson(const StRunSource& source) {
    CJson json = CJson::Object();
    if (!source.file.empty()) {
        json.Append("file", source.file);
        json.Append("sha256", source.hash);
    }
    if (CJson reading = ToJson(source.reading); !reading.Members().empty())
        json.Append("read", std::move(reading));
    if (source.run)
        json.Append("run", *source.run);
    return json;
}

CJson SourcesJson(const std::map<std::string, StRunSource>& sources) {
    CJson list = CJson::Array();
    for (const auto& [key, source] : sources) {
        CJson json = SourceJson(source);
        json.Append(c_key, key);
        list.Append(std::move(json));
    }
    return list;
}

CJson AnswersJson(const std::vector<StWidgetAnswer>& answers) {
    CJson list = CJson::Array();
    for (const StWidgetAnswer& answer : answers)
        list.Append(CJson::Object({{c_key, answer.objectName}, {"value", answer.value}}));
    return list;
}

CJson EntryJson(const StRunEntry& entry) {
    CJson json = CJson::Object({{"plugin", entry.plugin},
                                {"pack", entry.pack},
                                {"version", entry.version},
                                {"program", entry.program},
                                {"time", entry.time},
                                {"input", SourceJson(entry.input)},
                                {"parameters", entry.parameters}});
    const auto append = [&json](const char* name, CJson list) {
        if (!list.Elements().empty())
            json.Append(name, std::move(list));
    };
    append("images", SourcesJson(entry.images));
    if (!entry.settings.Members().empty())
        json.Append("settings", entry.settings);
    append("files", SourcesJson(entry.files));
    append("answers", AnswersJson(entry.answers));
    if (entry.isBare)
        json.Append("bare", true);
    if (entry.isForced)
        json.Append("forced", true);
    if (entry.hasUnknownAnswers)
        json.Append("unknown_answers", true);
    if (entry.isConverted)
        json.Append("converted", true);
    if (entry.result != 1)
        json.Append("result", entry.result);
    return json;
}

// ---- reading

[[noreturn]] void ThrowDamaged(const std::string& reason) {
    throw CFileError("its record of runs is damaged: " + reason);
}

/// The members of an object of the record. Unknown ones are left to later versions of the program.
class CRecordReader {
public:
    explicit CRecordReader(const CJson& object)
        : m_object(object) {
        if (!object.IsObject())
            ThrowDamaged(object.Text() + " is not an object");
    }

    [[nodiscard]] const CJson* Find(const char* name) const { return m_object.Find(name); }
    [[nodiscard]] std::string Text(const char* name) const {
        const CJson* const value = Find(name);
        if (value == nullptr)
            return "";
        if (!value->IsString())
            ThrowDamaged("\"" + std::string(name) + "\" is not a text");
        return value->String();
    }
    [[nodiscard]] bool Flag(const char* name) const {
        const CJson* const value = Find(name);
        return value != nullptr && value->IsBool() && value->Bool();
    }
    [[nodiscard]] std::optional<std::size_t> Index(const char* name) const {
        const CJson* const value = Find(name);
        if (value == nullptr)
            return std::nullopt;
        const auto number = value->IsInteger() ? value->IntegerAs<std::size_t>() : std::nullopt;
        if (!number)
            ThrowDamaged("\"" + std::string(name) + "\" is not an index");
        return number;
    }
    [[nodiscard]] CJson Object(const char* name) const {
        const CJson* const value = Find(name);
        if (value != nullptr && !value->IsObject())
            ThrowDamaged("\"" + std::string(name) + "\" is not an object");
        return value != nullptr ? *value : CJson::Object();
    }
    [[nodiscard]] std::vector<CJson> List(const char* name) const {
        const CJson* const value = Find(name);
        if (value != nullptr && !value->IsArray())
            ThrowDamaged("\"" + std::string(name) + "\" is not a list");
        return value != nullptr ? value->Elements() : std::vector<CJson>();
    }

private:
    const CJson& m_object;
};

StRunSource SourceOf(const CJson& json, std::size_t runs) {
    const CRecordReader reader(json);
    StRunSource source;
    source.file = reader.Text("file");
    source.hash = reader.Text("sha256");
    try {
        source.reading = InputReadingOf(reader.Object("read"));
    } catch (const CCallerError& error) {
        ThrowDamaged(error.what());
    }
    source.run = reader.Index("run");
    if (source.run && *source.run >= runs)
        ThrowDamaged("an input is said to come from a later run");
    return source;
}

std::map<std::string, StRunSource> SourcesOf(const std::vector<CJson>& list, std::size_t runs) {
    std::map<std::string, StRunSource> sources;
    for (const CJson& json : list)
        sources[CRecordReader(json).Text(c_key)] = SourceOf(json, runs);
    return sources;
}

/// The entry with that index.
StRunEntry EntryOf(const CJson& json, std::size_t index) {
    const CRecordReader reader(json);
    StRunEntry entry;
    entry.plugin = reader.Text("plugin");
    if (entry.plugin.empty())
        ThrowDamaged("a run has no \"plugin\"");
    entry.pack = reader.Text("pack");
    entry.version = reader.Text("version");
    entry.program = reader.Text("program");
    entry.time = reader.Text("time");
    entry.input = SourceOf(reader.Object("input"), index);
    entry.images = SourcesOf(reader.List("images"), index);
    entry.files = SourcesOf(reader.List("files"), index);
    entry.parameters = reader.Object("parameters");
    entry.settings = reader.Object("settings");
    for (const CJson& answer : reader.List("answers"))
        entry.answers.push_back({CRecordReader(answer).Text(c_key), CRecordReader(answer).Text("value")});
    entry.isBare = reader.Flag("bare");
    entry.isForced = reader.Flag("forced");
    entry.hasUnknownAnswers = reader.Flag("unknown_answers");
    entry.isConverted = reader.Flag("converted");
    entry.result = reader.Index("result").value_or(1);
    if (entry.result == 0)
        ThrowDamaged("results are counted from 1");
    return entry;
}

// ---- merging

/// Calls `change` with each reference of the entry to an earlier run.
template <class Function>
void ForEachReference(StRunEntry& entry, const Function& change) {
    if (entry.input.run)
        change(*entry.input.run);
    for (auto& [key, source] : entry.images) {
        if (source.run)
            change(*source.run);
    }
}

/// Adds the runs that are not there yet. Returns the index of the last one.
std::optional<std::size_t> Merge(std::vector<StRunEntry>& into, std::vector<StRunEntry> runs) {
    std::vector<std::size_t> places;
    for (StRunEntry& entry : runs) {
        ForEachReference(entry, [&places](std::size_t& run) { run = places[run]; });
        const auto found = std::ranges::find(into, entry);
        places.push_back(static_cast<std::size_t>(found - into.begin()));
        if (found == into.end())
            into.push_back(std::move(entry));
    }
    return places.empty() ? std::nullopt : std::optional(places.back());
}

/// Puts the oldest run first, and leaves the last one, which used the others, where it is. Runs whose times
/// contradict what was made of what stay as they are.
void SortByTime(std::vector<StRunEntry>& runs) {
    std::vector<std::size_t> order(runs.size()); // old index by new index
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::stable_sort(order.begin(), order.end() - 1, {},
                             [&runs](std::size_t index) { return runs[index].time; });
    std::vector<std::size_t> places(runs.size()); // new index by old index
    for (std::size_t place = 0; place < order.size(); ++place)
        places[order[place]] = place;
    std::vector<StRunEntry> sorted;
    bool isPossible = true;
    for (std::size_t place = 0; place < order.size(); ++place) {
        sorted.push_back(runs[order[place]]);
        ForEachReference(sorted.back(), [&](std::size_t& run) {
            run = places[run];
            isPossible = isPossible && run < place;
        });
    }
    if (isPossible)
        runs = std::move(sorted);
}

/// Merges the runs of the input and returns its source with a reference to the last of them.
StRunSource SourceIn(std::vector<StRunEntry>& runs, const StRunInput& input) {
    StRunSource source = input.source;
    source.run = Merge(runs, input.runs);
    const bool isChanged = !input.runs.empty() && input.runs.back().isConverted;
    if (isChanged || !source.reading.IsPlain())
        source.run.reset();
    return source;
}

std::optional<std::time_t> SourceDate() {
    const char* const text = std::getenv("SOURCE_DATE_EPOCH");
    if (text == nullptr)
        return std::nullopt;
    const std::string_view digits(text);
    std::time_t seconds = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), seconds);
    const bool isNumber = error == std::errc() && end == digits.data() + digits.size();
    return isNumber ? std::optional(seconds) : std::nullopt;
}

} // namespace

bool StRunEntry::operator==(const StRunEntry& other) const { return EntryJson(*this) == EntryJson(other); }

CJson ToJson(const std::vector<StRunEntry>& runs) {
    CJson list = CJson::Array();
    for (const StRunEntry& entry : runs)
        list.Append(EntryJson(entry));
    return list;
}

std::vector<StRunEntry> RunsOfJson(const CJson& json) {
    if (!json.IsArray())
        ThrowDamaged("it is not a list");
    std::vector<StRunEntry> runs;
    for (const CJson& element : json.Elements())
        runs.push_back(EntryOf(element, runs.size()));
    return runs;
}

std::vector<StRunEntry> RunsOf(const ORVEN::CImage& image) {
    const ORVEN::CValue* const value = image.Attributes().Entry(c_runsKey, true);
    return value != nullptr ? RunsOfJson(ToJson(*value)) : std::vector<StRunEntry>();
}

void StoreRuns(ORVEN::CImage& image, const std::vector<StRunEntry>& runs) {
    ORVEN::StoreEntry(image.Attributes(), c_runsKey, FromJson(ToJson(runs)));
}

void MarkConverted(ORVEN::CImage& image) {
    std::vector<StRunEntry> runs;
    try {
        runs = RunsOf(image);
    } catch (const CFileError&) {
        return; // nobody relies on a damaged record
    }
    if (runs.empty())
        return;
    runs.back().isConverted = true;
    StoreRuns(image, runs);
}

std::vector<StRunEntry> RunsWith(StRunEntry entry, const StRunInput& input,
                                 const std::map<std::string, StRunInput>& images) {
    std::vector<StRunEntry> runs;
    entry.input = SourceIn(runs, input);
    for (const auto& [key, image] : images)
        entry.images[key] = SourceIn(runs, image);
    runs.push_back(std::move(entry));
    SortByTime(runs);
    return runs;
}

std::string RunTime() {
    const std::time_t now =
        SourceDate().value_or(std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()));
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[40] = "";
    const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return {text, length};
}

std::string ProgramVersion() { return QUILLON_VERSION; }

} // namespace engine
