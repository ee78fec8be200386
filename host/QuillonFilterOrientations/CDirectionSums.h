#pragma once

#include "QuillonFilterOrientations/CHessianOrientations.h"
#include "QuillonFilterOrientations/StPixelBox.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace ORVEN::Impl {

/// The sums over the pixels of a region. Integers, so that the order of the pixels does not matter. They do
/// not overflow for up to 2^33 pixels.
struct StDirectionSum {
    void Add(const StDirectionSum& other);
    /// Like `Add`, but safe while other threads add too.
    void AddShared(const StDirectionSum& other);

    /// The sum of v v^T over the directions v, times 2^30: xx, xy, xz, yy, yz, zz.
    std::array<std::int64_t, 6> tensor{};
    std::int64_t evaluatedCount = 0;
    std::int64_t foregroundCount = 0;
};

/// The sums over an area, over its slices of one pixel perpendicular to each axis, and over its subfields:
/// adjacent blocks of equal size, starting at the lower corner, as many as fit completely.
class CDirectionSums {
public:
    /// If a component of the size is 0, there are no subfields.
    CDirectionSums(const StPixelBox& area, const std::array<std::int64_t, 3>& subfieldSize);

    /// The number of whole subfields along each axis; 0 if there are none.
    static std::array<std::int64_t, 3> CountSubfields(const StPixelBox& area,
                                                      const std::array<std::int64_t, 3>& subfieldSize);

    /// Returns a receiver that adds rows of the area. Each thread needs its own. Sums over slices across x
    /// are complete only once the receiver has been destroyed.
    [[nodiscard]] std::unique_ptr<IDirectionReceiver> MakeAdder();

    [[nodiscard]] StDirectionSum Field() const;
    [[nodiscard]] const StDirectionSum& Slice(std::size_t axis, std::int64_t position) const;
    /// The number of subfields along each axis.
    [[nodiscard]] const std::array<std::int64_t, 3>& SubfieldCounts() const { return m_subfieldCounts; }
    [[nodiscard]] const StDirectionSum& Subfield(const std::array<std::int64_t, 3>& index) const;

    /// All sums in a row. Those of parts of an area can be added number by number.
    [[nodiscard]] std::vector<std::int64_t> Numbers() const;
    /// Replaces all sums. There must be as many numbers as `Numbers` gives.
    void SetNumbers(std::span<const std::int64_t> numbers);

private:
    class CAdder;

    [[nodiscard]] bool HasSubfields() const { return !m_subfields.empty(); }
    /// Calls `action` with each sum in a fixed order.
    template <class Sums, class Action>
    static void ForEach(Sums& sums, const Action& action);
    void AddToSubfield(std::int64_t indexX, std::int64_t y, std::int64_t z, const StDirectionSum& sum);
    [[nodiscard]] std::size_t SubfieldNumber(const std::array<std::int64_t, 3>& index) const;

    StPixelBox m_area;
    std::array<std::int64_t, 3> m_subfieldSize;
    std::array<std::int64_t, 3> m_subfieldCounts{};
    std::array<std::vector<StDirectionSum>, 3> m_slices;
    std::vector<StDirectionSum> m_subfields;
};

} // namespace ORVEN::Impl
