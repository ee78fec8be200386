#include "cli/ChainFrontEnd.h"
#include "cli/Commands.h"
#include "cli/PackOption.h"
#include "engine/errors/CEngineError.h"
#include "engine/run/ImageDifference.h"
#include "engine/run/StRecordedChain.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <set>

namespace cli {

using namespace engine;

namespace {

struct StRepeatOptions {
    std::string result;
    std::optional<std::string> image;
    std::vector<std::string> outputs;
    bool isOverwriting = false;
    StChainRunOptions run;
};

/// The chain of the record, as it is to be repeated.
StRecordedChain RecordedChain(const std::vector<StRunEntry>& runs, const StRepeatOptions& options) {
    StRecordedChain recorded = ChainOfRuns(runs);
    LocateFiles(recorded, options.result);
    if (options.image)
        ReplaceImage(recorded, *options.image);
    return recorded;
}

/// Calls the function; errors say that the file cannot be repeated.
template <class Function>
auto ForResult(const std::string& file, const Function& function) {
    try {
        return function();
    } catch (const CFileError& error) {
        throw CFileError("cannot repeat '" + file + "': " + error.what());
    }
}

void RequireUnchangedFiles(const StRecordedChain& recorded, const StRepeatOptions& options) {
    const std::vector<std::string> changes = ChangesOfFiles(recorded);
    if (!changes.empty())
        throw CCommandError(STATUS_FILE, "cannot repeat '" + options.result + "': " + changes.front(),
                            {changes.begin() + 1, changes.end()});
}

/// Notes packs of another version than those on record.
void NoteVersions(const std::vector<StRunEntry>& runs, CPackSet& packs) {
    std::set<std::string> notes;
    for (const StRunEntry& entry : runs) {
        for (CPack& pack : packs.Packs()) {
            const std::string& version = pack.Catalogue().Version();
            if (pack.Name() == entry.pack && version != entry.version)
                notes.insert(entry.pack + " " + entry.version + " made the result, and " + version +
                             " repeats it");
        }
    }
    for (const std::string& note : notes)
        std::fprintf(stderr, "quillon: note: %s\n", note.c_str());
}

void Repeat(const StRepeatOptions& options) {
    if (options.image && options.outputs.empty())
        throw CCommandError(STATUS_USAGE, "--on IMAGE makes another result: give -o FILE to keep it");
    const bool isCompared = !options.image;
    const StImageOutline outline = ReadImageOutline(options.result);
    const std::vector<StRunEntry> runs = ForResult(options.result, [&] { return RunsOf(*outline.carrier); });
    StRecordedChain recorded = ForResult(options.result, [&] { return RecordedChain(runs, options); });
    RequireUnchangedFiles(recorded, options);
    CPackSet packs = OpenPacks(options.run.packs);
    CChainRun run(std::move(recorded.chain), packs,
                  {options.outputs, {options.result}, options.isOverwriting, true});
    if (!options.run.isQuiet)
        NoteVersions(runs, packs);
    const std::unique_ptr<ORVEN::CImage> result = isCompared ? ReadImage(options.result) : nullptr;
    const StChainOutcome outcome = RunWithSummary(run, options.run, packs);
    if (!isCompared)
        return;
    if (const auto difference =
            FirstDifference(*result, "'" + options.result + "'", *outcome.result, "the repeated run"))
        throw CCommandError(STATUS_PLUGIN_RAISED, "the results differ: " + *difference);
    if (!options.run.isQuiet)
        std::printf("The result is identical to %s.\n", options.result.c_str());
}

} // namespace

void AddRepeatCommand(CArgumentParser& program) {
    CCommand command =
        program.AddCommand("repeat", "Repeat the runs that made a file, and compare the results");
    const auto options = std::make_shared<StRepeatOptions>();
    command.AddPositional("RESULT", options->result,
                          "A file that was written by 'quillon run' or 'quillon chain'");
    command.AddOption("--on", options->image,
                      "Apply the runs to this image in place of the input of the first; nothing is compared, "
                      "and -o is needed",
                      "IMAGE");
    command.AddRepeated("-o,--output", options->outputs,
                        "Write the result of the last run to this file; repeat for a second result", "FILE");
    command.AddFlag("--overwrite", options->isOverwriting,
                    "Allow an output to replace an input file or RESULT");
    AddChainRunOptions(command, options->run);
    command.SetFooter(
        "Pixels, type, size and attributes are compared to the bit; the record of the runs itself is not. "
        "Inputs are looked for under their names on record, from the working folder, and beside RESULT. Each "
        "must have the content that it had then.\n\n"
        "Exit status: 0 the results are identical, 1 they differ, or a plug-in failed, 4 an input is missing "
        "or "
        "has changed, others as for 'quillon run'.\n\n"
        "Example: quillon repeat labels.nrrd");
    command.OnRun([options] { Repeat(*options); });
}

} // namespace cli
