#include "QuillonTransformation/CLocalEulerNumbers.h"

#include "QuillonTransformation/CSkeletonHelper.h"

#include <sorblib2image/ImageChecks.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <cstddef>

namespace ORVEN {

namespace {

// In a slab, pixel (y, z) is bit y + 3 z. Two adjacent lines, or a line and the empty one outside the slab,
// take six bits, three per line.
constexpr unsigned c_lineBits = 3;
constexpr unsigned c_line = 0b111;
constexpr unsigned c_twoLinesCount = 64;

/// The lines z - 1 and z of a slab; lines 0 to 2 are inside it.
constexpr unsigned TwoLines(unsigned slab, unsigned z) {
    return slab << c_lineBits >> (c_lineBits * z) & (c_twoLinesCount - 1);
}

/// Sums of the four blocks between two lines of one slab and the same lines of the next.
class CLineSums {
public:
    explicit CLineSums(const CSkeletonHelper::Table& coefficients) {
        for (unsigned lower = 0; lower < c_twoLinesCount; ++lower) {
            for (unsigned upper = 0; upper < c_twoLinesCount; ++upper)
                m_sums[lower][upper] = Sum(coefficients, lower, upper);
        }
    }

    /// The sixteen blocks between two slabs, in eighths of the Euler number.
    [[nodiscard]] int Between(unsigned lower, unsigned upper) const {
        int sum = 0;
        for (unsigned z = 0; z <= 3; ++z)
            sum += m_sums[TwoLines(lower, z)][TwoLines(upper, z)];
        return sum;
    }

private:
    static int Sum(const CSkeletonHelper::Table& coefficients, unsigned lower, unsigned upper) {
        long long sum = 0;
        for (unsigned y = 0; y <= 3; ++y)
            sum += coefficients[Spread(lower, y) | Spread(upper, y) << 1];
        return static_cast<int>(sum);
    }

    /// The pixels y - 1 and y of both lines, at the bit positions of a block that belong to one slab.
    static std::size_t Spread(unsigned twoLines, unsigned y) {
        const auto pair = [y](unsigned line) { return (line & c_line) << 1 >> y & 0b11U; };
        const unsigned first = pair(twoLines);
        const unsigned second = pair(twoLines >> c_lineBits);
        return (first & 1U) | (first & 2U) << 1 | (second & 1U) << 4 | (second & 2U) << 5;
    }

    std::array<std::array<int, c_twoLinesCount>, c_twoLinesCount> m_sums{};
};

/// The slabs of a row, which moves along y and z: slab x + 1 belongs to pixel x; the first and the last are
/// outside the image.
class CSlabRow {
public:
    explicit CSlabRow(const CImageView<const unsigned char>& pixels)
        : m_pixels(pixels)
        , m_slabs(static_cast<std::size_t>(pixels.nx + 2))
        , m_outside(static_cast<std::size_t>(pixels.nx)) {}

    void MoveToStartOf(std::int64_t plane) {
        std::fill(m_slabs.begin(), m_slabs.end(), std::uint16_t{0});
        m_z = plane;
        m_y = -1;
        TakeIn();
    }

    void MoveToNextRow() {
        ++m_y;
        TakeIn();
    }

    [[nodiscard]] std::span<const std::uint16_t> Slabs() const { return m_slabs; }

private:
    [[nodiscard]] const unsigned char* Row(std::int64_t y, std::int64_t z) const {
        const bool isInside = y < m_pixels.ny && z >= 0 && z < m_pixels.nz;
        return isInside ? m_pixels.Row(y, z) : m_outside.data();
    }

    /// The next row enters at bits 2, 5 and 8; the previous contents move down, and bits 0, 3 and 6 drop out.
    void TakeIn() {
        const unsigned char* const before = Row(m_y + 1, m_z - 1);
        const unsigned char* const here = Row(m_y + 1, m_z);
        const unsigned char* const behind = Row(m_y + 1, m_z + 1);
        std::uint16_t* const slabs = m_slabs.data() + 1;
        for (std::int64_t x = 0; x < m_pixels.nx; ++x) {
            const unsigned kept = slabs[x] >> 1 & 0b011'011'011U;
            slabs[x] =
                static_cast<std::uint16_t>(kept | (before[x] != 0 ? 1U << 2 : 0U) |
                                           (here[x] != 0 ? 1U << 5 : 0U) | (behind[x] != 0 ? 1U << 8 : 0U));
        }
    }

    const CImageView<const unsigned char>& m_pixels;
    std::vector<std::uint16_t> m_slabs;
    std::vector<unsigned char> m_outside;
    std::int64_t m_y = 0;
    std::int64_t m_z = 0;
};

} // namespace

CLocalEulerNumbers::CLocalEulerNumbers(int code)
    : m_ofPair(c_slabCount * c_slabCount) {
    CSkeletonHelper::Table coefficients{};
    CSkeletonHelper::_ecoeff(coefficients.data(), code, false);
    const CLineSums blocks(coefficients);
    std::array<int, c_slabCount> belowSlab{};
    std::array<int, c_slabCount> aboveSlab{};
    for (unsigned slab = 0; slab < c_slabCount; ++slab) {
        belowSlab[slab] = blocks.Between(0, slab);
        aboveSlab[slab] = blocks.Between(slab, 0);
        m_ofSlab[slab] = static_cast<std::int8_t>((belowSlab[slab] + aboveSlab[slab]) / 8);
    }
    for (unsigned upper = 0; upper < c_slabCount; ++upper) {
        for (unsigned lower = 0; lower < c_slabCount; ++lower) {
            m_ofPair[upper * c_slabCount + lower] = static_cast<std::int8_t>(
                (belowSlab[lower] + blocks.Between(lower, upper) + aboveSlab[upper]) / 8);
        }
    }
}

void CLocalEulerNumbers::CalculateRow(std::span<const std::uint16_t> slabs,
                                      std::span<std::int8_t> figures) const {
    const auto pair = [&](std::size_t lower) {
        return int{m_ofPair[slabs[lower + 1] * c_slabCount + slabs[lower]]};
    };
    int before = pair(0);
    for (std::size_t x = 0; x < figures.size(); ++x) {
        const int behind = pair(x + 1);
        figures[x] = static_cast<std::int8_t>(before + behind - m_ofSlab[slabs[x + 1]]);
        before = behind;
    }
}

CLocalEulerNumbers::StRange CLocalEulerNumbers::Calculate(IImage& figures, const IImage& image) const {
    RequireSameSize("ORVEN::CLocalEulerNumbers::Calculate", "Result", figures, "image", image);
    const CImageView<const unsigned char> pixels(image);
    const CImageView<float> output(figures);
    CSlabRow slabs(pixels);
    std::vector<std::int8_t> row(static_cast<std::size_t>(pixels.nx));
    auto least = std::numeric_limits<std::int8_t>::max();
    auto greatest = std::numeric_limits<std::int8_t>::min();
    for (std::int64_t z = 0; z < pixels.nz; ++z) {
        slabs.MoveToStartOf(z);
        for (std::int64_t y = 0; y < pixels.ny; ++y) {
            slabs.MoveToNextRow();
            CalculateRow(slabs.Slabs(), row);
            float* const target = output.Row(y, z);
            for (std::size_t x = 0; x < row.size(); ++x) {
                least = std::min(least, row[x]);
                greatest = std::max(greatest, row[x]);
                target[x] = static_cast<float>(row[x]);
            }
        }
    }
    return pixels.PixelCount() > 0 ? StRange{least, greatest} : StRange{};
}

} // namespace ORVEN
