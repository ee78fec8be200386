#pragma once

#include <sorblib2core/CValueMap.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ORVEN {

/// Volume and bounding box of every label of an image, each a vector indexed by label. A label that does not
/// occur has 0 in all of them.
///
/// Start positions include the offset of the image, so that a record measured on a large image remains valid
/// for a region cut out of it.
struct StLabelingData {
    /// The number of labels, counted from 0, that all vectors cover.
    [[nodiscard]] std::size_t LabelCount() const;

    /// Loads the record from a map in the form of the conversion below. Raises `CException` if a vector is
    /// missing or contains values other than whole numbers; the record then stays unchanged. Vectors may have
    /// different lengths.
    void Set(const CValueMap& map);

    /// The vectors by name: "volume", "extent x", "extent y", "extent z", "start x", "start y" and "start z".
    /// Each is a `CValueVector` of `CValueLong`, or `CValueDouble` for numbers that exceed 32 bits.
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
