#pragma once

#include "sorblib2image/CPos.h"

namespace ORVEN {

/// The extents of an image or region in pixels. A size has the structure of a position and is compared and
/// printed like one.
class CSize : public CPos {
public:
    /// All extents 0, in three dimensions.
    CSize() = default;
    CSize(std::int64_t sx, std::int64_t sy)
        : CPos(sx, sy) {}
    CSize(std::int64_t sx, std::int64_t sy, std::int64_t sz)
        : CPos(sx, sy, sz) {}

    /// The number of pixels: the product of the extents up to the dimension. Raises `CExBadParam` for a
    /// dimension outside 1 to 3, a negative extent, or a product above 2^63 - 1.
    [[nodiscard]] std::int64_t PixelCount() const;
};

} // namespace ORVEN
