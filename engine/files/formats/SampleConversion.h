#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <sorblib2image/CImage.h>

#include <memory>
#include <optional>
#include <string>

namespace engine {

/// The pixel type whose pixels are the very bytes of these samples; nothing if there is none.
std::optional<ORVEN::IImage::CType> SameSampleType(EnSampleType sample);

/// The numbers that scaled samples stand for. Linear in their count.
std::unique_ptr<float[]> ScaledSamples(const void* samples, EnSampleType sample, std::int64_t count,
                                       const StScale& scale);

/// What a pixel of the type is in a file: a binary one is a byte. Raises `CFileError` for complex pixels.
EnSampleType SampleOfType(const ORVEN::IImage::CType& type);

/// Makes an image of `size` from as many samples, `samplesPerPixel` side by side, which must then be equal
/// but for a last one of two or four (its opacity), which is passed over.
///
/// Without `type`: the narrowest type that holds the samples. Unsigned integers keep their width; signed ones
/// without a negative value become unsigned of the same width; else 8 and 16 bits become floats, which hold
/// them exactly, and wider ones too if floats hold each value exactly. 64 bits become 32. Doubles become
/// floats, rounded.
/// With `type`: binary is 1 where a sample is not 0 (not a number counts as not 0). Integers take only whole
/// numbers in their range. Floats take everything, rounded to the nearest, but finite numbers beyond their
/// range.
///
/// Raises `CFileError`, naming `path`, the first value that does not fit and
/// what would. Linear in the pixels, two passes.
std::unique_ptr<ORVEN::CImage> MakeImage(const std::string& path, const ORVEN::CSize& size,
                                         const void* samples, EnSampleType sample, int samplesPerPixel,
                                         const std::optional<ORVEN::IImage::CType>& type);

} // namespace engine
