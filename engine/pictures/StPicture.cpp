#include "engine/pictures/StPicture.h"

#include "engine/pictures/Colours.h"

#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/GreyTypeDispatch.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

using ORVEN::CImage;
using ORVEN::CQuillonHeaderTools;

namespace engine {

namespace {

constexpr std::int64_t c_wantedShortSide = 256;
constexpr std::int64_t c_maxLongSide = 8192;

struct StPictureAxes {
    std::size_t right;
    std::size_t down;
};

/// The axes that run right and down in the picture when viewed along the given axis.
StPictureAxes AxesAlong(int axis) {
    constexpr std::array<StPictureAxes, 3> axes = {{{1, 2}, {0, 2}, {0, 1}}};
    return axes[static_cast<std::size_t>(axis)];
}

template <class Pixel>
struct StPlane {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::vector<Pixel> pixels;
};

/// Calls `body(pixel of the plane, pixel of the image)` for the planes from `first` to `end` (exclusive) on
/// the axis, in memory order.
template <class Pixel, class Body>
void VisitPlanes(const ORVEN::CImageView<const Pixel>& view, int axis, std::int64_t first, std::int64_t end,
                 StPlane<Pixel>& plane, const Body& body) {
    std::array<std::int64_t, 3> from = {0, 0, 0};
    std::array<std::int64_t, 3> to = {view.nx, view.ny, view.nz};
    from[static_cast<std::size_t>(axis)] = first;
    to[static_cast<std::size_t>(axis)] = end;
    const StPictureAxes axes = AxesAlong(axis);
    const std::int64_t step = axes.right == 0 ? 1 : 0;
    for (std::int64_t z = from[2]; z < to[2]; ++z) {
        for (std::int64_t y = from[1]; y < to[1]; ++y) {
            const std::array<std::int64_t, 3> position = {0, y, z};
            const Pixel* const row = view.Row(y, z);
            Pixel* const target =
                plane.pixels.data() + position[axes.down] * plane.width + position[axes.right];
            for (std::int64_t x = from[0]; x < to[0]; ++x)
                body(target[step * x], row[x]);
        }
    }
}

template <class Pixel>
StPlane<Pixel> PlaneOf(const CImage& image, const StPictureOptions& options) {
    const ORVEN::CImageView<const Pixel> view(image);
    const std::array extents = {view.nx, view.ny, view.nz};
    const StPictureAxes axes = AxesAlong(options.axis);
    const std::int64_t count = extents[static_cast<std::size_t>(options.axis)];
    const std::int64_t first = options.isProjection ? 0 : options.slice.value_or(count / 2);
    StPlane<Pixel> plane{extents[axes.right], extents[axes.down], {}};
    plane.pixels.resize(static_cast<std::size_t>(plane.width * plane.height));
    VisitPlanes(view, options.axis, first, first + 1, plane,
                [](Pixel& shown, Pixel pixel) { shown = pixel; });
    if (options.isProjection) {
        VisitPlanes(view, options.axis, 1, count, plane, [](Pixel& greatest, Pixel pixel) {
            if (pixel > greatest || greatest != greatest)
                greatest = pixel; // any value is preferred to NaN
        });
    }
    return plane;
}

/// The values shown as black and as white.
struct StWindow {
    double black = 0;
    double white = 1;
};

template <class Pixel>
StWindow WindowOf(const std::vector<Pixel>& pixels) {
    // A sample of this size gives the percentiles to within a small fraction of a per cent.
    constexpr std::size_t maxSampled = 1 << 20;
    constexpr double cutOff = 0.005;
    std::vector<double> values;
    const std::size_t step = pixels.size() / maxSampled + 1;
    double least = std::numeric_limits<double>::infinity();
    double greatest = -least;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const auto value = static_cast<double>(pixels[i]);
        if (!std::isfinite(value))
            continue;
        least = std::min(least, value);
        greatest = std::max(greatest, value);
        if (i % step == 0)
            values.push_back(value);
    }
    const auto quantile = [&](double part) {
        const auto nth = values.begin() + std::lround(part * static_cast<double>(values.size() - 1));
        std::nth_element(values.begin(), nth, values.end());
        return *nth;
    };
    if (!values.empty()) {
        const StWindow window{quantile(cutOff), quantile(1 - cutOff)};
        if (window.black < window.white)
            return window;
    }
    if (least < greatest)
        return {least, greatest};
    // A single value: 0 is black, any other is a medium grey.
    return least == 0 ? StWindow{0, 1} : StWindow{least - 1, least + 1};
}

Colour GreyOf(double value, const StWindow& window) {
    const double tone = (value - window.black) / (window.white - window.black);
    const auto grey =
        static_cast<unsigned char>(std::isnan(tone) ? 0 : std::lround(255 * std::clamp(tone, 0.0, 1.0)));
    return {grey, grey, grey};
}

template <class Pixel>
std::uint64_t LabelOf(Pixel pixel) {
    if constexpr (std::is_floating_point_v<Pixel>)
        return pixel >= 1 && pixel < 1e18f ? static_cast<std::uint64_t>(pixel) : 0;
    else
        return pixel;
}

template <class Pixel>
std::vector<Colour> ColoursOf(const CImage& image, const std::vector<Pixel>& pixels,
                              EnPictureColours colours) {
    std::vector<Colour> result(pixels.size());
    std::size_t labelCount = 0;
    if (colours == COLOURS_ANGLES) {
        std::transform(pixels.begin(), pixels.end(), result.begin(),
                       [](Pixel pixel) { return ColourOfAngle(static_cast<double>(pixel)); });
        return result;
    }
    if (colours == COLOURS_LABELS || CQuillonHeaderTools::GetNumberOfLabels(image, labelCount)) {
        std::transform(pixels.begin(), pixels.end(), result.begin(),
                       [](Pixel pixel) { return ColourOfLabel(LabelOf(pixel)); });
        return result;
    }
    const StWindow window = image.Type().IsBinary() ? StWindow{0, 1} : WindowOf(pixels);
    std::transform(pixels.begin(), pixels.end(), result.begin(),
                   [&](Pixel pixel) { return GreyOf(static_cast<double>(pixel), window); });
    return result;
}

std::int64_t Rounded(double length) {
    return std::clamp<std::int64_t>(std::llround(std::min(length, 1e9)), 1, 2 * c_maxLongSide);
}

/// The size of the picture of a plane whose pixels are `spacingRight` wide and `spacingDown` high.
StPicture EmptyPicture(std::int64_t width, std::int64_t height, double spacingRight, double spacingDown) {
    StPicture picture{width, height, {}};
    if (spacingRight > spacingDown)
        picture.width = Rounded(static_cast<double>(width) * spacingRight / spacingDown);
    else if (spacingDown > spacingRight)
        picture.height = Rounded(static_cast<double>(height) * spacingDown / spacingRight);
    const std::int64_t shortSide = std::min(picture.width, picture.height);
    const std::int64_t longSide = std::max(picture.width, picture.height);
    const std::int64_t wanted = (c_wantedShortSide + shortSide - 1) / shortSide;
    const std::int64_t factor = std::max<std::int64_t>(1, std::min(wanted, c_maxLongSide / longSide));
    picture.width *= factor;
    picture.height *= factor;
    picture.rgb.resize(static_cast<std::size_t>(3 * picture.width * picture.height));
    return picture;
}

/// Gives each pixel of the picture the colour of the plane's pixel that contains its centre.
void Fill(StPicture& picture, std::int64_t width, std::int64_t height, const std::vector<Colour>& colours) {
    unsigned char* out = picture.rgb.data();
    for (std::int64_t y = 0; y < picture.height; ++y) {
        const std::int64_t row = (2 * y + 1) * height / (2 * picture.height) * width;
        for (std::int64_t x = 0; x < picture.width; ++x) {
            const std::int64_t column = (2 * x + 1) * width / (2 * picture.width);
            out = std::copy_n(colours[static_cast<std::size_t>(row + column)].begin(), 3, out);
        }
    }
}

template <class Pixel>
StPicture MakeTyped(const CImage& image, const StPictureOptions& options) {
    const StPlane<Pixel> plane = PlaneOf<Pixel>(image, options);
    std::array<double, 3> spacing = {1, 1, 1};
    CQuillonHeaderTools::GetSpacing(image, spacing[0], spacing[1], spacing[2]);
    for (double& length : spacing) {
        if (!std::isfinite(length) || length <= 0)
            spacing = {1, 1, 1};
    }
    const StPictureAxes axes = AxesAlong(options.axis);
    StPicture picture = EmptyPicture(plane.width, plane.height, spacing[axes.right], spacing[axes.down]);
    Fill(picture, plane.width, plane.height, ColoursOf(image, plane.pixels, options.colours));
    return picture;
}

} // namespace

std::int64_t PlaneCount(const CImage& image, int axis) {
    return axis < image.Size().Dim() ? image.Size()[axis] : 1;
}

StPicture MakePicture(const CImage& image, const StPictureOptions& options) {
    if (image.Type().IsBinary())
        return MakeTyped<unsigned char>(image, options);
    return ORVEN::DispatchGreyType(
        "engine::MakePicture", image.Type(),
        [&]<class Pixel>(std::type_identity<Pixel>) { return MakeTyped<Pixel>(image, options); });
}

} // namespace engine
