#include "engine/run/PluginRun.h"

#include "engine/errors/CEngineError.h"
#include "engine/files/ContentHash.h"
#include "engine/files/ValueJson.h"
#include "engine/run/COutputCapture.h"
#include "engine/run/StRunEntry.h"

#include <QuillonBase/CProgressProxy.h>

#include <sorblib2core/UnwrapPointer.h>

#include <QCoreApplication>

#include <unistd.h>

#include <algorithm>
#include <optional>

namespace engine {

using namespace ORVEN;

namespace {

/// Algorithms report their progress to the sink while this object exists.
class CHostSinkGuard {
public:
    explicit CHostSinkGuard(IProgress* sink)
        : m_previous(CProgressProxy::SetHostSink(sink)) {}
    CHostSinkGuard(const CHostSinkGuard&) = delete;
    CHostSinkGuard& operator=(const CHostSinkGuard&) = delete;
    ~CHostSinkGuard() { CProgressProxy::SetHostSink(m_previous); }

private:
    IProgress* m_previous;
};

void RecordDialogs(const CBatchDialogs& dialogs, const std::optional<std::string>& file,
                   StRunRecord& record) {
    record.boxes = dialogs.Boxes();
    if (const auto error = std::find_if(record.boxes.begin(), record.boxes.end(), IsErrorBox);
        error != record.boxes.end())
        record.errorBox = *error;
    record.unusedAnswers = dialogs.UnusedAnswers();
    record.isFileUnused = file && !dialogs.HasSeenFileDialog();
    if (file && dialogs.HasSeenFileDialog())
        record.pickedFile = *file;
    if (!dialogs.Problem().empty())
        record.dialogProblem = dialogs.Problem();
}

/// The image that the document holds, to be changed; null if it has none.
CImage* ImageIn(CValueMap& document) {
    return ImageOf(document) != nullptr ? UnwrapPointer<CImage>(document.Entry("content", true)) : nullptr;
}

/// The record of the image. A damaged one is no reason to lose a run.
std::vector<StRunEntry> RunsOrNone(const CImage* image) {
    try {
        return image != nullptr ? RunsOf(*image) : std::vector<StRunEntry>();
    } catch (const CFileError&) {
        return {};
    }
}

/// The source with its hash, which is left out if the file could not be read a second time.
StRunSource SourceOf(const StInputFile& file) {
    StRunSource source;
    source.file = file.name;
    source.reading = file.reading;
    try {
        if (file.hash.valid())
            source.hash = file.hash.get();
    } catch (const CFileError&) {
        source.hash.clear();
    }
    return source;
}

const CImage* ImageAt(const CValueMap& parameters, const std::string& key) {
    const CValue* const value = parameters.Entry(key, true);
    const bool isImage = value != nullptr && value->GenericType() == CValue::VAL_POINTER &&
                         AreTypesEqual(value->ElementType(), typeid(CImage));
    return isImage ? UnwrapPointer<CImage>(value) : nullptr;
}

/// The inputs of a run, taken before it starts: the plug-in takes the parameters over.
class CRunInputs {
public:
    explicit CRunInputs(const StPluginRun& run)
        : m_input{{}, RunsOrNone(ImageOf(run.document))} {
        m_entry.plugin = run.plugin;
        m_entry.pack = run.found.source.Name();
        m_entry.version = run.found.source.Catalogue().Version();
        m_entry.program = ProgramVersion();
        m_entry.parameters = ToJson(run.parameters.Map());
        m_entry.settings = ToJson(run.settings.Map());
        m_entry.answers = run.answers.widgets;
        m_entry.hasUnknownAnswers = run.showsWindows || run.answers.isCancelled;
        m_entry.isBare = run.isBare;
        m_entry.isForced = run.runsRefused;
        AddImages(run, run.parameters.Map(), "");
        AddFiles(run);
    }

