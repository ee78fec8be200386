#include "QuillonFilterOrientations/CDirectionSums.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <memory>

namespace ORVEN::Impl {

namespace {

/// The nearest multiple of 2^-30, as an integer number of them. The last bit of a double near 1.5 * 2^52 has
/// the value 1, so that the addition rounds.
std::int64_t FixedPoint(double value) {
    constexpr double shift = 0x1.8p52;
    return std::bit_cast<std::int64_t>(value * 0x1p30 + shift) - std::bit_cast<std::int64_t>(shift);
}

StDirectionSum SumOfPixel(const StDirectionRow& row, std::size_t i) {
    const double x = row.direction[0][i];
    const double y = row.direction[1][i];
    const double z = row.direction[2][i];
    return {{FixedPoint(x * x), FixedPoint(x * y), FixedPoint(x * z), FixedPoint(y * y), FixedPoint(y * z),
             FixedPoint(z * z)},
            static_cast<std::int64_t>(row.isEvaluated[i]),
            1};
}

} // namespace

void StDirectionSum::Add(const StDirectionSum& other) {
    for (std::size_t i = 0; i < tensor.size(); ++i)
        tensor[i] += other.tensor[i];
    evaluatedCount += other.evaluatedCount;
    foregroundCount += other.foregroundCount;
}

void StDirectionSum::AddShared(const StDirectionSum& other) {
    const auto add = [](std::int64_t& number, std::int64_t more) {
        std::atomic_ref(number).fetch_add(more, std::memory_order_relaxed);
    };
    for (std::size_t i = 0; i < tensor.size(); ++i)
        add(tensor[i], other.tensor[i]);
    add(evaluatedCount, other.evaluatedCount);
    add(foregroundCount, other.foregroundCount);
}

/// Slices across x change with every pixel, so each thread sums them separately. All other sums are updated
/// once per section of a row.
class CDirectionSums::CAdder : public IDirectionReceiver {
public:
    explicit CAdder(CDirectionSums& sums)
        : m_sums(sums)
        , m_slicesX(static_cast<std::size_t>(sums.m_area.Extent(0))) {}
    CAdder(const CAdder&) = delete;
    CAdder& operator=(const CAdder&) = delete;
    ~CAdder() override {
        for (std::size_t x = 0; x < m_slicesX.size(); ++x)
            m_sums.m_slices[0][x].AddShared(m_slicesX[x]);
    }

    void Add(const StDirectionRow& row) override {
        const StPixelBox& area = m_sums.m_area;
        const std::int64_t stretch = m_sums.HasSubfields() ? m_sums.m_subfieldSize[0] : area.Extent(0);
        StDirectionSum wholeRow;
        for (std::size_t i = 0; i < row.x.size();) {
            const std::int64_t index = (row.x[i] - area.first[0]) / stretch;
            const std::int64_t end = area.first[0] + (index + 1) * stretch;
            StDirectionSum part;
            for (; i < row.x.size() && row.x[i] < end; ++i) {
                const StDirectionSum pixel = SumOfPixel(row, i);
                m_slicesX[static_cast<std::size_t>(row.x[i] - area.first[0])].Add(pixel);
                part.Add(pixel);
            }
            wholeRow.Add(part);
            m_sums.AddToSubfield(index, row.y, row.z, part);
        }
        m_sums.m_slices[1][static_cast<std::size_t>(row.y - area.first[1])].AddShared(wholeRow);
        m_sums.m_slices[2][static_cast<std::size_t>(row.z - area.first[2])].AddShared(wholeRow);
    }

private:
    CDirectionSums& m_sums;
    std::vector<StDirectionSum> m_slicesX;
};

CDirectionSums::CDirectionSums(const StPixelBox& area, const std::array<std::int64_t, 3>& subfieldSize)
    : m_area(area)
    , m_subfieldSize(subfieldSize)
    , m_subfieldCounts(CountSubfields(area, subfieldSize)) {
    for (std::size_t axis = 0; axis < 3; ++axis)
        m_slices[axis].resize(static_cast<std::size_t>(area.Extent(axis)));
    const auto& [x, y, z] = m_subfieldCounts;
    m_subfields.resize(static_cast<std::size_t>(x * y * z));
}

std::array<std::int64_t, 3> CDirectionSums::CountSubfields(const StPixelBox& area,
                                                           const std::array<std::int64_t, 3>& subfieldSize) {
    std::array<std::int64_t, 3> counts{};
    for (std::size_t axis = 0; axis < 3; ++axis)
        counts[axis] = subfieldSize[axis] > 0 ? area.Extent(axis) / subfieldSize[axis] : 0;
    return counts;
}

std::unique_ptr<IDirectionReceiver> CDirectionSums::MakeAdder() { return std::make_unique<CAdder>(*this); }

StDirectionSum CDirectionSums::Field() const {
    StDirectionSum field;
    for (const StDirectionSum& slice : m_slices[2])
        field.Add(slice);
    return field;
}

const StDirectionSum& CDirectionSums::Slice(std::size_t axis, std::int64_t position) const {
    return m_slices[axis][static_cast<std::size_t>(position - m_area.first[axis])];
}

const StDirectionSum& CDirectionSums::Subfield(const std::array<std::int64_t, 3>& index) const {
    return m_subfields[SubfieldNumber(index)];
}

std::size_t CDirectionSums::SubfieldNumber(const std::array<std::int64_t, 3>& index) const {
    return static_cast<std::size_t>((index[2] * m_subfieldCounts[1] + index[1]) * m_subfieldCounts[0] +
                                    index[0]);
}

template <class Sums, class Action>
void CDirectionSums::ForEach(Sums& sums, const Action& action) {
    for (auto& slices : sums.m_slices)
        std::for_each(slices.begin(), slices.end(), action);
    std::for_each(sums.m_subfields.begin(), sums.m_subfields.end(), action);
}

std::vector<std::int64_t> CDirectionSums::Numbers() const {
    std::vector<std::int64_t> numbers;
    ForEach(*this, [&numbers](const StDirectionSum& sum) {
        numbers.insert(numbers.end(), sum.tensor.begin(), sum.tensor.end());
        numbers.push_back(sum.evaluatedCount);
        numbers.push_back(sum.foregroundCount);
    });
    return numbers;
}

void CDirectionSums::SetNumbers(std::span<const std::int64_t> numbers) {
    auto next = numbers.begin();
    ForEach(*this, [&next](StDirectionSum& sum) {
        for (std::int64_t& number : sum.tensor)
            number = *next++;
        sum.evaluatedCount = *next++;
        sum.foregroundCount = *next++;
    });
}

void CDirectionSums::AddToSubfield(std::int64_t indexX, std::int64_t y, std::int64_t z,
                                   const StDirectionSum& sum) {
    if (!HasSubfields())
        return;
    const std::array<std::int64_t, 3> index{indexX, (y - m_area.first[1]) / m_subfieldSize[1],
                                            (z - m_area.first[2]) / m_subfieldSize[2]};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (index[axis] >= m_subfieldCounts[axis])
            return; // in the remainder that is not a complete subfield
    }
    m_subfields[SubfieldNumber(index)].AddShared(sum);
}

} // namespace ORVEN::Impl
