#include "cli/Commands.h"
#include "cli/MeasurementArguments.h"
#include "cli/WritePicture.h"
#include "engine/files/CTextOutput.h"
#include "engine/files/OutputChecks.h"
#include "engine/pictures/ChartOfTables.h"

#include <filesystem>
#include <memory>
#include <set>
#include <string>

namespace cli {

using namespace engine;

namespace {

constexpr double c_pointsPerMillimetre = 72.0 / 25.4;
constexpr double c_heightOfWidth = 2.0 / 3.0;
/// 300 pixels per inch.
constexpr double c_pixelsPerPoint = 300.0 / 72.0;
// From a narrow column to a wide page, in millimetres.
constexpr int c_leastWidth = 50;
constexpr int c_greatestWidth = 500;

struct StPlotOptions {
    StMeasurementRequest request;
    StChartOptions chart;
    std::optional<std::string> title;
    std::string output;
    int width = 120;
    bool isOverwriting = false;
};

void RequirePlotName(const std::string& path) {
    const std::string extension = LowerExtension(path);
    if (extension != ".svg" && extension != ".pdf" && extension != ".png")
        throw CCommandError(STATUS_USAGE, "-o '" + path + "': a plot's name must end in .svg, .pdf or .png");
}

/// The names of the files without folder and extension, or the whole paths if these names are not unique.
std::vector<std::string> LegendLabels(const std::vector<std::string>& files) {
    std::vector<std::string> labels;
    for (const std::string& file : files)
        labels.push_back(std::filesystem::path(file).stem().string());
    const bool areUnique = std::set<std::string>(labels.begin(), labels.end()).size() == labels.size();
    return areUnique ? labels : files;
}

void WriteChart(const StChart& chart, const std::string& path, const StPaperSize& size) {
    const Drawing draw = [&](CCanvas& canvas) { DrawChart(canvas, chart, size); };
    const std::string extension = LowerExtension(path);
    if (extension == ".png")
        WritePicture(DrawPicture(size, c_pixelsPerPoint, draw), path);
    else if (extension == ".pdf")
        WriteTextFile(path, DrawPdf(size, chart.title, draw));
    else
        WriteTextFile(path, DrawSvg(size, chart.title, DescriptionOf(chart), draw));
}

void Plot(StPlotOptions& options) {
    RequirePlotName(options.output);
    RequireWritableFile(options.output);
    TakeMeasurement(options.request);
    if (!options.isOverwriting)
        RequireNoInput({options.output}, options.request.files);
    std::vector<StTable> tables = ReadTables(options.request);
    const std::vector<std::string> labels = LegendLabels(options.request.files);
    std::vector<StLabelledTable> labelled;
    for (std::size_t i = 0; i < tables.size(); ++i)
        labelled.push_back({std::move(tables[i]), labels[i]});
    StChart chart = ChartOf(labelled, options.chart);
    if (options.title)
        chart.title = *options.title;
    const double width = options.width * c_pointsPerMillimetre;
    WriteChart(chart, options.output, {width, c_heightOfWidth * width});
}

} // namespace

void AddPlotCommand(CArgumentParser& program) {
    CCommand command = program.AddCommand("plot", "Plot a measurement in image files");
    const auto options = std::make_shared<StPlotOptions>();
    options->request.command = "plot";
    command.AddPositionals("FILES", options->request.files,
                           "One or more image files, then the measurement, such as Granulometry; it may be "
                           "left out if the files hold one measurement");
    command.AddOption("-o,--output", options->output, "Where the plot goes", "SVG|PDF|PNG").Required();
    command.AddOption("--feature", options->chart.feature,
                      "What to plot if there are several numbers for each grey value, slice or object",
                      "NAME");
    command.AddOption("--bin", options->chart.binWidth,
                      "Width of the bins of a histogram, in the unit of its axis", "WIDTH");
    command
        .AddFlag("--cumulative", options->chart.isCumulative,
                 "The share of everything up to a size instead of a histogram")
        .Excludes("--bin");
    command.AddOption("--title", options->title, "The title; an empty one leaves more room", "TEXT");
    command.AddOption("--width", options->width, "Width of the plot in millimetres, 120 by default", "MM")
        .InRange(c_leastWidth, c_greatestWidth);
    command.AddRepeated("--pack", options->request.packs, "A pack that describes the measurement", "FILE");
    command.AddFlag("--overwrite", options->isOverwriting, "Allow the plot to replace one of the images");
    AddInputOptions(command, options->request.reading);
    command.SetFooter(
        "Several files are drawn in one plot with a legend. PNG files have 300 pixels per inch.\n\n"
        "Examples:\n"
        "  quillon plot sizes.nrrd -o sizes.svg\n"
        "  quillon plot measured.nrrd FieldFeaturesOverGrayvalue --feature V_V -o curve.pdf");
    command.OnRun([options] { Plot(*options); });
}

} // namespace cli
