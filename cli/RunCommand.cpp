#include "cli/Commands.h"
#include "cli/RunPlugin.h"

#include <memory>

namespace cli {

using namespace engine;

namespace {

void AddParameterOptions(CCommand& command, StRunOptions& options) {
    command.AddRepeated(
        "-p,--parameter", options.parameters,
        "Set a parameter listed by 'quillon describe NAME'; for one that is not listed, give its "
        "kind as well: KEY:KIND=VALUE, with bool, long, double, string or image",
        "KEY=VALUE");
    command.AddOption(
        "--parameters", options.parametersFile,
        "Read all parameters from a JSON file or from the report of another run, without adding defaults; "
        "-p changes or adds single ones",
        "FILE.json");
    command.AddFlag("--bare", options.isBare, "Send only the parameters given, and no defaults");
    command.AddFlag("--strict", options.isStrict,
                    "Treat warnings about parameters as errors: the plug-in does not run");
    command.AddRepeated("-s,--setting", options.settings, "Make a setting of the plug-in before the run",
                        "KEY=VALUE");
}

void AddImageOptions(CCommand& command, StRunOptions& options) {
    command.AddOption("--as", options.pixelType,
                      "Read the image as binary (non-zero is 1), grey8, grey16, grey32 or greyf", "TYPE");
    AddGeometryOptions(command, options.reading);
    AddInputOptions(command, options.reading);
    command.AddOption("--label", options.label,
                      "The title of the image, which results inherit (default: the file name)", "TEXT");
    command.AddFlag("--no-label", options.hasNoLabel, "Pass the image without a title").Excludes("--label");
}

void AddDialogOptions(CCommand& command, StRunOptions& options) {
    command.AddOption("--file", options.file,
                      "The file name to enter in a file dialog; without it, file dialogs are cancelled",
                      "PATH");
    command.AddRepeated("--choose", options.choices, "Select an option in a dialog with a list of choices",
                        "KEY=VALUE");
    command.AddRepeated("--answer", options.answers,
                        "Fill in the dialog input with this object name, then press OK", "NAME=VALUE");
    command.AddFlag("--cancel-dialogs", options.cancelsDialogs, "Press Cancel in every dialog");
    command.AddFlag("--gui", options.showsWindows, "Show the dialogs on the screen and wait for your answers")
        .Excludes("--file")
        .Excludes("--choose")
        .Excludes("--answer")
        .Excludes("--cancel-dialogs");
}

void AddResultOptions(CCommand& command, StRunOptions& options) {
    command.AddRepeated(
        "-o,--output", options.outputs,
        "Write the result to this file; repeat for a second result. For a plug-in that only measures, the "
        "input image is written with the measurement in its header",
        "FILE");
    command.AddFlag("--overwrite", options.isOverwriting, "Allow an output to replace an input file");
    command.AddOption("--report", options.report,
                      "Write a JSON report of the run, whether it succeeds or fails", "FILE");
    command.AddOption("--pack-log", options.packLog,
                      "Save what the pack prints on standard output and standard error", "FILE");
    command.AddFlag("--estimate", options.isEstimate,
                    "Print the memory that the run needs and the memory available, and do not run");
    command.AddFlag("--quiet", options.isQuiet, "Print no summary, notes or progress bar");
    command.AddFlag("--verbose", options.isVerbose, "Print the parameters sent and the source of an error");
}

} // namespace

void AddRunCommand(CArgumentParser& program) {
    CCommand command = program.AddCommand("run", "Run a plug-in on an image file");
    const auto options = std::make_shared<StRunOptions>();
    command.AddPositional("NAME", options->plugin, "The plug-in; see 'quillon list'");
    command.AddPositional("IMAGE", options->image, "The image file");
    AddParameterOptions(command, *options);
    AddImageOptions(command, *options);
    AddResultOptions(command, *options);
    AddDialogOptions(command, *options);
    command.AddFlag("--force", options->runsRefused, "Run the plug-in even if it refuses the image");
    command.AddOption("--threads", options->threads, "Number of threads (default: one per processor)", "N")
        .InRange(1, 1024);
    command.AddRepeated("--pack", options->packs,
                        "Search this pack before the installed ones; the first pack that has the plug-in is "
                        "used",
                        "PATH");
    command.SetFooter(
        "Exit status: 0 success, 1 the plug-in failed, 2 wrong usage, 3 the plug-in refused the image, 4 a "
        "file "
        "could not be read or written, or the plug-in showed an error box, 130 cancelled.\n\n"
        "Example: quillon run SegmSauvola page.png -p windowsize=12 -p coefficient=0.3 -o text.png");
    command.OnRun([options] { RunPlugin(*options); });
}

} // namespace cli
