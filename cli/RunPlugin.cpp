#include "cli/RunPlugin.h"

#include "cli/CTerminalProgress.h"
#include "cli/Commands.h"
#include "cli/PackOption.h"
#include "cli/RunChecks.h"
#include "cli/RunSummary.h"
#include "cli/StRunInputs.h"
#include "engine/errors/CEngineError.h"
#include "engine/files/ImageFile.h"
#include "engine/files/ValueJson.h"
#include "engine/packs/CPackSet.h"
#include "engine/run/CPickedFile.h"
#include "engine/run/PluginRun.h"
#include "engine/run/StExpectedResult.h"

#include <QuillonBase/Parallel.h>

#include <cstdio>
#include <cstdlib>

namespace cli {

using namespace engine;

using namespace ORVEN;

namespace {

/// Qt itself would end the process if it cannot open windows; this exits first, with the status of a usage
/// error.
void EndWithoutWindows(const std::string& reason) {
    std::fprintf(stderr, "quillon: --gui: %s\n", reason.c_str());
    std::_Exit(STATUS_USAGE);
}

/// Runs the plug-in, answers its dialogs, captures its output and shows its progress.
StRunRecord Execute(const StRunOptions& options, const StFoundPlugin& found, StRunInputs& inputs) {
    const auto showProgress = [&](int terminal) {
        return std::make_unique<CTerminalProgress>(found.entry, terminal, options.isQuiet);
    };
    StPluginRun run{options.plugin,  found,          *inputs.document, inputs.parameters,
                    inputs.settings, inputs.answers, inputs.file,      inputs.imageFiles};
    run.isBare = options.isBare || options.parametersFile;
    run.runsRefused = options.runsRefused;
    run.showsWindows = options.showsWindows;
    return PerformRun(std::move(run), showProgress, EndWithoutWindows);
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

} // namespace

void RunPlugin(const StRunOptions& options) {
    SetThreadCount(options.threads);
    CPackSet packs = OpenPacks(options.packs);
    const StFoundPlugin found = packs.Find(options.plugin);
    const StCatalogueEntry* const entry = found.entry;
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
    RequireFormatsHold(options.outputs, Expected(entry, Expected(outline)));
    WarnIfTooLarge(EstimateRun(entry, outline, inputs));
    ReadInputs(options, inputs);
    CheckImage(options, entry, inputs);
    if (options.isVerbose)
        std::fprintf(stderr, "quillon: parameters %s\n", ToJson(inputs.parameters.Map()).Text().c_str());
    CPickedFile pickedFile(options.file, inputs.answers);
    StRunRecord record = Execute(options, found, inputs);
    std::optional<CCommandError> end;
    const bool hasResults = HasResults(record);
    KeepFirstError(end, [&] { pickedFile.Settle(record); });
    if (hasResults) {
        KeepFirstError(end, [&] { WriteDocuments(options.outputs, record); });
        record.isReported = options.report.has_value();
        if (record.isMeasurement && !options.outputs.empty()) {
            KeepFirstError(end, [&] {
                WriteImage(*inputs.image, options.outputs.front());
                record.measuredFile = options.outputs.front();
            });
        }
    }
    if (end)
        record.outcome.failure = StFailure{"quillon", end->what()};
    else
        end =
            ErrorOf(record, {options.plugin, options.image, entry, *inputs.image, options.isVerbose}, packs);
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
