#include "cli/Commands.h"
#include "engine/files/CTextOutput.h"
#include "engine/files/ImageFile.h"
#include "engine/files/OutputChecks.h"
#include "engine/pictures/Curve.h"

#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <memory>
#include <string>

namespace cli {

using namespace engine;

namespace {

struct StPlotOptions {
    std::string file;
    std::string measurement;
    std::string feature;
    std::string output;
};

using ORVEN::CValueMap;

const CValueMap* MapAt(const CValueMap& map, const std::string& path) {
    const ORVEN::CValue* entry = map.Entry(path, true);
    return entry != nullptr ? entry->Map() : nullptr;
}

/// Finds the measurement with the given name or path; if there is none, the error lists those in the file.
const CValueMap& FindMeasurement(const StPlotOptions& options, const ORVEN::CImage& image) {
    const std::string& tag = ORVEN::CQuillonHeaderTools::c_sTagFeatures;
    for (const std::string& path :
         {tag + "/" + options.measurement + "/data", tag + "/" + options.measurement, options.measurement}) {
        if (const CValueMap* map = MapAt(image.Attributes(), path))
            return *map;
    }
    std::string known;
    if (const CValueMap* features = MapAt(image.Attributes(), tag)) {
        for (const auto& key : features->Keys())
            known += (known.empty() ? "; it has '" : ", '") + std::string(key.ToString()) + "'";
    }
    throw CCommandError(STATUS_USAGE,
                        "'" + options.file + "' has no measurement '" + options.measurement + "'" + known);
}

void Plot(const StPlotOptions& options) {
    if (!options.output.ends_with(".svg") && !options.output.ends_with(".SVG"))
        throw CCommandError(STATUS_USAGE, "-o '" + options.output + "': a plot's name must end in .svg");
    RequireWritableFile(options.output);
    const auto image = ReadImage(options.file);
    const CValueMap& measurement = FindMeasurement(options, *image);
    const std::string svg = CurveAsSvg(CurveOf(measurement, options.measurement, options.feature));
    WriteTextFile(options.output, svg);
}

} // namespace

void AddPlotCommand(CArgumentParser& program) {
    CCommand command = program.AddCommand("plot", "Draw a measurement in an image file as a curve");
    const auto options = std::make_shared<StPlotOptions>();
    command.AddPositional("FILE", options->file, "The image file");
    command.AddPositional(
        "MEASUREMENT", options->measurement,
        "What was measured, such as Granulometry, or the path of any attribute with numbers");
    command.AddOption("--feature", options->feature,
                      "The feature to draw, where there are several for each size, grey value or label",
                      "NAME");
    command.AddOption("-o,--output", options->output, "Where the plot goes", "SVG").Required();
    command.SetFooter(
        "Example: quillon plot measured.nrrd FieldFeaturesOverGrayvalue --feature V_V -o curve.svg");
    command.OnRun([options] { Plot(*options); });
}

} // namespace cli
