#pragma once

#include "engine/pictures/StPicture.h"

#include <sorblib2image/ImageView.h>

#include <array>
#include <cstdint>
#include <vector>

namespace engine {

struct StPictureAxes {
    std::size_t right;
    std::size_t down;
};

/// The axes of the image that run right and down in a plane viewed along the given axis.
inline StPictureAxes AxesAlong(int axis) {
    constexpr std::array<StPictureAxes, 3> axes = {{{1, 2}, {0, 2}, {0, 1}}};
    return axes[static_cast<std::size_t>(axis)];
}

/// Pixels row by row.
template <class Pixel>
struct StPlane {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::vector<Pixel> pixels;
    std::vector<std::int64_t> depths; ///< of a projection: the index of the plane that each pixel is from
};

/// Calls `body(index in the plane, pixel of the image, its index on the axis)` for the planes from `first` to
/// `end` (exclusive) on the axis, in memory order.
template <class Pixel, class Body>
void VisitPlanes(const ORVEN::CImageView<const Pixel>& view, int axis, std::int64_t first, std::int64_t end,
                 std::int64_t planeWidth, const Body& body) {
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
            const std::int64_t start = position[axes.down] * planeWidth + position[axes.right];
            for (std::int64_t x = from[0]; x < to[0]; ++x)
                body(static_cast<std::size_t>(start + step * x), row[x],
                     axis == 0 ? x : position[static_cast<std::size_t>(axis)]);
        }
    }
}

/// One plane of the image, or the maximum along the axis.
template <class Pixel>
StPlane<Pixel> PlaneOf(const ORVEN::CImage& image, const StPictureOptions& options) {
    const ORVEN::CImageView<const Pixel> view(image);
    const std::array extents = {view.nx, view.ny, view.nz};
    const StPictureAxes axes = AxesAlong(options.axis);
    const std::int64_t count = extents[static_cast<std::size_t>(options.axis)];
    const std::int64_t first = options.isProjection ? 0 : options.slice.value_or(count / 2);
    StPlane<Pixel> plane{extents[axes.right], extents[axes.down], {}, {}};
    plane.pixels.resize(static_cast<std::size_t>(plane.width * plane.height));
    VisitPlanes(view, options.axis, first, first + 1, plane.width,
                [&](std::size_t at, Pixel pixel, std::int64_t) { plane.pixels[at] = pixel; });
    if (!options.isProjection)
        return plane;
    plane.depths.resize(plane.pixels.size());
    VisitPlanes(view, options.axis, 1, count, plane.width,
                [&](std::size_t at, Pixel pixel, std::int64_t depth) {
                    Pixel& greatest = plane.pixels[at];
                    if (pixel > greatest || greatest != greatest) { // any value is preferred to NaN
                        greatest = pixel;
                        plane.depths[at] = depth;
                    }
                });
    return plane;
}

} // namespace engine
