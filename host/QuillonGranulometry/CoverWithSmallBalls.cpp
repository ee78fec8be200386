#include "QuillonGranulometry/CoverWithSmallBalls.h"

#include "QuillonGranulometry/FloorSqrt.h"
#include "QuillonGranulometry/PackBits.h"

#include <QuillonBase/VectorDispatch.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

namespace ORVEN {

namespace {

constexpr std::int64_t c_wordBits = 64;
constexpr std::int64_t c_greatestReach = 5;
static_assert((c_greatestReach + 1) * (c_greatestReach + 1) >= c_greatestSmallBall);

/// The extents of a block of pixels as bits, with a margin for the reach of balls around. A row of the image
/// is a row of words; words of the same place along x are contiguous along y.
struct StBlockShape {
    std::int64_t wordCount;
    std::int64_t rowCount;
    std::int64_t layerCount;
    std::int64_t rowMargin;
    std::int64_t layerMargin;

    [[nodiscard]] std::int64_t PaddedRowCount() const { return rowCount + 2 * rowMargin; }
    [[nodiscard]] std::int64_t PaddedLayerCount() const { return layerCount + 2 * layerMargin; }
    [[nodiscard]] std::int64_t Size() const { return PaddedLayerCount() * wordCount * PaddedRowCount(); }
    /// The place of a word; the row and layer can lie in the margin.
    [[nodiscard]] std::int64_t Place(std::int64_t word, std::int64_t row, std::int64_t layer) const {
        return ((layer + layerMargin) * wordCount + word) * PaddedRowCount() + row + rowMargin;
    }
};

/// A row of a ball around the origin, as half width without the centre.
struct StBallRow {
    std::int64_t y;
    std::int64_t z;
    std::int64_t halfWidth;
};

std::vector<StBallRow> RowsOfBall(std::int64_t squaredRadius, const StBlockShape& shape) {
    std::vector<StBallRow> rows;
    for (std::int64_t z = -shape.layerMargin; z <= shape.layerMargin; ++z) {
        for (std::int64_t y = -shape.rowMargin; y <= shape.rowMargin; ++y) {
            const std::int64_t rest = squaredRadius - 1 - y * y - z * z;
            if (rest >= 0)
                rows.push_back({y, z, FloorSqrt(rest)});
        }
    }
    return rows;
}

/// The rows of an image in groups of 64 in groups of layers, the blocks. A flat image has a single layer.
class CBlocks {
public:
    CBlocks(const CSmallBalls& balls, const CLayerView<float>& output)
        : m_balls(balls)
        , m_output(output)
        , m_isFlat(output.ny == 1)
        , m_rowCount(m_isFlat ? output.nz : output.ny)
        , m_layerCount(m_isFlat ? 1 : output.nz)
        , shape{(output.nx + c_wordBits - 1) / c_wordBits, c_rows, m_isFlat ? 1 : c_layers, c_greatestReach,
                m_isFlat ? 0 : c_greatestReach} {}

    [[nodiscard]] std::int64_t Count() const {
        return CountAlong(m_rowCount, shape.rowCount) * CountAlong(m_layerCount, shape.layerCount);
    }
    [[nodiscard]] std::int64_t FirstRow(std::int64_t block) const {
        return block % CountAlong(m_rowCount, shape.rowCount) * shape.rowCount;
    }
    [[nodiscard]] std::int64_t FirstLayer(std::int64_t block) const {
        return block / CountAlong(m_rowCount, shape.rowCount) * shape.layerCount;
    }
    [[nodiscard]] bool HasRow(std::int64_t row, std::int64_t layer) const {
        return row >= 0 && row < m_rowCount && layer >= 0 && layer < m_layerCount;
    }
    [[nodiscard]] float* Output(std::int64_t row, std::int64_t layer) const {
        return m_isFlat ? m_output.Row(0, row) : m_output.Row(row, layer);
    }
    [[nodiscard]] std::span<const CSmallBall> Balls(std::int64_t row, std::int64_t layer) const {
        return m_isFlat ? m_balls.Row(0, row) : m_balls.Row(row, layer);
    }
    [[nodiscard]] std::int64_t RowLength() const { return m_output.nx; }

private:
    static constexpr std::int64_t c_rows = 64;
    static constexpr std::int64_t c_layers = 32;

