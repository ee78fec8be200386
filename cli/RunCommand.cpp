#include "cli/Commands.h"
#include "cli/RunPlugin.h"

#include <memory>

namespace cli {

using namespace engine;

namespace {

void AddParameterOptions(CCommand& command, StRunOptions& options) {
    command.AddRepeated("-p,--parameter", options.parameters,
                        "A parameter, as 'quillon describe' lists them; KEY:KIND=VALUE for one that is not "
                        "listed, KIND being "
                        "bool, long, double, string or image",
                        "KEY=VALUE");
    command.AddOption(
        "--parameters", options.parametersFile,
        "All parameters from a file, as it stands: a JSON object, or the report of another run. "
        "-p adds to it",
        "FILE.json");
    command.AddFlag("--bare", options.isBare, "Send no defaults, only the parameters given");
    command.AddRepeated("-s,--setting", options.settings, "A setting of the plug-in, made before the run",
                        "KEY=VALUE");
}

void AddImageOptions(CCommand& command, StRunOptions& options) {
    command.AddOption("--as", options.pixelType,
                      "Take the image as binary (non-zero is 1), grey8, grey16, grey32 or greyf", "TYPE");
    AddGeometryOptions(command, options.reading);
    AddInputOptions(command, options.reading);
    command.AddOption("--label", options.label,
                      "Name the image so for the plug-in; without it the file's name", "TEXT");
    command.AddFlag("--no-label", options.hasNoLabel, "Give the image no name").Excludes("--label");
}

void AddDialogOptions(CCommand& command, StRunOptions& options) {
    command.AddOption("--file", options.file, "The answer to a file dialog; it is cancelled without", "PATH");
    command.AddRepeated("--choose", options.choices, "An input of a dialog that the host makes", "KEY=VALUE");
    command.AddRepeated("--answer", options.answers,
                        "Set the input of that object name in a dialog, then press OK", "NAME=VALUE");
    command.AddFlag("--cancel-dialogs", options.cancelsDialogs, "Press Cancel in every dialog");
    command
        .AddFlag("--gui", options.showsWindows, "Show real windows and let the person at the screen answer")
        .Excludes("--file")
        .Excludes("--choose")
        .Excludes("--answer")
        .Excludes("--cancel-dialogs");
}

void AddResultOptions(CCommand& command, StRunOptions& options) {
    command.AddRepeated(
        "-o,--output", options.outputs,
        "Where the result goes, repeated for the second one; a plug-in that only measures writes the image "
        "with its new attributes there",
        "FILE");
    command.AddOption("--report", options.report, "Tell all about the run as JSON, also when it fails",
                      "FILE");
    command.AddOption("--pack-log", options.packLog, "Keep what the pack writes to its output streams",
                      "FILE");
    command.AddFlag("--quiet", options.isQuiet, "No summary and no progress");
}

} // namespace

void AddRunCommand(CArgumentParser& program) {
    CCommand command = program.AddCommand("run", "Run one plug-in on one image file");
    const auto options = std::make_shared<StRunOptions>();
    command.AddPositional("NAME", options->plugin, "The plug-in, see 'quillon list'");
    command.AddPositional("IMAGE", options->image, "The image file");
    AddParameterOptions(command, *options);
    AddImageOptions(command, *options);
    AddResultOptions(command, *options);
    AddDialogOptions(command, *options);
    command.AddFlag("--force", options->runsRefused, "Run the plug-in even if it refuses the image");
    command
        .AddOption("--threads", options->threads, "How many threads to use; without it one per processor",
                   "N")
        .InRange(1, 1024);
    command.AddRepeated("--pack", options->packs,
                        "The pack to load in place of those beside the program; of several, the first that "
                        "has the plug-in is used",
                        "PATH");
    command.SetFooter(
        "Exit status: 0 done, 1 the plug-in failed, 2 usage, 3 the plug-in refused the image, 4 a file could "
        "not be read or written, or the plug-in said so in a box, 130 cancelled.\n\n"
        "Example: quillon run SegmSauvola page.png -p windowsize=12 -p coefficient=0.3 -o text.png");
    command.OnRun([options] { RunPlugin(*options); });
}

} // namespace cli
