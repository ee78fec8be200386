#include "QuillonGranulometry/CDiameterWriter.h"

#include <cstddef>

namespace ORVEN {

CDiameterWriter::CDiameterWriter(const CDiameters& diameters)
    : m_diameters(diameters) {
    for (std::int32_t squaredDistance = 0; squaredDistance < c_tabled; ++squaredDistance)
        m_table.push_back(diameters.Of(squaredDistance));
}

CDiameterWriter::CTurn::CTurn(CDiameterWriter& writer)
    : m_writer(writer)
    , m_counts(std::make_unique<StCounts>()) {}

void CDiameterWriter::CTurn::Write(std::span<float> row) {
    StCounts& counts = *m_counts;
    for (std::size_t x = 0; x < row.size();) {
        const std::int32_t squaredDistance = SquaredDistanceOf(row[x]);
        if (squaredDistance < c_tabled) {
            const auto index = static_cast<std::size_t>(squaredDistance);
            row[x] = m_writer.m_table[index];
            ++counts.tabled[x % c_columns][index];
            ++x;
            continue;
        }
        const float diameter = m_writer.m_diameters.Of(squaredDistance);
        const std::size_t first = x;
        do {
            row[x++] = diameter;
        } while (x < row.size() && SquaredDistanceOf(row[x]) == squaredDistance);
        counts.others[squaredDistance] += x - first;
    }
}

CDiameterWriter::CTurn::~CTurn() {
    const std::lock_guard lock(m_writer.m_guard);
    for (std::int32_t squaredDistance = 1; squaredDistance < c_tabled; ++squaredDistance) {
        std::uint64_t count = 0;
        for (const auto& column : m_counts->tabled)
            count += column[static_cast<std::size_t>(squaredDistance)];
        if (count > 0)
            m_writer.m_sizes[squaredDistance] += count;
    }
    for (const auto& [squaredDistance, count] : m_counts->others)
        m_writer.m_sizes[squaredDistance] += count;
}

} // namespace ORVEN
