#include "cli/RunPlugin.h"

#include "cli/CInterruptGuard.h"
#include "cli/CProgressBar.h"
#include "cli/Commands.h"
#include "cli/PackOption.h"
#include "cli/RunChecks.h"
#include "cli/RunSummary.h"
#include "cli/StRunInputs.h"
#include "engine/dialogs/CGuiApplication.h"
#include "engine/errors/CEngineError.h"
#include "engine/files/CKeptFile.h"
#include "engine/files/ImageFile.h"
#include "engine/files/ValueJson.h"
#include "engine/packs/CPackSet.h"
#include "engine/run/COutputCapture.h"
#include "engine/run/StRunRecord.h"

#include <QuillonBase/CProgressProxy.h>
#include <QuillonBase/Parallel.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace cli {

using namespace engine;

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

/// The notice to print when Ctrl-C may have no effect: otherwise a user would wait without explanation for a
/// plug-in that does not check for cancellation. Empty for a plug-in that can be cancelled anywhere or is not
/// in the catalogue.
std::string CancelNotice(const StCatalogueEntry* entry, bool isTerminal) {
    if (entry == nullptr || entry->cancel == CANCEL_ANYWHERE)
        return "";
    // On a terminal the notice replaces the progress bar.
    return (isTerminal ? CProgressBar::wipeLine : "") + ("quillon: " + entry->name) +
           (entry->cancel == CANCEL_PARTLY ? " cannot be cancelled in all parts of its work; if it goes on, a"
                                           : " cannot be cancelled; a") +
           " second Ctrl-C ends the program at once\n";
}

/// Qt itself would end the process if it cannot open windows; this exits first, with the status of a usage
/// error.
void EndWithoutWindows(const std::string& reason) {
    std::fprintf(stderr, "quillon: --gui: %s\n", reason.c_str());
    std::_Exit(STATUS_USAGE);
}

/// Runs the plug-in, answers its dialogs, captures its output and shows its progress.
StRunRecord Execute(const StRunOptions& options, const StCatalogueEntry* entry, const CPackLibrary& pack,
                    StRunInputs& inputs) {
    StRunRecord record;
    record.plugin = options.plugin;
    record.image = options.image;
    const CGuiApplication application(options.showsWindows, EndWithoutWindows);
    std::optional<CBatchDialogs> dialogs;
    if (!options.showsWindows)
        dialogs.emplace(inputs.answers);
    COutputCapture capture;
    const int terminal = capture.RealStandardError();
    {
        const bool isTerminal = isatty(terminal) != 0;
        const CInterruptGuard interrupts(CancelNotice(entry, isTerminal), terminal);
        CProgressBar bar(!options.isQuiet && isTerminal ? terminal : -1);
        const CHostSinkGuard sink(&bar);
        const std::unique_ptr<CPluginBase> plugin = pack.Create(options.plugin);
        const std::unique_ptr<CValueMap> settings = inputs.settings.Take();
        record.outcome = CallPlugin(*plugin, {options.plugin, inputs.document.get(), inputs.parameters.Take(),
                                              settings.get(), options.runsRefused});
        record.isCancelled = bar.IsCancelled();
    }
    capture.Stop();
    record.standardOutput = capture.StandardOutput();
    record.standardError = capture.StandardError();
    if (dialogs) {
        record.boxes = dialogs->Boxes();
        if (const auto error = std::find_if(record.boxes.begin(), record.boxes.end(), IsErrorBox);
            error != record.boxes.end())
            record.errorBox = *error;
        record.unusedAnswers = dialogs->UnusedAnswers();
        record.isFileUnused = options.file && !dialogs->HasSeenFileDialog();
        if (options.file && dialogs->HasSeenFileDialog())
            record.pickedFile = *options.file;
        if (!dialogs->Problem().empty())
            record.dialogProblem = dialogs->Problem();
    }
    record.files.resize(record.outcome.documents.size());
    return record;
}

/// Whether the plug-in succeeded, so that its results are kept.
bool HasResults(const StRunRecord& record, const StRunOptions& options) {
    return !record.isCancelled && !record.outcome.failure && !record.dialogProblem &&
           (record.outcome.isAccepted.value_or(false) || options.runsRefused);
}

void WriteDocuments(const std::vector<std::string>& files, StRunRecord& record) {
    const auto& documents = record.outcome.documents;
    for (std::size_t i = 0; i < documents.size() && i < files.size(); ++i) {
        const CImage* image = ImageOf(*documents[i]);
        if (image == nullptr)
            continue;
        WriteImage(*image, files[i]);
        record.files[i] = files[i];
    }
}

