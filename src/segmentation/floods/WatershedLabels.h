#pragma once

#include <cstdint>

namespace ORVEN {

// What the 32-bit labels of a flooding mean. Everything else is the number of a region, from 1 to 0xFFFFFFFC.
inline constexpr std::uint32_t LabelInit = 0xFFFFFFFF;    ///< the flood has not got to this pixel
inline constexpr std::uint32_t LabelMask = 0xFFFFFFFE;    ///< reached, waiting for a label
inline constexpr std::uint32_t LabelInQueue = 0xFFFFFFFD; ///< in the queue, waiting for its decision
inline constexpr std::uint32_t LabelWatershed = 0;        ///< on a line between regions

/// A region's number or the line.
constexpr bool IsFinalLabel(std::uint32_t label) { return label < LabelInQueue; }

/// A region's number.
constexpr bool IsPositiveLabel(std::uint32_t label) { return label != LabelWatershed && IsFinalLabel(label); }

/// A pixel of an image of at most 65536 pixels on an axis.
struct StPixelPosition {
    std::uint16_t x;
    std::uint16_t y;
    std::uint16_t z;
};

} // namespace ORVEN
