#include "cli/CInterruptGuard.h"
#include "cli/Commands.h"
#include "cli/StandardStreams.h"
#include "engine/errors/CEngineError.h"
#include "engine/files/CTextOutput.h"
#include "engine/files/OutputChecks.h"

#include <QuillonTransformation/axis/BuiltInMedialAxisNeighborhood.h>
#include <QuillonTransformation/axis/CSphereVectors.h>
#include <QuillonTransformation/axis/FindMedialAxisNeighborhood.h>
#include <QuillonTransformation/axis/LookUpTableFile.h>
#include <sorblib2core/CException.h>

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <sstream>
#include <string>

// quillon-lut: writes and checks the look-up tables of medial axis and bisector.

namespace {

using namespace cli;
using namespace engine;
using namespace ORVEN;

struct StToolOptions {
    std::int32_t reach = 0;
    std::string file;
};

/// Finds the test neighbourhood up to a radius, and shows progress if standard error is a terminal.
StMedialAxisNeighborhood FindNeighborhood(std::int32_t radius) {
    const bool showsProgress = isatty(STDERR_FILENO) != 0;
    auto neighborhood =
        FindMedialAxisNeighborhood(radius * radius, [showsProgress, radius](std::int32_t squaredRadius) {
            // The work grows with a high power of the radius, so most of the time goes into the last steps.
            if (showsProgress && squaredRadius % 64 == 0)
                std::fprintf(stderr, "\rballs up to %d of %d", squaredRadius, radius * radius);
            return false;
        });
    if (showsProgress)
        std::fputs("\r\033[K", stderr);
    return neighborhood;
}

/// Checks and opens the output file before the long work begins.
CTextOutput OpenOutput(const std::string& path) {
    if (!IsDeviceOrPipe(path))
        RequireWritableFile(path);
    return CTextOutput(path);
}

void WriteAxisTable(const StToolOptions& options) {
    CTextOutput output = OpenOutput(options.file);
    const StMedialAxisNeighborhood neighborhood = FindNeighborhood(options.reach);
    std::ostringstream bytes;
    WriteMedialAxisNeighborhood(bytes, neighborhood);
    output.Write(bytes.str());
    std::printf("%zu vectors, for balls up to radius %d\n", neighborhood.generators.size(), options.reach);
}

void WriteSphereTable(const StToolOptions& options) {
    CTextOutput output = OpenOutput(options.file);
    const CSphereVectors spheres(options.reach * options.reach);
    std::ostringstream bytes;
    WriteSphereVectors(bytes, spheres);
    output.Write(bytes.str());
    std::printf("%zu vectors up to length %d\n", spheres.All().size(), options.reach);
}

void CheckTable(const StToolOptions& options) {
    const StLookUpTableSummary summary = CheckLookUpTable(options.file);
    std::printf("%s, %u vectors up to squared length %u\n",
                summary.kind == EnLookUpTable::MEDIAL_AXIS ? "medial axis" : "spheres", summary.recordCount,
                summary.reach);
}

/// Writes the source file of the list that is compiled into the library.
void WriteConstants(const StToolOptions& options) {
    CTextOutput output = OpenOutput(options.file);
    const StMedialAxisNeighborhood neighborhood = FindNeighborhood(options.reach);
    constexpr std::size_t columns = 3;
    std::ostringstream source;
    source << "#include \"QuillonTransformation/BuiltInMedialAxisNeighborhood.h\"\n\n"
              "#include <array>\n\n"
              "namespace ORVEN {\n\n"
              "namespace {\n\n"
              "constexpr std::uint32_t c_reach = "
           << neighborhood.reach
           << ";\n\n"
              "// Written by quillon-lut constants.\n"
              "// clang-format off\n"
              "constexpr std::array<StMedialAxisGenerator, "
           << neighborhood.generators.size() << "> c_generators{{";
    std::size_t column = 0;
    for (const auto& [vector, leastDistance, foundAt] : neighborhood.generators) {
        source << (column++ % columns == 0 ? "\n    " : " ") << "{{" << vector.a << ", " << vector.b << ", "
               << vector.c << "}, " << leastDistance << ", " << foundAt << "},";
    }
    source << "\n}};\n"
              "// clang-format on\n\n"
              "} // namespace\n\n"
              "const StMedialAxisNeighborhood& BuiltInMedialAxisNeighborhood() {\n"
              "    static const StMedialAxisNeighborhood neighborhood{c_reach, {c_generators.begin(), "
              "c_generators.end()}};\n"
              "    return neighborhood;\n"
              "}\n\n"
              "} // namespace ORVEN\n";
    output.Write(source.str());
}

void VerifyBuiltIn() {
    const StMedialAxisNeighborhood& builtIn = BuiltInMedialAxisNeighborhood();
    const auto found = FindMedialAxisNeighborhood(static_cast<std::int32_t>(builtIn.reach));
    if (found.generators != builtIn.generators)
        throw CFileError("the list that is compiled in differs from the one computed now");
    std::printf("%zu vectors, as computed\n", found.generators.size());
}

void AddTableCommand(CArgumentParser& program, const std::string& name, const std::string& description,
                     void (*run)(const StToolOptions&)) {
    CCommand command = program.AddCommand(name, description);
    const auto options = std::make_shared<StToolOptions>();
    command
        .AddOption("--reach", options->reach,
                   "The radius in pixels of the largest ball that fits into an object", "N")
        .Required()
        .InRange(1, 1024);
    command.AddOption("-o,--output", options->file, "The new file", "FILE").Required();
    command.OnRun([options, run] { run(*options); });
}

int Run(CArgumentParser& program, int argumentCount, char** arguments) {
    try {
        const auto usageError = program.Run(argumentCount, arguments);
        if (!usageError)
            return STATUS_DONE;
        std::fputs(usageError->withHint.c_str(), stderr);
        return STATUS_USAGE;
    } catch (const CCommandError& error) {
        std::fprintf(stderr, "quillon-lut: %s\n", error.what());
        return error.Status();
    } catch (const CException& error) {
        std::fprintf(stderr, "quillon-lut: %s\n", error.Message());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quillon-lut: %s\n", error.what());
    }
    return STATUS_FILE;
}

} // namespace

