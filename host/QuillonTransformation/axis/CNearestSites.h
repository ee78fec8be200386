#pragma once

#include "QuillonTransformation/axis/CSphereVectors.h"
#include "QuillonTransformation/distance/CSquaredDistanceView.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace ORVEN {

/// Returns the vectors up to the largest distance of an image, limited to length 128. They are read from the
/// file at `path` if it reaches that far, and computed otherwise. Raises as `ReadSphereVectors`. Computed
/// vectors are kept for the next image. Returns null if cancelled.
[[nodiscard]] std::shared_ptr<const CSphereVectors>
SpheresForImage(const std::string& path, std::int32_t greatestDistance, CWorkPace& pace);

/// Finds the nearest background pixels of object pixels from a map of squared distances d^2.
///
/// If v leads from y to one of them, then for a step e along an axis d^2(y + e) <= |v - e|^2, and so v e is
/// at most (d^2(y) + 1 - d^2(y + e)) / 2. The six neighbours thus confine v to a box, which in smooth regions
/// is a point or two. The search scans the two narrow sides of the box; the third component follows from the
/// length. Where these sides are wide, as in the centre of a ball, there are fewer vectors of that length
/// than positions in the box.
class CNearestSites {
public:
    CNearestSites(const CSquaredDistanceView& squaredDistance, const CSphereVectors& spheres);

    /// Calls `body(vx, vy, vz)` for each vector from an object pixel to one of its nearest background pixels,
    /// once per vector, until a call returns false. Extensive searches report their work to the pace; once it
    /// is cancelled, some vectors may be missing.
    template <class Body>
    void Visit(std::int64_t x, std::int64_t y, std::int64_t z, CWorkPace& pace, const Body& body) const {
        const StBox box = BoxOf(x, y, z);
        const auto test = [&](std::int32_t vx, std::int32_t vy, std::int32_t vz) {
            return m_squaredDistance.At(x + vx, y + vy, z + vz) != 0 || body(vx, vy, vz);
        };
        if (box.narrowPlaces > c_manyPlaces && box.squaredLength <= m_spheres.Reach())
            VisitSphere(box, pace, test);
        else
            VisitBox(box, pace, test);
    }

private:
    static constexpr std::int64_t c_manyPlaces = 64;

    /// The range of possible vectors of a pixel. `order` lists the axes by width.
    struct StBox {
        std::int32_t squaredLength;
        std::array<std::int32_t, 3> least;
        std::array<std::int32_t, 3> greatest;
        std::array<std::size_t, 3> order;
        std::int64_t narrowPlaces;

        [[nodiscard]] std::int32_t Width(std::size_t axis) const { return greatest[axis] - least[axis]; }
        [[nodiscard]] bool Contains(std::size_t axis, std::int32_t component) const {
            return component >= least[axis] && component <= greatest[axis];
        }
    };

    [[nodiscard]] StBox BoxOf(std::int64_t x, std::int64_t y, std::int64_t z) const {
        const CSquaredDistanceView& map = m_squaredDistance;
        const std::int32_t length = map.At(x, y, z);
        // Shifting rounds down, including for negative numbers. In an invalid map, the values can be
        // arbitrary.
        const auto bound = [&](std::int32_t neighbor) {
            return std::min((length + 1 - neighbor) >> 1, m_greatestLength);
        };
        StBox box{length,
                  {-bound(map.At(x - 1, y, z)), -bound(map.At(x, y - 1, z)), -bound(map.At(x, y, z - 1))},
                  {bound(map.At(x + 1, y, z)), bound(map.At(x, y + 1, z)), bound(map.At(x, y, z + 1))},
                  {0, 1, 2},
                  0};
        const auto sort = [&box](std::size_t i, std::size_t j) {
            if (box.Width(box.order[i]) > box.Width(box.order[j]))
                std::swap(box.order[i], box.order[j]);
        };
        sort(0, 1);
        sort(1, 2);
        sort(0, 1);
        box.narrowPlaces = (std::int64_t{box.Width(box.order[0])} + 1) * (box.Width(box.order[1]) + 1);
        return box;
    }

    /// The square root of a square number; -1 for other numbers.
    [[nodiscard]] std::int32_t RootOf(std::int32_t number) const {
        if (std::cmp_less(number, m_roots.size()))
            return m_roots[static_cast<std::size_t>(number)];
        // The computed root of a square number is exact.
        const auto root = static_cast<std::int32_t>(std::sqrt(static_cast<double>(number)));
        return root * root == number ? root : -1;
    }

    template <class Test>
    void VisitBox(const StBox& box, CWorkPace& pace, const Test& test) const {
        const auto [first, second, third] = box.order;
        const bool isLarge = box.narrowPlaces > c_manyPlaces;
        std::array<std::int32_t, 3> v{};
        for (v[first] = box.least[first]; v[first] <= box.greatest[first]; ++v[first]) {
            const std::int32_t restOfFirst = box.squaredLength - v[first] * v[first];
            for (v[second] = box.least[second]; v[second] <= box.greatest[second]; ++v[second]) {
                const std::int32_t rest = restOfFirst - v[second] * v[second];
                if (rest < 0)
                    continue;
                const std::int32_t root = RootOf(rest);
                if (root < 0)
                    continue;
                v[third] = root;
                if (box.Contains(third, root) && !test(v[0], v[1], v[2]))
                    return;
                v[third] = -root;
                if (root != 0 && box.Contains(third, -root) && !test(v[0], v[1], v[2]))
                    return;
            }
            if (isLarge && pace.Add(4 * (std::int64_t{box.Width(second)} + 1)))
                return;
        }
    }

    template <class Test>
    void VisitSphere(const StBox& box, CWorkPace& pace, const Test& test) const {
        const auto testInBox = [&](std::int32_t vx, std::int32_t vy, std::int32_t vz) {
            return !(box.Contains(0, vx) && box.Contains(1, vy) && box.Contains(2, vz)) || test(vx, vy, vz);
        };
        for (const StSortedVector& vector : m_spheres.OfLength(box.squaredLength)) {
            if (!ForEachImage(vector, testInBox) || pace.Add(128))
                return;
        }
    }

    const CSquaredDistanceView& m_squaredDistance;
    const CSphereVectors& m_spheres;
    std::int32_t m_greatestLength;
    std::vector<std::int16_t> m_roots; ///< indexed by number, as far as that is worth the memory
};

} // namespace ORVEN
