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

/// Computes matrices of second Gaussian derivatives of one scale at selected pixels of an 8-bit image. Their
/// unit is grey values: derivatives are multiplied by sigma^2, which cancels the unit of the spacing. Beyond
/// its borders the image is continued by its outermost pixels.
///
/// Rows are filtered along z, then y, then x, and only where requested. Rows filtered along z are kept in a
/// ring buffer as long as later rows need them. Memory is therefore three rows for each tap along y,
/// independent of the number of rows.
class CHessianRows {
public:
    /// `taps` are those for x, y and z. Image and taps are kept by reference.
    CHessianRows(const CImageView<const unsigned char>& image, std::span<const StDerivativeTaps> taps,
                 EnVectors vectors);

    /// Selects a plane. Rows of a plane must be requested in ascending order.
    void StartPlane(std::int64_t z);
    /// Computes the matrices at the given pixels of a row, which must be in ascending order.
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
    std::int64_t m_width;      ///< pixels of a row, rounded up to whole lanes
    std::int64_t m_margin;     ///< before and after a row to be filtered along x
    std::int64_t m_ringLength; ///< rows in each ring
    std::int64_t m_z = 0;
    std::int64_t m_nextY = 0;                   ///< the first row not yet in the ring buffers
    std::vector<double> m_rings;                ///< rows smoothed and differentiated 0, 1 and 2 times along z
    std::vector<double> m_mixed;                ///< rows not yet filtered along x, by matrix entry
    std::vector<const double*> m_taken;         ///< rows under the taps along y
    std::vector<const unsigned char*> m_pixels; ///< rows under the taps along z
};

} // namespace ORVEN::Impl