int main(int argumentCount, char** arguments) {
    ReserveStandardStreams();
    HandleInterrupts();
    CArgumentParser program("Write and check the look-up tables of medial axis and bisector.", "quillon-lut");
    program.TakeOneCommand(true);
    program.SetFooter(
        "Examples:\n"
        "  quillon-lut axis --reach 160 -o axis-160.lut\n"
        "  quillon-lut check axis-160.lut\n"
        "  quillon run ExactMedialAxis rock.nrrd --as binary -s malut=axis-160.lut -o axis.nrrd\n\n"
        "Objects with balls of a radius up to 128 need no table.");
    AddTableCommand(
        program, "axis",
        "Compute the test neighbourhood of the medial axis; radius 128 takes half a minute, and twice the "
        "radius takes some forty times as long",
        WriteAxisTable);
    AddTableCommand(program, "spheres", "List the vectors of all lengths, for the bisector",
                    WriteSphereTable);
    AddTableCommand(program, "constants", "Write the source file of the list that is compiled in",
                    WriteConstants);
    CCommand check = program.AddCommand("check", "Check a table and print its contents in a line");
    const auto options = std::make_shared<StToolOptions>();
    check.AddPositional("FILE", options->file, "The table");
    check.OnRun([options] { CheckTable(*options); });
    program.AddCommand("verify", "Recompute the list that is compiled in and compare").OnRun(VerifyBuiltIn);
    const int status = Run(program, argumentCount, arguments);
    const auto lost = FlushStandardOutput();
    if (!lost || status != STATUS_DONE)
        return status;
    std::fprintf(stderr, "quillon-lut: cannot write to standard output: %s\n", lost->c_str());
    return STATUS_FILE;
}
