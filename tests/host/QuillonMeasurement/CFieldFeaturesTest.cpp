#include <QuillonMeasurement/CFieldFeatures.h>
#include <QuillonMeasurement/DirectionShares.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

namespace {

using namespace ORVEN;

/// A set of pixels in a cube of `edge` pixels, surrounded by background.
class CPixelSet {
public:
    CPixelSet(int edge, const std::function<bool(int x, int y, int z)>& contains)
        : m_edge(edge + 2)
        , m_isSet(static_cast<std::size_t>(m_edge) * m_edge * m_edge) {
        for (int z = 0; z < edge; ++z)
            for (int y = 0; y < edge; ++y)
                for (int x = 0; x < edge; ++x)
                    m_isSet[Place(x + 1, y + 1, z + 1)] = contains(x, y, z);
    }

    /// The configurations of all blocks, in both tables.
    [[nodiscard]] StNeighborConfiguration Configuration() const {
        StNeighborConfiguration configuration;
        for (int z = 0; z + 1 < m_edge; ++z) {
            for (int y = 0; y + 1 < m_edge; ++y) {
                for (int x = 0; x + 1 < m_edge; ++x) {
                    unsigned code = 0;
                    for (int bit = 0; bit < 8; ++bit) {
                        if (m_isSet[Place(x + (bit & 1), y + (bit >> 1 & 1), z + (bit >> 2))])
                            code |= 1U << bit;
                    }
                    ++configuration.counts[code];
                }
            }
        }
        configuration.edgeCorrectedCounts = configuration.counts;
        return configuration;
    }

private:
    [[nodiscard]] std::size_t Place(int x, int y, int z) const {
        return (static_cast<std::size_t>(z) * m_edge + y) * m_edge + x;
    }

