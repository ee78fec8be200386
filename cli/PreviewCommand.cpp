#include "cli/Commands.h"
#include "cli/WritePicture.h"
#include "engine/files/ImageFile.h"
#include "engine/files/OutputChecks.h"
#include "engine/pictures/StPicture.h"

#include <memory>
#include <string>

namespace cli {

using namespace engine;

namespace {

struct StPreviewOptions {
    std::string file;
    std::string output;
    std::string axis = "z";
    std::optional<std::int64_t> slice;
    bool isProjection = false;
    bool showsLabels = false;
    bool showsAngles = false;
};

void RequireExistingPlane(const StPreviewOptions& options, const ORVEN::CImage& image, int axis) {
    if (axis != 2 && image.Size().Dim() < 3)
        throw CCommandError(STATUS_USAGE, "--axis " + options.axis + ": '" + options.file +
                                              "' is no volume, it has one plane");
    const std::int64_t count = PlaneCount(image, axis);
    if (options.slice && (*options.slice < 0 || *options.slice >= count))
        throw CCommandError(STATUS_USAGE, "--slice " + std::to_string(*options.slice) + ": '" + options.file +
                                              "' has the planes 0 to " + std::to_string(count - 1) +
                                              " on axis " + options.axis);
}

void Preview(const StPreviewOptions& options) {
    if (!options.output.ends_with(".png") && !options.output.ends_with(".PNG"))
        throw CCommandError(STATUS_USAGE, "-o '" + options.output + "': a picture's name must end in .png");
    RequireWritableFile(options.output);
    const auto image = ReadImage(options.file);
    StPictureOptions picture;
    picture.axis = options.axis == "x" ? 0 : options.axis == "y" ? 1 : 2;
    RequireExistingPlane(options, *image, picture.axis);
    picture.slice = options.slice;
    picture.isProjection = options.isProjection;
    picture.colours = options.showsAngles   ? COLOURS_ANGLES
                      : options.showsLabels ? COLOURS_LABELS
                                            : COLOURS_AUTOMATIC;
    WritePicture(MakePicture(*image, picture), options.output);
}

} // namespace

void AddPreviewCommand(CArgumentParser& program) {
    CCommand command = program.AddCommand("preview", "Make a picture of one plane of an image file");
    const auto options = std::make_shared<StPreviewOptions>();
    command.AddPositional("FILE", options->file, "The image file");
    command.AddOption("-o,--output", options->output, "Where the picture goes", "PNG").Required();
    command
        .AddOption("--axis", options->axis, "The axis that one looks along, z unless said otherwise", "x|y|z")
        .OneOf({"x", "y", "z"});
    command.AddOption("--slice", options->slice, "The plane on that axis, from 0; without it the middle one",
                      "N");
    command.AddFlag("--mip", options->isProjection, "The greatest value along the axis instead of one plane")
        .Excludes("--slice");
    command.AddFlag("--labels", options->showsLabels,
                    "A colour for each number; by itself for an image that tells its number of labels");
    command.AddFlag("--angles", options->showsAngles, "A hue for each angle of a direction map, in radians")
        .Excludes("--labels");
    command.SetFooter("Example: quillon preview volume.nrrd -o volume.png --axis x --slice 12");
    command.OnRun([options] { Preview(*options); });
}

} // namespace cli
