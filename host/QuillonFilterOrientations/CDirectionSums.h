#pragma once

#include "QuillonFilterOrientations/CHessianOrientations.h"
#include "QuillonFilterOrientations/StPixelBox.h"

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

namespace ORVEN::Impl {

/// What is summed up over the pixels of a region. Whole numbers, so that the order of the pixels does not
/// matter; good for 2^33 pixels.
struct StDirectionSum {
    void Add(const StDirectionSum& other);
    /// The same while other threads add as well.
    void AddShared(const StDirectionSum& other);

    /// Of v v^T over the directions v, times 2^30: xx, xy, xz, yy, yz, zz.
    std::array<std::int64_t, 6> tensor{};
    std::int64_t evaluatedCount = 0;
    std::int64_t foregroundCount = 0;
};

/// The sums over an area, over its slices of one pixel across each axis, and over its subfields: blocks of
/// equal size, side by side from the low corner on, of which there are as many as fit.
class CDirectionSums {
public:
    /// A size of 0 makes no subfields.
    CDirectionSums(const StPixelBox& area, const std::array<std::int64_t, 3>& subfieldSize);

    /// A function that adds rows of the area, for one thread, which it has to be called and destroyed on.
    [[nodiscard]] std::function<void(const StDirectionRow&)> MakeAdder();

    [[nodiscard]] StDirectionSum Field() const;
    [[nodiscard]] const StDirectionSum& Slice(std::size_t axis, std::int64_t position) const;
    /// How many subfields there are along each axis.
    [[nodiscard]] const std::array<std::int64_t, 3>& SubfieldCounts() const { return m_subfieldCounts; }
    [[nodiscard]] const StDirectionSum& Subfield(const std::array<std::int64_t, 3>& index) const;

private:
    class CAdder;

    [[nodiscard]] bool HasSubfields() const { return !m_subfields.empty(); }
    void AddToSubfield(std::int64_t indexX, std::int64_t y, std::int64_t z, const StDirectionSum& sum);
    [[nodiscard]] std::size_t SubfieldNumber(const std::array<std::int64_t, 3>& index) const;

    StPixelBox m_area;
    std::array<std::int64_t, 3> m_subfieldSize;
    std::array<std::int64_t, 3> m_subfieldCounts{};
    std::array<std::vector<StDirectionSum>, 3> m_slices;
    std::vector<StDirectionSum> m_subfields;
};

} // namespace ORVEN::Impl
