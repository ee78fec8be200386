#pragma once

#include <sorblib2image/CSize.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace engine {

enum EnFileFormat { FORMAT_NRRD, FORMAT_META, FORMAT_NIFTI, FORMAT_TIFF, FORMAT_PNG };

/// How samples are packed in a new file.
enum EnPacking { PACKING_NONE, PACKING_GZIP };

/// What one number of a pixel is in a file.
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

/// Bytes of one sample.
[[nodiscard]] constexpr int SampleSize(EnSampleType sample) {
    constexpr std::array sizes = {1, 1, 2, 2, 4, 4, 8, 8, 4, 8};
    return sizes[sample];
}

/// Where the samples of a file stand in one piece: NRRD, MetaImage, NIfTI.
struct StPixelData {
    std::string path;
    std::int64_t offset = 0; ///< of the first byte in the file, packed or not
    bool isPacked = false;   ///< by zlib, with or without the wrapper of gzip
    std::int64_t skip = 0;   ///< unpacked bytes before the first sample
    bool isSwapped = false;  ///< samples are in the other byte order than the machine's
};

/// Stored numbers stand for `slope` times the number plus `intercept`.
struct StScale {
    double slope = 1;
    double intercept = 0;
};

/// What an image file says about itself before its pixels are looked at.
struct StImageHeader {
    EnFileFormat format = FORMAT_NRRD;
    ORVEN::CSize size; ///< dimension 2 or 3
    EnSampleType sample = SAMPLE_UINT8;
    int samplesPerPixel = 1; ///< more than one stand side by side
    std::optional<StScale> scale;
    /// Only if the file states one; its numbers as they stand. z is 1 in two dimensions.
    std::optional<std::array<double, 3>> spacing;
    /// The file's own words on pixel type and attributes (NRRD only), JSON not looked at yet.
    std::optional<std::string> typeName;
    std::optional<std::string> attributes;
    StPixelData data;

    [[nodiscard]] std::int64_t ByteCount() const {
        return size.PixelCount() * samplesPerPixel * SampleSize(sample);
    }
};

} // namespace engine
