#include "cli/CInterruptGuard.h"
#include "cli/Commands.h"
#include "cli/StandardStreams.h"
#include "engine/errors/CEngineError.h"

#include <sorblib2core/CException.h>

#include <algorithm>
#include <cstdio>
#include <new>
#include <string>

namespace {

using namespace cli;
using namespace engine;

/// Prints the error as one line.
void PrintError(std::string message) {
    std::replace_if(
        message.begin(), message.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    std::fflush(stdout);
    std::fprintf(stderr, "quillon: %s\n", message.c_str());
}

int EndUsage(const StUsageError& error) {
    const std::string help =
        error.command.empty() ? "quillon --help" : "quillon " + error.command + " --help";
    PrintError(error.message + " (see '" + help + "')");
    return STATUS_USAGE;
}

int Run(CArgumentParser& program, int argumentCount, char** arguments) {
    try {
        const auto usageError = program.Run(argumentCount, arguments);
        return usageError ? EndUsage(*usageError) : STATUS_DONE;
    } catch (const CCommandError& error) {
        PrintError(error.what());
        for (const std::string& line : error.FurtherLines())
            PrintError(line);
        return error.Status();
    } catch (const CEngineError& error) {
        PrintError(error.what());
        return ExitStatusOf(error.Fault());
    } catch (const ORVEN::CException& error) {
        PrintError(error.Message());
    } catch (const std::bad_alloc&) {
        PrintError("not enough memory");
    } catch (const std::exception& error) {
        PrintError(error.what());
    }
    return STATUS_PLUGIN_RAISED;
}

} // namespace

int main(int argumentCount, char** arguments) {
    ReserveStandardStreams();
    HandleInterrupts();
    CArgumentParser program("Segment, measure and filter 2-d and 3-d images with the plug-ins of a pack.",
                            "quillon");
    program.SetVersion("quillon " QUILLON_VERSION);
    program.TakeOneCommand(false);
    program.SetFooter("Examples:\n"
                      "  quillon list\n"
                      "  quillon describe SegmSauvola\n"
                      "  quillon run SegmSauvola page.png -p windowsize=12 -o text.png\n"
                      "  quillon info text.png");
    AddListCommand(program);
    AddDescribeCommand(program);
    AddRunCommand(program);
    AddInfoCommand(program);
    AddConvertCommand(program);
    AddPreviewCommand(program);
    AddTableCommand(program);
    AddPlotCommand(program);
    AddChainCommand(program);
    AddRepeatCommand(program);
    AddValidateCommand(program);
    const int status = Run(program, argumentCount, arguments);
    const auto lost = FlushStandardOutput();
    if (!lost || status != STATUS_DONE)
        return status;
    PrintError("cannot write to standard output: " + *lost);
    return STATUS_FILE;
}
