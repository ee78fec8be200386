#pragma once

#include <sorblib2image/CSize.h>
#include <sorblib2image/StImageGeometry.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace engine {

enum EnFileFormat { FORMAT_NRRD, FORMAT_META, FORMAT_NIFTI, FORMAT_TIFF, FORMAT_PNG, FORMAT_DICOM };

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
    std::int64_t rest = 0;   ///< unpacked bytes after the last sample
    bool isSwapped = false;  ///< the byte order of the samples differs from the machine's
};

/// A value is `slope` times the stored number plus `intercept`.
struct StScale {
    double slope = 1;
    double intercept = 0;
};

/// A file with one plane of a volume (DICOM). A value is its scale applied to the stored number.
struct StSliceFile {
    std::string path;
    EnSampleType sample = SAMPLE_UINT8;
    StScale scale;
};

/// The planes of a file that holds an image several times, for channels and time points. The distances say
/// how many planes lie from one plane to the next in each direction.
struct StSeries {
    std::int64_t channels = 1;
    std::int64_t times = 1;
    std::int64_t planeDistance = 1;
    std::int64_t channelDistance = 0;
    std::int64_t timeDistance = 0;

    [[nodiscard]] std::int64_t Count() const { return channels * times; }
};

/// Description of an image file, known before its pixels are read. Of a file with several channels or time
/// points, it describes one image.
struct StImageHeader {
    EnFileFormat format = FORMAT_NRRD;
    ORVEN::CSize size; ///< dimension 2 or 3
    EnSampleType sample = SAMPLE_UINT8;
    int samplesPerPixel = 1; ///< adjacent in the file if more than one
    int separateSamples = 1; ///< samples of a pixel in blocks of their own (TIFF)
    StSeries series;
    std::optional<StScale> scale;
    /// As stated by the file, with its numbers unchanged. The spacing is set only if the file states it; z is
    /// 1 in two dimensions. The space has the axes that point to the left, the back and the head if the file
    /// defines them relative to a patient.
    ORVEN::StImageGeometry geometry;
    bool hasPlace = false; ///< whether the file states origin and directions
    /// The size of a pixel in print, in millimetres: not the size of what the image shows.
    std::optional<std::array<double, 3>> printSize;
    /// Pixel type and attributes as texts from the file (NRRD only). The attributes are JSON that has not
    /// been parsed.
    std::optional<std::string> typeName;
    std::optional<std::string> attributes;
    StPixelData data;
    std::vector<StSliceFile> slices; ///< the files with the planes, in order (DICOM only)

    // Which image of the file is read.
    std::int64_t firstPlane = 0;
    int separateSample = 0;
    std::optional<int> pickedSample; ///< of those adjacent; without it, all must be equal

    /// Bytes of the samples of one image.
    [[nodiscard]] std::int64_t ByteCount() const {
        return size.PixelCount() * samplesPerPixel * SampleSize(sample);
    }
    /// Bytes of the samples of all images in the file.
    [[nodiscard]] std::int64_t TotalByteCount() const { return ByteCount() * series.Count(); }
    /// The number of channels to choose from: adjacent samples, separate samples and images of a series.
    [[nodiscard]] std::int64_t ChannelCount() const {
        return series.channels * separateSamples * samplesPerPixel;
    }
};

} // namespace engine
