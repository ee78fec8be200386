#pragma once

#include "QuillonGranulometry/CDiameters.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

namespace ORVEN {

/// Replaces squared distances by diameters, and counts the pixels of each squared distance.
class CDiameterWriter {
    struct StCounts;

public:
    /// Number of pixels for each squared distance.
    using SquaredSizes = std::map<std::int32_t, std::uint64_t>;

    explicit CDiameterWriter(const CDiameters& diameters);

    /// A share of the work, for one thread. Its pixels are counted once it ends. A share should be thousands
    /// of pixels, because it has a table of 128 kB.
    class CTurn {
    public:
        explicit CTurn(CDiameterWriter& writer);
        CTurn(const CTurn&) = delete;
        CTurn& operator=(const CTurn&) = delete;
        ~CTurn();

        /// Replaces the squared distances of a row. Pixels of 0 are not counted.
        void Write(std::span<float> row);

    private:
        CDiameterWriter& m_writer;
        std::unique_ptr<StCounts> m_counts;
    };

    [[nodiscard]] const SquaredSizes& Sizes() const { return m_sizes; }

private:
    /// Smaller squared distances are frequent; the others, of large balls, come in long runs.
    static constexpr std::int32_t c_tabled = 1 << 12;
    static constexpr std::size_t c_columns = 4;

    struct StCounts {
        /// Neighbouring pixels, which are often equal, count in different places.
        std::array<std::array<std::uint64_t, c_tabled>, c_columns> tabled{};
        SquaredSizes others;
    };

    CDiameters m_diameters;
    std::vector<float> m_table;
    std::mutex m_guard;
    SquaredSizes m_sizes;
};

} // namespace ORVEN
