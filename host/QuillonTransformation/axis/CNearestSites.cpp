#include "QuillonTransformation/axis/CNearestSites.h"

#include "QuillonTransformation/axis/LookUpTableFile.h"

#include <bit>
#include <mutex>

namespace ORVEN {

std::shared_ptr<const CSphereVectors> SpheresForImage(const std::string& path, std::int32_t greatestDistance,
                                                      CWorkPace& pace) {
    constexpr std::int32_t greatestReach = 128 * 128;
    static std::mutex guard;
    static std::shared_ptr<const CSphereVectors> kept;
    const std::int32_t reach = std::min(greatestDistance, greatestReach);
    if (!path.empty()) {
        auto fromFile = std::make_shared<const CSphereVectors>(ReadSphereVectors(path));
        if (fromFile->Reach() >= reach)
            return fromFile;
    }
    {
        const std::lock_guard lock(guard);
        if (kept != nullptr && kept->Reach() >= reach)
            return kept;
    }
    // Threads that need vectors at the same time each compute their own. A thread that waited for another
    // would not react to a cancellation.
    const auto roundedUp = static_cast<std::int32_t>(std::bit_ceil(static_cast<std::uint32_t>(reach)));
    auto found = CSphereVectors::Find(roundedUp, pace);
    if (!found)
        return nullptr;
    auto spheres = std::make_shared<const CSphereVectors>(std::move(*found));
    const std::lock_guard lock(guard);
    if (kept == nullptr || kept->Reach() < spheres->Reach())
        kept = spheres;
    return spheres;
}

CNearestSites::CNearestSites(const CSquaredDistanceView& squaredDistance, const CSphereVectors& spheres)
    : m_squaredDistance(squaredDistance)
    , m_spheres(spheres)
    , m_greatestLength(static_cast<std::int32_t>(std::sqrt(static_cast<double>(squaredDistance.Greatest()))))
    , m_roots(std::min<std::size_t>(static_cast<std::size_t>(squaredDistance.Greatest()) + 1, 1 << 16), -1) {
    for (std::int16_t root = 0; std::cmp_less(root * root, m_roots.size()); ++root)
        m_roots[static_cast<std::size_t>(root * root)] = root;
}

} // namespace ORVEN
