#include "QuillonMeasurement/CFieldFeatures.h"

#include "QuillonMeasurement/DirectionShares.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <vector>

namespace ORVEN {

namespace {

constexpr unsigned c_configurationCount = 256;
using Coefficients = std::array<double, c_configurationCount>;

/// The contribution of a block of each configuration to a density.
struct StCoefficients {
    Vector3d spacing{};
    Coefficients volume{};
    Coefficients surface{};
    Coefficients meanCurvature{};
    Coefficients eulerNumber{};
};

using Pixel = std::array<int, 3>;

Pixel PixelOfBit(unsigned bit) {
    return {static_cast<int>(bit & 1U), static_cast<int>(bit >> 1 & 1U), static_cast<int>(bit >> 2 & 1U)};
}

/// The number of pixels that are set among those given by `bits`.
int CountOf(unsigned configuration, unsigned bits) { return std::popcount(configuration & bits); }

/// The set of pixels of a block that satisfy a condition on their coordinates.
template <class Contains>
unsigned BitsWhere(const Contains& contains) {
    unsigned bits = 0;
    for (unsigned bit = 0; bit < 8; ++bit)
        bits |= contains(PixelOfBit(bit)) ? 1U << bit : 0U;
    return bits;
}

/// The pairs of pixels of a block whose difference is a direction, as sets of two bits.
std::vector<unsigned> PairsAlong(const std::array<int, 3>& direction) {
    std::vector<unsigned> pairs;
    for (unsigned from = 0; from < 8; ++from) {
        for (unsigned to = 0; to < 8; ++to) {
            const Pixel a = PixelOfBit(from);
            const Pixel b = PixelOfBit(to);
            if (b[0] - a[0] == direction[0] && b[1] - a[1] == direction[1] && b[2] - a[2] == direction[2])
                pairs.push_back(1U << from | 1U << to);
        }
    }
    return pairs;
}

int Product(const std::array<int, 3>& normal, const Pixel& pixel) {
    return normal[0] * pixel[0] + normal[1] * pixel[1] + normal[2] * pixel[2];
}

/// The polygons of pixels in which planes perpendicular to a normal intersect a block, as sets of bits: two
/// faces, one diagonal rectangle, or two triangles.
std::vector<unsigned> SectionsAcross(const std::array<int, 3>& normal) {
    std::vector<unsigned> sections;
    for (int level = -3; level <= 3; ++level) {
        const unsigned bits = BitsWhere([&](const Pixel& pixel) { return Product(normal, pixel) == level; });
        if (std::popcount(bits) >= 3)
            sections.push_back(bits);
    }
    return sections;
}

/// The contribution of one polygon to the Euler number of a plane section. For squares it is the mean of the
/// numbers for 4 and 8 neighbours. In the triangular lattice, six triangles meet at each corner.
double EulerShare(unsigned configuration, unsigned polygon) {
    const int count = CountOf(configuration, polygon);
    const int corners = std::popcount(polygon);
    const double share = corners == 4 ? 0.25 : 1.0 / 6.0;
    if (count == 1)
        return share;
    return count == corners - 1 ? -share : 0.0;
}

/// The contribution of one block to the Euler number of a set whose pixels are connected across corners. It
/// equals that of the complement with its pixels as points, apart from the sign of the unbounded part.
double EulerNumber(unsigned configuration) {
    const unsigned complement = ~configuration & 0xFFU;
    const auto isWhole = [complement](unsigned bits) { return (complement & bits) == bits; };
    int edges = 0;
    int faces = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (const unsigned edge : PairsAlong(c_directions[axis]))
            edges += isWhole(edge) ? 1 : 0;
        for (const unsigned face : SectionsAcross(c_directions[axis]))
            faces += isWhole(face) ? 1 : 0;
    }
    return std::popcount(complement) / 8.0 - edges / 4.0 + faces / 2.0 - (complement == 0xFFU ? 1.0 : 0.0);
}

/// The area of one section perpendicular to a normal inside a block: a face, a diagonal rectangle, or the two
/// triangles of a parallelogram.
double AreaAcross(const std::array<int, 3>& normal, const Vector3d& spacing) {
    double square = 0.0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (normal[axis] != 0) {
            const double face = spacing[(axis + 1) % 3] * spacing[(axis + 2) % 3];
            square += face * face;
        }
    }
    return std::sqrt(square);
}

