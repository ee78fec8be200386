#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ORVEN {

/// Balls of at most this squared radius are small: there can be very many of them, but each has few pixels.
inline constexpr std::int32_t c_greatestSmallBall = 30;

/// A small ball: the place of its centre along x, and its squared radius.
class CSmallBall {
public:
    CSmallBall(std::int64_t x, std::int32_t squaredRadius)
        : m_bits(static_cast<std::uint32_t>(x) << c_radiusBits | static_cast<std::uint32_t>(squaredRadius)) {}

    [[nodiscard]] std::int32_t X() const { return static_cast<std::int32_t>(m_bits >> c_radiusBits); }
    [[nodiscard]] std::size_t SquaredRadius() const { return m_bits & ((1U << c_radiusBits) - 1); }

private:
    static constexpr int c_radiusBits = 5;
    static_assert(c_greatestSmallBall < 1 << c_radiusBits);

    std::uint32_t m_bits;
};

/// The small balls of an image, row by row. Memory: 4 bytes per ball and per row.
///
/// Blocks of rows can be filled at the same time. The rows of a block are filled together, those of its first
/// layer first.
class CSmallBalls {
public:
    static constexpr std::int64_t c_rowsOfBlock = 32;

    CSmallBalls(std::int64_t ny, std::int64_t nz, std::int64_t layersOfBlock)
        : m_rowCount(ny)
        , m_layerCount(nz)
        , m_layersOfBlock(layersOfBlock)
        , m_blocksAlongY((ny + c_rowsOfBlock - 1) / c_rowsOfBlock)
        , m_blocks(static_cast<std::size_t>(m_blocksAlongY * ((nz + layersOfBlock - 1) / layersOfBlock))) {}

    [[nodiscard]] std::int64_t BlockCount() const { return std::ssize(m_blocks); }
    [[nodiscard]] std::int64_t FirstRow(std::int64_t block) const {
        return block % m_blocksAlongY * c_rowsOfBlock;
    }
    [[nodiscard]] std::int64_t EndRow(std::int64_t block) const {
        return std::min(FirstRow(block) + c_rowsOfBlock, m_rowCount);
    }
    [[nodiscard]] std::int64_t FirstLayer(std::int64_t block) const {
        return block / m_blocksAlongY * m_layersOfBlock;
    }
    [[nodiscard]] std::int64_t EndLayer(std::int64_t block) const {
        return std::min(FirstLayer(block) + m_layersOfBlock, m_layerCount);
    }

    /// Sets the balls of a block. `rowEnds` are the numbers of balls up to the end of each of its rows.
    void SetBlock(std::int64_t block, std::span<const CSmallBall> balls,
                  std::span<const std::uint32_t> rowEnds) {
        StBlock& target = m_blocks[static_cast<std::size_t>(block)];
        target.balls.assign(balls.begin(), balls.end());
        target.rowEnds.assign(rowEnds.begin(), rowEnds.end());
    }

    /// The balls of a row, in a block that has been set.
    [[nodiscard]] std::span<const CSmallBall> Row(std::int64_t y, std::int64_t z) const {
        const std::int64_t number = z / m_layersOfBlock * m_blocksAlongY + y / c_rowsOfBlock;
        const StBlock& block = m_blocks[static_cast<std::size_t>(number)];
        const std::int64_t firstRow = FirstRow(number);
        const auto row =
            static_cast<std::size_t>(z % m_layersOfBlock * (EndRow(number) - firstRow) + y - firstRow);
        const std::size_t first = row > 0 ? block.rowEnds[row - 1] : 0;
        return std::span(block.balls).subspan(first, block.rowEnds[row] - first);
    }

private:
    struct StBlock {
        std::vector<CSmallBall> balls;
        std::vector<std::uint32_t> rowEnds;
    };

    std::int64_t m_rowCount;
    std::int64_t m_layerCount;
    std::int64_t m_layersOfBlock;
    std::int64_t m_blocksAlongY;
    std::vector<StBlock> m_blocks;
};

} // namespace ORVEN
