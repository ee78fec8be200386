#include "engine/run/CChainRun.h"

#include "engine/catalogue/NearestWord.h"
#include "engine/errors/CEngineError.h"
#include "engine/files/CTextOutput.h"
#include "engine/files/OutputChecks.h"
#include "engine/files/ValueJson.h"
#include "engine/run/CPickedFile.h"

#include <sorblib2core/CValueVector.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <algorithm>
#include <filesystem>

namespace engine {

using ORVEN::CImage;
using ORVEN::CValue;
using ORVEN::CValueMap;

namespace {

std::string PlaceOf(const std::string& id) { return "step '" + id + "': "; }

/// Calls the function and puts the step in front of the errors that it raises.
template <class Function>
auto InStep(const std::string& id, const Function& function) {
    try {
        return function();
    } catch (const CEngineError& error) {
        throw CEngineError(error.Fault(), PlaceOf(id) + error.what());
    }
}

/// All names of images in a step.
std::vector<std::string> NamesIn(const StChainStep& step) {
    std::vector<std::string> names = {step.input};
    for (const auto& [key, name] : step.images)
        names.push_back(name);
    return names;
}

/// The steps from one to another, each of which needs the result of the next; empty if there is no such way.
std::vector<std::size_t> WayBetween(const StChain& chain, std::size_t from, std::size_t to,
                                    std::vector<bool>& isSeen) {
    if (from == to)
        return {from};
    isSeen[from] = true;
    for (const std::string& name : NamesIn(chain.steps[from])) {
        const auto needed = FindResult(chain, name);
        if (!needed || isSeen[needed->step])
            continue;
        std::vector<std::size_t> way = WayBetween(chain, needed->step, to, isSeen);
        if (!way.empty()) {
            way.insert(way.begin(), from);
            return way;
        }
    }
    return {};
}

bool HasPointers(const CValue& value) {
    if (value.GenericType() == CValue::VAL_POINTER)
        return true;
    if (const CValueMap* const map = value.Map()) {
        for (auto entry = map->begin(); entry != map->end(); ++entry) {
            if (HasPointers(*entry.Value()))
                return true;
        }
    } else if (const ORVEN::CValueVector* const vector = value.Vector()) {
        return std::any_of(vector->begin(), vector->end(),
                           [](const CValue* element) { return element != nullptr && HasPointers(*element); });
    }
    return false;
}

/// Leaves the attributes that a file would hold: what pointers refer to may be gone when a later step runs.
void RemovePointers(CImage& image) {
    if (!HasPointers(image.Attributes()))
        return;
    const std::unique_ptr<CValue> kept = FromJson(ToJson(image.Attributes()));
    ORVEN::CQuillonHeaderTools::SetAttributes(image, *kept->Map());
}

CImage* ImageIn(CValueMap& document) {
    return ImageOf(document) != nullptr ? ORVEN::UnwrapPointer<CImage>(document.Entry("content", true))
                                        : nullptr;
}

/// A copy with pixels and attributes of its own.
std::shared_ptr<CImage> CopyOf(const CImage& image) {
    auto copy = std::make_shared<CImage>(image);
    ORVEN::CQuillonHeaderTools::SetAttributes(*copy, image.Attributes());
    return copy;
}

/// The finding with the place in the chain where a missing value is stated.
std::string Sentence(const StFinding& finding, const StCatalogueEntry& entry) {
    if (finding.kind != FINDING_MISSING)
        return finding.message;
    const StCatalogueParameter* const parameter = entry.Parameter(finding.key);
    const bool isImage = parameter != nullptr && parameter->kind == KIND_IMAGE;
    return finding.message + "; state it under " + (isImage ? "\"images\"" : "\"parameters\"");
}

} // namespace

std::string CChainRun::StSource::Key() const {
    if (result)
        return std::to_string(result->step).append("#").append(std::to_string(result->result));
    return file + "\n" + ToJson(reading).Text();
}

// ---- checks

CChainRun::CChainRun(StChain chain, CPackSet& packs, StChainOptions options)
    : m_chain(std::move(chain))
    , m_options(std::move(options)) {
    if (m_chain.steps.front().input.empty())
        throw CCallerError(PlaceOf(m_chain.steps.front().id) +
                           "no image is named for it; name one, or give the step an \"input\"");
    CheckOrder();
    m_result = m_chain.result.empty() ? StResultReference{m_chain.steps.size() - 1, 0}
                                      : FindResult(m_chain, m_chain.result).value();
    for (std::size_t i = 0; i < m_chain.steps.size(); ++i)
        InStep(m_chain.steps[i].id, [&] { Prepare(i, packs); });
    CheckOutputs();
}

void CChainRun::CheckOrder() const {
    for (std::size_t i = 0; i < m_chain.steps.size(); ++i) {
        InStep(m_chain.steps[i].id, [&] {
            for (const std::string& name : NamesIn(m_chain.steps[i]))
                CheckReference(i, name);
        });
    }
}

void CChainRun::CheckReference(std::size_t index, const std::string& name) const {
    const auto needed = FindResult(m_chain, name);
    if (!needed || needed->step < index)
        return;
    std::vector<bool> isSeen(m_chain.steps.size());
    const std::vector<std::size_t> way = WayBetween(m_chain, needed->step, index, isSeen);
    if (way.empty())
        throw CCallerError("'" + name + "' is the result of a later step; put that step first");
    std::string circle = "'" + m_chain.steps[index].id + "'";
    for (const std::size_t step : way)
        circle += " needs '" + m_chain.steps[step].id + "'" + (step != index ? ", which" : "");
    throw CCallerError("it needs its own result: " + circle);
}

CChainRun::StSource CChainRun::SourceOf(const std::string& name, const StInputReading& reading) const {
    StSource source;
    source.result = FindResult(m_chain, name);
    if (source.result) {
        if (!reading.IsPlain())
            throw CCallerError("\"read\" is for files, and '" + name + "' is the result of a step");
        const StCatalogueEntry* const entry = m_steps[source.result->step].found.entry;
        const auto most = static_cast<std::size_t>(entry != nullptr ? std::max(entry->documentsOut, 1) : 0);
        if (entry != nullptr && source.result->result >= most)
            throw CCallerError("there is no '" + name + "': " + entry->name + " makes at most " +
                               std::to_string(most) + (most == 1 ? " image" : " images"));
        return source;
    }
    std::error_code error;
    if (!std::filesystem::exists(name, error)) {
        std::vector<std::string> ids;
        for (const StChainStep& step : m_chain.steps)
            ids.push_back(step.id);
        const std::string near = NearWord(name, ids);
        throw CEngineError(EnFault::FILE, "'" + name + "' is neither a step nor a file" +
                                              (near.empty() ? "" : "; did you mean '" + near + "'?"));
    }
    source.file = name;
    source.reading = reading;
    return source;
}

StExpectedResult CChainRun::ExpectedOf(const StSource& source) const {
    return source.result ? m_steps[source.result->step].expected
                         : Expected(ReadInputOutline(source.file, source.reading));
}

void CChainRun::Prepare(std::size_t index, CPackSet& packs) {
    const StChainStep& stated = m_chain.steps[index];
    const StFoundPlugin found =
        stated.pack.empty() ? packs.Find(stated.plugin) : packs.FindIn(stated.pack, stated.plugin);
    const StCatalogueEntry* const entry = found.entry;
    StStep step{found,
                CParameterMap("parameter", entry != nullptr ? &entry->parameters : nullptr),
                CParameterMap("setting", entry != nullptr ? &entry->settings : nullptr),
                SourceOf(stated.input, stated.reading),
                {},
                {},
                std::nullopt,
                {}};
    if (m_options.isRepetition) {
        step.parameters.SetAllAsSent(stated.parameters);
        step.settings.SetAllAsSent(stated.settings);
    } else {
        step.parameters.SetAll(stated.parameters);
        step.settings.SetAll(stated.settings);
    }
    step.settings.RequireRegularFiles();
    PrepareImages(stated, step);
    if (!stated.isBare)
        step.parameters.FillDefaults();
    if (!m_options.isRepetition)
        CheckParameters(stated, step);
    PrepareOutputs(stated, step);
    step.expected = Expected(entry, ExpectedOf(step.input));
    for (const auto& [key, image] : step.images)
        (void)ExpectedOf(image);
    RequireFormatsHold(step.outputs, step.expected);
    m_steps.push_back(std::move(step));
}

void CChainRun::PrepareImages(const StChainStep& stated, StStep& step) const {
    const StCatalogueEntry* const entry = step.found.entry;
    for (const auto& [key, name] : stated.images) {
        const StCatalogueParameter* const parameter = entry != nullptr ? entry->Parameter(key) : nullptr;
        if (parameter != nullptr && parameter->kind != KIND_IMAGE)
            throw CCallerError("parameter '" + key + "' is no image; state it under \"parameters\"");
        const bool isChecked = entry != nullptr && !m_options.isRepetition;
        step.parameters.Set({key, isChecked ? std::nullopt : std::optional(KIND_IMAGE), name});
        if (!name.empty())
            step.images.emplace(key, SourceOf(name, {}));
    }
}

void CChainRun::CheckParameters(const StChainStep& stated, const StStep& step) {
    if (step.found.entry == nullptr)
        return;
    CParameterChecks checks(*step.found.entry, step.parameters.Map());
    for (const std::string& key : step.parameters.SetKeys())
        checks.SetByUser(key);
    for (const StFinding& finding : checks.Findings()) {
        if (finding.kind != FINDING_NO_EFFECT)
            throw CCallerError(Sentence(finding, *step.found.entry));
        m_warnings.push_back(PlaceOf(stated.id) + finding.message);
    }
}

void CChainRun::PrepareOutputs(const StChainStep& stated, StStep& step) const {
    step.outputs = stated.outputs;
    if (step.found.entry != nullptr && step.found.entry->asksForFile && !m_options.isRepetition) {
        if (stated.outputs.size() != 1)
            throw CCallerError(stated.plugin + " writes a table: name one file as \"output\"");
        step.table = stated.outputs.front();
        step.outputs.clear();
        RequirePlace(*step.table);
        if (!IsDeviceOrPipe(*step.table))
            RequireWritableFile(*step.table);
    }
    for (const std::string& output : step.outputs)
        RequireImageFileName(output);
}

std::vector<std::string> CChainRun::FilesRead() const {
    std::vector<std::string> files = m_options.filesRead;
    for (const StStep& step : m_steps) {
        if (!step.input.result)
            files.push_back(step.input.file);
        for (const auto& [key, image] : step.images) {
            if (!image.result)
                files.push_back(image.file);
        }
        for (const auto& [key, file] : step.settings.NamedFiles())
            files.push_back(file);
    }
    return files;
}

void CChainRun::RequireDifferentOutputs() const {
    std::vector<std::string> images;
    std::vector<std::string> tables;
    for (std::size_t i = 0; i < m_steps.size(); ++i) {
        images.insert(images.end(), m_steps[i].outputs.begin(), m_steps[i].outputs.end());
        if (m_steps[i].table)
            tables.push_back(*m_steps[i].table);
        InStep(m_chain.steps[i].id, [&] { RequireDifferentFiles(images, tables); });
    }
    images.insert(images.end(), m_options.outputs.begin(), m_options.outputs.end());
    RequireDifferentFiles(images, tables);
}

void CChainRun::CheckOutputs() const {
    for (const std::string& output : m_options.outputs)
        RequireImageFileName(output);
    RequireDifferentOutputs();
    const std::vector<std::string> read = FilesRead();
    for (std::size_t i = 0; i < m_steps.size(); ++i) {
        InStep(m_chain.steps[i].id, [&] {
            std::vector<std::string> written = m_steps[i].outputs;
            for (const std::string& output : written)
                RequireWritableImage(output);
            if (m_steps[i].table && !IsDeviceOrPipe(*m_steps[i].table))
                written.push_back(*m_steps[i].table);
            if (!m_options.isOverwriting)
                RequireNoInput(written, read);
        });
    }
    if (!m_options.isOverwriting)
        RequireNoInput(m_options.outputs, read);
    for (const std::string& output : m_options.outputs)
        RequireWritableImage(output);
    if (!m_options.outputs.empty())
        RequireFormatsHold({m_options.outputs.front()}, m_steps[m_result.step].expected);
}

// ---- the run

StChainOutcome CChainRun::Run(const StChainFrontEnd& frontEnd) {
    StChainOutcome outcome;
    for (std::size_t i = 0; i < m_steps.size() && !outcome.stopped; ++i)
        InStep(m_chain.steps[i].id, [&] { RunStep(i, frontEnd, outcome); });
    if (!outcome.stopped)
        outcome.result = m_loaded.at(StSource{m_result, {}, {}}.Key()).image;
    m_loaded.clear();
    return outcome;
}

std::string CChainRun::NameOf(const StSource& source) const {
    return source.result ? "the result of step '" + m_chain.steps[source.result->step].id + "'" : source.file;
}

bool CChainRun::IsNeededAfter(std::size_t index, const std::string& key) const {
    const auto uses = [&key](const StStep& step) {
        return step.input.Key() == key || std::ranges::any_of(step.images, [&key](const auto& image) {
                   return image.second.Key() == key;
               });
    };
    return StSource{m_result, {}, {}}.Key() == key ||
           std::any_of(m_steps.begin() + static_cast<std::ptrdiff_t>(index) + 1, m_steps.end(), uses);
}

CChainRun::StLoaded& CChainRun::Load(const StSource& source) {
    const auto [found, isNew] = m_loaded.try_emplace(source.Key());
    StLoaded& loaded = found->second;
    if (isNew) {
        loaded.file = HashedImage(source.file, source.reading);
        loaded.image = ReadInput(source.file, source.reading);
        loaded.label = std::filesystem::path(source.file).filename().string();
    }
    return loaded;
}

void CChainRun::RunStep(std::size_t index, const StChainFrontEnd& frontEnd, StChainOutcome& outcome) {
    StStep& step = m_steps[index];
    const std::shared_ptr<CImage> image = Load(step.input).image;
    for (const auto& [key, source] : step.images)
        step.parameters.SetImage(key, *Load(source).image);
    const CValueMap attributesBefore(image->Attributes());
    StRunRecord record = Perform(index, frontEnd);
    std::vector<std::string> unfilled;
    if (HasResults(record)) {
        for (const auto& document : record.outcome.documents) {
            if (CImage* const result = ImageIn(*document))
                RemovePointers(*result);
        }
        RemovePointers(*image);
        unfilled = Write(index, record, outcome);
    }
    if (EndOf(record) != RUN_DONE) {
        outcome.stopped =
            StStoppedStep{index, step.found.entry, NameOf(step.input), image, std::move(record)};
        return;
    }
    if (frontEnd.onStep)
        frontEnd.onStep(index, record, unfilled);
    Keep(index, record, attributesBefore);
    Release(index);
}

StRunRecord CChainRun::Perform(std::size_t index, const StChainFrontEnd& frontEnd) {
    const StChainStep& stated = m_chain.steps[index];
    StStep& step = m_steps[index];
    const StLoaded& input = m_loaded.at(step.input.Key());
    if (frontEnd.onImage) {
        std::vector<StFinding> findings;
        if (step.found.entry != nullptr) {
            CParameterChecks checks(*step.found.entry, step.parameters.Map());
            for (const std::string& key : step.parameters.SetKeys())
                checks.SetByUser(key);
            findings = checks.FindingsOn(*input.image);
        }
        frontEnd.onImage(index, step.found.entry, *input.image, findings);
    }
    const std::unique_ptr<CValueMap> document = MakeDocument(*input.image, input.label);
    StDialogAnswers answers;
    answers.widgets = stated.answers;
    answers.file = step.table;
    CPickedFile pickedFile(step.table, answers);
    StPluginRun run{stated.plugin, step.found, *document, step.parameters,
                    step.settings, answers,    input.file};
    for (const auto& [key, source] : step.images) {
        if (!source.result)
            run.images[key] = m_loaded.at(source.Key()).file;
    }
    run.isBare = stated.isBare;
    run.runsRefused = stated.isForced;
    MakeProgress makeProgress;
    if (frontEnd.makeProgress)
        makeProgress = [&](int standardError) {
            return frontEnd.makeProgress(index, step.found.entry, standardError);
        };
    StRunRecord record = PerformRun(std::move(run), makeProgress);
    record.image = NameOf(step.input);
    pickedFile.Settle(record);
    return record;
}

std::vector<std::string> CChainRun::Write(std::size_t index, StRunRecord& record, StChainOutcome& outcome) {
    std::vector<const CImage*> results;
    if (record.isMeasurement)
        results.push_back(m_loaded.at(m_steps[index].input.Key()).image.get());
    for (const auto& document : record.outcome.documents)
        results.push_back(ImageOf(*document));
    std::vector<std::string> unfilled;
    const auto write = [&](const std::string& file, std::size_t result) {
        if (result >= results.size() || results[result] == nullptr) {
            unfilled.push_back(file);
            return;
        }
        WriteImage(*results[result], file);
        outcome.written.push_back(file);
        std::string& recorded = record.isMeasurement ? record.measuredFile : record.files[result];
        recorded.append(recorded.empty() ? "" : " and ").append(file);
    };
    for (std::size_t i = 0; i < m_steps[index].outputs.size(); ++i)
        write(m_steps[index].outputs[i], i);
    for (std::size_t i = 0; m_result.step == index && i < m_options.outputs.size(); ++i)
        write(m_options.outputs[i], m_result.result + i);
    if (!record.pickedFile.empty())
        outcome.written.push_back(record.pickedFile);
    return unfilled;
}

void CChainRun::Keep(std::size_t index, StRunRecord& record, const CValueMap& attributesBefore) {
    const std::string inputKey = m_steps[index].input.Key();
    std::shared_ptr<CImage> image = m_loaded.at(inputKey).image;
    std::vector<std::shared_ptr<CImage>> results;
    std::vector<std::string> labels;
    if (record.isMeasurement) {
        // Other steps see the image as it was before the measurement.
        results.push_back(IsNeededAfter(index, inputKey) ? CopyOf(*image) : image);
        labels.push_back(m_loaded.at(inputKey).label);
    }
    for (auto& document : record.outcome.documents) {
        const std::shared_ptr<CValueMap> shared(std::move(document));
        labels.push_back(LabelOf(*shared));
        results.emplace_back(shared, ImageIn(*shared));
    }
    if (!record.isMeasurement || results.front() != image)
        ORVEN::CQuillonHeaderTools::SetAttributes(*image, attributesBefore);
    RequireResults(index, results.size());
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (results[i] != nullptr)
            m_loaded[StSource{StResultReference{index, i}, {}, {}}.Key()] = {results[i], {}, labels[i]};
    }
}

void CChainRun::RequireResults(std::size_t index, std::size_t count) const {
    const auto require = [&](const StSource& source) {
        if (source.result && source.result->step == index && source.result->result >= count)
            throw CPluginError(m_chain.steps[index].plugin + " made " +
                               (count == 0   ? "no image"
                                : count == 1 ? "one image"
                                             : std::to_string(count) + " images") +
                               ", and image " + std::to_string(source.result->result + 1) + " is needed");
    };
    for (const StStep& step : m_steps) {
        require(step.input);
        for (const auto& [key, source] : step.images)
            require(source);
    }
    require(StSource{m_result, {}, {}});
}

void CChainRun::Release(std::size_t index) {
    std::erase_if(m_loaded, [&](const auto& loaded) { return !IsNeededAfter(index, loaded.first); });
}

} // namespace engine
