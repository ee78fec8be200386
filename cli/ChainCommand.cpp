#include "cli/ChainFrontEnd.h"
#include "cli/Commands.h"
#include "cli/PackOption.h"
#include "cli/StandardStreams.h"
#include "engine/errors/CEngineError.h"
#include "engine/run/StRecordedChain.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace cli {

using namespace engine;

namespace {

struct StChainCommandOptions {
    std::string file;
    std::string image; ///< empty: the first step names it
    std::vector<std::string> outputs;
    bool isOverwriting = false;
    bool isCheck = false;
    StChainRunOptions run;
};

bool HasOutput(const StChain& chain, const StChainCommandOptions& options) {
    return !options.outputs.empty() ||
           std::ranges::any_of(chain.steps, [](const StChainStep& step) { return !step.outputs.empty(); });
}

void RunChain(const StChainCommandOptions& options) {
    StChain chain = ReadChain(options.file);
    if (!options.image.empty())
        ReplaceImage(chain, options.image);
    CPackSet packs = OpenPacks(options.run.packs);
    const bool hasOutput = HasOutput(chain, options);
    CChainRun run(std::move(chain), packs, {options.outputs, {options.file}, options.isOverwriting, false});
    if (options.isCheck) {
        for (const std::string& warning : run.Warnings())
            std::fprintf(stderr, "quillon: warning: %s\n", warning.c_str());
        return;
    }
    if (!hasOutput)
        throw CCommandError(STATUS_USAGE,
                            "nothing would be written: give -o RESULT, or a step an \"output\"");
    if (!options.run.isQuiet && IsStandardOutputClosed())
        throw CFileError("standard output is closed; give --quiet to run without a summary");
    RunWithSummary(run, options.run, packs);
}

} // namespace

void AddChainCommand(CArgumentParser& program) {
    CCommand command = program.AddCommand("chain", "Run several plug-ins, as a JSON file says");
    const auto options = std::make_shared<StChainCommandOptions>();
    command.AddPositional("FILE.json", options->file, "The chain");
    command.AddOptionalPositional("IMAGE", options->image,
                                  "The image file, in place of the input that the first step names");
    command.AddRepeated("-o,--output", options->outputs,
                        "Write the result of the last step to this file; repeat for a second result", "FILE");
    command.AddFlag("--overwrite", options->isOverwriting, "Allow an output to replace an input file");
    command.AddFlag("--check", options->isCheck, "Check the chain, and do not run it");
    AddChainRunOptions(command, options->run);
    command.SetFooter(
        "A step is a plug-in with its parameters; its input is a file or the id of an earlier step:\n\n"
        "  {\"quillon\": 1, \"steps\": [\n"
        "    {\"id\": \"smooth\", \"plugin\": \"Median\", \"parameters\": {\"radius\": 1}},\n"
        "    {\"id\": \"mask\", \"plugin\": \"AutoThreshold\", \"input\": \"smooth\"}]}\n\n"
        "The whole chain is checked before anything runs. Results stay in memory between steps; \"output\" "
        "of a step writes its result, too. 'quillon info --chain RESULT' prints the chain that made a "
        "file.\n\n"
        "Exit status: as for 'quillon run'.\n\n"
        "Example: quillon chain pores.json scan.nrrd -o labels.nrrd");
    command.OnRun([options] { RunChain(*options); });
}

} // namespace cli
