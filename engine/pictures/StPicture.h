#pragma once

#include <sorblib2image/CImage.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace engine {

/// A picture for display: rows from top to bottom, three bytes (red, green, blue) per pixel.
struct StPicture {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::vector<unsigned char> rgb;
};

enum EnPictureColours {
    COLOURS_AUTOMATIC, ///< labels for an image with a number of labels in its attributes, else grey
    COLOURS_LABELS,
    COLOURS_ANGLES, ///< a hue for each angle of a direction map
};

struct StPictureOptions {
    int axis = 2;                      ///< the viewing direction: 0 is x, 1 is y, 2 is z
    std::optional<std::int64_t> slice; ///< the plane on that axis; the middle one if not set
    bool isProjection = false;         ///< shows the maximum along the axis instead of one plane
    EnPictureColours colours = COLOURS_AUTOMATIC;
};

/// Number of planes that an image has along an axis.
std::int64_t PlaneCount(const ORVEN::CImage& image, int axis);

/// The picture of one plane or projection. Viewed along z, x runs right and y down; along y, x right and z
/// down; along x, y right and z down. `slice` must be less than `PlaneCount`.
///
/// Grey: black is the value that 0.5 % of the plane's finite pixels do not reach, white the value that 0.5 %
/// exceed (the minimum and maximum if these are equal); NaN is black. Binary: black and white. Labels: 0 is
/// black, and each label has its own colour, clearly different from those of neighbouring numbers. Angles, in
/// radians: the hue runs through the full circle from 0 to pi, because directions repeat after pi; negative
/// values, which mean no direction, are black.
///
/// For anisotropic spacing, rows or columns are repeated to give the true proportions. Small planes are
/// enlarged by an integer factor until the short side has 256 pixels, within 8192 on the long side. Raises
/// `CException` for complex pixels. Time is linear in the number of pixels viewed.
StPicture MakePicture(const ORVEN::CImage& image, const StPictureOptions& options);

} // namespace engine