    static std::int64_t CountAlong(std::int64_t length, std::int64_t blockLength) {
        return (length + blockLength - 1) / blockLength;
    }

    const CSmallBalls& m_balls;
    const CLayerView<float>& m_output;
    bool m_isFlat;
    std::int64_t m_rowCount;
    std::int64_t m_layerCount;

public:
    StBlockShape shape;
};

/// Processes one block after the other.
class CBlockCover {
public:
    CBlockCover(const CBlocks& blocks, CDiameterWriter* writer)
        : m_blocks(blocks)
        , m_writer(writer)
        , m_shape(blocks.shape)
        , m_size(static_cast<std::size_t>(m_shape.Size()))
        , m_open(m_size)
        , m_digits(c_digitCount * m_size)
        , m_centers(m_size)
        , m_widened(static_cast<std::size_t>((c_greatestReach + 1) * ColumnSize())) {
        for (std::size_t squaredRadius = 1; squaredRadius <= c_greatestSmallBall; ++squaredRadius) {
            StBalls& balls = m_balls[squaredRadius];
            balls.rows = RowsOfBall(static_cast<std::int64_t>(squaredRadius), m_shape);
            for (const StBallRow& row : balls.rows)
                balls.offsets.push_back(row.halfWidth * ColumnSize() + PlaceInColumn(row.y, row.z) -
                                        PlaceInColumn(0, 0));
        }
    }

    void operator()(std::int64_t block, CWorkPace& pace) {
        m_firstRow = m_blocks.FirstRow(block);
        m_firstLayer = m_blocks.FirstLayer(block);
        FindOpenPixels(pace);
        const bool isAnyOpen = m_isAnyOpen;
        if (isAnyOpen)
            CoverOpenPixels(pace);
        Finish(isAnyOpen, pace);
    }

private:
    using Bits = std::vector<std::uint64_t>;
    static constexpr std::int64_t c_group = 8;
    /// Words of neighbouring rows.
    using Words [[gnu::vector_size(c_group * sizeof(std::uint64_t))]] = std::uint64_t;
    /// Squared radii are stored as sets of pixels too, one for each binary digit.
    static constexpr std::size_t c_digitCount = std::bit_width(std::size_t{c_greatestSmallBall});
    /// A single ball takes as long as this number of words in the treatment of many.
    static constexpr std::int64_t c_wordsPerBall = 128;

    void CoverOpenPixels(CWorkPace& pace) {
        FindCenters(pace);
        std::ranges::fill(m_digits, 0);
        for (std::size_t squaredRadius = c_greatestSmallBall; squaredRadius > 0; --squaredRadius) {
            if (pace.IsCancelled() || !m_isAnyOpen)
                break;
            const std::int64_t count = std::ssize(m_balls[squaredRadius].centers);
            if (count * c_wordsPerBall > m_shape.Size())
                CoverWithMany(squaredRadius, pace);
            else if (count > 0)
                CoverWithFew(squaredRadius, pace);
        }
    }

    /// A pixel of the block or its margin.
    struct StCenter {
        std::int32_t x;
        std::int16_t row;
        std::int16_t layer;
    };
    /// All balls of one squared radius.
    struct StBalls {
        std::vector<StBallRow> rows;
        std::vector<std::int64_t> offsets; ///< of the rows in the widened sets
        std::vector<StCenter> centers;
    };

    /// Calls `body(row, layer)` for the rows of the block, with margins or without, that are in the image.
    template <class Body>
    void ForEachRow(std::int64_t rowMargin, std::int64_t layerMargin, std::int64_t units, CWorkPace& pace,
                    const Body& body) const {
        for (std::int64_t layer = -layerMargin; layer < m_shape.layerCount + layerMargin; ++layer) {
            for (std::int64_t row = -rowMargin; row < m_shape.rowCount + rowMargin; ++row) {
                if (!m_blocks.HasRow(m_firstRow + row, m_firstLayer + layer))
                    continue;
                body(row, layer);
                if (pace.Add(units))
                    return;
            }
        }
    }

    [[nodiscard]] float* Output(std::int64_t row, std::int64_t layer) const {
        return m_blocks.Output(m_firstRow + row, m_firstLayer + layer);
    }

