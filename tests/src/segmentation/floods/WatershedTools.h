#pragma once

#include "segmentation/floods/RunWatershed.h"
#include "segmentation/floods/WatershedLabels.h"
#include "support/TestImage.h"
#include "support/TraversalTools.h"

#include <QuillonBase/Neighborhoods.h>

#include <array>
#include <cstdint>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

/// What the tests of the flooding share: all neighbourhoods by name, and images told as pictures.
namespace test {

struct StFlood {
    const char* id;
    int dimension;
    quillon::StWatershedOutcome (*run)(const quillon::StWatershedRun&);
};

template <class N>
constexpr StFlood FloodOf() {
    return {N::id, N::dimension, quillon::RunWatershed<N>};
}

inline constexpr std::array floods{
    FloodOf<ORVEN::CNeighborhood2dDiffN4>(),    FloodOf<ORVEN::CNeighborhood2dDiffN6_1>(),
    FloodOf<ORVEN::CNeighborhood2dDiffN6_2>(),  FloodOf<ORVEN::CNeighborhood2dDiffN8>(),
    FloodOf<ORVEN::CNeighborhood3dDiffN6>(),    FloodOf<ORVEN::CNeighborhood3dDiffN14_1>(),
    FloodOf<ORVEN::CNeighborhood3dDiffN14_2>(), FloodOf<ORVEN::CNeighborhood3dDiffN26>()};

/// Labels in raster order, x fastest, and what the run answered.
struct StFlooded {
    std::vector<std::uint32_t> labels;
    std::uint32_t regionCount = 0;

    friend bool operator==(const StFlooded& a, const StFlooded& b) = default;
};

inline std::ostream& operator<<(std::ostream& stream, const StFlooded& flooded) {
    stream << flooded.regionCount << " regions:" << std::hex;
    for (const std::uint32_t label : flooded.labels)
        stream << ' ' << label;
    return stream << std::dec;
}

/// A run into new labels, with the debugging lines held back.
inline StFlooded Flood(const StFlood& flood, const ORVEN::CImage& image, const ORVEN::CImage* seeds = nullptr,
                       ORVEN::EnWatershedMode mode = ORVEN::WATERSHED_NORMAL, std::uint32_t minimum = 0) {
    const CapturedOutput silence;
    ORVEN::CImage labels(ORVEN::IMAGE_GREY_32, image.Size(), ORVEN::CSize(0, 0, 0));
    const auto outcome = flood.run({labels, image, seeds, mode, minimum});
    return {PixelsOf<std::uint32_t>(labels), outcome.regionCount};
}

/// A picture in two dimensions: one text a row, one character a pixel.
using Rows = std::vector<std::string>;

/// The 8-bit image of a picture; a digit is a pixel of that value, a point one of 0.
inline std::unique_ptr<ORVEN::CImage> ImageOf(const Rows& rows) {
    std::vector<unsigned char> pixels;
    for (const std::string& row : rows) {
        for (const char character : row)
            pixels.push_back(static_cast<unsigned char>(character == '.' ? 0 : character - '0'));
    }
    const ORVEN::CSize size(static_cast<std::int64_t>(rows.at(0).size()),
                            static_cast<std::int64_t>(rows.size()));
    return ImageOf(ORVEN::IMAGE_GREY_8, size, pixels);
}

/// The picture of labels: digits, 'm' for a pixel that still waits, 'i' for one that was not reached.
inline Rows PictureOf(const std::vector<std::uint32_t>& labels, std::size_t width) {
    Rows rows;
    for (std::size_t i = 0; i < labels.size(); ++i) {
        if (i % width == 0)
            rows.emplace_back();
        const std::uint32_t label = labels[i];
        if (label == ORVEN::LabelMask)
            rows.back() += 'm';
        else if (label == ORVEN::LabelInit)
            rows.back() += 'i';
        else
            rows.back() += label < 10 ? static_cast<char>('0' + label) : '?';
    }
    return rows;
}

struct StFloodedPicture {
    Rows labels;
    std::uint32_t regionCount = 0;

    friend bool operator==(const StFloodedPicture& a, const StFloodedPicture& b) = default;
};

inline std::ostream& operator<<(std::ostream& stream, const StFloodedPicture& flooded) {
    stream << flooded.regionCount << " regions:";
    for (const std::string& row : flooded.labels)
        stream << '\n' << row;
    return stream;
}

/// The flood of a picture over the four direct neighbours.
inline StFloodedPicture FloodedN4(const Rows& image, const Rows& seeds = {},
                                  ORVEN::EnWatershedMode mode = ORVEN::WATERSHED_NORMAL,
                                  std::uint32_t minimum = 0) {
    const auto seedImage = seeds.empty() ? nullptr : ImageOf(seeds);
    const StFlooded flooded = Flood(floods[0], *ImageOf(image), seedImage.get(), mode, minimum);
    return {PictureOf(flooded.labels, image.at(0).size()), flooded.regionCount};
}

} // namespace test
