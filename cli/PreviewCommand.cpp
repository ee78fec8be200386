#include "cli/Commands.h"
#include "cli/ImageInput.h"
#include "cli/MeasurementArguments.h"
#include "cli/WritePicture.h"
#include "engine/catalogue/ValueKind.h"
#include "engine/files/ImageFile.h"
#include "engine/files/OutputChecks.h"
#include "engine/pictures/Figure.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <algorithm>
#include <memory>
#include <string>

namespace cli {

using namespace engine;
using ORVEN::CImage;
using ORVEN::CQuillonHeaderTools;
using ORVEN::CSize;

namespace {

/// More pictures than this are too small to see.
constexpr std::int64_t c_mostPictures = 100;

/// The short side of all pictures of a figure together, in pixels: 65 mm at 300 pixels per inch.
constexpr std::int64_t c_figureSide = 768;

struct StPreviewOptions {
    std::string file;
    StInputOptions reading;
    std::string output;
    std::string axis = "z";
    std::optional<std::int64_t> slice;
    std::optional<std::string> slices;
    std::optional<std::string> window;
    std::optional<double> level;
    std::optional<std::string> overlay;
    std::optional<std::string> barTitle;
    bool isProjection = false;
    bool showsDepth = false;
    bool showsLabels = false;
    bool showsAngles = false;
    bool isAsStored = false;
    bool isOverwriting = false;
    bool hasScaleBar = false;
    bool hasColourBar = false;
    bool hasLetters = false;
    bool isFigure = false;
};

CCommandError UsageError(const std::string& message) { return {STATUS_USAGE, message}; }

std::vector<std::string> Parts(const std::string& text, char separator) {
    std::vector<std::string> parts(1);
    for (const char character : text) {
        if (character == separator)
            parts.emplace_back();
        else
            parts.back() += character;
    }
    return parts;
}

/// Black and white from "FROM:TO", or from a width and the level in its middle.
std::optional<StWindow> WindowOf(const StPreviewOptions& options) {
    if (!options.window) {
        if (options.level)
            throw UsageError("--level needs --window WIDTH");
        return std::nullopt;
    }
    const std::string name = "--window " + *options.window + ": ";
    const std::vector<std::string> parts = Parts(*options.window, ':');
    const auto first = ParseDouble(parts.front());
    const auto last = ParseDouble(parts.back());
    if (!first || !last || parts.size() > 2)
        throw UsageError(name + "give two grey values as FROM:TO, or a width together with --level");
    if (parts.size() == 2 && options.level)
        throw UsageError(name + "--level goes with a width, not with FROM:TO");
    if (parts.size() == 1 && !options.level)
        throw UsageError(name + "a width needs --level; or give two grey values as FROM:TO");
    const StWindow window = parts.size() == 2
                                ? StWindow{*first, *last}
                                : StWindow{*options.level - *first / 2.0, *options.level + *first / 2.0};
    if (!(window.black < window.white))
        throw UsageError(name +
                         (parts.size() == 2 ? "FROM must be less than TO" : "a width must be above 0"));
    return window;
}

void RequireExistingPlane(const StPreviewOptions& options, const char* option, std::int64_t plane,
                          std::int64_t count) {
    if (plane < 0 || plane >= count)
        throw UsageError(std::string(option) + " " + std::to_string(plane) + ": '" + options.file +
                         "' has the planes 0 to " + std::to_string(count - 1) + " on axis " + options.axis);
}

/// The middles of `number` equal parts of the planes.
std::vector<std::int64_t> SpreadPlanes(const StPreviewOptions& options, std::int64_t number,
                                       std::int64_t count) {
    if (number < 1 || number > std::min(count, c_mostPictures))
        throw UsageError("--slices " + *options.slices + ": '" + options.file + "' has " +
                         std::to_string(count) + " planes on axis " + options.axis + "; show 1 to " +
                         std::to_string(std::min(count, c_mostPictures)) + " of them");
    std::vector<std::int64_t> planes;
    for (std::int64_t i = 0; i < number; ++i)
        planes.push_back((2 * i + 1) * count / (2 * number));
    return planes;
}

/// The planes of a montage: "9" is a number of them, "3,5,8" are their indices.
std::vector<std::int64_t> PlanesOf(const StPreviewOptions& options, std::int64_t count) {
    if (!options.slices)
        return {};
    std::vector<std::int64_t> numbers;
    for (const std::string& part : Parts(*options.slices, ',')) {
        const auto number = ParseLong(part);
        if (!number)
            throw UsageError("--slices " + *options.slices +
                             ": give the number of planes, or their indices as A,B,C");
        numbers.push_back(*number);
    }
    if (numbers.size() == 1)
        return SpreadPlanes(options, numbers.front(), count);
    for (const std::int64_t plane : numbers)
        RequireExistingPlane(options, "--slices", plane, count);
    return numbers;
}

void RequireAxis(const StPreviewOptions& options, const CSize& size, int axis) {
    if (axis != 2 && size.Dim() < 3)
        throw UsageError("--axis " + options.axis + ": '" + options.file + "' is 2-d; leave --axis out");
    if (options.showsDepth && PlaneCount(size, axis) < 2)
        throw UsageError("--depth: '" + options.file + "' has one plane on axis " + options.axis);
    if (options.slice)
        RequireExistingPlane(options, "--slice", *options.slice, PlaneCount(size, axis));
}

StPictureOptions PictureOptionsOf(const StPreviewOptions& options) {
    StPictureOptions picture;
    picture.axis = options.axis == "x" ? 0 : options.axis == "y" ? 1 : 2;
    picture.slice = options.slice;
    picture.isProjection = options.isProjection || options.showsDepth;
    picture.isAsStored = options.isAsStored;
    picture.window = WindowOf(options);
    picture.colours = options.showsDepth    ? COLOURS_DEPTH
                      : options.showsAngles ? COLOURS_ANGLES
                      : options.showsLabels ? COLOURS_LABELS
                                            : COLOURS_AUTOMATIC;
    return picture;
}

/// What the grey values of an image are, for its colour bar: the title of a size distribution's rows if it
/// holds one, as the image of sizes does.
std::string BarTitleOf(const CImage& image, const std::string& lengthUnit) {
    const std::string inUnit = " (" + StUnit{lengthUnit}.Typeset() + ")";
    double maximum = 0.0;
    if (CQuillonHeaderTools::GetMaxDistance(image, maximum))
        return "Distance" + inUnit;
    if (!(image.Type() == ORVEN::IMAGE_GREY_F))
        return "Grey value";
    const auto descriptions = DescriptionsIn({});
    for (const std::string& name : MeasurementNames(image, descriptions)) {
        const auto measurement = FindMeasurement(image, name, descriptions);
        if (!measurement || measurement->description == nullptr ||
            measurement->description->kind != MEASUREMENT_DISTRIBUTION)
            continue;
        std::string title = measurement->description->row.title;
        title[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(title[0])));
        return title + inUnit;
    }
    return "";
}

/// Whether the angles of a direction map lie in the plane of the picture: all angles of a plane do, and in a
/// volume those from x towards y, whose map says so in the last line of its history.
bool AreAnglesInPlane(const CImage& image, int axis) {
    if (image.Size().Dim() == 2)
        return true;
    const ORVEN::CValue* entry = image.Attributes().Entry("history", true);
    const ORVEN::CValueVector* history = entry != nullptr ? entry->Vector() : nullptr;
    if (axis != 2 || history == nullptr || history->empty())
        return false;
    const ORVEN::CValue* line = (*history)[history->size() - 1];
    return line != nullptr && line->GenericType() == ORVEN::CValue::VAL_STRING &&
           line->String().Std().find("angle=phi") != std::string::npos;
}

StFigureOptions FigureOptionsOf(const StPreviewOptions& options, const CImage& image, int axis,
                                const std::vector<std::int64_t>& planes) {
    StFigureOptions figure;
    figure.hasScaleBar = options.hasScaleBar || options.isFigure;
    figure.hasColourBar = options.hasColourBar || options.isFigure;
    figure.hasLetters = options.hasLetters || options.isFigure;
    figure.lengthUnit = LengthUnitOf(image);
    figure.areAnglesInPlane = AreAnglesInPlane(image, axis);
    if (figure.hasColourBar)
        figure.barTitle = options.barTitle ? *options.barTitle : BarTitleOf(image, figure.lengthUnit);
    if (options.isFigure) {
        for (const std::int64_t plane : planes)
            figure.captions.push_back(options.axis + " = " + std::to_string(plane));
    }
    return figure;
}

void RequireLetters(const StPreviewOptions& options, const std::vector<StView>& views) {
    if (options.hasLetters && views.front().orientation.left.empty())
        throw UsageError("--letters: '" + options.file + "' does not state the directions of a patient");
}

std::vector<std::string> InputsOf(const StPreviewOptions& options) {
    std::vector<std::string> inputs{options.file};
    if (options.overlay)
        inputs.push_back(*options.overlay);
    return inputs;
}

/// Whether the planes that are shown can be read without the others. An overlay of another size is read as a
/// whole, and then refused.
bool CanReadInPart(const StPreviewOptions& options, const CSize& size) {
    return size.Dim() == 3 && !options.isProjection && !options.showsDepth &&
           (!options.overlay || ReadImageOutline(*options.overlay).size == size);
}

/// The part of a volume that the planes span. They become indices in this part.
std::vector<StIndexRange> ReduceToShownPart(const CSize& size, StPictureOptions& picture,
                                            std::vector<std::int64_t>& planes) {
    const std::int64_t middle = PlaneCount(size, picture.axis) / 2;
    StIndexRange shown{picture.slice.value_or(middle), picture.slice.value_or(middle)};
    if (!planes.empty())
        shown = {std::ranges::min(planes), std::ranges::max(planes)};
    picture.slice = 0;
    for (std::int64_t& plane : planes)
        plane -= shown.first;
    std::vector<StIndexRange> region;
    for (int axis = 0; axis < size.Dim(); ++axis)
        region.push_back(axis == picture.axis ? shown : StIndexRange{0, size[axis] - 1});
    return region;
}

void Preview(const StPreviewOptions& options) {
    if (LowerExtension(options.output) != ".png")
        throw UsageError("-o '" + options.output + "': a picture's name must end in .png");
    RequireWritableFile(options.output);
    if (!options.isOverwriting)
        RequireNoInput({options.output}, InputsOf(options));
    StPictureOptions picture = PictureOptionsOf(options);
    StReadOptions reading = ReadOptionsOf(options.reading);
    const CSize size = ReadImageOutline(options.file, reading).size;
    RequireAxis(options, size, picture.axis);
    const std::vector<std::int64_t> planes = PlanesOf(options, PlaneCount(size, picture.axis));
    if (options.isFigure)
        picture.wantedShortSide = c_figureSide / static_cast<std::int64_t>(FigureColumns(planes.size()));
    std::vector<std::int64_t> planesOfPart = planes;
    if (CanReadInPart(options, size))
        reading.region = ReduceToShownPart(size, picture, planesOfPart);
    const auto image = ReadImage(options.file, reading);
    std::unique_ptr<CImage> overlay;
    if (options.overlay) {
        StReadOptions readingOverlay;
        readingOverlay.region = reading.region;
        overlay = ReadImage(*options.overlay, readingOverlay);
        picture.overlay = overlay.get();
    }
    const std::vector<StView> views = MakeViews(*image, picture, planesOfPart);
    RequireLetters(options, views);
    WritePicture(MakeFigure(views, FigureOptionsOf(options, *image, picture.axis, planes)), options.output);
}

void AddContents(CCommand& command, StPreviewOptions& options) {
    command.AddOption("--axis", options.axis, "The viewing direction, z by default", "x|y|z")
        .OneOf({"x", "y", "z"});
    command.AddOption("--slice", options.slice, "The plane on that axis, from 0; the middle one by default",
                      "N");
    command
        .AddOption("--slices", options.slices,
                   "Several planes side by side: how many, or a list of them as A,B,C", "N")
        .Excludes("--slice");
    command.AddFlag("--mip", options.isProjection, "The maximum along the axis instead of one plane")
        .Excludes("--slice")
        .Excludes("--slices");
    command
        .AddFlag("--depth", options.showsDepth,
                 "The maximum along the axis, coloured by the depth where it was found")
        .Excludes("--slice")
        .Excludes("--slices");
    command
        .AddFlag("--labels", options.showsLabels,
                 "A colour for each number; the default for an image with a number of labels")
        .Excludes("--depth");
    command.AddFlag("--angles", options.showsAngles, "A hue for each angle of a direction map, in radians")
        .Excludes("--labels")
        .Excludes("--depth");
    command
        .AddOption("--window", options.window,
                   "Grey values shown as black and as white, or a width with --level", "FROM:TO")
        .Excludes("--labels")
        .Excludes("--angles");
    command.AddOption("--level", options.level, "The grey value in the middle of the window", "VALUE");
    command.AddOption("--overlay", options.overlay,
                      "A mask or labels of the same size, shown in colour on the image", "FILE");
    command.AddFlag("--as-stored", options.isAsStored,
                    "Shows rows and columns as in the file, also for images of patients");
}

void AddDecorations(CCommand& command, StPreviewOptions& options) {
    command.AddFlag("--scale-bar", options.hasScaleBar, "Adds a scale bar below the picture");
    command.AddFlag("--colour-bar,--color-bar", options.hasColourBar,
                    "Adds the meaning of grey values, depths or directions on the right");
    command.AddOption("--bar-title", options.barTitle, "The title of the colour bar of grey values", "TEXT");
    command.AddFlag("--letters", options.hasLetters,
                    "Adds the sides of a patient: L, R, A(nterior), P(osterior), S(uperior), I(nferior)");
    command.AddFlag("--figure", options.isFigure,
                    "Adds all of these that apply, and the planes of a montage");
}

} // namespace

void AddPreviewCommand(CArgumentParser& program) {
    CCommand command = program.AddCommand("preview", "Make a picture of an image file");
    const auto options = std::make_shared<StPreviewOptions>();
    command.AddPositional("FILE", options->file, "The image file");
    command.AddOption("-o,--output", options->output, "Where the picture goes", "PNG").Required();
    AddContents(command, *options);
    AddDecorations(command, *options);
    command.AddFlag("--overwrite", options->isOverwriting, "Allow the picture to replace one of the images");
    AddInputOptions(command, options->reading);
    command.SetFooter(
        "Each pixel of the plane is a square of equal pixels in the picture; bars and letters are "
        "drawn outside of it.\n\n"
        "Examples:\n"
        "  quillon preview volume.nrrd -o volume.png --axis x --slice 12\n"
        "  quillon preview volume.nrrd -o figure.png --slices 6 --overlay mask.nrrd --figure");
    command.OnRun([options] { Preview(*options); });
}

} // namespace cli
