#include "pixels/Percentiles.h"

#include "pixels/PixelLoops.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace quillon::basics {

using namespace ORVEN;

namespace {

constexpr std::size_t c_halves = 65536;
using Counts = std::vector<std::int64_t>;

/// The index of the count that holds a rank, and what remains of the rank there.
struct StPlace {
    std::uint32_t index;
    std::int64_t rank;
};

StPlace PlaceOf(const Counts& counts, std::int64_t rank) {
    std::uint32_t index = 0;
    while (rank >= counts[index])
        rank -= counts[index++];
    return {index, rank};
}

/// The values at ranks, counted from 0 at the least value.
template <class T>
class CRanks {
public:
    CRanks(const CImage& image, IProgress& progress)
        : m_view(image)
        , m_pace(progress)
        , m_leading(c_halves, 0) {
        m_isDone = ForEachKey([this](std::uint32_t key) { ++m_leading[key >> 16]; });
    }

    /// The number of pixels that are numbers.
    [[nodiscard]] std::int64_t Count() const { return m_numbers; }
    [[nodiscard]] bool IsDone() const { return m_isDone; }

    std::vector<double> Values(const std::vector<std::int64_t>& ranks) {
        std::map<std::uint32_t, Counts> trailing;
        for (const std::int64_t rank : ranks)
            trailing[PlaceOf(m_leading, rank).index].assign(c_halves, 0);
        m_isDone = ForEachKey([&trailing](std::uint32_t key) {
            const auto found = trailing.find(key >> 16);
            if (found != trailing.end())
                ++found->second[key & 0xFFFFU];
        });
        std::vector<double> values;
        for (const std::int64_t rank : ranks) {
            const StPlace place = PlaceOf(m_leading, rank);
            const std::uint32_t low = m_isDone ? PlaceOf(trailing[place.index], place.rank).index : 0;
            values.push_back(static_cast<double>(OfOrderedKey<T>(place.index << 16 | low)));
        }
        return values;
    }

private:
    template <class Visit>
    bool ForEachKey(const Visit& visit) {
        m_numbers = 0;
        return ForEachRowPiece(m_view, 3, m_pace,
                               [&](std::int64_t y, std::int64_t z, std::int64_t first, std::int64_t end) {
                                   for (std::int64_t x = first; x < end; ++x) {
                                       const T pixel = m_view.Row(y, z)[x];
                                       if (pixel == pixel) { // not NaN
                                           visit(OrderedKey(pixel));
                                           ++m_numbers;
                                       }
                                   }
                               });
    }

    CImageView<const T> m_view;
    CWorkPace m_pace;
    Counts m_leading;
    std::int64_t m_numbers = 0;
    bool m_isDone = false;
};

} // namespace

std::vector<double> Percentiles(const CImage& image, const std::vector<double>& percentages,
                                IProgress& progress) {
    return DispatchRealType("Percentiles", image.Type(), [&]<class T>(std::type_identity<T>) {
        CRanks<T> ranks(image, progress);
        if (!ranks.IsDone() || ranks.Count() == 0)
            return std::vector<double>();
        std::vector<double> places;
        std::vector<std::int64_t> wanted;
        const std::int64_t last = ranks.Count() - 1;
        for (const double percentage : percentages) {
            places.push_back(static_cast<double>(last) * percentage / 100.0);
            const auto below = static_cast<std::int64_t>(places.back());
            wanted.push_back(below);
            wanted.push_back(std::min(below + 1, last));
        }
        const std::vector<double> values = ranks.Values(wanted);
        if (!ranks.IsDone())
            return std::vector<double>();
        std::vector<double> percentiles;
        for (std::size_t i = 0; i < places.size(); ++i) {
            const double part = places[i] - std::floor(places[i]);
            const double below = values[2 * i];
            percentiles.push_back(part > 0.0 ? below + part * (values[2 * i + 1] - below) : below);
        }
        return percentiles;
    });
}

} // namespace quillon::basics
