#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <sorblib2image/CImage.h>

#include <memory>
#include <optional>
#include <string>

namespace engine {

/// The pixel type with the same memory layout as these samples; nothing if there is none.
std::optional<ORVEN::IImage::CType> SameSampleType(EnSampleType sample);

/// The pixel type that `MakeImage` gives samples without a negative value.
ORVEN::IImage::CType TypeWithoutNegatives(EnSampleType sample);
/// The pixel type that it gives them otherwise.
ORVEN::IImage::CType WidestType(EnSampleType sample);

/// Applies the scale to the samples. Linear in their count.
std::unique_ptr<float[]> ScaledSamples(const void* samples, EnSampleType sample, std::int64_t count,
                                       const StScale& scale);

/// The sample type that stores a pixel of this type in a file; binary pixels are stored as bytes. Raises
/// `CFileReason` for complex pixels.
EnSampleType SampleOfType(const ORVEN::IImage::CType& type);

/// Makes an image of `size` from samples, with `samplesPerPixel` adjacent samples per pixel. The image takes
/// the one of the index `picked`. Without it, they must be equal; the last of two or four is the opacity and
/// is ignored.
///
/// Without `type`, the narrowest type that holds the samples is used. Unsigned integers keep their width;
/// signed ones without a negative value become unsigned of the same width. Otherwise 8 and 16 bits become
/// floats, which hold them exactly, and so do wider integers if floats hold each value exactly. 64-bit
/// integers become 32-bit ones. Doubles become floats, rounded. With `type`, binary is 1 where a sample is
/// not 0 (NaN counts as not 0). Integer types accept only integers in their range. Floats accept everything
/// except finite numbers beyond their range, rounded to the nearest.
///
/// Raises `CFileReason` with the first value that does not fit and the range of the type.
/// Linear in the pixels, in two passes.
std::unique_ptr<ORVEN::CImage> MakeImage(const ORVEN::CSize& size, const void* samples, EnSampleType sample,
                                         int samplesPerPixel, std::optional<int> picked,
                                         const std::optional<ORVEN::IImage::CType>& type);

} // namespace engine