/// The error to end the program with; nothing if the run succeeded.
std::optional<CCommandError> EndOf(const StRunRecord& record, const StRunOptions& options,
                                   const StCatalogueEntry* entry, const CImage& image, CPackSet& packs) {
    const StPluginOutcome& outcome = record.outcome;
    if (record.isCancelled)
        return CCommandError(STATUS_CANCELLED, "cancelled; nothing was written");
    if (record.dialogProblem)
        return CCommandError(STATUS_USAGE, *record.dialogProblem);
    if (outcome.failure)
        return FailureOf(options, entry, image, *outcome.failure, packs);
    if (!outcome.isAccepted.value_or(false) && !options.runsRefused)
        return RefusalOf(options, entry, image, packs);
    if (record.errorBox)
        return CCommandError(STATUS_FILE, options.plugin + " says: " + record.errorBox->text);
    if (!record.unusedAnswers.empty())
        return CCommandError(STATUS_USAGE, "no dialog had an input named '" + record.unusedAnswers.front() +
                                               "', so the plug-in ran without that answer");
    return std::nullopt;
}

/// Runs `work`; of several failures, the first is the one that the program ends with.
template <class Work>
void KeepFirstError(std::optional<CCommandError>& first, const Work& work) {
    try {
        work();
    } catch (const CCommandError& error) {
        if (!first)
            first = error;
    } catch (const CEngineError& error) {
        if (!first)
            first.emplace(error);
    }
}

/// Protects an existing file while a plug-in that asked for it in a dialog writes directly to it.
class CPickedFile {
public:
    /// Arranges for the file to be protected just before a dialog is given its name.
    CPickedFile(const std::optional<std::string>& file, StDialogAnswers& answers) {
        if (file)
            answers.beforeSaving = [this, name = *file] { return Keep(name); };
    }

    /// Decides whether the old or the new file stays. Raises `CFileError` if the old one could not be
    /// protected or restored.
    void Settle(const StRunRecord& record, bool hasResults) {
        if (m_problem)
            throw CFileError(*m_problem);
        if (!m_kept)
            return;
        // A plug-in that warns of an empty table still means to leave the new file if there was none before.
        const bool isMeant = record.errorBox && record.errorBox->kind == "warning" && !m_kept->HasOld();
        if (hasResults && (!record.errorBox || isMeant))
            m_kept->Release();
        else
            m_kept->Restore();
    }

private:
    bool Keep(const std::string& name) {
        try {
            m_kept.emplace(name);
            return true;
        } catch (const CFileError& error) {
            m_problem = error.what();
            return false;
        }
    }

    std::optional<CKeptFile> m_kept;
    std::optional<std::string> m_problem;
};

} // namespace

void RunPlugin(const StRunOptions& options) {
    SetThreadCount(options.threads);
    CPackSet packs = OpenPacks(options.packs);
    const auto [pack, entry] = packs.Find(options.plugin);
    StRunInputs inputs = PrepareInputs(options, entry);
    CheckParameters(options, entry, packs, inputs);
    if (options.isEstimate) {
        const StImageOutline outline = ReadInputOutline(options.image, options.reading, inputs.type);
        PrintEstimate(options, outline, EstimateRun(entry, outline, inputs));
        return;
    }
    RequireFileForDialog(options, entry);
    PrepareOutputs(options, entry, inputs);
    const StImageOutline outline = ReadInputOutline(options.image, options.reading, inputs.type);
    RequireFormatsHoldResults(options, entry, outline);
    WarnIfTooLarge(EstimateRun(entry, outline, inputs));
    ReadInputs(options, inputs);
    CheckImage(options, entry, inputs);
    const CImage& image = *inputs.image;
    const CValueMap attributesBefore(image.Attributes());

    if (options.isVerbose)
        std::fprintf(stderr, "quillon: parameters %s\n", ToJson(inputs.parameters.Map()).Text().c_str());
    CPickedFile pickedFile(options.file, inputs.answers);
    StRunRecord record = Execute(options, entry, pack, inputs);
    std::optional<CCommandError> end;
    const bool hasResults = HasResults(record, options);
    KeepFirstError(end, [&] { pickedFile.Settle(record, hasResults); });
    if (hasResults) {
        KeepFirstError(end, [&] { WriteDocuments(options.outputs, record); });
        record.hasShownWindows = options.showsWindows;
        record.isReported = options.report.has_value();
        record.hasMeasured = !image.Attributes().Equal(attributesBefore);
        const bool isMeasurement = record.outcome.documents.empty() &&
                                   (entry == nullptr || entry->documentsOut == 0 || record.hasMeasured);
        if (isMeasurement && !options.outputs.empty()) {
            KeepFirstError(end, [&] {
                WriteImage(image, options.outputs.front());
                record.measuredFile = options.outputs.front();
            });
        }
    }
    if (end)
        record.outcome.failure = StFailure{"quillon", end->what()};
    else
        end = EndOf(record, options, entry, image, packs);
    if (inputs.packLog)
        KeepFirstError(end, [&] { inputs.packLog->Write(record.standardOutput + record.standardError); });
    if (inputs.report)
        KeepFirstError(end, [&] { inputs.report->Write(ReportText(record)); });
    if (hasResults && !options.isQuiet)
        std::fputs(RunSummary(record, options.outputs).c_str(), stdout);
    if (end)
        throw CCommandError(*end);
}

} // namespace cli
