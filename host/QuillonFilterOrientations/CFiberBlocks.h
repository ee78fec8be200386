#pragma once

#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CSize.h>
#include <sorblib2image/IImage.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace ORVEN {

/// The measurement of `CSubfieldFiberDirections` for an image that is read in blocks. The sums over all
/// blocks are whole numbers, so that the result is the same as for the whole image.
///
/// Memory: 64 bytes for each slice and subfield of the image.
class CFiberBlocks {
public:
    /// An image of that size in pixels and of that spacing, whose components are 1 if they are unknown. The
    /// radius is in the unit of the spacing, and must be positive and finite. There are subfields if all
    /// components of their size are above 0; in 2-d, that along z is ignored.
    CFiberBlocks(const CSize& size, const std::array<double, 3>& spacing, double fiberRadius,
                 const std::array<std::int64_t, 3>& subfieldSize);

    /// The grey value that fibres exceed, from the number of pixels of each grey value.
    static double ThresholdByOtsu(const std::array<std::int64_t, 256>& histogram, double factor);

    /// The sums over the pixels of the box `first` to before `end` of the image, from a block that starts at
    /// `start` and contains the box. The block has to reach beyond the box, by 4 sigma + 2 pixels or to the
    /// border of the image; it has the spacing of the image. Pixels that are not 0 in `mask` are foreground.
    ///
    /// Raises `CException` as `CHessianOrientations::Visit` does.
    [[nodiscard]] std::vector<std::int64_t> SumsOf(const IImage& block, const IImage& mask,
                                                   const std::array<std::int64_t, 3>& start,
                                                   const std::array<std::int64_t, 3>& first,
                                                   const std::array<std::int64_t, 3>& end) const;

    /// The measurement, from the sums of all blocks added number by number. `otsu` is the factor and the
    /// threshold that the mask was made with; empty for a mask that the caller gave. Raises `CExBadParam` for
    /// another number of sums.
    [[nodiscard]] std::unique_ptr<CValueMap>
    Measurement(std::span<const std::int64_t> sums, const std::optional<std::array<double, 2>>& otsu) const;

private:
    CSize m_size;
    std::array<double, 3> m_spacing;
    double m_fiberRadius;
    std::array<std::int64_t, 3> m_subfieldSize;
};

} // namespace ORVEN
