#include "cli/ChainFrontEnd.h"

#include "cli/CCommandError.h"
#include "cli/CTerminalProgress.h"
#include "cli/RunChecks.h"
#include "cli/RunSummary.h"
#include "engine/files/ImageWords.h"

#include <QuillonBase/Parallel.h>

#include <cstdio>

namespace cli {

using namespace engine;

namespace {

void Warn(const std::string& text) { std::fprintf(stderr, "quillon: warning: %s\n", text.c_str()); }

std::string StepName(const StChain& chain, std::size_t step) { return "step '" + chain.steps[step].id + "'"; }

StChainFrontEnd FrontEnd(const StChain& chain, const StChainRunOptions& options) {
    StChainFrontEnd frontEnd;
    frontEnd.makeProgress = [&](std::size_t step, const StCatalogueEntry* entry, int terminal) {
        const std::string prefix = std::to_string(step + 1) + "/" + std::to_string(chain.steps.size()) + " " +
                                   chain.steps[step].id + ": ";
        return std::make_unique<CTerminalProgress>(entry, terminal, options.isQuiet, prefix);
    };
    frontEnd.onImage = [&](std::size_t step, const StCatalogueEntry* entry, const ORVEN::CImage& image,
                           const std::vector<StFinding>& findings) {
        for (const StFinding& finding : findings)
            Warn(StepName(chain, step) + ": " + finding.message);
        if (!options.isQuiet)
            NoteIgnoredSpacing(entry, image);
    };
    frontEnd.onStep = [&](std::size_t step, const StRunRecord& record,
                          const std::vector<std::string>& unfilled) {
        if (options.isQuiet)
            return;
        std::string text = chain.steps[step].id + ": " + StepSummary(record);
        for (const std::string& output : unfilled)
            text += NothingWrittenTo(output, record.isMeasurement ? 1 : record.outcome.documents.size());
        std::fputs(text.c_str(), stdout);
        std::fflush(stdout);
    };
    return frontEnd;
}

/// Ends the program with the error of the step.
[[noreturn]] void ThrowStopped(const StChain& chain, const StChainOutcome& outcome, bool isVerbose,
                               CPackSet& packs) {
    const StStoppedStep& stopped = *outcome.stopped;
    const std::string place = StepName(chain, stopped.step) + ": ";
    if (EndOf(stopped.record) == RUN_CANCELLED)
        throw CCommandError(STATUS_CANCELLED,
                            place + "cancelled; " +
                                (outcome.written.empty() ? "nothing was written"
                                                         : "written before: " + FirstTen(outcome.written)));
    const std::string& plugin = chain.steps[stopped.step].plugin;
    const EnImageSource source =
        FindResult(chain, chain.steps[stopped.step].input) ? IMAGE_OF_STEP_RESULT : IMAGE_OF_STEP_FILE;
    const auto error = ErrorOf(
        stopped.record, {plugin, stopped.imageName, stopped.entry, *stopped.image, isVerbose, source}, packs);
    throw CCommandError(error->Status(), place + error->what(), error->FurtherLines());
}

} // namespace

void AddChainRunOptions(CCommand& command, StChainRunOptions& options) {
    command.AddOption("--threads", options.threads, "Number of threads (default: one per processor)", "N")
        .InRange(1, 1024);
    command.AddRepeated("--pack", options.packs,
                        "Search this pack before the installed ones; the first pack that has the plug-in is "
                        "used",
                        "PATH");
    command.AddFlag("--quiet", options.isQuiet, "Print no summary, notes or progress bar");
    command.AddFlag("--verbose", options.isVerbose, "Print the source of an error");
}

StChainOutcome RunWithSummary(CChainRun& run, const StChainRunOptions& options, CPackSet& packs) {
    ORVEN::SetThreadCount(options.threads);
    for (const std::string& warning : run.Warnings())
        Warn(warning);
    StChainOutcome outcome = run.Run(FrontEnd(run.Chain(), options));
    if (outcome.stopped)
        ThrowStopped(run.Chain(), outcome, options.isVerbose, packs);
    return outcome;
}

} // namespace cli
