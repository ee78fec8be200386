#include "cli/Commands.h"
#include "cli/RunPlugin.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace cli {

using namespace engine;

namespace {

/// Adds an option that is repeated for several values. Each occurrence takes one value, so that it does not
/// consume the arguments after it.
void AddRepeated(CLI::App& command, const std::string& name, std::vector<std::string>& values,
                 const std::string& description, const std::string& form) {
    command.add_option(name, values, description)->allow_extra_args(false)->option_text(form + " ...");
}

void AddText(CLI::App& command, const std::string& name, std::optional<std::string>& value,
             const std::string& description, const std::string& form) {
    command.add_option(name, value, description)->option_text(form);
}

void AddParameterOptions(CLI::App& command, StRunOptions& options) {
    AddRepeated(command, "-p,--parameter", options.parameters,
                "A parameter, as 'quillon describe' lists them; KEY:KIND=VALUE for one that is not listed, "
                "KIND being "
                "bool, long, double, string or image",
                "KEY=VALUE");
    AddText(command, "--parameters", options.parametersFile,
            "All parameters from a file, as it stands: a JSON object, or the report of another run. -p adds "
            "to it",
            "FILE.json");
    command.add_flag("--bare", options.isBare, "Send no defaults, only the parameters given");
    AddRepeated(command, "-s,--setting", options.settings, "A setting of the plug-in, made before the run",
                "KEY=VALUE");
}

void AddImageOptions(CLI::App& command, StRunOptions& options) {
    AddText(command, "--as", options.pixelType,
            "Take the image as binary (non-zero is 1), grey8, grey16, grey32 or greyf", "TYPE");
    AddText(command, "--spacing", options.spacing, "Give the image this pixel size first", "X,Y,Z");
    command
        .add_option("--label", options.label, "Name the image so for the plug-in; without it the file's name")
        ->option_text("TEXT");
    command.add_flag("--no-label", options.hasNoLabel, "Give the image no name")->excludes("--label");
}

void AddDialogOptions(CLI::App& command, StRunOptions& options) {
    AddText(command, "--file", options.file, "The answer to a file dialog; it is cancelled without", "PATH");
    AddRepeated(command, "--choose", options.choices, "An input of a dialog that the host makes",
                "KEY=VALUE");
    AddRepeated(command, "--answer", options.answers,
                "Set the input of that object name in a dialog, then press OK", "NAME=VALUE");
    command.add_flag("--cancel-dialogs", options.cancelsDialogs, "Press Cancel in every dialog");
    command
        .add_flag("--gui", options.showsWindows, "Show real windows and let the person at the screen answer")
        ->excludes("--file")
        ->excludes("--choose")
        ->excludes("--answer")
        ->excludes("--cancel-dialogs");
}

void AddResultOptions(CLI::App& command, StRunOptions& options) {
    AddRepeated(
        command, "-o,--output", options.outputs,
        "Where the result goes, repeated for the second one; a plug-in that only measures writes the image "
        "with its new attributes there",
        "FILE");
    AddText(command, "--report", options.report, "Tell all about the run as JSON, also when it fails",
            "FILE");
    AddText(command, "--pack-log", options.packLog, "Keep what the pack writes to its output streams",
            "FILE");
    command.add_flag("--quiet", options.isQuiet, "No summary and no progress");
}

} // namespace

void AddRunCommand(CLI::App& program) {
    CLI::App* command = program.add_subcommand("run", "Run one plug-in on one image file");
    const auto options = std::make_shared<StRunOptions>();
    command->add_option("NAME", options->plugin, "The plug-in, see 'quillon list'")
        ->required()
        ->option_text(" ");
    command->add_option("IMAGE", options->image, "The image file")->required()->option_text(" ");
    AddParameterOptions(*command, *options);
    AddImageOptions(*command, *options);
    AddResultOptions(*command, *options);
    AddDialogOptions(*command, *options);
    command->add_flag("--force", options->runsRefused, "Run the plug-in even if it refuses the image");
    command
        ->add_option("--threads", options->threads, "How many threads to use; without it one per processor")
        ->check(CLI::Range(1, 1024))
        ->option_text("N");
    AddText(*command, "--pack", options->pack, "The pack to load instead of the one beside the program",
            "PATH");
    command->footer(
        "Exit status: 0 done, 1 the plug-in failed, 2 usage, 3 the plug-in refused the image, 4 a file could "
        "not be read or written, or the plug-in said so in a box, 130 cancelled.\n\n"
        "Example: quillon run SegmSauvola page.png -p windowsize=12 -p coefficient=0.3 -o text.png");
    command->callback([options] { RunPlugin(*options); });
}

} // namespace cli
