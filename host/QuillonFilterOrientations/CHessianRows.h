#pragma once

#include "QuillonFilterOrientations/StDerivativeTaps.h"
#include "QuillonFilterOrientations/SymmetricMatrices.h"

#include <QuillonBase/VectorDispatch.h>
#include <sorblib2image/ImageView.h>

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace ORVEN::Impl {

/// Matrices of second derivatives at chosen pixels of an 8-bit image, Gaussian ones of one scale: grey values
/// times sigma^2 per squared length, the unit of the spacing cancelled. Behind the borders the outermost
/// pixels are repeated.
///
/// Rows are filtered along z, then y, then x, and only where they are asked for. Rows filtered along z wait
/// in a ring for as long as rows below them need them, so that memory is three rows for each tap along y,
/// whatever the size of the image.
class CHessianRows {
public:
    /// The taps stand for x, y and z; both are kept by reference.
    CHessianRows(const CImageView<const unsigned char>& image, std::span<const StDerivativeTaps> taps,
                 EnVectors vectors);

    /// Goes to a plane. Rows of one plane are asked for in ascending order.
    void StartPlane(std::int64_t z);
    /// The matrices at those pixels of a row, which ascend.
    void Find(std::int64_t y, std::span<const std::int64_t> xs, SymmetricMatrices& matrices);

private:
    [[nodiscard]] std::size_t SourceCount() const { return m_taps.size() == 3 ? 3 : 1; }
    [[nodiscard]] double* RingRow(std::int64_t source, std::int64_t y) {
        return m_rings.data() + (source * m_ringLength + y % m_ringLength) * m_width;
    }
    [[nodiscard]] double* MixedRow(std::int64_t place) {
        return m_mixed.data() + place * (m_width + 2 * m_margin) + m_margin;
    }

    template <class Numbers>
    void FilterAlongZ(std::int64_t y);
    template <class Numbers>
    void FilterAlongY(std::int64_t y);
    void RepeatEnds();
    template <class Numbers>
    void FilterAlongX(std::span<const std::int64_t> xs, SymmetricMatrices& matrices);

    const CImageView<const unsigned char>& m_image;
    std::span<const StDerivativeTaps> m_taps;
    EnVectors m_vectors;
    std::int64_t m_width;      ///< pixels of a row, filled up to whole lanes
    std::int64_t m_margin;     ///< before and behind a row that is to be filtered along x
    std::int64_t m_ringLength; ///< rows in each ring
    std::int64_t m_z = 0;
    std::int64_t m_nextY = 0;                   ///< the first row that the rings have not seen
    std::vector<double> m_rings;                ///< smoothed and differentiated 0, 1 and 2 times along z
    std::vector<double> m_mixed;                ///< rows that lack their filter along x, by place
    std::vector<const double*> m_taken;         ///< rows under the taps along y
    std::vector<const unsigned char*> m_pixels; ///< rows under the taps along z
};

} // namespace ORVEN::Impl
