#pragma once

#include <QuillonBase/IProgress.h>

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
/// the trailing halves, which are given in `trailingHalves` by place, and split into one level per value;
/// empty levels are removed. Pixels of one value keep their order.
///
/// Asks `progress` whether it is cancelled once per `lineLength` pixels of each of its passes, as a traversal
/// of lines of that length would. Returns false if cancelled; the pixels are then partly sorted.
///
/// Time linear in the pixels, by two counting passes of eight bits over each level, which fits the cache as a
/// rule (H. H. Seward, *Information sorting in the application of electronic digital computers to business
/// operations*, 1954). Memory: 16 bytes a pixel of the largest level.
bool RefineLevels(const visitors::StSortedPixels& sorted, const std::vector<std::uint16_t>& trailingHalves,
                  std::int64_t lineLength, IProgress& progress);

} // namespace ORVEN
