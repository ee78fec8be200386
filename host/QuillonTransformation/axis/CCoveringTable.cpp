#include "QuillonTransformation/axis/CCoveringTable.h"

#include "QuillonTransformation/axis/BuiltInMedialAxisNeighborhood.h"
#include "QuillonTransformation/axis/LookUpTableFile.h"

#include <QuillonBase/AvailableMemory.h>
#include <QuillonBase/VectorDispatch.h>

#include <algorithm>
#include <bit>
#include <iterator>
#include <limits>
#include <mutex>
#include <numeric>
#include <utility>

namespace ORVEN {

namespace {

const char* const c_function = "CCoveringTable";

/// Tables up to this distance are kept, and are built for the next power of two, so that similar images share
/// them. With the built-in list, such a table takes at most 42 MB.
constexpr std::int32_t c_greatestKeptDistance = 128 * 128;

/// Returns the list in the file if it suffices for the image or reaches at least as far as the built-in one,
/// else the built-in one.
StMedialAxisNeighborhood NeighborhoodFor(const std::string& path, std::int32_t greatestDistance) {
    const StMedialAxisNeighborhood& builtIn = BuiltInMedialAxisNeighborhood();
    if (path.empty())
        return builtIn;
    StMedialAxisNeighborhood fromFile = ReadMedialAxisNeighborhood(path);
    const bool suffices = std::cmp_greater_equal(fromFile.reach, greatestDistance);
    return suffices || fromFile.reach >= builtIn.reach ? fromFile : builtIn;
}

/// max{|u|^2 + 2 u v : |u|^2 < R} for each of several vectors v, updated as R grows.
class CRunningMaxima {
public:
    explicit CRunningMaxima(std::span<const StSortedVector> vectors)
        : m_doubleA(vectors.size())
        , m_doubleB(vectors.size())
        , m_doubleC(vectors.size())
        , m_values(vectors.size(), 0) {
        for (std::size_t i = 0; i < vectors.size(); ++i) {
            m_doubleA[i] = 2 * vectors[i].a;
            m_doubleB[i] = 2 * vectors[i].b;
            m_doubleC[i] = 2 * vectors[i].c;
        }
    }

    /// Of all images of u, the sorted one is the farthest from -v.
    void Include(const StSortedVector& u) {
        const std::int32_t length = u.SquaredLength();
        const auto [a, b, c] = u;
        const std::int32_t* const doubleA = m_doubleA.data();
        const std::int32_t* const doubleB = m_doubleB.data();
        const std::int32_t* const doubleC = m_doubleC.data();
        std::int32_t* const __restrict values = m_values.data();
        const std::size_t count = m_values.size();
        Impl::RunFor(m_vectors, [=] {
            for (std::size_t i = 0; i < count; ++i)
                values[i] = std::max(values[i], length + doubleA[i] * a + doubleB[i] * b + doubleC[i] * c);
        });
    }

