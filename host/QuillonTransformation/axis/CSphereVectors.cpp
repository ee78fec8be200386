#include "QuillonTransformation/axis/CSphereVectors.h"

#include <QuillonBase/CProgressProxy.h>

#include <cmath>
#include <utility>

namespace ORVEN {

namespace {

/// Ordered by descending a, then b. Returns false if cancelled.
template <class Body>
bool ForEachSortedVector(std::int32_t reach, CWorkPace& pace, const Body& body) {
    const auto root = static_cast<std::int32_t>(std::sqrt(static_cast<double>(reach)));
    for (std::int32_t a = root; a >= 0; --a) {
        for (std::int32_t b = a; b >= 0; --b) {
            for (std::int32_t c = b; c >= 0; --c) {
                if (a * a + b * b + c * c <= reach) {
                    body(StSortedVector{static_cast<std::int16_t>(a), static_cast<std::int16_t>(b),
                                        static_cast<std::int16_t>(c)});
                }
            }
            if (pace.Add(4 * (std::int64_t{b} + 1)))
                return false;
        }
    }
    return true;
}

} // namespace

CSphereVectors::CSphereVectors(std::int32_t reach) {
    CProgressProxy none;
    CWorkPace pace(none);
    Fill(reach, pace);
}

std::optional<CSphereVectors> CSphereVectors::Find(std::int32_t reach, CWorkPace& pace) {
    CSphereVectors vectors;
    return vectors.Fill(reach, pace) ? std::optional(std::move(vectors)) : std::nullopt;
}

std::int64_t CSphereVectors::BytesFor(std::int32_t reach) {
    // A 48th of a ball, which counts vectors on its three faces only by half, and the other half of these.
    const double root = std::sqrt(static_cast<double>(reach));
    const double vectorCount = 0.0873 * root * root * root + 0.48 * root * root + root + 1;
    return static_cast<std::int64_t>(vectorCount * sizeof(StSortedVector)) +
           2 * (std::int64_t{reach} + 2) * std::int64_t{sizeof(std::uint32_t)};
}

bool CSphereVectors::Fill(std::int32_t reach, CWorkPace& pace) {
    m_starts.assign(static_cast<std::size_t>(reach) + 2, 0);
    // A counting sort, with the counts shifted by one so that they become the starts.
    const bool areCounted = ForEachSortedVector(reach, pace, [this](const StSortedVector& vector) {
        ++m_starts[static_cast<std::size_t>(vector.SquaredLength()) + 1];
    });
    if (!areCounted)
        return false;
    for (std::size_t r = 1; r < m_starts.size(); ++r)
        m_starts[r] += m_starts[r - 1];
    m_vectors.reserve(m_starts.back());
    const auto grow = [this](std::int64_t /*first*/, std::int64_t end) {
        m_vectors.resize(static_cast<std::size_t>(end));
    };
    if (!ForEachPiece(m_starts.back(), 2, pace, grow))
        return false;
    std::vector<std::uint32_t> next(m_starts);
    return ForEachSortedVector(reach, pace, [this, &next](const StSortedVector& vector) {
        m_vectors[next[static_cast<std::size_t>(vector.SquaredLength())]++] = vector;
    });
}

CSphereVectors::CSphereVectors(std::vector<std::uint32_t> starts, std::vector<StSortedVector> vectors)
    : m_starts(std::move(starts))
    , m_vectors(std::move(vectors)) {}

} // namespace ORVEN
