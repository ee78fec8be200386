#include "cli/ImageInput.h"

#include "cli/CCommandError.h"
#include "cli/Spacing.h"

#include <sorblib2image/StImageGeometry.h>

#include <algorithm>

namespace cli {

using namespace engine;

namespace {

/// "0.5,0.5" for a plane: what to give in place of a spacing that does not fit.
std::string ExampleFor(const std::vector<double>& sizes, const std::string& text, std::size_t axes) {
    if (sizes.size() < axes)
        return text + text.substr(text.rfind(','));
    return text.substr(0, text.rfind(','));
}

void SetSpacing(ORVEN::StImageGeometry& geometry, const std::string& text, const std::string& path,
                std::size_t axes) {
    const std::vector<double> sizes = ParseSpacing(text);
    if (sizes.size() != axes) {
        throw CCommandError(STATUS_USAGE, "--spacing " + text + ": '" + path +
                                              (axes == 2 ? "' is a plane; give two numbers"
                                                         : "' is a volume; give three numbers") +
                                              ", as in --spacing " + ExampleFor(sizes, text, axes));
    }
    geometry.spacing = {1, 1, 1};
    std::copy(sizes.begin(), sizes.end(), geometry.spacing->begin());
}

} // namespace

void AddInputOptions(CCommand& command, StInputOptions& options) {
    command.AddOption("--channel", options.channel, "Read this channel of a file with several, from 0", "N");
    command.AddOption("--time", options.time, "Read this time point of a file with several, from 0", "N");
    command.AddFlag("--dpi-as-spacing", options.takesPrintSize,
                    "Use the print resolution of a TIFF or PNG file as its spacing, in mm");
}

void AddGeometryOptions(CCommand& command, StInputOptions& options) {
    command.AddOption("--spacing", options.spacing,
                      "Set the pixel size, replacing that of the file: as many numbers as the image has axes",
                      "X,Y,Z");
    command
        .AddOption("--unit", options.unit,
                   "Set the unit of the spacing: m, mm, um or nm; the numbers stay as they are", "UNIT")
        .OneOf({"m", "mm", "um", "nm"});
}

void CheckInputOptions(const StInputOptions& options) {
    if (options.spacing)
        (void)ParseSpacing(*options.spacing);
}

StReadOptions ReadOptionsOf(const StInputOptions& options, const std::optional<ORVEN::IImage::CType>& type) {
    return {type, options.channel, options.time, options.takesPrintSize};
}

std::unique_ptr<ORVEN::CImage> ReadInput(const std::string& path, const StInputOptions& options,
                                         const std::optional<ORVEN::IImage::CType>& type) {
    CheckInputOptions(options);
    auto image = ReadImage(path, ReadOptionsOf(options, type));
    if (!options.spacing && !options.unit)
        return image;
    ORVEN::StImageGeometry geometry = ORVEN::StImageGeometry::Of(*image);
    if (options.spacing)
        SetSpacing(geometry, *options.spacing, path, static_cast<std::size_t>(image->Size().Dim()));
    if (options.unit)
        geometry.unit = *options.unit;
    geometry.Store(*image);
    return image;
}

} // namespace cli
