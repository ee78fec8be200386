#include "QuillonGranulometry/CNearLimits.h"

#include "QuillonGranulometry/FloorSqrt.h"

#include <algorithm>
#include <cmath>

namespace ORVEN {

namespace {

constexpr std::int32_t c_greatestTabled = 1 << 20;
constexpr int c_excessBits = 10;

/// Sorted: the 26 neighbours, then the next vectors that lead to pixels not in line with one of these.
constexpr std::array<std::array<std::int32_t, 3>, 9> c_vectors{
    {{1, 0, 0}, {1, 1, 0}, {1, 1, 1}, {2, 1, 0}, {2, 1, 1}, {2, 2, 1}, {3, 1, 0}, {3, 1, 1}, {3, 2, 1}}};
constexpr std::size_t c_nearCount = 3;
constexpr std::size_t c_farCount = c_vectors.size() - c_nearCount;

std::int32_t SquaredLength(const std::array<std::int32_t, 3>& v) {
    return v[0] * v[0] + v[1] * v[1] + v[2] * v[2];
}

/// An upper bound for the limit, which the continuous ball gives.
std::int32_t Bound(std::size_t vector, std::int32_t distance) {
    const std::int64_t length = distance - 1;
    const std::int64_t steps = SquaredLength(c_vectors[vector]);
    return static_cast<std::int32_t>(length + FloorSqrt(4 * steps * length) + steps + 1);
}

/// For the pixels of a row from `first` to before `end`.
void AddExcesses(const std::int32_t* row, const std::int32_t* excesses,
                 const std::array<std::int32_t*, 3>& limits, std::size_t first, std::size_t end) {
    constexpr std::int32_t mask = (1 << c_excessBits) - 1;
    std::int32_t* const __restrict oneStep = limits[0];
    std::int32_t* const __restrict twoSteps = limits[1];
    std::int32_t* const __restrict threeSteps = limits[2];
    for (std::size_t x = first; x < end; ++x) {
        const std::int32_t distance = row[x];
        const std::int32_t packed = excesses[distance];
        oneStep[x] = distance + (packed & mask);
        twoSteps[x] = distance + (packed >> c_excessBits & mask);
        threeSteps[x] = distance + (packed >> 2 * c_excessBits);
    }
}

} // namespace

CNearLimits::CNearLimits(int dimension, std::int32_t greatest, CWorkPace& pace) {
    const std::int32_t reach = std::min(greatest, c_greatestTabled);
    // Pixels farther away are tested in 3-d images only.
    m_limits.resize(dimension > 2 ? c_vectors.size() : c_nearCount);
    // First, at index R: the maximum of |u|^2 + 2 u v over all u of squared length R - 1.
    for (std::vector<std::int32_t>& limits : m_limits)
        limits.resize(static_cast<std::size_t>(reach) + 1, 0);
    for (std::int32_t a = 0; a * a < reach; ++a) {
        const std::int32_t greatestB = dimension > 1 ? a : 0;
        for (std::int32_t b = 0; b <= greatestB && a * a + b * b < reach; ++b) {
            const std::int32_t greatestC = dimension > 2 ? b : 0;
            for (std::int32_t c = 0; c <= greatestC && a * a + b * b + c * c < reach; ++c) {
                const std::int32_t length = a * a + b * b + c * c;
                for (std::size_t i = 0; i < m_limits.size(); ++i) {
                    const auto [p, q, r] = c_vectors[i];
                    std::int32_t& limit = m_limits[i][static_cast<std::size_t>(length) + 1];
                    limit = std::max(limit, length + 2 * (a * p + b * q + c * r));
                }
            }
            if (pace.Add(9 * (std::int64_t{greatestC} + 1)))
                return;
        }
    }
    for (std::size_t i = 0; i < m_limits.size(); ++i) {
        std::int32_t maximum = 0;
        for (std::int32_t& limit : m_limits[i]) {
            maximum = std::max(maximum, limit);
            limit = maximum + SquaredLength(c_vectors[i]) + 1;
        }
    }
    if (Bound(2, std::max(greatest, 1)) - greatest < 1 << c_excessBits)
        PackExcesses();
    if (dimension > 2)
        PackFarLimits();
}

void CNearLimits::PackExcesses() {
    m_excesses.resize(m_limits[0].size());
    for (std::size_t distance = 1; distance < m_excesses.size(); ++distance) {
        for (std::size_t i = 0; i < 3; ++i) {
            const std::int32_t excess = m_limits[i][distance] - static_cast<std::int32_t>(distance);
            m_excesses[distance] |= excess << c_excessBits * static_cast<int>(i);
        }
    }
}

void CNearLimits::PackFarLimits() {
    m_farLimits.resize(m_limits[0].size());
    for (std::size_t distance = 1; distance < m_farLimits.size(); ++distance) {
        FarLimits& far = m_farLimits[distance];
        for (std::size_t i = 0; i < c_farCount; ++i)
            far[i] = m_limits[c_nearCount + i][distance];
        // The root of a distance rises by at most 1 in a step.
        for (std::size_t i = 0; i < c_farCount / 2; ++i) {
            const double root = std::sqrt(static_cast<double>(far[c_farCount / 2 + i])) - 1.0;
            far[c_shortfall] = std::min(far[c_shortfall], static_cast<std::int32_t>(root * root) - far[i]);
        }
    }
    m_limits.resize(c_nearCount);
}

void CNearLimits::LookUp(Impl::EnVectors vectors, std::span<const std::int32_t> distances,
                         const std::array<std::int32_t*, 3>& limits) const {
    if (m_excesses.empty()) {
        for (std::size_t i = 0; i < limits.size(); ++i) {
            std::ranges::transform(distances, limits[i], [&](std::int32_t distance) {
                const auto index = static_cast<std::size_t>(distance);
                return index < m_limits[i].size() ? m_limits[i][index] : Bound(i, distance);
            });
        }
        return;
    }
    Impl::RunFor(vectors,
                 [row = distances.data(), size = distances.size(), excesses = m_excesses.data(), limits] {
                     constexpr std::size_t pieceLength = 64;
                     for (std::size_t first = 0; first < size; first += pieceLength) {
                         const std::size_t end = std::min(first + pieceLength, size);
                         std::int32_t any = 0;
                         for (std::size_t x = first; x < end; ++x)
                             any |= row[x];
                         if (any != 0)
                             AddExcesses(row, excesses, limits, first, end);
                     }
                 });
}

} // namespace ORVEN