    /// The record of the results.
    std::vector<StRunEntry> RunsOfResults(const StPluginRun& run) {
        m_input.source = SourceOf(run.input);
        for (auto& [key, image] : m_images) {
            if (const auto file = run.images.find(key); file != run.images.end())
                image.source = SourceOf(file->second);
        }
        for (auto& [key, hash] : m_hashes)
            m_entry.files[key].hash = SourceOf({"", {}, hash}).hash;
        m_entry.time = RunTime();
        return RunsWith(m_entry, m_input, m_images);
    }

private:
    void AddImages(const StPluginRun& run, const CValueMap& map, const std::string& prefix) {
        for (auto entry = map.begin(); entry != map.end(); ++entry) {
            const std::string key = prefix + entry.Key().ToString();
            if (const CValueMap* const group = entry.Value()->Map())
                AddImages(run, *group, key + "/");
            else if (const CImage* const image = ImageAt(run.parameters.Map(), key))
                m_images[key].runs = RunsOrNone(image);
        }
    }

    void AddFiles(const StPluginRun& run) {
        for (const auto& [key, file] : run.settings.NamedFiles()) {
            m_entry.files[key].file = file;
            m_hashes[key] = ContentHashInBackground({file}).share();
        }
    }

    StRunEntry m_entry;
    StRunInput m_input;
    std::map<std::string, StRunInput> m_images;
    std::map<std::string, std::shared_future<std::string>> m_hashes;
};

void StoreRuns(StRunRecord& record, CImage* input, const std::vector<StRunEntry>& runs) {
    if (record.isMeasurement && input != nullptr)
        StoreRuns(*input, runs);
    std::vector<StRunEntry> runsOfResult = runs;
    StRunEntry& own = runsOfResult.back();
    for (const auto& document : record.outcome.documents) {
        if (CImage* const image = ImageIn(*document))
            StoreRuns(*image, runsOfResult);
        ++own.result;
    }
}

} // namespace

StInputFile HashedImage(const std::string& path, const StInputReading& reading) {
    return {path, reading, ContentHashInBackground(FilesOfContent(path)).share()};
}

StRunRecord PerformRun(StPluginRun run, const MakeProgress& makeProgress, CGuiApplication::OnFatal onFatal) {
    StRunRecord record;
    record.plugin = run.plugin;
    record.image = run.input.name;
    record.isForced = run.runsRefused;
    CImage* const image = ImageIn(run.document);
    CRunInputs inputs(run);
    const CValueMap attributesBefore(image != nullptr ? image->Attributes() : CValueMap());
    std::optional<CGuiApplication> application;
    if (run.hasDialogs && QCoreApplication::instance() == nullptr)
        application.emplace(run.showsWindows, onFatal);
    std::optional<CBatchDialogs> dialogs;
    if (run.hasDialogs && !run.showsWindows)
        dialogs.emplace(run.answers);
    std::optional<COutputCapture> capture;
    if (run.capturesOutput)
        capture.emplace();
    {
        const std::unique_ptr<IProgress> progress =
            makeProgress ? makeProgress(capture ? capture->RealStandardError() : STDERR_FILENO) : nullptr;
        const CHostSinkGuard sink(progress.get());
        const std::unique_ptr<CPluginBase> plugin = run.found.pack.Create(run.plugin);
        const std::unique_ptr<CValueMap> settings = run.settings.Take();
        record.outcome = CallPlugin(
            *plugin, {run.plugin, &run.document, run.parameters.Take(), settings.get(), run.runsRefused});
        record.isCancelled = progress != nullptr && progress->IsCancelled();
    }
    if (capture) {
        capture->Stop();
        record.standardOutput = capture->StandardOutput();
        record.standardError = capture->StandardError();
    }
    if (dialogs)
        RecordDialogs(*dialogs, run.answers.file, record);
    record.files.resize(record.outcome.documents.size());
    if (!HasResults(record))
        return record;
    const StCatalogueEntry* const entry = run.found.entry;
    record.hasShownWindows = run.showsWindows;
    record.hasMeasured = image != nullptr && !image->Attributes().Equal(attributesBefore);
    record.isMeasurement = record.outcome.documents.empty() &&
                           (entry == nullptr || entry->documentsOut == 0 || record.hasMeasured);
    StoreRuns(record, image, inputs.RunsOfResults(run));
    return record;
}

} // namespace engine