    /// Sets the bits of the pixels of the structure that no large ball contains.
    void FindOpenPixels(CWorkPace& pace) {
        std::ranges::fill(m_open, 0);
        m_isAnyOpen = false;
        ForEachRow(0, 0, m_blocks.RowLength(), pace, [&](std::int64_t row, std::int64_t layer) {
            Impl::RunFor(m_vectors, [&] {
                for (std::int64_t word = 0; word < m_shape.wordCount; ++word) {
                    const std::uint64_t bits = OpenPixels(Output(row, layer), word * c_wordBits);
                    m_open[static_cast<std::size_t>(m_shape.Place(word, row, layer))] = bits;
                    m_isAnyOpen = m_isAnyOpen || bits != 0;
                }
            });
        });
    }

    [[nodiscard]] std::uint64_t OpenPixels(const float* output, std::int64_t firstX) const {
        const std::int64_t count = std::min(c_wordBits, m_blocks.RowLength() - firstX);
        alignas(c_wordBits) std::array<std::uint8_t, c_wordBits> isOpen{};
        const auto find = [&](std::int64_t end) {
            for (std::int64_t i = 0; i < end; ++i) {
                const auto square = static_cast<std::uint32_t>(SquaredDistanceOf(output[firstX + i]));
                const bool isOpenPixel = square - 1 < std::uint32_t{c_greatestSmallBall};
                isOpen[static_cast<std::size_t>(i)] = isOpenPixel ? 1 : 0;
            }
        };
        // The constant number of steps takes half the time.
        if (count == c_wordBits)
            find(c_wordBits);
        else
            find(count);
        return PackBits(isOpen.data());
    }

    /// Collects the centres of small balls, for each squared radius.
    void FindCenters(CWorkPace& pace) {
        for (StBalls& balls : m_balls)
            balls.centers.clear();
        ForEachRow(m_shape.rowMargin, m_shape.layerMargin, m_blocks.RowLength(), pace,
                   [&](std::int64_t row, std::int64_t layer) {
                       for (const CSmallBall& ball : m_blocks.Balls(m_firstRow + row, m_firstLayer + layer))
                           m_balls[ball.SquaredRadius()].centers.push_back(
                               {ball.X(), static_cast<std::int16_t>(row), static_cast<std::int16_t>(layer)});
                   });
    }

    /// Places each ball on its own.
    void CoverWithFew(std::size_t squaredRadius, CWorkPace& pace) {
        const StBalls& balls = m_balls[squaredRadius];
        for (const StCenter& center : balls.centers) {
            Place(balls, squaredRadius, center.x, center.row, center.layer);
            if (pace.Add(4 * std::ssize(balls.rows) + 4))
                return;
        }
    }

    void Place(const StBalls& balls, std::size_t squaredRadius, std::int64_t x, std::int64_t row,
               std::int64_t layer) {
        for (const StBallRow& ballRow : balls.rows) {
            const std::int64_t y = row + ballRow.y;
            const std::int64_t z = layer + ballRow.z;
            if (y < 0 || y >= m_shape.rowCount || z < 0 || z >= m_shape.layerCount)
                continue;
            const std::int64_t first = std::max<std::int64_t>(x - ballRow.halfWidth, 0);
            const std::int64_t last = std::min(x + ballRow.halfWidth, m_blocks.RowLength() - 1);
            for (std::int64_t word = first / c_wordBits; word <= last / c_wordBits; ++word) {
                const std::int64_t from = std::max(first - word * c_wordBits, std::int64_t{0});
                const std::int64_t to = std::min(last - word * c_wordBits, c_wordBits - 1);
                const std::uint64_t mask =
                    ~std::uint64_t{0} << from & ~std::uint64_t{0} >> (c_wordBits - 1 - to);
                const auto place = static_cast<std::size_t>(m_shape.Place(word, y, z));
                const std::uint64_t covered = m_open[place] & mask;
                m_open[place] ^= covered;
                for (std::size_t digit = 0; covered != 0 && digit < c_digitCount; ++digit)
                    m_digits[digit * m_size + place] |= (squaredRadius >> digit & 1) != 0 ? covered : 0;
            }
        }
    }