    [[nodiscard]] std::span<const std::int32_t> Values() const { return m_values; }

private:
    Impl::EnVectors m_vectors = Impl::BestVectors();
    std::vector<std::int32_t> m_doubleA;
    std::vector<std::int32_t> m_doubleB;
    std::vector<std::int32_t> m_doubleC;
    std::vector<std::int32_t> m_values;
};

} // namespace

CCoveringTable::CCoveringTable(StMedialAxisNeighborhood neighborhood, std::int32_t greatestDistance,
                               std::span<const std::uint8_t> occurs)
    : m_neighborhood(std::move(neighborhood))
    , m_greatestDistance(greatestDistance) {
    for (const StMedialAxisGenerator& generator : m_neighborhood.generators) {
        const bool isUsed = std::cmp_less_equal(generator.foundAt, greatestDistance);
        if (!isUsed || generator.vector.a == 1)
            continue;
        m_farVectors.push_back(generator.vector);
        m_farLeastDistances.push_back(generator.leastDistance);
        m_farFoundAt.push_back(generator.foundAt);
    }
    const auto distanceCount = static_cast<std::size_t>(greatestDistance) + 1;
    const auto isStored = [&](std::size_t distance) {
        return occurs.empty() || distance == 0 || occurs[distance] != 0;
    };
    std::uint32_t rowCount = 0;
    for (std::size_t distance = 0; distance < distanceCount; ++distance)
        rowCount += isStored(distance) ? 1 : 0;
    RequireMemory(c_function, "The table of the medial axis",
                  static_cast<std::int64_t>(rowCount * m_farVectors.size() * sizeof(std::uint16_t) +
                                            distanceCount * (sizeof(m_nearLimits[0]) +
                                                             sizeof(m_farCounts[0]) + sizeof(m_rows[0]))) +
                      CSphereVectors::BytesFor(greatestDistance));
    m_nearLimits.resize(distanceCount);
    m_farCounts.resize(distanceCount, 0);
    for (std::size_t i = 0; i < m_farVectors.size(); ++i) {
        const auto least = std::min<std::size_t>(m_farLeastDistances[i], distanceCount - 1);
        m_farCounts[least] = static_cast<std::uint32_t>(i + 1);
    }
    std::partial_sum(m_farCounts.begin(), m_farCounts.end(), m_farCounts.begin(),
                     [](std::uint32_t a, std::uint32_t b) { return std::max(a, b); });
    m_rows.resize(distanceCount, c_noRow);
    std::uint32_t row = 0;
    for (std::size_t distance = 0; distance < distanceCount; ++distance) {
        if (isStored(distance))
            m_rows[distance] = row++;
    }
    m_farExcesses = std::make_unique_for_overwrite<std::uint16_t[]>(rowCount * m_farVectors.size());
}

bool CCoveringTable::Fill(CWorkPace& pace) {
    const auto spheres = CSphereVectors::Find(m_greatestDistance, pace);
    if (!spheres)
        return false;
    CRunningMaxima nearMaxima(c_nearVectors);
    CRunningMaxima farMaxima(m_farVectors);
    const auto unitsPerRow = static_cast<std::int64_t>(m_farVectors.size()) + 16;
    std::fill_n(m_farExcesses.get(), m_farVectors.size(), c_never);
    for (std::int32_t distance = 1; distance <= m_greatestDistance; ++distance) {
        const std::span<const StSortedVector> sphere = spheres->OfLength(distance - 1);
        for (const StSortedVector& u : sphere) {
            nearMaxima.Include(u);
            farMaxima.Include(u);
        }
        for (std::size_t i = 0; i < c_nearVectors.size(); ++i) {
            m_nearLimits[static_cast<std::size_t>(distance)][i] =
                nearMaxima.Values()[i] + c_nearVectors[i].SquaredLength() + 1;
        }
        const std::uint32_t row = m_rows[static_cast<std::size_t>(distance)];
        std::uint16_t* const excesses =
            row == c_noRow ? nullptr : m_farExcesses.get() + row * m_farVectors.size();
        for (std::size_t i = 0; excesses != nullptr && i < m_farVectors.size(); ++i) {
            const std::int32_t excess = farMaxima.Values()[i] - distance + 1;
            const bool isUsed = excess < c_never && std::cmp_greater_equal(distance, m_farLeastDistances[i]);
            excesses[i] = isUsed ? static_cast<std::uint16_t>(excess) : c_never;
        }
        if (pace.Add((std::ssize(sphere) + 2) * unitsPerRow))
            return false;
    }
    return true;
}

bool CCoveringTable::IsShared(std::int32_t greatestDistance) {
    return greatestDistance <= c_greatestKeptDistance;
}

std::size_t CCoveringTable::FarVectorCount(std::int32_t greatestDistance) const {
    const auto end = std::ranges::upper_bound(m_farFoundAt, static_cast<std::uint32_t>(greatestDistance));
    return static_cast<std::size_t>(end - m_farFoundAt.begin());
}

std::shared_ptr<const CCoveringTable> CCoveringTable::ForImage(const std::string& path,
                                                               std::int32_t greatestDistance, CWorkPace& pace,
                                                               std::span<const std::uint8_t> occurs) {
    static std::mutex guard;
    static std::shared_ptr<const CCoveringTable> kept;
    StMedialAxisNeighborhood neighborhood = NeighborhoodFor(path, greatestDistance);
    {
        const std::lock_guard lock(guard);
        if (kept != nullptr && kept->GreatestDistance() >= greatestDistance &&
            kept->Neighborhood().generators == neighborhood.generators)
            return kept;
    }
    // Threads that need a table at the same time each build their own. A thread that waited for another would
    // not react to a cancellation.
    const bool isKept = IsShared(greatestDistance);
    const auto roundedUp =
        static_cast<std::int32_t>(std::bit_ceil(static_cast<std::uint32_t>(greatestDistance)));
    const std::shared_ptr<CCoveringTable> table(
        isKept ? new CCoveringTable(std::move(neighborhood), roundedUp, {})
               : new CCoveringTable(std::move(neighborhood), greatestDistance, occurs));
    if (!table->Fill(pace))
        return nullptr;
    if (isKept) {
        const std::lock_guard lock(guard);
        kept = table;
    }
    return table;
}

} // namespace ORVEN
