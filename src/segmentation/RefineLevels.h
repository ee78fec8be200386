#pragma once

#include <cstdint>
#include <vector>

namespace ORVEN {

namespace visitors {

/// The four vectors that the pixel sort fills for its caller.
struct StSortedPixels {
    std::vector<std::uint16_t>& x;
    std::vector<std::uint16_t>& y;
    std::vector<std::uint16_t>& z;
    std::vector<std::uint64_t>& levelStarts;
};

} // namespace visitors

/// Finishes the sort of pixels whose levels hold the leading halves of their keys: each level is sorted by
/// the trailing halves, which stand in `trailingHalves` by place, and cut into one level a value; empty
/// levels go. Pixels of one value keep their order.
///
/// Time linear in the pixels, by two counting passes of eight bits over each level, which fits the cache as a
/// rule (H. H. Seward, *Information sorting in the application of electronic digital computers to business
/// operations*, 1954). Memory: 16 bytes a pixel of the largest level.
void RefineLevels(const visitors::StSortedPixels& sorted, const std::vector<std::uint16_t>& trailingHalves);

} // namespace ORVEN