    /// Unites rows of all balls at once.
    void CoverWithMany(std::size_t squaredRadius, CWorkPace& pace) {
        const StBalls& balls = m_balls[squaredRadius];
        std::ranges::fill(m_centers, 0);
        for (const StCenter& center : balls.centers)
            m_centers[static_cast<std::size_t>(
                m_shape.Place(center.x / c_wordBits, center.row, center.layer))] |= std::uint64_t{1}
                                                                                    << center.x % c_wordBits;
        if (pace.Add(m_shape.Size() / 4 + 8 * std::ssize(balls.centers)))
            return;
        const std::int64_t reach = FloorSqrt(static_cast<std::int64_t>(squaredRadius) - 1);
        m_isAnyOpen = false;
        for (std::int64_t word = 0; word < m_shape.wordCount; ++word) {
            if (!Widen(word, reach, pace))
                return;
            for (std::int64_t layer = 0; layer < m_shape.layerCount; ++layer) {
                Impl::RunFor(m_vectors, [&] {
                    for (std::int64_t row = 0; row < m_shape.rowCount; row += c_group)
                        Unite(balls.offsets, squaredRadius, m_shape.Place(word, row, layer),
                              PlaceInColumn(row, layer));
                });
                if (pace.Add(4 * m_shape.rowCount / c_group *
                             static_cast<std::int64_t>(balls.offsets.size())))
                    return;
            }
        }
    }

    /// The size of a set of pixels that is a word wide, and the place of a row in it.
    [[nodiscard]] std::int64_t ColumnSize() const {
        return m_shape.PaddedRowCount() * m_shape.PaddedLayerCount();
    }
    [[nodiscard]] std::int64_t PlaceInColumn(std::int64_t row, std::int64_t layer) const {
        return (layer + m_shape.layerMargin) * m_shape.PaddedRowCount() + row + m_shape.rowMargin;
    }

    /// Widens the centres of one word by 0 to `reach` pixels on both sides. A single word, so that the
    /// results stay in the cache. Returns false if cancelled.
    bool Widen(std::int64_t word, std::int64_t reach, CWorkPace& pace) {
        const std::int64_t rowReach = std::min(reach, m_shape.rowMargin);
        const std::int64_t layerReach = std::min(reach, m_shape.layerMargin);
        const std::int64_t rowCount = m_shape.rowCount + 2 * rowReach;
        const std::int64_t columnSize = ColumnSize();
        const std::vector<std::uint64_t> none(static_cast<std::size_t>(rowCount), 0);
        for (std::int64_t layer = -layerReach; layer < m_shape.layerCount + layerReach; ++layer) {
            const std::uint64_t* const own = m_centers.data() + m_shape.Place(word, -rowReach, layer);
            const std::uint64_t* const before = word > 0 ? own - m_shape.PaddedRowCount() : none.data();
            const std::uint64_t* const after =
                word + 1 < m_shape.wordCount ? own + m_shape.PaddedRowCount() : none.data();
            std::uint64_t* const to = m_widened.data() + PlaceInColumn(-rowReach, layer);
            Impl::RunFor(m_vectors, [=] {
                std::copy_n(own, rowCount, to);
                for (std::int64_t width = 1; width <= reach; ++width) {
                    const std::uint64_t* const narrower = to + (width - 1) * columnSize;
                    std::uint64_t* const __restrict wider = to + width * columnSize;
                    for (std::int64_t row = 0; row < rowCount; ++row)
                        wider[row] = narrower[row] | own[row] << width | own[row] >> width |
                                     before[row] >> (c_wordBits - width) | after[row] << (c_wordBits - width);
                }
            });
            if (pace.Add(rowCount * (reach + 1)))
                return false;
        }
        return true;
    }

    /// Covers the open pixels of a group of words.
    void Unite(const std::vector<std::int64_t>& offsets, std::size_t squaredRadius, std::int64_t place,
               std::int64_t placeInColumn) {
        Words open;
        std::memcpy(&open, m_open.data() + place, sizeof(open));
        if (!IsAnySet(open))
            return;
        const std::uint64_t* const widened = m_widened.data() + placeInColumn;
        Words united{};
        for (const std::int64_t offset : offsets) {
            Words words;
            std::memcpy(&words, widened + offset, sizeof(words));
            united |= words;
        }
        united &= open;
        open ^= united;
        std::memcpy(m_open.data() + place, &open, sizeof(open));
        m_isAnyOpen = m_isAnyOpen || IsAnySet(open);
        if (!IsAnySet(united))
            return;
        for (std::size_t digit = 0; digit < c_digitCount; ++digit) {
            if ((squaredRadius >> digit & 1) == 0)
                continue;
            std::uint64_t* const digits = m_digits.data() + digit * m_size + place;
            Words words;
            std::memcpy(&words, digits, sizeof(words));
            words |= united;
            std::memcpy(digits, &words, sizeof(words));
        }
    }

