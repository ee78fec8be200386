#include "oracles/AxisOracle.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <set>

namespace test {

using namespace ORVEN;

namespace {

std::int64_t Square(const Vector& v) { return v[0] * v[0] + v[1] * v[1] + v[2] * v[2]; }

Vector Sum(const Vector& p, const Vector& v) { return {p[0] + v[0], p[1] + v[1], p[2] + v[2]}; }

Vector Difference(const Vector& p, const Vector& q) { return {p[0] - q[0], p[1] - q[1], p[2] - q[2]}; }

std::int64_t Uniform(std::mt19937& random, std::int64_t least, std::int64_t greatest) {
    return std::uniform_int_distribution(least, greatest)(random);
}

/// The background inside the box, and one layer around it: what is nearest is always among them.
std::vector<Vector> BackgroundOf(const StObject& object) {
    std::vector<Vector> background;
    for (std::int64_t z = -1; z <= object.size[2]; ++z) {
        for (std::int64_t y = -1; y <= object.size[1]; ++y) {
            for (std::int64_t x = -1; x <= object.size[0]; ++x) {
                if (!object.Has({x, y, z}))
                    background.push_back({x, y, z});
            }
        }
    }
    return background;
}

/// Calls `body` with the positions in the open ball of a squared radius.
template <class Body>
void ForEachInBall(const Vector& centre, std::int64_t squaredRadius, const Body& body) {
    const auto reach = static_cast<std::int64_t>(std::sqrt(static_cast<double>(squaredRadius))) + 1;
    for (std::int64_t z = -reach; z <= reach; ++z) {
        for (std::int64_t y = -reach; y <= reach; ++y) {
            for (std::int64_t x = -reach; x <= reach; ++x) {
                if (Square({x, y, z}) < squaredRadius)
                    body(Sum(centre, {x, y, z}));
            }
        }
    }
}

/// The farthest points of an open ball, as steps from its centre: a set that no other ball can leave out
/// without leaving out one of these. They are the ends of its rows along x.
std::vector<Vector> RowEndsOfBall(std::int64_t squaredRadius) {
    std::vector<Vector> ends;
    ForEachInBall({0, 0, 0}, squaredRadius, [&](const Vector& p) {
        if (Square({p[0] + 1, p[1], p[2]}) >= squaredRadius ||
            Square({p[0] - 1, p[1], p[2]}) >= squaredRadius)
            ends.push_back(p);
    });
    return ends;
}

} // namespace

std::vector<Vector> StObject::Positions() const {
    std::vector<Vector> positions;
    positions.reserve(pixels.size());
    for (std::int64_t z = 0; z < size[2]; ++z) {
        for (std::int64_t y = 0; y < size[1]; ++y) {
            for (std::int64_t x = 0; x < size[0]; ++x)
                positions.push_back({x, y, z});
        }
    }
    return positions;
}

std::unique_ptr<CImage> StObject::Image() const {
    return ImageOf(IMAGE_BINARY_FG, CSize(size[0], size[1], size[2]), pixels);
}

StObject ObjectOf(const Vector& size, const std::function<bool(const Vector&)>& isInside) {
    StObject object(size[0], size[1], size[2]);
    for (const Vector& p : object.Positions())
        object.pixels[object.Index(p)] = isInside(p) ? 1 : 0;
    return object;
}

StObject Solid(const Vector& size, std::int64_t margin) {
    return ObjectOf(Sum(size, {2 * margin, 2 * margin, 2 * margin}), [&](const Vector& p) {
        bool isInside = true;
        for (std::size_t axis = 0; axis < 3; ++axis)
            isInside = isInside && p[axis] >= margin && p[axis] < margin + size[axis];
        return isInside;
    });
}

StObject Ball(std::int64_t greatestSquaredLength) {
    std::int64_t radius = 0;
    while ((radius + 1) * (radius + 1) <= greatestSquaredLength)
        ++radius;
    const std::int64_t middle = radius + 1;
    return ObjectOf({2 * middle + 1, 2 * middle + 1, 2 * middle + 1}, [&](const Vector& p) {
        return Square(Difference(p, {middle, middle, middle})) <= greatestSquaredLength;
    });
}

StObject RandomObject(std::mt19937& random, std::int64_t greatestExtent) {
    const Vector size{Uniform(random, 1, greatestExtent), Uniform(random, 1, greatestExtent),
                      Uniform(random, 1, greatestExtent)};
    const auto somewhere = [&] {
        return Vector{Uniform(random, 0, size[0] - 1), Uniform(random, 0, size[1] - 1),
                      Uniform(random, 0, size[2] - 1)};
    };
    const std::int64_t kind = Uniform(random, 0, 4);
    if (kind == 0) {
        const std::int64_t percent = Uniform(random, 0, 100);
        return ObjectOf(size, [&](const Vector&) { return Uniform(random, 0, 99) < percent; });
    }
    if (kind == 1)
        return ObjectOf(size, [](const Vector&) { return true; });
    // Balls, then their complement, then a block with pinholes.
    std::vector<std::pair<Vector, std::int64_t>> balls;
    const std::int64_t radius = kind == 4 ? 1 : std::max<std::int64_t>(greatestExtent / 2, 1);
    for (std::int64_t count = Uniform(random, 1, 6); count > 0; --count) {
        const std::int64_t r = Uniform(random, 1, radius);
        balls.emplace_back(somewhere(), Uniform(random, (r - 1) * (r - 1) + 1, r * r));
    }
    return ObjectOf(size, [&](const Vector& p) {
        const bool isInBall = std::ranges::any_of(
            balls, [&p](const auto& ball) { return Square(Difference(p, ball.first)) < ball.second; });
        return isInBall == (kind == 2);
    });
}

CSymmetry::CSymmetry(int number)
    : m_axes{}
    , m_isFlipped{(number & 1) != 0, (number & 2) != 0, (number & 4) != 0} {
    std::array<std::size_t, 3> axes{0, 1, 2};
    for (int i = number / 8; i > 0; --i)
        std::ranges::next_permutation(axes);
    m_axes = axes;
}

Vector CSymmetry::SizeOf(const Vector& size) const {
    return {size[m_axes[0]], size[m_axes[1]], size[m_axes[2]]};
}

Vector CSymmetry::Apply(const Vector& p, const Vector& size) const {
    Vector result{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t from = m_axes[axis];
        result[axis] = m_isFlipped[axis] ? size[from] - 1 - p[from] : p[from];
    }
    return result;
}

StObject CSymmetry::Apply(const StObject& object) const {
    const Vector size = SizeOf(object.size);
    StObject image(size[0], size[1], size[2]);
    for (const Vector& p : object.Positions())
        image.pixels[image.Index(Apply(p, object.size))] = object.pixels[object.Index(p)];
    return image;
}

std::vector<std::uint32_t> SquaredDistancesOf(const StObject& object) {
    // Only background beside the object, by a face, can be nearest.
    const std::array<Vector, 6> steps{{{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}}};
    std::vector<Vector> border;
    for (const Vector& p : BackgroundOf(object)) {
        if (std::ranges::any_of(steps, [&](const Vector& step) { return object.Has(Sum(p, step)); }))
            border.push_back(p);
    }
    const auto positions = object.Positions();
    std::vector<std::uint32_t> distances(positions.size(), 0);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        if (object.pixels[i] == 0)
            continue;
        const auto [x, y, z] = positions[i];
        std::int64_t least = std::numeric_limits<std::int64_t>::max();
        for (const Vector& q : border) {
            least =
                std::min(least, (x - q[0]) * (x - q[0]) + (y - q[1]) * (y - q[1]) + (z - q[2]) * (z - q[2]));
        }
        distances[i] = static_cast<std::uint32_t>(least);
    }
    return distances;
}

