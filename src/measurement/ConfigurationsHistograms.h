#pragma once

#include <sorblib2image/CImage.h>

#include <cstdint>
#include <vector>

namespace quillon {

/// How many blocks of 2 x 2 x 2 pixels have each configuration, at every threshold.
struct StConfigurationsHistograms {
    static constexpr std::size_t configurationCount = 256;

    /// The count of configuration c at threshold g stands at g * configurationCount + c.
    std::vector<std::uint64_t> counts;
    /// The greatest grey value of the pixel type, which is the last threshold.
    std::uint32_t greatestGreyValue = 0;
};

/// Counts the configurations of all blocks inside an image at all thresholds in one pass. Bit i of a
/// configuration is set if pixel (i & 1, i >> 1 & 1, i >> 2 & 1) of the block is greater than the threshold.
///
/// A block has one configuration up to its least pixel, another up to the next one, and so on, nine at most.
/// So a block is entered where its configuration changes, and a running sum along the grey values turns
/// changes into counts.
///
/// The image is of 16 or 8 bits or binary, which counts as 8 bits; any other type raises `CException`. The
/// pixels of a row stand side by side; rows and planes may lie anywhere, as in an image with a border. An
/// image of one layer has no block. Time: pixels, 8 pixel values sorted for each, and 256 times the grey
/// values. Memory: 8 bytes times 256 times the grey values, 512 KiB or 128 MiB.
StConfigurationsHistograms ConfigurationsHistograms(const ORVEN::CImage& image);

} // namespace quillon
