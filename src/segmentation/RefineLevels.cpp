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

/// Deals the records out by one byte of their trailing half, keeping their order.
void DealOut(Records from, Records to, unsigned shift) {
    const auto byteOf = [shift](const StRecord& record) { return (record.trailingHalf >> shift) & 0xFFU; };
    std::array<std::size_t, 256> places{};
    for (const StRecord& record : from)
        ++places[byteOf(record)];
    std::size_t start = 0;
    for (std::size_t& place : places)
        start += std::exchange(place, start);
    for (const StRecord& record : from)
        to[places[byteOf(record)]++] = record;
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

void Sort(Records records, std::vector<StRecord>& scratch) {
    constexpr std::size_t few = 48;
    if (records.size() <= few) {
        InsertionSort(records);
        return;
    }
    scratch.resize(std::max(scratch.size(), records.size()));
    const Records other = Records(scratch).first(records.size());
    DealOut(records, other, 0);
    DealOut(other, records, 8);
}

} // namespace

void RefineLevels(const visitors::StSortedPixels& sorted, const std::vector<std::uint16_t>& trailingHalves) {
    const std::vector<std::uint64_t> binStarts = std::exchange(sorted.levelStarts, {0});
    std::vector<StRecord> level;
    std::vector<StRecord> scratch;
    for (std::size_t bin = 0; bin + 1 < binStarts.size(); ++bin) {
        const std::uint64_t first = binStarts[bin];
        const std::uint64_t end = binStarts[bin + 1];
        if (first == end)
            continue;
        level.clear();
        for (std::uint64_t place = first; place < end; ++place)
            level.push_back({sorted.x[place], sorted.y[place], sorted.z[place], trailingHalves[place]});
        Sort(level, scratch);
        for (std::size_t i = 0; i < level.size(); ++i) {
            const std::uint64_t place = first + i;
            sorted.x[place] = level[i].x;
            sorted.y[place] = level[i].y;
            sorted.z[place] = level[i].z;
            if (i + 1 == level.size() || level[i + 1].trailingHalf != level[i].trailingHalf)
                sorted.levelStarts.push_back(place + 1);
        }
    }
}

} // namespace ORVEN
