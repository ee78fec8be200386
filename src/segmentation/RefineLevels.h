#pragma once

#include <QuillonBase/IProgress.h>

#include <cstdint>
#include <vector>

namespace ORVEN {

namespace visitors {

/// The four vectors that the pixel sort fills for the caller.
struct StSortedPixels {
    std::vector<std::uint16_t>& x;
    std::vector<std::uint16_t>& y;
    std::vector<std::uint16_t>& z;
    std::vector<std::uint64_t>& levelStarts;
};

} // namespace visitors

/// Completes the sort of pixels whose levels contain the leading halves of their keys: sorts each level by
/// the trailing halves, given in `trailingHalves` by index, splits it into one level per value, and removes
/// empty levels. Pixels of equal value keep their order. The trailing halves are sorted along with the
/// pixels.
///
/// Checks `progress` for cancellation once per `lineLength` pixels in each of its passes, like a traversal of
/// lines of that length. Returns false if cancelled; the pixels are then partly sorted.
///
/// Time: linear in the number of pixels, in two counting passes of eight bits over each level, which usually
/// fits into the cache (H. H. Seward, *Information sorting in the application of electronic digital computers
/// to business operations*, 1954). Memory: 8 bytes per pixel of the largest level during the sort, unless all
/// its values are equal; then 8 bytes per value.
bool RefineLevels(const visitors::StSortedPixels& sorted, std::vector<std::uint16_t>& trailingHalves,
                  std::int64_t lineLength, IProgress& progress);

} // namespace ORVEN