double LengthAlong(const std::array<int, 3>& direction, const Vector3d& spacing) {
    double square = 0.0;
    for (std::size_t axis = 0; axis < 3; ++axis)
        square += direction[axis] != 0 ? spacing[axis] * spacing[axis] : 0.0;
    return std::sqrt(square);
}

StCoefficients MakeCoefficients(const Vector3d& spacing) {
    std::array<Vector3d, c_directionCount> lines{};
    std::array<Vector3d, c_directionCount> normals{};
    for (std::size_t k = 0; k < c_directionCount; ++k) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            lines[k][axis] = c_directions[k][axis] * spacing[axis];
            normals[k][axis] = c_directions[k][axis] / spacing[axis];
        }
    }
    const auto lineShares = DirectionShares(lines);
    const auto normalShares = DirectionShares(normals);

    StCoefficients coefficients;
    coefficients.spacing = spacing;
    for (unsigned configuration = 0; configuration < c_configurationCount; ++configuration) {
        coefficients.volume[configuration] = std::popcount(configuration) / 8.0;
        coefficients.eulerNumber[configuration] =
            EulerNumber(configuration) / (spacing[0] * spacing[1] * spacing[2]);
    }
    for (std::size_t k = 0; k < c_directionCount; ++k) {
        const std::vector<unsigned> pairs = PairsAlong(c_directions[k]);
        const std::vector<unsigned> sections = SectionsAcross(c_directions[k]);
        // The two faces of an axis are shared with the neighbouring blocks; triangles are not.
        const double perSection =
            std::popcount(sections[0]) == 4 ? 1.0 / static_cast<double>(sections.size()) : 1.0;
        const double perPair = 0.5 / static_cast<double>(pairs.size());
        const double line = 4.0 * lineShares[k] / LengthAlong(c_directions[k], spacing);
        const double plane = 2.0 * std::numbers::pi * normalShares[k] / AreaAcross(c_directions[k], spacing);
        for (unsigned configuration = 0; configuration < c_configurationCount; ++configuration) {
            for (const unsigned pair : pairs)
                coefficients.surface[configuration] +=
                    CountOf(configuration, pair) == 1 ? line * perPair : 0.0;
            for (const unsigned section : sections)
                coefficients.meanCurvature[configuration] +=
                    plane * perSection * EulerShare(configuration, section);
        }
    }
    return coefficients;
}

double Density(const Coefficients& coefficients, const StNeighborConfiguration::Counts& counts,
               double blockCount) {
    double sum = 0.0;
    for (unsigned configuration = 0; configuration < c_configurationCount; ++configuration)
        sum += coefficients[configuration] * static_cast<double>(counts[configuration]);
    return blockCount > 0.0 ? sum / blockCount : 0.0;
}

double BlockCount(const StNeighborConfiguration::Counts& counts) {
    std::uint64_t sum = 0;
    for (const std::uint64_t count : counts)
        sum += count;
    return static_cast<double>(sum);
}

double UsableSpacing(double spacing) { return std::isfinite(spacing) && spacing > 0.0 ? spacing : 1.0; }

} // namespace

void CFieldFeatures::Calculate(const StNeighborConfiguration& configuration,
                               const StFieldFeaturesParameter& parameter, StFieldFeaturesData3d& data) const {
    thread_local StCoefficients coefficients;
    const Vector3d spacing{UsableSpacing(parameter.spacingX), UsableSpacing(parameter.spacingY),
                           UsableSpacing(parameter.spacingZ)};
    if (coefficients.spacing != spacing)
        coefficients = MakeCoefficients(spacing);

    const double blocks = BlockCount(configuration.counts);
    const double correctedBlocks = BlockCount(configuration.edgeCorrectedCounts);
    data.blockCount = blocks;
    data.volumeDensity = Density(coefficients.volume, configuration.counts, blocks);
    data.surfaceDensity = Density(coefficients.surface, configuration.counts, blocks);
    data.meanCurvatureDensity =
        Density(coefficients.meanCurvature, configuration.edgeCorrectedCounts, correctedBlocks);
    data.eulerNumberDensity =
        Density(coefficients.eulerNumber, configuration.edgeCorrectedCounts, correctedBlocks);
    data.totalCurvatureDensity = 4.0 * std::numbers::pi * data.eulerNumberDensity;
    const double surface = data.surfaceDensity;
    data.meanChordLength = surface != 0.0 ? 4.0 * data.volumeDensity / surface : 0.0;
    data.structureModelIndex =
        surface != 0.0 ? 12.0 * data.volumeDensity * data.meanCurvatureDensity / (surface * surface) : 0.0;
}

} // namespace ORVEN
