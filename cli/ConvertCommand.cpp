#include "cli/Commands.h"
#include "cli/ImageInput.h"
#include "engine/files/ImageFile.h"
#include "engine/files/ImageWords.h"
#include "engine/files/OutputChecks.h"
#include "engine/run/StRunEntry.h"

#include <memory>
#include <string>

namespace cli {

using namespace engine;

namespace {

struct StConvertOptions {
    std::string input;
    std::string output;
    std::optional<std::string> pixelType;
    StInputOptions reading;
    bool isOverwriting = false;
};

void Convert(const StConvertOptions& options) {
    std::optional<ORVEN::IImage::CType> type;
    if (options.pixelType)
        type = PixelTypeOfWord(*options.pixelType);
    CheckInputOptions(options.reading);
    RequireImageFileName(options.output);
    if (!options.isOverwriting)
        RequireNoInput({options.output}, {options.input});
    RequireWritableImage(options.output);
    const auto image = ReadInput(options.input, options.reading, type);
    if (!ReadingOf(options.reading, type).IsPlain())
        MarkConverted(*image);
    WriteImage(*image, options.output);
}

} // namespace

void AddConvertCommand(CArgumentParser& program) {
    CCommand command =
        program.AddCommand("convert", "Convert an image file to another format, pixel type or spacing");
    const auto options = std::make_shared<StConvertOptions>();
    command.AddPositional("IN", options->input, "The image file");
    command.AddPositional("OUT", options->output,
                          "The new file: .nrrd, .mha, .mhd, .nii, .nii.gz, .tif, .tiff or .png");
    command
        .AddOption("--as", options->pixelType,
                   "Convert the pixels to binary (non-zero is 1), grey8, grey16, grey32 or greyf; values "
                   "that do not fit are refused",
                   "TYPE")
        .OneOf(PixelTypeWords());
    AddGeometryOptions(command, options->reading);
    AddInputOptions(command, options->reading);
    command.AddFlag("--overwrite", options->isOverwriting, "Allow OUT to replace IN");
    command.SetFooter("Example: quillon convert scan.tif scan.nrrd --spacing 0.01,0.01,0.02 --unit mm");
    command.OnRun([options] { Convert(*options); });
}

} // namespace cli
