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

/// The vectors of length up to the greatest distance of an image, up to 128: from the file at a path if it
/// goes as far, else computed. Raises as `ReadSphereVectors`. What was computed is kept for the next image.
/// Null if cancelled.
[[nodiscard]] std::shared_ptr<const CSphereVectors>
SpheresForImage(const std::string& path, std::int32_t greatestDistance, CWorkPace& pace);

/// Finds the nearest background pixels of object pixels from a map of squared distances d^2.
///
/// If v leads from y to one of them, then for a step e along an axis d^2(y + e) <= |v - e|^2, and so v e is
/// at most (d^2(y) + 1 - d^2(y + e)) / 2. The six neighbours bound v to a box, which in smooth places is a
/// point or two. Its two narrow sides are gone through, and the length gives what is left. Where they are
/// wide, as in the centre of a ball, there are fewer vectors of that length than places in the box.
class CNearestSites {
public:
    CNearestSites(const CSquaredDistanceView& squaredDistance, const CSphereVectors& spheres);

    /// Calls `body(vx, vy, vz)` with the vectors from an object pixel to its nearest background pixels, each
    /// once, until a call returns false. Some may be missing once the pace is cancelled, to which a search
    /// reports its work where that is much.
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

    /// Where the vectors of a pixel can be. `order` lists the axes by width.
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
        // Shifting rounds down, for negative numbers too. Distances that are none can lead anywhere.
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

    /// The root of a square; -1 for other numbers.
    [[nodiscard]] std::int32_t RootOf(std::int32_t number) const {
        if (std::cmp_less(number, m_roots.size()))
            return m_roots[static_cast<std::size_t>(number)];
        // The root of a square is exact.
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
    std::vector<std::int16_t> m_roots; ///< by number, as far as that is worth its memory
};

} // namespace ORVEN
