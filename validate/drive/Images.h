#pragma once

#include <sorblib2image/CImage.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// Images to try plug-ins on.

namespace validate {

/// A size of one, two or three dimensions.
ORVEN::CSize SizeOf(const std::vector<std::int64_t>& extents);
/// Some hundred pixels in that dimension, at least `minimumExtent` along each axis.
ORVEN::CSize NormalSize(int dimension, std::int64_t minimumExtent = 0);

/// The types of pixel in the order of the catalogue's words, and those that a catalogue has no word for.
const std::vector<ORVEN::IImage::CType>& PixelTypes();
const std::vector<ORVEN::IImage::CType>& OtherPixelTypes();

/// An image with objects, holes, minima and maxima, of grey values up to 40, as far as its size allows. The
/// pixels of a complex image are 0.
std::unique_ptr<ORVEN::CImage> PatternImage(const ORVEN::IImage::CType& type, const ORVEN::CSize& size,
                                            const ORVEN::CSize& border = ORVEN::CSize(0, 0, 0));
/// The same pattern in an image that lies over `memory`, which is resized for it and its border.
std::unique_ptr<ORVEN::CImage> PatternOver(std::vector<unsigned char>& memory,
                                           const ORVEN::IImage::CType& type, const ORVEN::CSize& size,
                                           std::int64_t border);
/// Sets all pixels to a number, as far as the type can hold it.
void Fill(ORVEN::CImage& image, double value);
/// Sets every `step`-th pixel, counted from the first one.
void SetSome(ORVEN::CImage& image, double value, std::int64_t step);
/// The largest pixel value of the type; 1 for a binary one.
double GreatestOf(const ORVEN::IImage::CType& type);

/// The bytes of all pixels without the border, x fastest.
std::string PixelBytes(const ORVEN::CImage& image);

/// Type and extents in the form "grey8 12x11x9".
std::string OutlineOf(const ORVEN::IImage::CType& type, const ORVEN::CSize& size);
std::string OutlineOf(const ORVEN::CImage& image);

} // namespace validate
