#include "QuillonTransformation/CSphereVectors.h"

#include <cmath>
#include <utility>

namespace ORVEN {

namespace {

/// By descending a, then b.
template <class Body>
void ForEachSortedVector(std::int32_t reach, const Body& body) {
    const auto root = static_cast<std::int32_t>(std::sqrt(static_cast<double>(reach)));
    for (std::int32_t a = root; a >= 0; --a) {
        for (std::int32_t b = a; b >= 0; --b) {
            for (std::int32_t c = b; c >= 0; --c) {
                if (a * a + b * b + c * c <= reach) {
                    body(StSortedVector{static_cast<std::int16_t>(a), static_cast<std::int16_t>(b),
                                        static_cast<std::int16_t>(c)});
                }
            }
        }
    }
}

} // namespace

CSphereVectors::CSphereVectors(std::int32_t reach)
    : m_starts(static_cast<std::size_t>(reach) + 2, 0) {
    // A counting sort, with the counts one place ahead so that they end up as the starts.
    ForEachSortedVector(reach, [this](const StSortedVector& vector) {
        ++m_starts[static_cast<std::size_t>(vector.SquaredLength()) + 1];
    });
    for (std::size_t r = 1; r < m_starts.size(); ++r)
        m_starts[r] += m_starts[r - 1];
    m_vectors.resize(m_starts.back());
    std::vector<std::uint32_t> next(m_starts);
    ForEachSortedVector(reach, [this, &next](const StSortedVector& vector) {
        m_vectors[next[static_cast<std::size_t>(vector.SquaredLength())]++] = vector;
    });
}

CSphereVectors::CSphereVectors(std::vector<std::uint32_t> starts, std::vector<StSortedVector> vectors)
    : m_starts(std::move(starts))
    , m_vectors(std::move(vectors)) {}

} // namespace ORVEN
