#include "segmentation/RefineLevels.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <utility>

namespace ORVEN {

namespace {

struct StRecord {
    std::uint16_t x;
    std::uint16_t y;
    std::uint16_t z;
    std::uint16_t trailingHalf;
};

using Records = std::span<StRecord>;

/// Runs the passes over the pixels line by line, and checks for cancellation before each line.
class CLines {
public:
    CLines(std::int64_t length, IProgress& progress)
        : m_length(static_cast<std::uint64_t>(std::max<std::int64_t>(length, 1)))
        , m_progress(progress) {}

    /// Calls `body(place)` for all places from `first` up to but not including `end`; returns false if
    /// cancelled.
    template <class Body>
    bool ForEach(std::uint64_t first, std::uint64_t end, const Body& body) const {
        for (std::uint64_t line = first; line < end; line += m_length) {
            if (m_progress.IsCancelled())
                return false;
            const std::uint64_t lineEnd = std::min(line + m_length, end);
            for (std::uint64_t place = line; place < lineEnd; ++place)
                body(place);
        }
        return true;
    }

private:
    std::uint64_t m_length;
    IProgress& m_progress;
};

/// Distributes the records by one byte of their trailing half, keeping their order. Returns false if
/// cancelled.
bool DealOut(Records from, Records to, unsigned shift, const CLines& lines) {
    const auto byteOf = [shift](const StRecord& record) { return (record.trailingHalf >> shift) & 0xFFU; };
    std::array<std::size_t, 256> places{};
    const bool isCounted =
        lines.ForEach(0, from.size(), [&](std::uint64_t place) { ++places[byteOf(from[place])]; });
    std::size_t start = 0;
    for (std::size_t& place : places)
        start += std::exchange(place, start);
    return isCounted && lines.ForEach(0, from.size(), [&](std::uint64_t place) {
        to[places[byteOf(from[place])]++] = from[place];
    });
}

void InsertionSort(Records records) {
    for (std::size_t i = 1; i < records.size(); ++i) {
        const StRecord record = records[i];
        std::size_t hole = i;
        for (; hole > 0 && records[hole - 1].trailingHalf > record.trailingHalf; --hole)
            records[hole] = records[hole - 1];
        records[hole] = record;
    }
}

/// Sorts the records by their trailing halves. Returns false if cancelled.
bool Sort(Records records, std::vector<StRecord>& scratch, const CLines& lines) {
    constexpr std::size_t few = 48;
    if (records.size() <= few) {
        InsertionSort(records);
        return true;
    }
    scratch.resize(std::max(scratch.size(), records.size()));
    const Records other = Records(scratch).first(records.size());
    return DealOut(records, other, 0, lines) && DealOut(other, records, 8, lines);
}

} // namespace

bool RefineLevels(const visitors::StSortedPixels& sorted, const std::vector<std::uint16_t>& trailingHalves,
                  std::int64_t lineLength, IProgress& progress) {
    const CLines lines(lineLength, progress);
    const std::vector<std::uint64_t> binStarts = std::exchange(sorted.levelStarts, {0});
    std::vector<StRecord> level;
    std::vector<StRecord> scratch;
    for (std::size_t bin = 0; bin + 1 < binStarts.size(); ++bin) {
        const std::uint64_t first = binStarts[bin];
        const std::uint64_t end = binStarts[bin + 1];
        if (first == end)
            continue;
        level.clear();
        const auto gather = [&](std::uint64_t place) {
            level.push_back({sorted.x[place], sorted.y[place], sorted.z[place], trailingHalves[place]});
        };
        const auto putBack = [&](std::uint64_t place) {
            const std::uint64_t i = place - first;
            sorted.x[place] = level[i].x;
            sorted.y[place] = level[i].y;
            sorted.z[place] = level[i].z;
            if (i + 1 == level.size() || level[i + 1].trailingHalf != level[i].trailingHalf)
                sorted.levelStarts.push_back(place + 1);
        };
        if (!lines.ForEach(first, end, gather) || !Sort(level, scratch, lines) ||
            !lines.ForEach(first, end, putBack))
            return false;
    }
    return true;
}

} // namespace ORVEN
