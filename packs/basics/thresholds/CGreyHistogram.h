#pragma once

#include "pixels/PixelLoops.h"

#include <QuillonBase/IProgress.h>
#include <sorblib2image/CImage.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillon::basics {

/// The numbers of pixels by grey value. An integer image whose values span no more than the number of bins
/// has one bin for each value, which is exact. Otherwise the range is divided into bins of equal width. NaN
/// is not counted.
///
/// Time: one pass, in parallel by blocks of rows. Memory: 8 bytes per bin and block, at most 16 blocks.
class CGreyHistogram {
public:
    /// `range` is the range of the pixels, which must be finite. After a cancelled run, counts are
    /// incomplete.
    CGreyHistogram(const ORVEN::CImage& image, const StRange& range, std::int64_t mostBins,
                   ORVEN::IProgress& progress);

    [[nodiscard]] const std::vector<std::int64_t>& Counts() const { return m_counts; }
    /// The grey value that stands for a bin: the value itself, or the centre of the bin.
    [[nodiscard]] double Value(std::size_t bin) const;
    /// The threshold above a bin: pixels of this bin are not greater, pixels of the next one are.
    [[nodiscard]] double UpperEnd(std::size_t bin) const;

private:
    double m_least;
    double m_width = 1.0; // of a bin
    bool m_isExact;
    std::vector<std::int64_t> m_counts;
};

} // namespace quillon::basics
