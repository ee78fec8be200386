#pragma once

#include <sorblib2image/CImage.h>

#include <cstdint>
#include <vector>

namespace ORVEN {

/// Counts of the blocks of 2 x 2 x 2 pixels by configuration, for every threshold.
struct StConfigurationsHistograms {
    static constexpr std::size_t configurationCount = 256;

    /// The count of configuration c at threshold g is at index g * configurationCount + c.
    std::vector<std::uint64_t> counts;
    /// The greatest grey value of the pixel type, which is the last threshold.
    std::uint32_t greatestGreyValue = 0;
};

/// Counts the configurations of all blocks inside an image at all thresholds in one pass. Bit i of a
/// configuration is set if pixel (i & 1, i >> 1 & 1, i >> 2 & 1) of the block is greater than the threshold.
///
/// The configuration of a block changes only where the threshold passes one of its pixel values, so a block
/// has nine configurations at most. Only these changes are recorded; a running sum along the grey values then
/// gives the counts.
///
/// The image has 16 or 8 bits or is binary, which counts as 8 bits; any other type raises `CException`. The
/// pixels of a row must be contiguous; rows and planes may have any stride, as in an image with a border. An
/// image with one layer has no blocks. Time: linear in the number of pixels (eight values are sorted per
/// pixel) plus 256 times the number of grey values. Memory: 8 bytes times 256 times the number of grey
/// values, that is 512 KiB or 128 MiB; raises as `RequireMemory` if that does not fit.
StConfigurationsHistograms ConfigurationsHistograms(const CImage& image);

} // namespace ORVEN
