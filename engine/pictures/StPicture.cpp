#include "engine/pictures/StPicture.h"

#include "engine/errors/CEngineError.h"
#include "engine/files/ImageWords.h"
#include "engine/pictures/Colours.h"
#include "engine/pictures/StPlane.h"

#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/GreyTypeDispatch.h>

#include <algorithm>
#include <array>
#include <cmath>

using ORVEN::CImage;
using ORVEN::CQuillonHeaderTools;

namespace engine {

namespace {

constexpr std::int64_t c_maxLongSide = 8192;
constexpr double c_whiteTone = 255.0;
constexpr unsigned char c_maskValue = 255;
constexpr Colour c_maskColour = {230, 30, 20};
/// From here on, a float cannot be a label.
constexpr float c_endOfLabels = 1e18F;

/// Calls `body` with the type of the pixels.
template <class Body>
auto Dispatch(const CImage& image, const Body& body) {
    if (image.Type().IsBinary())
        return body(std::type_identity<unsigned char>());
    return ORVEN::DispatchGreyType("engine::MakePicture", image.Type(), body);
}

Colour GreyOf(double tone) {
    const auto grey = static_cast<unsigned char>(std::lround(c_whiteTone * tone));
    return {grey, grey, grey};
}

template <class Pixel>
std::uint64_t LabelOf(Pixel pixel) {
    if constexpr (std::is_floating_point_v<Pixel>)
        return pixel >= 1 && pixel < c_endOfLabels ? static_cast<std::uint64_t>(pixel) : 0;
    else
        return pixel;
}

EnPictureMeaning MeaningOf(const CImage& image, EnPictureColours colours) {
    std::size_t labelCount = 0;
    switch (colours) {
    case COLOURS_LABELS:
        return MEANING_LABELS;
    case COLOURS_ANGLES:
        return MEANING_ANGLES;
    case COLOURS_DEPTH:
        return MEANING_DEPTH;
    case COLOURS_AUTOMATIC:
        break;
    }
    if (CQuillonHeaderTools::GetNumberOfLabels(image, labelCount))
        return MEANING_LABELS;
    return image.Type().IsBinary() ? MEANING_BINARY : MEANING_GREY;
}

template <class Pixel>
std::vector<Colour> ColoursOf(const StPlane<Pixel>& plane, const StView& view, std::int64_t planeCount) {
    std::vector<Colour> result(plane.pixels.size());
    const auto transform = [&](const auto& colourOf) {
        std::transform(plane.pixels.begin(), plane.pixels.end(), result.begin(), colourOf);
    };
    switch (view.meaning) {
    case MEANING_ANGLES:
        transform([](Pixel pixel) { return ColourOfAngle(static_cast<double>(pixel)); });
        break;
    case MEANING_LABELS:
        transform([](Pixel pixel) { return ColourOfLabel(LabelOf(pixel)); });
        break;
    case MEANING_DEPTH: {
        const auto last = static_cast<double>(std::max<std::int64_t>(planeCount - 1, 1));
        for (std::size_t i = 0; i < result.size(); ++i)
            result[i] = ColourOfDepth(static_cast<double>(plane.depths[i]) / last,
                                      view.window.ToneOf(static_cast<double>(plane.pixels[i])));
        break;
    }
    case MEANING_GREY:
    case MEANING_BINARY:
        transform([&](Pixel pixel) { return GreyOf(view.window.ToneOf(static_cast<double>(pixel))); });
        break;
    }
    return result;
}

void RequireSameSize(const CImage& image, const CImage& overlay) {
    if (!(image.Size() == overlay.Size()))
        throw CCallerError("the overlay has " + SizeInWords(overlay.Size()) + " pixels, the image " +
                           SizeInWords(image.Size()) + "; they must have the same size");
}

void AddOverlay(std::vector<Colour>& colours, const StPictureOptions& options) {
    const CImage& overlay = *options.overlay;
    Dispatch(overlay, [&]<class Pixel>(std::type_identity<Pixel>) {
        const StPlane<Pixel> plane = PlaneOf<Pixel>(overlay, options);
        const bool isByteMask =
            overlay.Type() == ORVEN::IMAGE_GREY_8 && std::ranges::all_of(plane.pixels, [](Pixel pixel) {
                return pixel == 0 || static_cast<double>(pixel) == c_maskValue;
            });
        const bool isMask = overlay.Type().IsBinary() || isByteMask;
        for (std::size_t i = 0; i < colours.size(); ++i) {
            if (const std::uint64_t label = LabelOf(plane.pixels[i]); label != 0)
                colours[i] = Mixed(colours[i], isMask ? c_maskColour : ColourOfLabel(label), options.opacity);
        }
    });
}

std::int64_t Rounded(double length) {
    constexpr double far = 1e9;
    return std::clamp<std::int64_t>(std::llround(std::min(length, far)), 1, 2 * c_maxLongSide);
}

/// The size of the picture of a plane whose pixels are `spacingRight` wide and `spacingDown` high.
StPicture EmptyPicture(std::int64_t width, std::int64_t height, double spacingRight, double spacingDown,
                       std::int64_t wantedShortSide) {
    StPicture picture{width, height, {}};
    if (spacingRight > spacingDown)
        picture.width = Rounded(static_cast<double>(width) * spacingRight / spacingDown);
    else if (spacingDown > spacingRight)
        picture.height = Rounded(static_cast<double>(height) * spacingDown / spacingRight);
    const std::int64_t shortSide = std::min(picture.width, picture.height);
    const std::int64_t longSide = std::max(picture.width, picture.height);
    const std::int64_t wanted = (wantedShortSide + shortSide - 1) / shortSide;
    const std::int64_t factor = std::max<std::int64_t>(1, std::min(wanted, c_maxLongSide / longSide));
    picture.width *= factor;
    picture.height *= factor;
    picture.rgb.resize(static_cast<std::size_t>(3 * picture.width * picture.height));
    return picture;
}

/// A plane of colours after turning.
StPlane<Colour> Turned(const StPlane<Colour>& plane, const StOrientation& orientation) {
    const bool isTransposed = orientation.isTransposed;
    StPlane<Colour> turned{
        isTransposed ? plane.height : plane.width, isTransposed ? plane.width : plane.height, {}, {}};
    turned.pixels.reserve(plane.pixels.size());
    for (std::int64_t y = 0; y < turned.height; ++y) {
        const std::int64_t down = orientation.flipsDown ? turned.height - 1 - y : y;
        for (std::int64_t x = 0; x < turned.width; ++x) {
            const std::int64_t right = orientation.flipsRight ? turned.width - 1 - x : x;
            const std::int64_t at = isTransposed ? right * plane.width + down : down * plane.width + right;
            turned.pixels.push_back(plane.pixels[static_cast<std::size_t>(at)]);
        }
    }
    return turned;
}

/// Gives each pixel of the picture the colour of the plane's pixel that contains its centre.
void Fill(StPicture& picture, const StPlane<Colour>& plane) {
    unsigned char* out = picture.rgb.data();
    for (std::int64_t y = 0; y < picture.height; ++y) {
        const std::int64_t row = (2 * y + 1) * plane.height / (2 * picture.height) * plane.width;
        for (std::int64_t x = 0; x < picture.width; ++x) {
            const std::int64_t column = (2 * x + 1) * plane.width / (2 * picture.width);
            out = std::copy_n(plane.pixels[static_cast<std::size_t>(row + column)].begin(), 3, out);
        }
    }
}

std::array<double, 3> SpacingOf(const CImage& image) {
    std::array<double, 3> spacing = {1, 1, 1};
    CQuillonHeaderTools::GetSpacing(image, spacing[0], spacing[1], spacing[2]);
    const bool isUsable =
        std::ranges::all_of(spacing, [](double length) { return std::isfinite(length) && length > 0; });
    return isUsable ? spacing : std::array<double, 3>{1, 1, 1};
}

/// Gives the view its picture.
void Finish(StView& view, const CImage& image, const StPictureOptions& options, StPlane<Colour> plane) {
    if (options.overlay != nullptr)
        AddOverlay(plane.pixels, options);
    const std::array<double, 3> spacing = SpacingOf(image);
    const auto along = static_cast<std::size_t>(options.axis);
    StPictureAxes axes = AxesAlong(options.axis);
    if (!options.isAsStored)
        view.orientation = OrientationOf(image, options.axis);
    if (view.orientation.isTransposed)
        std::swap(axes.right, axes.down);
    const StPlane<Colour> turned = Turned(plane, view.orientation);
    view.picture = EmptyPicture(turned.width, turned.height, spacing[axes.right], spacing[axes.down],
                                options.wantedShortSide);
    Fill(view.picture, turned);
    view.pixelLength =
        spacing[axes.right] * static_cast<double>(turned.width) / static_cast<double>(view.picture.width);
    view.depth = spacing[along] * static_cast<double>(PlaneCount(image.Size(), options.axis) - 1);
}

template <class Pixel>
std::vector<StView> MakeTyped(const CImage& image, const StPictureOptions& options,
                              const std::vector<std::int64_t>& slices) {
    std::vector<StPictureOptions> shown;
    for (const std::int64_t slice : slices) {
        shown.push_back(options);
        shown.back().slice = slice;
    }
    if (shown.empty())
        shown.push_back(options);
    std::vector<StPlane<Pixel>> planes;
    std::vector<const std::vector<Pixel>*> pixels;
    for (const StPictureOptions& each : shown)
        planes.push_back(PlaneOf<Pixel>(image, each));
    for (const StPlane<Pixel>& plane : planes)
        pixels.push_back(&plane.pixels);

    StView start;
    start.meaning = MeaningOf(image, options.colours);
    start.window = options.window            ? *options.window
                   : image.Type().IsBinary() ? StWindow{0, 1}
                                             : WindowOf(pixels);
    std::vector<StView> views(shown.size(), start);
    for (std::size_t i = 0; i < views.size(); ++i) {
        StPlane<Colour> colours{planes[i].width, planes[i].height, {}, {}};
        colours.pixels = ColoursOf(planes[i], views[i], PlaneCount(image.Size(), options.axis));
        Finish(views[i], image, shown[i], std::move(colours));
    }
    return views;
}

} // namespace

std::int64_t PlaneCount(const ORVEN::CSize& size, int axis) { return axis < size.Dim() ? size[axis] : 1; }

std::vector<StView> MakeViews(const CImage& image, const StPictureOptions& options,
                              const std::vector<std::int64_t>& slices) {
    if (options.overlay != nullptr)
        RequireSameSize(image, *options.overlay);
    return Dispatch(image, [&]<class Pixel>(std::type_identity<Pixel>) {
        return MakeTyped<Pixel>(image, options, slices);
    });
}

StPicture MakePicture(const CImage& image, const StPictureOptions& options) {
    return std::move(MakeViews(image, options, {}).front().picture);
}

} // namespace engine
