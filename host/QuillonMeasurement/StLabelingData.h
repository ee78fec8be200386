#pragma once

#include <sorblib2core/CValueMap.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ORVEN {

/// Volume and bounding box of every label of an image, each vector indexed by label. A label that does not
/// occur has 0 everywhere.
///
/// A record made on a large image can travel with a part that is cut out of it: starts are in the coordinates
/// of the header, that is, the image's offset is in them.
struct StLabelingData {
    /// How many labels, from 0 on, all vectors tell of.
    [[nodiscard]] std::size_t LabelCount() const;

    /// Loads the record from a map as the conversion below gives it. Raises `CException` if a vector is
    /// missing or holds anything but whole numbers, and then leaves the record as it was. Vectors may be of
    /// different length.
    void Set(const CValueMap& map);

    /// The vectors by name: "volume", "extent x", "extent y", "extent z", "start x", "start y" and "start z",
    /// each a `CValueVector` of `CValueLong`, or `CValueDouble` for what exceeds 32 bits.
    explicit operator CValueMap() const;

    std::vector<std::int64_t> volume;  ///< in pixels
    std::vector<std::int64_t> extentX; ///< of the bounding box: end = start + extent
    std::vector<std::int64_t> extentY;
    std::vector<std::int64_t> extentZ;
    std::vector<std::int64_t> startX; ///< lowest corner of the bounding box
    std::vector<std::int64_t> startY;
    std::vector<std::int64_t> startZ;
};

} // namespace ORVEN