    int m_edge;
    std::vector<bool> m_isSet;
};

StFieldFeaturesData3d Features(const StNeighborConfiguration& configuration,
                               const StFieldFeaturesParameter& parameter = {}) {
    StFieldFeaturesData3d data(StFieldFeaturesData3d::StandardParameter());
    CFieldFeatures(nullptr, nullptr).Calculate(configuration, parameter, data);
    return data;
}

/// Volume, surface, integral of mean curvature and Euler number of the entire object.
std::array<double, 4> Totals(const CPixelSet& pixels, const StFieldFeaturesParameter& parameter = {}) {
    const StFieldFeaturesData3d data = Features(pixels.Configuration(), parameter);
    const double volume = data.blockCount * parameter.spacingX * parameter.spacingY * parameter.spacingZ;
    return {data.volumeDensity * volume, data.surfaceDensity * volume, data.meanCurvatureDensity * volume,
            data.eulerNumberDensity * volume};
}

void ExpectTotals(const std::array<double, 4>& totals, const std::array<double, 4>& expected) {
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_NEAR(totals[i], expected[i], 1e-9 * std::max(1.0, std::abs(expected[i]))) << "feature " << i;
}

constexpr StFieldFeaturesParameter c_spacing123{1.0, 2.0, 3.0};

TEST(CFieldFeatures, OnePixel) {
    const CPixelSet pixel(1, [](int, int, int) { return true; });
    ExpectTotals(Totals(pixel), {1, 3.004080308, 4.718798313, 1});
    ExpectTotals(Totals(pixel, c_spacing123), {6, 11.267085307, 9.687822142, 1});
}

TEST(CFieldFeatures, TwoPixelsSideBySide) {
    const CPixelSet alongX(2, [](int, int y, int z) { return y == 0 && z == 0; });
    const CPixelSet hasZ(2, [](int x, int y, int) { return x == 0 && y == 0; });
    ExpectTotals(Totals(alongX), {2, 5.641937486, 7.629870330, 1});
    ExpectTotals(Totals(alongX, c_spacing123), {12, 18.011548377, 12.440658821, 1});
    ExpectTotals(Totals(hasZ), {2, 5.641937486, 7.629870330, 1});
    ExpectTotals(Totals(hasZ, c_spacing123), {12, 22.298422351, 17.633963451, 1});
}

TEST(CFieldFeatures, TwoPixelsOnADiagonal) {
    const CPixelSet onAFace(2, [](int x, int y, int z) { return x == y && z == 0; });
    ExpectTotals(Totals(onAFace), {2, 5.798966594, 8.310661819, 1});
    const CPixelSet inSpace(2, [](int x, int y, int z) { return x == y && y == z; });
    ExpectTotals(Totals(inSpace), {2, 5.845598919, 8.944694824, 1});
}

TEST(CFieldFeatures, CubesAndAShell) {
    const auto all = [](int, int, int) { return true; };
    ExpectTotals(Totals(CPixelSet(2, all)), {8, 16.477389857, 13.452014364, 1});
    ExpectTotals(Totals(CPixelSet(40, all)), {64000, 8767.994889704, 345.314224286, 1});
    const CPixelSet shell(3, [](int x, int y, int z) { return x != 1 || y != 1 || z != 1; });
    ExpectTotals(Totals(shell), {26, 44.074255742, 17.466432101, 2});
}

/// The ball |x| <= radius in a cube with a margin of `frame` pixels around it.
CPixelSet Ball(int radius, int frame) {
    const int centre = radius + frame - 1;
    return {2 * centre + 1, [=](int x, int y, int z) {
                const int dx = x - centre;
                const int dy = y - centre;
                const int dz = z - centre;
                return dx * dx + dy * dy + dz * dz <= radius * radius;
            }};
}

TEST(CFieldFeatures, ABall) {
    const StFieldFeaturesData3d data = Features(Ball(10, 3).Configuration());
    EXPECT_EQ(data.blockCount, 17576.0);
    EXPECT_NEAR(data.volumeDensity, .237198452435, 1e-11);
    EXPECT_NEAR(data.surfaceDensity, .0718315445799, 1e-11);
    EXPECT_NEAR(data.meanCurvatureDensity, .00734907236824, 1e-11);
    EXPECT_NEAR(data.eulerNumberDensity, 5.68957669550e-05, 1e-13);
    EXPECT_EQ(data.totalCurvatureDensity, 4.0 * std::numbers::pi * data.eulerNumberDensity);
    EXPECT_EQ(data.meanChordLength, 4.0 * data.volumeDensity / data.surfaceDensity);
    EXPECT_NEAR(data.structureModelIndex, 4.0, 0.1) << "a ball";
}

TEST(CFieldFeatures, ALargeBallAtAGeneralPositionIsCloseToTheTrueValues) {
    const double radius = 20.0;
    const CPixelSet ball(43, [radius](int x, int y, int z) {
        const double dx = x - 21.37;
        const double dy = y - 21.21;
        const double dz = z - 20.56;
        return dx * dx + dy * dy + dz * dz <= radius * radius;
    });
    const std::array<double, 4> totals = Totals(ball);
    EXPECT_NEAR(totals[0] / (4.0 / 3.0 * std::numbers::pi * radius * radius * radius), 1.0, 0.001);
    EXPECT_NEAR(totals[1] / (4.0 * std::numbers::pi * radius * radius), 1.0, 0.003);
    EXPECT_NEAR(totals[2] / (4.0 * std::numbers::pi * radius), 1.0, 0.004);
    EXPECT_NEAR(totals[3], 1.0, 1e-9);
}

StNeighborConfiguration RandomConfiguration(unsigned seed) {
    std::mt19937 random(seed);
    StNeighborConfiguration configuration;
    for (std::uint64_t& count : configuration.counts)
        count = random() % 1000;
    configuration.edgeCorrectedCounts = configuration.counts;
    return configuration;
}

TEST(CFieldFeatures, TheComplementHasTheSameSurfaceAndTheOppositeMeanCurvature) {
    const StNeighborConfiguration configuration = RandomConfiguration(1);
    StNeighborConfiguration complement;
    for (unsigned code = 0; code < 256; ++code)
        complement.counts[255 - code] = configuration.counts[code];
    complement.edgeCorrectedCounts = complement.counts;
    const StFieldFeaturesData3d a = Features(configuration, c_spacing123);
    const StFieldFeaturesData3d b = Features(complement, c_spacing123);
    EXPECT_NEAR(b.volumeDensity, 1.0 - a.volumeDensity, 1e-12);
    EXPECT_NEAR(b.surfaceDensity, a.surfaceDensity, 1e-12);
    EXPECT_NEAR(b.meanCurvatureDensity, -a.meanCurvatureDensity, 1e-12);
}

TEST(CFieldFeatures, FeaturesScaleWithTheSpacing) {
    const StNeighborConfiguration configuration = RandomConfiguration(2);
    const StFieldFeaturesData3d a = Features(configuration, c_spacing123);
    const StFieldFeaturesData3d b = Features(configuration, {2.0, 4.0, 6.0});
    EXPECT_NEAR(b.volumeDensity, a.volumeDensity, 1e-12);
    EXPECT_NEAR(b.surfaceDensity, a.surfaceDensity / 2.0, 1e-12);
    EXPECT_NEAR(b.meanCurvatureDensity, a.meanCurvatureDensity / 4.0, 1e-12);
    EXPECT_NEAR(b.eulerNumberDensity, a.eulerNumberDensity / 8.0, 1e-12);
}

TEST(CFieldFeatures, SwappingAxesSwapsTheSpacing) {
    const StNeighborConfiguration configuration = RandomConfiguration(3);
    StNeighborConfiguration exchanged; // swaps x and z: bit 1 with 4, bit 3 with 6
    for (unsigned code = 0; code < 256; ++code) {
        const unsigned other = (code & 0xA5U) | (code & 0x02U) << 3 | (code & 0x10U) >> 3 |
                               (code & 0x08U) << 3 | (code & 0x40U) >> 3;
        exchanged.counts[other] = configuration.counts[code];
    }
    exchanged.edgeCorrectedCounts = exchanged.counts;
    const StFieldFeaturesData3d a = Features(configuration, c_spacing123);
    const StFieldFeaturesData3d b = Features(exchanged, {3.0, 2.0, 1.0});
    EXPECT_NEAR(b.surfaceDensity, a.surfaceDensity, 1e-12);
    EXPECT_NEAR(b.meanCurvatureDensity, a.meanCurvatureDensity, 1e-12);
    EXPECT_NEAR(b.eulerNumberDensity, a.eulerNumberDensity, 1e-12);
}

TEST(CFieldFeatures, EmptyAndFullSetsHaveNoSurface) {
    for (const std::size_t code : {std::size_t{0}, std::size_t{255}}) {
        StNeighborConfiguration configuration;
        configuration.counts[code] = configuration.edgeCorrectedCounts[code] = 1000;
        const StFieldFeaturesData3d data = Features(configuration);
        EXPECT_EQ(data.volumeDensity, code == 0 ? 0.0 : 1.0);
        EXPECT_EQ(data.surfaceDensity, 0.0);
        EXPECT_EQ(data.meanCurvatureDensity, 0.0);
        EXPECT_EQ(data.eulerNumberDensity, 0.0);
        EXPECT_EQ(data.meanChordLength, 0.0);
        EXPECT_EQ(data.structureModelIndex, 0.0);
    }
}

TEST(CFieldFeatures, WithoutBlocksAllFeaturesAre0) {
    StFieldFeaturesData3d data = Features(RandomConfiguration(4));
    CFieldFeatures(nullptr, nullptr).Calculate({}, {}, data);
    const CValueMap map(data);
    EXPECT_EQ(map.Size(), 8U);
    for (const CValue* value : map)
        EXPECT_EQ(value->Double(), 0.0);
}

TEST(CFieldFeatures, EachTableHasItsOwnFeatures) {
    StNeighborConfiguration configuration = RandomConfiguration(5);
    const StFieldFeaturesData3d before = Features(configuration);
    for (std::uint64_t& count : configuration.edgeCorrectedCounts)
        count = 2 * count + 1;
    const StFieldFeaturesData3d after = Features(configuration);
    EXPECT_EQ(after.blockCount, before.blockCount);
    EXPECT_EQ(after.volumeDensity, before.volumeDensity);
    EXPECT_EQ(after.surfaceDensity, before.surfaceDensity);
    EXPECT_NE(after.meanCurvatureDensity, before.meanCurvatureDensity);
    EXPECT_NE(after.eulerNumberDensity, before.eulerNumberDensity);
}

TEST(CFieldFeatures, AnInvalidSpacingCountsAs1) {
    const StNeighborConfiguration configuration = RandomConfiguration(6);
    const StFieldFeaturesData3d expected = Features(configuration);
    for (const double spacing :
         {0.0, -2.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        const StFieldFeaturesData3d data = Features(configuration, {spacing, spacing, spacing});
        EXPECT_EQ(data.surfaceDensity, expected.surfaceDensity);
        EXPECT_EQ(data.meanCurvatureDensity, expected.meanCurvatureDensity);
    }
}

TEST(StFieldFeaturesData3d, NamesItsFeatures) {
    StFieldFeaturesData3d data(StFieldFeaturesData3d::StandardParameter());
    data.volumeDensity = 1;
    data.surfaceDensity = 2;
    data.meanCurvatureDensity = 3;
    data.totalCurvatureDensity = 4;
    data.eulerNumberDensity = 5;
    data.meanChordLength = 6;
    data.structureModelIndex = 7;
    data.blockCount = 8;
    const CValueMap map(data);
    const std::vector<const char*> names{"V_V",
                                         "S_V [m^-1]",
                                         "M_V [m^-2]",
                                         "K_V [m^-3]",
                                         "Euler number density [m^-3]",
                                         "Mean chord length [m]",
                                         "Structure model index",
                                         "Blocks"};
    EXPECT_EQ(map.Size(), names.size());
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(map.Entry(names[i], true)->Double(), static_cast<double>(i + 1)) << names[i];
}

std::array<double, c_directionCount> SharesAtSpacing(double x, double y, double z) {
    std::array<Vector3d, c_directionCount> directions{};
    for (std::size_t k = 0; k < c_directionCount; ++k)
        directions[k] = {c_directions[k][0] * x, c_directions[k][1] * y, c_directions[k][2] * z};
    return DirectionShares(directions);
}

TEST(DirectionShares, AtEqualSpacing) {
    const auto shares = SharesAtSpacing(1, 1, 1);
    for (std::size_t k = 0; k < c_directionCount; ++k)
        EXPECT_NEAR(shares[k], k < 3 ? 0.0915557824 : k < 9 ? 0.0739612558 : 0.0703912796, 1e-10) << k;
}

TEST(DirectionShares, AtUnequalSpacing) {
    const auto shares = SharesAtSpacing(1, 1, 2);
    const std::array<double, c_directionCount> expected{.12534,  .12534,  .03348,  .11258,  .11258,
                                                        .050269, .050269, .050269, .050269, .072401,
                                                        .072401, .072401, .072401};
    double sum = 0.0;
    for (std::size_t k = 0; k < c_directionCount; ++k) {
        EXPECT_NEAR(shares[k], expected[k], 5e-6) << k;
        sum += shares[k];
    }
    EXPECT_NEAR(sum, 1.0, 1e-12);
}

} // namespace