    static bool IsAnySet(const Words& words) {
        std::uint64_t any = 0;
        for (std::int64_t i = 0; i < c_group; ++i)
            any |= words[i];
        return any != 0;
    }

    /// Writes the squared radii to the pixels that were open, and then the diameters of all pixels.
    void Finish(bool wasAnyOpen, CWorkPace& pace) {
        std::optional<CDiameterWriter::CTurn> turn;
        if (m_writer != nullptr)
            turn.emplace(*m_writer);
        ForEachRow(0, 0, 6 * m_blocks.RowLength(), pace, [&](std::int64_t row, std::int64_t layer) {
            float* const output = Output(row, layer);
            if (wasAnyOpen)
                Impl::RunFor(m_vectors, [&] { WriteDigits(m_shape.Place(0, row, layer), output); });
            if (turn)
                turn->Write({output, static_cast<std::size_t>(m_blocks.RowLength())});
        });
    }

    /// `place` is that of the first word of the row.
    void WriteDigits(std::int64_t place, float* output) const {
        const std::uint64_t* digits = m_digits.data() + place;
        for (std::int64_t first = 0; first < m_blocks.RowLength(); first += c_wordBits) {
            const std::int64_t end = std::min(m_blocks.RowLength(), first + c_wordBits);
            for (std::int64_t half = first; half < end; half += c_wordBits / 2) {
                std::array<std::uint32_t, c_digitCount> halves{};
                for (std::size_t digit = 0; digit < c_digitCount; ++digit)
                    halves[digit] = static_cast<std::uint32_t>(digits[digit * m_size] >> half % c_wordBits);
                WriteDigits(halves, output + half, std::min(end - half, c_wordBits / 2));
            }
            digits += m_shape.PaddedRowCount();
        }
    }

    static void WriteDigits(const std::array<std::uint32_t, c_digitCount>& digits, float* pixels,
                            std::int64_t count) {
        std::uint32_t any = 0;
        for (const std::uint32_t digit : digits)
            any |= digit;
        if (any == 0)
            return;
        for (std::int64_t i = 0; i < count; ++i) {
            std::uint32_t squaredRadius = 0;
            for (std::size_t digit = 0; digit < c_digitCount; ++digit)
                squaredRadius |= (digits[digit] >> i & 1) << digit;
            pixels[i] = squaredRadius != 0 ? PixelOf(static_cast<std::int32_t>(squaredRadius)) : pixels[i];
        }
    }

    const CBlocks& m_blocks;
    CDiameterWriter* m_writer;
    const StBlockShape& m_shape;
    Impl::EnVectors m_vectors = Impl::BestVectors();
    std::size_t m_size;                                   ///< of a set of pixels
    std::array<StBalls, c_greatestSmallBall + 1> m_balls; ///< by squared radius
    Bits m_open;                                          ///< the pixels that no ball contains so far
    Bits m_digits;                                        ///< the digits of the results, by digit
    Bits m_centers;                                       ///< of one squared radius
    Bits m_widened;                                       ///< the same in one word of each row, by half width
    bool m_isAnyOpen = false;
    std::int64_t m_firstRow = 0;
    std::int64_t m_firstLayer = 0;
};

} // namespace

bool CoverWithSmallBalls(const CSmallBalls& balls, const CLayerView<float>& output, CDiameterWriter* writer,
                         IProgress& progress) {
    const CBlocks blocks(balls, output);
    progress.Start(static_cast<unsigned>(blocks.Count()), "opening sizes");
    const bool isDone =
        ParallelForAtPace(blocks.Count(), progress, [&] { return CBlockCover(blocks, writer); });
    progress.Finish();
    return isDone;
}

} // namespace ORVEN
