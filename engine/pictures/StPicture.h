#pragma once

#include "engine/pictures/StOrientation.h"
#include "engine/pictures/StWindow.h"

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
    COLOURS_DEPTH,  ///< of a projection: a hue for the depth of each pixel, as bright as the pixel
};

struct StPictureOptions {
    int axis = 2;                      ///< the viewing direction: 0 is x, 1 is y, 2 is z
    std::optional<std::int64_t> slice; ///< the plane on that axis; the middle one if not set
    bool isProjection = false;         ///< shows the maximum along the axis instead of one plane
    EnPictureColours colours = COLOURS_AUTOMATIC;
    std::optional<StWindow> window; ///< without it, black and white follow from the pixels shown
    const ORVEN::CImage* overlay =
        nullptr;          ///< a mask or labels of the same size, shown in colour on the image
    double opacity = 0.4; ///< of the overlay
    /// Small planes are enlarged until their short side has so many pixels.
    std::int64_t wantedShortSide = 256;
    bool isAsStored = false; ///< does not turn images of patients
};

/// What the colours of a picture mean.
enum EnPictureMeaning { MEANING_GREY, MEANING_BINARY, MEANING_LABELS, MEANING_ANGLES, MEANING_DEPTH };

/// A picture with what is needed to explain it.
struct StView {
    StPicture picture;
    EnPictureMeaning meaning = MEANING_GREY;
    StWindow window;          ///< of grey values
    double pixelLength = 1.0; ///< width and height of a pixel of the picture, in the unit of the spacing
    double depth = 0.0;       ///< of a projection, from the centre of the first plane to that of the last
    StOrientation orientation;
};

/// Number of planes that an image has along an axis.
std::int64_t PlaneCount(const ORVEN::CSize& size, int axis);

/// The picture of one plane or projection. Viewed along z, x runs right and y down; along y, x right and z
/// down; along x, y right and z down. Images of patients are turned, see `OrientationOf`. `slice` must be
/// less than `PlaneCount`.
///
/// Grey: black is the value that 0.5 % of the plane's finite pixels do not reach, white the value that 0.5 %
/// exceed (the minimum and maximum if these are equal); NaN is black. Binary: black and white. Labels: 0 is
/// black, and each label has its own colour, clearly different from those of neighbouring numbers. Angles, in
/// radians: the hue runs through the full circle from 0 to pi, because directions repeat after pi; negative
/// values, which mean no direction, are black. An overlay that is binary, or of 8 bits with the values 0 and
/// 255, is red, any other has the colours of its labels.
///
/// For anisotropic spacing, rows or columns are repeated to give the true proportions. Small planes are
/// enlarged by an integer factor until the short side is as long as wanted, within 8192 on the long side.
/// Raises `CException` for complex pixels, and `CCallerError` if the overlay differs in size. Time is linear
/// in the number of pixels viewed.
StPicture MakePicture(const ORVEN::CImage& image, const StPictureOptions& options);

/// The pictures of several planes, or of one plane or projection if there are no slices, with a common
/// window.
std::vector<StView> MakeViews(const ORVEN::CImage& image, const StPictureOptions& options,
                              const std::vector<std::int64_t>& slices);

} // namespace engine
