#include "oracles/TopologyOracle.h"

#include <algorithm>
#include <deque>
#include <map>
#include <ostream>
#include <set>
#include <stdexcept>

namespace test {

namespace {

Vector Sum(const Vector& p, const Vector& v) { return {p[0] + v[0], p[1] + v[1], p[2] + v[2]}; }

std::int64_t StepCount(const Vector& v) { return std::abs(v[0]) + std::abs(v[1]) + std::abs(v[2]); }

const std::vector<Vector>& Offsets26() {
    static const std::vector<Vector> offsets = [] {
        std::vector<Vector> all;
        for (std::int64_t z = -1; z <= 1; ++z) {
            for (std::int64_t y = -1; y <= 1; ++y) {
                for (std::int64_t x = -1; x <= 1; ++x) {
                    if (x != 0 || y != 0 || z != 0)
                        all.push_back({x, y, z});
                }
            }
        }
        return all;
    }();
    return offsets;
}

const std::vector<Vector>& OffsetsOf(const std::string& id) {
    static std::map<std::string, std::vector<Vector>> known;
    std::vector<Vector>& offsets = known[id];
    if (offsets.empty()) {
        for (const Vector& offset : Offsets26()) {
            if (AreNeighbors(id, offset))
                offsets.push_back(offset);
        }
    }
    return offsets;
}

/// Takes the component of a pixel out of the object.
std::vector<Vector> TakeComponent(const std::string& id, StObject& object, const Vector& seed) {
    std::vector<Vector> component{seed};
    object.pixels[object.Index(seed)] = 0;
    for (std::size_t i = 0; i < component.size(); ++i) {
        for (const Vector& offset : OffsetsOf(id)) {
            const Vector q = Sum(component[i], offset);
            if (object.Has(q)) {
                object.pixels[object.Index(q)] = 0;
                component.push_back(q);
            }
        }
    }
    return component;
}

/// How many components of a set around (1, 1, 1) hold a pixel that is a neighbour of it.
int ComponentsAtCentre(const std::string& id, StObject around) {
    int count = 0;
    for (const Vector& p : around.Positions()) {
        if (!around.Has(p))
            continue;
        const std::vector<Vector> component = TakeComponent(id, around, p);
        count += std::ranges::any_of(component, [&](const Vector& q) {
            return AreNeighbors(id, {q[0] - 1, q[1] - 1, q[2] - 1});
        });
    }
    return count;
}

/// The pixels of a set around (1, 1, 1) that its connections of that neighbourhood may run through.
StObject Geodesic(const std::string& id, const StObject& around) {
    return ObjectOf({3, 3, 3}, [&](const Vector& p) {
        const Vector offset{p[0] - 1, p[1] - 1, p[2] - 1};
        const std::int64_t steps = StepCount(offset);
        const bool isReached = id == "N6" ? steps <= 2 : AreNeighbors(id, offset);
        return steps > 0 && isReached && around.Has(p);
    });
}

/// Cells whose vertices are pixels: the cell of a pixel and some axes is there if all its corners are.
std::int64_t EulerNumberOfPixelCentres(const StObject& object) {
    std::int64_t sum = 0;
    for (const Vector& p : object.Positions()) {
        for (unsigned axes = 0; axes < 8; ++axes) {
            bool isThere = true;
            for (unsigned corner = 0; corner < 8; ++corner) {
                if ((corner & ~axes) == 0)
                    isThere = isThere && object.Has(Sum(p, {corner & 1, corner >> 1 & 1, corner >> 2 & 1}));
            }
            if (isThere)
                sum += __builtin_popcount(axes) % 2 == 0 ? 1 : -1;
        }
    }
    return sum;
}

/// Cells of the closed cubes that the pixels are: each pixel has 27, at doubled coordinates.
std::int64_t EulerNumberOfClosedCubes(const StObject& object) {
    StObject cells(2 * object.size[0] + 1, 2 * object.size[1] + 1, 2 * object.size[2] + 1);
    for (const Vector& p : object.Positions()) {
        if (!object.Has(p))
            continue;
        const Vector middle{2 * p[0] + 1, 2 * p[1] + 1, 2 * p[2] + 1};
        cells.pixels[cells.Index(middle)] = 1;
        for (const Vector& offset : Offsets26())
            cells.pixels[cells.Index(Sum(middle, offset))] = 1;
    }
    std::int64_t sum = 0;
    for (const Vector& cell : cells.Positions()) {
        if (cells.Has(cell))
            sum += (cell[0] % 2 + cell[1] % 2 + cell[2] % 2) % 2 == 0 ? 1 : -1;
    }
    return sum;
}

/// Simplices: sets of pixels of which any two are neighbours. Each is counted from its first pixel.
std::int64_t EulerNumberOfSimplices(const std::string& id, const StObject& object) {
    std::vector<Vector> later;
    for (const Vector& offset : OffsetsOf(id)) {
        if (std::array{offset[2], offset[1], offset[0]} > std::array<std::int64_t, 3>{})
            later.push_back(offset);
    }
    const auto areNeighbors = [&](const Vector& a, const Vector& b) {
        return AreNeighbors(id, {b[0] - a[0], b[1] - a[1], b[2] - a[2]});
    };
    std::int64_t sum = 0;
    std::vector<Vector> there;
    for (const Vector& p : object.Positions()) {
        if (!object.Has(p))
            continue;
        there.clear();
        std::ranges::copy_if(later, std::back_inserter(there),
                             [&](const Vector& offset) { return object.Has(Sum(p, offset)); });
        ++sum;
        for (std::size_t i = 0; i < there.size(); ++i) {
            --sum;
            for (std::size_t j = i + 1; j < there.size(); ++j) {
                if (!areNeighbors(there[i], there[j]))
                    continue;
                ++sum;
                for (std::size_t k = j + 1; k < there.size(); ++k)
                    sum -= areNeighbors(there[i], there[k]) && areNeighbors(there[j], there[k]) ? 1 : 0;
            }
        }
    }
    return sum;
}

} // namespace

bool AreNeighbors(const std::string& id, const Vector& offset) {
    const auto [least, greatest] = std::ranges::minmax(offset);
    if (StepCount(offset) == 0 || least < -1 || greatest > 1)
        return false;
    if (id == "N6")
        return StepCount(offset) == 1;
    if (id == "N26")
        return true;
    if (id == "N14_1") // no coordinates of opposite sign
        return least >= 0 || greatest <= 0;
    if (id == "N14_2")
        return AreNeighbors("N14_1", {-offset[0], offset[1], offset[2]});
    throw std::logic_error("no such neighbourhood");
}

std::string DualOf(const std::string& id) { return id == "N6" ? "N26" : id == "N26" ? "N6" : id; }

StObject Surroundings(std::uint32_t neighbors, bool hasCentre) {
    StObject around(3, 3, 3);
    around.pixels[13] = hasCentre ? 1 : 0;
    for (std::size_t i = 0; i < 26; ++i)
        around.pixels[i < 13 ? i : i + 1] = neighbors >> i & 1;
    return around;
}

bool IsSimpleByDefinition(const std::string& id, const StObject& surroundings) {
    return ComponentsAtCentre(id, Geodesic(id, surroundings)) == 1 &&
           ComponentsAtCentre(DualOf(id), Geodesic(DualOf(id), Complement(surroundings))) == 1;
}

StObject SurroundingsOf(const StObject& object, const Vector& p) {
    return ObjectOf({3, 3, 3}, [&](const Vector& q) {
        return object.Has({p[0] + q[0] - 1, p[1] + q[1] - 1, p[2] + q[2] - 1});
    });
}

StObject Padded(const StObject& object, std::int64_t margin) {
    return ObjectOf(Sum(object.size, {2 * margin, 2 * margin, 2 * margin}), [&](const Vector& p) {
        return object.Has({p[0] - margin, p[1] - margin, p[2] - margin});
    });
}

StObject Complement(const StObject& object) {
    StObject complement = object;
    for (unsigned char& pixel : complement.pixels)
        pixel = pixel == 0 ? 1 : 0;
    return complement;
}

int ComponentCount(const std::string& id, const StObject& object) {
    StObject rest = object;
    int count = 0;
    for (const Vector& p : object.Positions()) {
        if (rest.Has(p)) {
            TakeComponent(id, rest, p);
            ++count;
        }
    }
    return count;
}

std::int64_t EulerNumber(const std::string& id, const StObject& object) {
    return id == "N6"    ? EulerNumberOfPixelCentres(object)
           : id == "N26" ? EulerNumberOfClosedCubes(object)
                         : EulerNumberOfSimplices(id, object);
}

std::ostream& operator<<(std::ostream& stream, const StTopology& topology) {
    return stream << topology.objects << " objects, " << topology.backgrounds << " backgrounds, Euler number "
                  << topology.eulerNumber;
}

StTopology TopologyOf(const std::string& id, const StObject& object) {
    return {ComponentCount(id, object), ComponentCount(DualOf(id), Complement(Padded(object, 1))),
            EulerNumber(id, object)};
}

StObject ThinnedByDefinition(const std::string& id, const StObject& object,
                             const std::vector<std::uint32_t>& squaredDistances, const StObject& anchors) {
    StObject rest = object;
    StObject queued(object.size[0], object.size[1], object.size[2]);
    std::map<std::uint32_t, std::deque<Vector>> queues;
    const auto enter = [&](const Vector& p, std::uint32_t level) {
        if (!rest.Has(p) || anchors.Has(p) || queued.Has(p))
            return;
        queues[std::max(level, squaredDistances[object.Index(p)])].push_back(p);
        queued.pixels[object.Index(p)] = 1;
    };
    for (const Vector& p : object.Positions())
        enter(p, 1);
    while (!queues.empty()) {
        const std::uint32_t level = queues.begin()->first;
        std::deque<Vector>& queue = queues.begin()->second;
        if (queue.empty()) {
            queues.erase(queues.begin());
            continue;
        }
        const Vector p = queue.front();
        queue.pop_front();
        queued.pixels[object.Index(p)] = 0;
        if (!rest.Has(p) || !IsSimpleByDefinition(id, SurroundingsOf(rest, p)))
            continue;
        rest.pixels[object.Index(p)] = 0;
        for (const Vector& offset : Offsets26())
            enter(Sum(p, offset), level);
    }
    return rest;
}

} // namespace test
