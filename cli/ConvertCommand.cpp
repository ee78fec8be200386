#include "cli/Commands.h"
#include "cli/Spacing.h"
#include "engine/files/ImageFile.h"
#include "engine/files/OutputChecks.h"

#include <sorblib2image/CQuillonHeaderTools.h>

#include <array>
#include <memory>
#include <string>

namespace cli {

using namespace engine;

namespace {

struct StConvertOptions {
    std::string input;
    std::string output;
    std::optional<std::string> pixelType;
    std::optional<std::string> spacing;
};

void Convert(const StConvertOptions& options) {
    std::optional<ORVEN::IImage::CType> type;
    if (options.pixelType)
        type = PixelTypeOfWord(*options.pixelType);
    std::optional<std::array<double, 3>> spacing;
    if (options.spacing)
        spacing = ParseSpacing(*options.spacing);
    RequireImageFileName(options.output);
    RequireWritableImage(options.output);
    const auto image = ReadImage(options.input, type);
    if (spacing)
        ORVEN::CQuillonHeaderTools::SetSpacing(*image, (*spacing)[0], (*spacing)[1], (*spacing)[2]);
    WriteImage(*image, options.output);
}

} // namespace

void AddConvertCommand(CArgumentParser& program) {
    CCommand command =
        program.AddCommand("convert", "Write an image file in another format, pixel type or spacing");
    const auto options = std::make_shared<StConvertOptions>();
    command.AddPositional("IN", options->input, "The image file");
    command.AddPositional("OUT", options->output,
                          "The new file: .nrrd, .mha, .mhd, .nii, .nii.gz, .tif, .tiff or .png");
    command
        .AddOption(
            "--as", options->pixelType,
            "Make binary (non-zero is 1), grey8, grey16, grey32 or greyf of the pixels; values that do "
            "not fit are refused",
            "TYPE")
        .OneOf({"binary", "grey8", "grey16", "grey32", "greyf"});
    command.AddOption("--spacing", options->spacing, "The size of a pixel, in place of the file's own",
                      "X,Y,Z");
    command.SetFooter("Example: quillon convert scan.tif scan.nrrd --spacing 0.01,0.01,0.02");
    command.OnRun([options] { Convert(*options); });
}

} // namespace cli
