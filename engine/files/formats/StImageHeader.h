#pragma once

#include <sorblib2image/CSize.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace engine {

enum EnFileFormat { FORMAT_NRRD, FORMAT_META, FORMAT_NIFTI, FORMAT_TIFF, FORMAT_PNG };

/// How samples are compressed in a new file.
enum EnPacking { PACKING_NONE, PACKING_GZIP };

/// Type of one number of a pixel in a file.
enum EnSampleType {
    SAMPLE_INT8,
    SAMPLE_UINT8,
    SAMPLE_INT16,
    SAMPLE_UINT16,
    SAMPLE_INT32,
    SAMPLE_UINT32,
    SAMPLE_INT64,
    SAMPLE_UINT64,
    SAMPLE_FLOAT,
    SAMPLE_DOUBLE,
};

/// Size of one sample in bytes.
[[nodiscard]] constexpr int SampleSize(EnSampleType sample) {
    constexpr std::array sizes = {1, 1, 2, 2, 4, 4, 8, 8, 4, 8};
    return sizes[sample];
}

/// Where a file stores its samples as one contiguous block: NRRD, MetaImage, NIfTI.
struct StPixelData {
    std::string path;
    std::int64_t offset = 0; ///< of the first byte of the data in the file, packed or not
    bool isPacked = false;   ///< by zlib, with or without a gzip wrapper
    std::int64_t skip = 0;   ///< unpacked bytes before the first sample
    bool isSwapped = false;  ///< the byte order of the samples differs from the machine's
};

/// A value is `slope` times the stored number plus `intercept`.
struct StScale {
    double slope = 1;
    double intercept = 0;
};

/// Description of an image file, known before its pixels are read.
struct StImageHeader {
    EnFileFormat format = FORMAT_NRRD;
    ORVEN::CSize size; ///< dimension 2 or 3
    EnSampleType sample = SAMPLE_UINT8;
    int samplesPerPixel = 1; ///< adjacent in the file if more than one
    std::optional<StScale> scale;
    /// Set only if the file states one, with its numbers unchanged. z is 1 in two dimensions.
    std::optional<std::array<double, 3>> spacing;
    /// Pixel type and attributes as texts from the file (NRRD only). The attributes are JSON that has not
    /// been parsed.
    std::optional<std::string> typeName;
    std::optional<std::string> attributes;
    StPixelData data;

    [[nodiscard]] std::int64_t ByteCount() const {
        return size.PixelCount() * samplesPerPixel * SampleSize(sample);
    }
};

} // namespace engine
