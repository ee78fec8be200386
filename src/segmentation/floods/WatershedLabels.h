#pragma once

#include <cstdint>

namespace ORVEN {

// The meaning of the 32-bit labels of a flood. All other values are region numbers, from 1 to 0xFFFFFFFC.
inline constexpr std::uint32_t LabelInit = 0xFFFFFFFF;    ///< the flood has not reached this pixel
inline constexpr std::uint32_t LabelMask = 0xFFFFFFFE;    ///< reached, waiting for a label
inline constexpr std::uint32_t LabelInQueue = 0xFFFFFFFD; ///< in the queue, waiting for its decision
inline constexpr std::uint32_t LabelWatershed = 0;        ///< on a line between regions

/// Whether the label is a region's number or a line.
constexpr bool IsFinalLabel(std::uint32_t label) { return label < LabelInQueue; }

/// Whether the label is a region's number.
constexpr bool IsPositiveLabel(std::uint32_t label) { return label != LabelWatershed && IsFinalLabel(label); }

/// The position of a pixel in an image of at most 65536 pixels along each axis.
struct StPixelPosition {
    std::uint16_t x;
    std::uint16_t y;
    std::uint16_t z;
};

} // namespace ORVEN