std::unique_ptr<CImage> SquaredDistanceImage(const StObject& object) {
    return ImageOf(IMAGE_GREY_32, CSize(object.size[0], object.size[1], object.size[2]),
                   SquaredDistancesOf(object));
}

std::vector<unsigned char> CentresOfMaximalBalls(const StObject& object) {
    struct StBall {
        Vector centre;
        std::int64_t squaredRadius;
    };
    const auto distances = SquaredDistancesOf(object);
    std::vector<StBall> balls;
    for (const Vector& p : object.Positions()) {
        if (object.Has(p))
            balls.push_back({p, distances[object.Index(p)]});
    }
    // No ball is part of a smaller one.
    std::ranges::sort(balls, std::ranges::greater(), &StBall::squaredRadius);
    std::vector<unsigned char> marks(object.pixels.size(), 0);
    std::vector<Vector> ends;
    for (std::size_t i = 0; i < balls.size(); ++i) {
        const auto& [x, squaredRadius] = balls[i];
        if (i == 0 || squaredRadius != balls[i - 1].squaredRadius)
            ends = RowEndsOfBall(squaredRadius);
        bool isInAnother = false;
        for (std::size_t j = 0; !isInAnother && balls[j].squaredRadius > squaredRadius; ++j) {
            const Vector shift = Difference(x, balls[j].centre);
            const std::int64_t other = balls[j].squaredRadius;
            isInAnother = Square(shift) < other && std::ranges::all_of(ends, [&](const Vector& end) {
                              return Square(Sum(end, shift)) < other;
                          });
        }
        marks[object.Index(x)] = isInAnother ? 0 : 1;
    }
    return marks;
}

std::vector<unsigned char> UnionOfBalls(const StObject& object, const std::vector<unsigned char>& marks) {
    const auto distances = SquaredDistancesOf(object);
    StObject result(object.size[0], object.size[1], object.size[2]);
    for (const Vector& x : object.Positions()) {
        if (marks[object.Index(x)] == 0)
            continue;
        ForEachInBall(x, distances[object.Index(x)], [&](const Vector& p) {
            // A ball that left the box would be none.
            result.pixels.at(result.Index(p)) = 1;
        });
    }
    return result.pixels;
}

std::vector<double> BisectorAngles(const StObject& object) {
    const auto distances = SquaredDistancesOf(object);
    const auto background = BackgroundOf(object);
    const auto distanceAt = [&](const Vector& p) {
        return object.Has(p) ? std::int64_t{distances[object.Index(p)]} : 0;
    };
    std::vector<double> angles(object.pixels.size(), 0.0);
    for (const Vector& x : object.Positions()) {
        if (!object.Has(x))
            continue;
        std::set<Vector> projection;
        const std::array<Vector, 7> members{
            {{0, 0, 0}, {1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}}};
        for (const Vector& step : members) {
            const Vector y = Sum(x, step);
            if (!object.Has(y) || distanceAt(y) > distanceAt(x))
                continue;
            for (const Vector& q : background) {
                if (Square(Difference(q, y)) == distanceAt(y))
                    projection.insert(Difference(q, x));
            }
        }
        double leastCosine = 1.0;
        for (const Vector& u : projection) {
            for (const Vector& w : projection) {
                const auto dot = static_cast<double>(u[0] * w[0] + u[1] * w[1] + u[2] * w[2]);
                leastCosine =
                    std::min(leastCosine, dot / std::sqrt(static_cast<double>(Square(u) * Square(w))));
            }
        }
        angles[object.Index(x)] = std::acos(std::max(leastCosine, -1.0));
    }
    return angles;
}

} // namespace test
