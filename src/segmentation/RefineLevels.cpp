#include "segmentation/RefineLevels.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <utility>

namespace ORVEN {

namespace {

using visitors::StSortedPixels;

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

/// Sorts the pixels of a bin by their trailing halves, keeping the order of equal ones.
class CBinSorter {
public:
    /// No bin may have more than `mostPixels` pixels.
    CBinSorter(const StSortedPixels& sorted, std::vector<std::uint16_t>& trailingHalves, const CLines& lines,
               std::uint64_t mostPixels)
        : m_sorted(sorted)
        , m_trailingHalves(trailingHalves)
        , m_lines(lines)
        , m_mostPixels(mostPixels) {}

    /// Sorts the bin from `first` up to but not including `end`. Returns false if cancelled.
    bool Sort(std::uint64_t first, std::uint64_t end) {
        return end - first <= few ? SortFew(first, end) : SortMany(first, end);
    }

private:
    struct StRecord {
        std::uint16_t x;
        std::uint16_t y;
        std::uint16_t z;
        std::uint16_t trailingHalf;
    };

    static constexpr std::uint64_t few = 48;

    [[nodiscard]] StRecord Record(std::uint64_t place) const {
        return {m_sorted.x[place], m_sorted.y[place], m_sorted.z[place], m_trailingHalves[place]};
    }

    void Put(const StRecord& record, std::uint64_t place) {
        m_sorted.x[place] = record.x;
        m_sorted.y[place] = record.y;
        m_sorted.z[place] = record.z;
        m_trailingHalves[place] = record.trailingHalf;
    }

    /// By insertion.
    bool SortFew(std::uint64_t first, std::uint64_t end) {
        return m_lines.ForEach(first, end, [&](std::uint64_t place) {
            const StRecord record = Record(place);
            std::uint64_t hole = place;
            for (; hole > first && m_trailingHalves[hole - 1] > record.trailingHalf; --hole)
                Put(Record(hole - 1), hole);
            Put(record, hole);
        });
    }

    /// By two counting passes, one per byte: the first one deals the pixels out to records, the second one
    /// deals the records out to the lists. A bin of equal pixels needs neither.
    bool SortMany(std::uint64_t first, std::uint64_t end) {
        std::array<std::uint64_t, 256> lowPlaces{};
        std::array<std::uint64_t, 256> highPlaces{};
        const auto lowByte = [](std::uint16_t half) { return half & 0xFFU; };
        const auto highByte = [](std::uint16_t half) { return half >> 8U; };
        const bool areCounted = m_lines.ForEach(first, end, [&](std::uint64_t place) {
            ++lowPlaces[lowByte(m_trailingHalves[place])];
            ++highPlaces[highByte(m_trailingHalves[place])];
        });
        if (!areCounted)
            return false;
        const std::uint16_t half = m_trailingHalves[first];
        if (lowPlaces[lowByte(half)] == end - first && highPlaces[highByte(half)] == end - first)
            return true;
        ReplaceCountsByStarts(lowPlaces, 0);
        ReplaceCountsByStarts(highPlaces, first);
        if (m_records == nullptr)
            m_records = std::make_unique_for_overwrite<StRecord[]>(m_mostPixels);
        const auto toRecords = [&](std::uint64_t place) {
            const StRecord record = Record(place);
            m_records[lowPlaces[lowByte(record.trailingHalf)]++] = record;
        };
        const auto toLists = [&](std::uint64_t i) {
            Put(m_records[i], highPlaces[highByte(m_records[i].trailingHalf)]++);
        };
        return m_lines.ForEach(first, end, toRecords) && m_lines.ForEach(0, end - first, toLists);
    }

    static void ReplaceCountsByStarts(std::array<std::uint64_t, 256>& places, std::uint64_t start) {
        for (std::uint64_t& place : places)
            start += std::exchange(place, start);
    }

    const StSortedPixels& m_sorted;
    std::vector<std::uint16_t>& m_trailingHalves;
    const CLines& m_lines;
    std::uint64_t m_mostPixels;
    std::unique_ptr<StRecord[]> m_records; ///< of the fullest bin, once a bin needs them
};

/// Calls `body(first, end)` for all bins until it returns false; returns whether it never did.
template <class Body>
bool ForEachBin(const std::vector<std::uint64_t>& binStarts, const Body& body) {
    for (std::size_t bin = 0; bin + 1 < binStarts.size(); ++bin) {
        if (!body(binStarts[bin], binStarts[bin + 1]))
            return false;
    }
    return true;
}

bool SortBins(const std::vector<std::uint64_t>& binStarts, const StSortedPixels& sorted,
              std::vector<std::uint16_t>& trailingHalves, const CLines& lines) {
    std::uint64_t mostPixels = 0;
    for (std::size_t bin = 0; bin + 1 < binStarts.size(); ++bin)
        mostPixels = std::max(mostPixels, binStarts[bin + 1] - binStarts[bin]);
    CBinSorter sorter(sorted, trailingHalves, lines, mostPixels);
    return ForEachBin(binStarts,
                      [&](std::uint64_t first, std::uint64_t end) { return sorter.Sort(first, end); });
}

/// Calls `body(end)` for the end of each level in the sorted bins. Returns false if cancelled.
template <class Body>
bool ForEachLevelEnd(const std::vector<std::uint64_t>& binStarts,
                     const std::vector<std::uint16_t>& trailingHalves, const CLines& lines,
                     const Body& body) {
    return ForEachBin(binStarts, [&](std::uint64_t first, std::uint64_t end) {
        return lines.ForEach(first, end, [&](std::uint64_t place) {
            if (place + 1 == end || trailingHalves[place + 1] != trailingHalves[place])
                body(place + 1);
        });
    });
}

} // namespace

bool RefineLevels(const StSortedPixels& sorted, std::vector<std::uint16_t>& trailingHalves,
                  std::int64_t lineLength, IProgress& progress) {
    const CLines lines(lineLength, progress);
    const std::vector<std::uint64_t> binStarts = std::exchange(sorted.levelStarts, {0});
    if (!SortBins(binStarts, sorted, trailingHalves, lines))
        return false;
    // The levels are counted first, because a vector that grows would take up to three times the memory.
    std::size_t levelCount = 0;
    if (!ForEachLevelEnd(binStarts, trailingHalves, lines, [&](std::uint64_t) { ++levelCount; }))
        return false;
    sorted.levelStarts.reserve(levelCount + 1);
    return ForEachLevelEnd(binStarts, trailingHalves, lines,
                           [&](std::uint64_t end) { sorted.levelStarts.push_back(end); });
}

} // namespace ORVEN
