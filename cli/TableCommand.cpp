#include "cli/Commands.h"
#include "cli/MeasurementArguments.h"
#include "engine/files/CTextOutput.h"
#include "engine/files/OutputChecks.h"
#include "engine/measurements/TableText.h"

#include <iostream>
#include <memory>
#include <optional>

namespace cli {

using namespace engine;

namespace {

struct StTableOptions {
    StMeasurementRequest request;
    std::string file;
    std::optional<std::string> output;
    bool isOverwriting = false;
};

enum EnTableFormat { TABLE_CSV, TABLE_JSON };

EnTableFormat FormatOf(const std::string& path) {
    const std::string extension = LowerExtension(path);
    if (extension == ".csv")
        return TABLE_CSV;
    if (extension == ".json")
        return TABLE_JSON;
    throw CCommandError(STATUS_USAGE, "-o '" + path + "': a table's name must end in .csv or .json");
}

void WriteTable(StTableOptions& options) {
    const EnTableFormat format = options.output ? FormatOf(*options.output) : TABLE_CSV;
    if (options.output) {
        RequireWritableFile(*options.output);
        if (!options.isOverwriting)
            RequireNoInput({*options.output}, {options.file});
    }
    options.request.files = {options.file};
    const StTable table = ReadTables(options.request).front();
    const std::string text =
        format == TABLE_JSON ? TableAsJson(table, options.file) : TableAsCsv(table, options.file);
    if (options.output)
        WriteTextFile(*options.output, text);
    else
        std::cout << text << std::flush;
}

} // namespace

void AddTableCommand(CArgumentParser& program) {
    CCommand command = program.AddCommand("table", "Write a measurement in an image file as a table");
    const auto options = std::make_shared<StTableOptions>();
    options->request.command = "table";
    command.AddPositional("FILE", options->file, "The image file");
    command.AddOptionalPositional(
        "MEASUREMENT", options->request.measurement,
        "What was measured, such as Granulometry; may be left out if the file holds one measurement");
    command.AddOption("-o,--output", options->output, "Where the table goes; standard output without it",
                      "CSV|JSON");
    command.AddRepeated("--pack", options->request.packs, "A pack that describes the measurement", "FILE");
    command.AddFlag("--overwrite", options->isOverwriting, "Allow the table to replace a file of the image");
    AddInputOptions(command, options->request.reading);
    command.SetFooter(
        "Rows are in numeric order, and units are in the column heads. Statistics are in comment "
        "lines (CSV) or members (JSON).\n\n"
        "Example: quillon table sizes.nrrd Granulometry -o sizes.csv");
    command.OnRun([options] { WriteTable(*options); });
}

} // namespace cli
