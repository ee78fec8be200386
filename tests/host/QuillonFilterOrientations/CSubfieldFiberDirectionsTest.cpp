#include <QuillonFilterOrientations/CHessianOrientations.h>
#include <QuillonFilterOrientations/CSubfieldFiberDirections.h>

#include "support/CRandomSeeds.h"
#include "support/CRecordingProgress.h"
#include "support/FiberPhantom.h"
#include "support/MemoryRefusal.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <QuillonBase/Parallel.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>

namespace {

using namespace ORVEN;
using test::DegreesBetween;
using test::DrawFibers;
using test::EnEdges;
using test::ImageOf;
using test::PixelsOf;
using test::StFiber;
using test::Unit;
using test::Vector;

using Tensor = std::array<double, 6>; // xx, xy, xz, yy, yz, zz

constexpr std::array c_tensorNames{"xx", "xy", "xz", "yy", "yz", "zz"};
constexpr double c_infinity = std::numeric_limits<double>::infinity();
constexpr double c_nan = std::numeric_limits<double>::quiet_NaN();

struct StSetup {
    double radius = 2.0;
    double otsuFactor = 1.0;
    std::array<std::int64_t, 3> subfield{-1, -1, -1};
    IImage* mask = nullptr;
    bool isFieldOnly = false;
};

/// A measurement and access to its numbers.
class CMeasured {
public:
    explicit CMeasured(CImage& image, const StSetup& setup = {})
        : m_directions(setup.radius, setup.otsuFactor, setup.subfield[0], setup.subfield[1],
                       setup.subfield[2])
        , m_map(m_directions.Compute(image, history, setup.mask, setup.isFieldOnly)) {}

    [[nodiscard]] const CValueMap& Map() const { return *m_map; }
    [[nodiscard]] const CValueMap& Field() const { return MapAt("FieldFiberDirections"); }
    [[nodiscard]] const CValueMap& MapAt(const std::string& key) const {
        return *m_map->Entry(key, true)->Map();
    }
    [[nodiscard]] const CValueMap& Profile(const std::string& axis) const {
        return MapAt("SubfieldProfiles/" + axis + "-Direction");
    }
    CSubfieldFiberDirections& Directions() { return m_directions; }

    std::string history = "FiberDirections(";

private:
    CSubfieldFiberDirections m_directions;
    std::unique_ptr<CValueMap> m_map;
};

double Number(const CValueMap& map, const std::string& key) {
    const CValue* const value = map.Entry(key, true);
    return value->Double();
}

Tensor TensorOf(const CValueMap& region) {
    Tensor tensor{};
    for (std::size_t i = 0; i < tensor.size(); ++i)
        tensor[i] = Number(region, std::string("Orientation tensor/") + c_tensorNames[i]);
    return tensor;
}

Vector MainDirection(const CValueMap& region) {
    return {Number(region, "Main direction/x"), Number(region, "Main direction/y"),
            region.HasEntry("Main direction/z") ? Number(region, "Main direction/z") : 0.0};
}

double LargestEigenvalue(const CValueMap& region) { return Number(region, "Eigenvalues/l1"); }

void ExpectNear(const Tensor& found, const Tensor& expected, double tolerance) {
    for (std::size_t i = 0; i < found.size(); ++i)
        EXPECT_NEAR(found[i], expected[i], tolerance) << c_tensorNames[i];
}

Tensor OuterSquare(const Vector& v) {
    return {v[0] * v[0], v[0] * v[1], v[0] * v[2], v[1] * v[1], v[1] * v[2], v[2] * v[2]};
}

/// One infinite fibre through the centre of a cube.
std::unique_ptr<CImage> OneFiber(const Vector& direction, double radius, EnEdges edges,
                                 const Vector& spacing = {1.0, 1.0, 1.0}) {
    const Vector center{24.2 * spacing[0], 23.7 * spacing[1], 24.4 * spacing[2]};
    auto image = DrawFibers(CSize(48, 48, 48), {{center, Unit(direction), radius}}, edges, spacing);
    CQuillonHeaderTools::SetSpacing(*image, spacing[0], spacing[1], spacing[2]);
    return image;
}

/// Infinite fibres with random position and direction.
std::vector<StFiber> RandomFibers(int count, double radius, double edge, std::mt19937& random) {
    std::vector<StFiber> fibers;
    for (int i = 0; i < count; ++i)
        fibers.push_back({test::RandomPoint(random, edge), test::RandomDirection(random), radius});
    return fibers;
}

/// A few fibres and noise in a small box with three different extents.
std::unique_ptr<CImage> SmallCrowd(unsigned seed, const CSize& size = CSize(30, 26, 22)) {
    std::mt19937 random(seed);
    auto image = DrawFibers(size, RandomFibers(5, 2.0, 26.0, random), EnEdges::SMOOTH);
    test::AddNoise(*image, 8.0, random);
    return image;
}

/// A grey image of stripes with period 12 at an angle in degrees from x; half of each period is bright.
std::unique_ptr<CImage> Stripes(double degrees, const CSize& size = CSize(80, 70)) {
    std::vector<unsigned char> pixels;
    const double angle = degrees * std::numbers::pi / 180.0;
    for (std::int64_t y = 0; y < size.y; ++y) {
        for (std::int64_t x = 0; x < size.x; ++x) {
            const double across =
                -std::sin(angle) * static_cast<double>(x) + std::cos(angle) * static_cast<double>(y);
            const double wave = std::sin(across * 2.0 * std::numbers::pi / 12.0);
            pixels.push_back(static_cast<unsigned char>(std::lround(120.0 + 100.0 * wave)));
        }
    }
    return ImageOf(IMAGE_GREY_8, size, pixels);
}

/// All leaves of a map in the order of their keys.
void CollectLeaves(const CValueMap& map, const std::string& path, std::vector<std::string>& leaves) {
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        const std::string key = path + entry.Key().ToString();
        if (entry.Value()->Map() != nullptr)
            CollectLeaves(*entry.Value()->Map(), key + "/", leaves);
        else
            leaves.push_back(key);
    }
}

std::vector<std::string> LeavesOf(const CValueMap& map) {
    std::vector<std::string> leaves;
    CollectLeaves(map, "", leaves);
    return leaves;
}

std::vector<std::string> KeysOf(const CValueMap& map) {
    std::vector<std::string> keys;
    for (const CValue_Key& key : map.Keys())
        keys.emplace_back(key.ToString());
    return keys;
}

class FiberDirections : public testing::Test {
protected:
    ~FiberDirections() override { SetThreadCount(0); }
};

// --- accuracy
// -----------------------------------------------------------------------------------------------------

TEST_F(FiberDirections, OfAFiberAlongASymmetryAxisOfTheGridAreExact) {
    for (const double radius : {2.0, 3.0, 5.0}) {
        for (const Vector direction : {Vector{0, 0, 1}, Vector{1, 1, 0}, Vector{1, 1, 1}}) {
            for (const EnEdges edges : {EnEdges::SMOOTH, EnEdges::HARD}) {
                SCOPED_TRACE(testing::Message() << radius << " (" << direction[0] << "," << direction[1]
                                                << "," << direction[2] << ")");
                const auto image =
                    DrawFibers(CSize(48, 48, 48), {{{24, 24, 24}, Unit(direction), radius}}, edges);
                const CMeasured measured(*image, {.radius = radius});
                EXPECT_LT(DegreesBetween(MainDirection(measured.Field()), direction), 0.1);
                EXPECT_GT(LargestEigenvalue(measured.Field()), edges == EnEdges::SMOOTH ? 0.99 : 0.9);
            }
        }
    }
}

TEST_F(FiberDirections, OfAnObliqueFiberAreAccurate) {
    for (const double radius : {2.0, 3.0, 5.0}) {
        for (const Vector direction : {Vector{.3, .5, .9}, Vector{.1, .05, 1}, Vector{.7, .2, .4}}) {
            SCOPED_TRACE(testing::Message() << radius << " (" << direction[0] << "," << direction[1] << ","
                                            << direction[2] << ")");
            const auto smooth = OneFiber(direction, radius, EnEdges::SMOOTH);
            const CMeasured measured(*smooth, {.radius = radius});
            EXPECT_LT(DegreesBetween(MainDirection(measured.Field()), direction), 1.0);
            EXPECT_GT(LargestEigenvalue(measured.Field()), 0.98);
            const auto hard = OneFiber(direction, radius, EnEdges::HARD);
            EXPECT_LT(DegreesBetween(MainDirection(CMeasured(*hard, {.radius = radius}).Field()), direction),
                      2.0);
        }
    }
}

TEST_F(FiberDirections, OfAnyFiberInNoiseAreWithin2Degrees) {
    for (const unsigned seed : test::CRandomSeeds(1, 11)) {
        std::mt19937 random(seed);
        const double radius = std::uniform_real_distribution(2.0, 6.0)(random);
        const Vector direction = test::RandomDirection(random);
        const auto image = OneFiber(direction, radius, EnEdges::SMOOTH);
        test::AddNoise(*image, 15.0, random);
        const CMeasured measured(*image, {.radius = radius, .otsuFactor = 1.25});
        EXPECT_LT(DegreesBetween(MainDirection(measured.Field()), direction), 2.0);
    }
}

TEST_F(FiberDirections, RespectUnequalSpacing) {
    const Vector direction{.3, .5, .9};
    for (const Vector spacing : {Vector{1, 1, 2}, Vector{2, 1, 1}, Vector{1e-6, 2e-6, 1e-6}}) {
        const double unit = spacing[0] < 1e-3 ? 1e-6 : 1.0;
        const auto image =
            DrawFibers(CSize(48, 48, 48),
                       {{{24 * spacing[0] / unit, 24 * spacing[1] / unit, 24 * spacing[2] / unit},
                         Unit(direction),
                         4.0}},
                       EnEdges::SMOOTH, {spacing[0] / unit, spacing[1] / unit, spacing[2] / unit});
        CQuillonHeaderTools::SetSpacing(*image, spacing[0], spacing[1], spacing[2]);
        const CMeasured measured(*image, {.radius = 4.0 * unit});
        // With a border of 2 pixels, the continuation beyond the ends of the fibre has an effect.
        EXPECT_LT(DegreesBetween(MainDirection(measured.Field()), direction), spacing[0] == 2.0 ? 1.5 : 0.5);
        EXPECT_EQ(measured.Map().Entry("Border", true)->Long(), spacing[0] == 2.0 ? 2 : 4);
    }
}

TEST_F(FiberDirections, OfManyFibersYieldTheTensorOfTheDrawnOnes) {
    std::mt19937 random(20);
    const auto fibers = RandomFibers(60, 3.0, 96.0, random);
    const auto image = DrawFibers(CSize(96, 96, 96), fibers, EnEdges::SMOOTH);
    // Each fibre is weighted by its length inside the evaluated area.
    Tensor expected{};
    double weight = 0.0;
    for (const StFiber& fiber : fibers) {
        const Tensor square = OuterSquare(fiber.direction);
        for (double along = -170.0; along <= 170.0; along += 0.25) {
            bool isInside = true;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const double coordinate = fiber.center[axis] + along * fiber.direction[axis];
                isInside = isInside && coordinate >= 3.0 && coordinate < 93.0;
            }
            weight += isInside ? 1.0 : 0.0;
            for (std::size_t i = 0; isInside && i < square.size(); ++i)
                expected[i] += square[i];
        }
    }
    for (double& entry : expected)
        entry /= weight;
    ExpectNear(TensorOf(CMeasured(*image, {.radius = 3.0}).Field()), expected, 0.03);
}

TEST_F(FiberDirections, OfAnIsotropicSetHaveAThirdOnTheDiagonal) {
    // 64 rods, each in its own cell, with directions distributed evenly over a hemisphere.
    std::vector<StFiber> rods;
    for (int i = 0; i < 64; ++i) {
        const double height = (i + 0.5) / 64.0;
        const double turn = i * std::numbers::pi * (3.0 - std::sqrt(5.0));
        const double across = std::sqrt(1.0 - height * height);
        const int cell = i * 29 % 64; // so that adjacent rods differ
        rods.push_back({{13.0 + 24 * (cell % 4), 13.0 + 24 * (cell / 4 % 4), 13.0 + 24 * (cell / 16)},
                        {across * std::cos(turn), across * std::sin(turn), height},
                        2.5,
                        8.0});
    }
    const auto image = DrawFibers(CSize(98, 98, 98), rods, EnEdges::SMOOTH);
    const CMeasured measured(*image, {.radius = 2.5});
    ExpectNear(TensorOf(measured.Field()), {1 / 3.0, 0, 0, 1 / 3.0, 0, 1 / 3.0}, 0.02);
    EXPECT_LT(Number(measured.Field(), "Anisotropy index"), 0.1);
}

TEST_F(FiberDirections, In2dAreTheAngleOfStripes) {
    for (const double radius : {1.5, 2.0, 3.0, 4.5}) {
        for (const double degrees : {0.0, 20.0, 45.0, 77.0, 90.0, 110.0, 165.0}) {
            const auto image = Stripes(degrees);
            CMeasured measured(*image, {.radius = radius});
            SCOPED_TRACE(testing::Message() << radius << ", " << degrees << " degrees");
            EXPECT_NEAR(Number(measured.Field(), "Main direction/theta") * 180.0 / std::numbers::pi, degrees,
                        0.5);
            EXPECT_GT(Number(measured.Field(), "Anisotropy index"), 0.98);
        }
    }
}

TEST_F(FiberDirections, RotateWithTheImage) {
    // Which original axis each axis of the rotated image is, and which of them are reversed.
    struct StTurn {
        std::array<std::size_t, 3> from;
        std::array<bool, 3> isReversed;
    };
    const auto image = SmallCrowd(5);
    const Tensor before = TensorOf(CMeasured(*image).Field());
    const CImageView<const unsigned char> source(*image);
    const std::array extents{source.nx, source.ny, source.nz};
    for (const StTurn& turn :
         {StTurn{{0, 1, 2}, {true, false, false}}, StTurn{{0, 1, 2}, {false, false, true}},
          StTurn{{1, 0, 2}, {false, false, false}}, StTurn{{2, 1, 0}, {false, true, false}},
          StTurn{{1, 2, 0}, {false, false, false}}}) {
        const CSize size(extents[turn.from[0]], extents[turn.from[1]], extents[turn.from[2]]);
        CImage turned(IMAGE_GREY_8, size, CSize(0, 0, 0));
        {
            const CImageView<unsigned char> view(turned);
            for (std::int64_t z = 0; z < view.nz; ++z) {
                for (std::int64_t y = 0; y < view.ny; ++y) {
                    for (std::int64_t x = 0; x < view.nx; ++x) {
                        const std::array to{x, y, z};
                        std::array<std::int64_t, 3> from{};
                        for (std::size_t axis = 0; axis < 3; ++axis) {
                            const std::int64_t extent = extents[turn.from[axis]];
                            from[turn.from[axis]] = turn.isReversed[axis] ? extent - 1 - to[axis] : to[axis];
                        }
                        view.Row(y, z)[x] = source.Row(from[1], from[2])[from[0]];
                    }
                }
            }
        }
        constexpr std::array<std::array<std::size_t, 3>, 3> place{{{0, 1, 2}, {1, 3, 4}, {2, 4, 5}}};
        Tensor expected{};
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = i; j < 3; ++j) {
                const double sign = turn.isReversed[i] != turn.isReversed[j] ? -1.0 : 1.0;
                expected[place[i][j]] = sign * before[place[turn.from[i]][turn.from[j]]];
            }
        }
        ExpectNear(TensorOf(CMeasured(turned).Field()), expected, 1e-4);
    }
}

// --- consistency
// --------------------------------------------------------------------------------------------------

TEST_F(FiberDirections, TheTensorMatchesTheMaps) {
    const auto image = SmallCrowd(6);
    CMeasured measured(*image);
    const IImage* theta = nullptr;
    const IImage* phi = nullptr;
    measured.Directions().GetDirections(theta, phi);
    const std::unique_ptr<const IImage> thetaOwner(theta);
    const std::unique_ptr<const IImage> phiOwner(phi);
    const auto thetas = PixelsOf<float>(*theta);
    const auto phis = PixelsOf<float>(*phi);
    Tensor sum{};
    double count = 0.0;
    for (std::size_t i = 0; i < thetas.size(); ++i) {
        ASSERT_EQ(thetas[i] < 0.0F, phis[i] < 0.0F);
        if (thetas[i] < 0.0F) {
            ASSERT_EQ(thetas[i], -1.0F);
            ASSERT_EQ(phis[i], -1.0F);
            continue;
        }
        ASSERT_LE(thetas[i], 3.1415927F);
        ASSERT_LT(phis[i], 3.1415926F);
        const double across = std::sin(thetas[i]);
        const Tensor square =
            OuterSquare({across * std::cos(phis[i]), across * std::sin(phis[i]), std::cos(thetas[i])});
        count += 1.0;
        for (std::size_t k = 0; k < sum.size(); ++k)
            sum[k] += square[k];
    }
    EXPECT_EQ(count, Number(measured.Field(), "Evaluated pixels"));
    EXPECT_GT(count, 500.0);
    for (double& entry : sum)
        entry /= count;
    ExpectNear(TensorOf(measured.Field()), sum, 1e-6);
}

TEST_F(FiberDirections, TheTensorOfAPlaneMatchesTheMap) {
    const auto image = Stripes(33.0);
    std::mt19937 random(1);
    test::AddNoise(*image, 30.0, random);
    CMeasured measured(*image);
    const IImage* theta = nullptr;
    measured.Directions().GetDirections(theta);
    const std::unique_ptr<const IImage> owner(theta);
    Tensor sum{};
    double count = 0.0;
    for (const float angle : PixelsOf<float>(*theta)) {
        if (angle < 0.0F)
            continue;
        const Tensor square = OuterSquare({std::cos(angle), std::sin(angle), 0.0});
        count += 1.0;
        for (std::size_t k = 0; k < sum.size(); ++k)
            sum[k] += square[k];
    }
    EXPECT_EQ(count, Number(measured.Field(), "Evaluated pixels"));
    for (double& entry : sum)
        entry /= count;
    ExpectNear(TensorOf(measured.Field()), sum, 1e-6);
}

/// Sums the counts and tensors of the maps below a map.
struct StTotals {
    explicit StTotals(const CValueMap& parts) {
        for (const CValue* part : parts) {
            if (part->Map() == nullptr)
                continue;
            const double count = Number(*part->Map(), "Evaluated pixels");
            evaluated += count;
            foreground += Number(*part->Map(), "Foreground pixels");
            const Tensor own = TensorOf(*part->Map());
            for (std::size_t i = 0; i < tensor.size(); ++i)
                tensor[i] += own[i] * count;
        }
    }

    double evaluated = 0.0;
    double foreground = 0.0;
    Tensor tensor{};
};

void ExpectTotals(const StTotals& totals, const CValueMap& field) {
    const double count = Number(field, "Evaluated pixels");
    EXPECT_EQ(totals.evaluated, count);
    EXPECT_EQ(totals.foreground, Number(field, "Foreground pixels"));
    Tensor tensor = TensorOf(field);
    for (double& entry : tensor)
        entry *= count;
    ExpectNear(totals.tensor, tensor, 1e-9 * count);
}

TEST_F(FiberDirections, SlicesAndSubfieldsThatTileAddUpToTheField) {
    const auto image = SmallCrowd(7, CSize(34, 28, 22)); // the area is 30 x 24 x 18
    const CMeasured measured(*image, {.subfield = {10, 12, 6}});
    EXPECT_EQ(measured.MapAt("SubfieldFiberDirections").Size(), 3U * 2U * 3U + 2U);
    ExpectTotals(StTotals(measured.MapAt("SubfieldFiberDirections")), measured.Field());
    for (const char* axis : {"x", "y", "z"})
        ExpectTotals(StTotals(measured.Profile(axis)), measured.Field());
}

TEST_F(FiberDirections, ASubfieldEqualsTheFieldOfAMaskOfIt) {
    const auto image = SmallCrowd(32);
    const CMeasured whole(*image, {.subfield = {9, 7, 8}});
    const CValueMap& subfield = whole.MapAt("SubfieldFiberDirections/Subfield z001 y002 x001");
    EXPECT_EQ(Number(subfield, "Evaluated area/x0"), 2 + 9);
    EXPECT_EQ(Number(subfield, "Evaluated area/x1"), 2 + 18);
    EXPECT_EQ(Number(subfield, "Evaluated area/y0"), 2 + 14);
    EXPECT_EQ(Number(subfield, "Evaluated area/y1"), 2 + 21);
    EXPECT_EQ(Number(subfield, "Evaluated area/z0"), 2 + 8);
    EXPECT_EQ(Number(subfield, "Evaluated area/z1"), 2 + 16);

    CImage mask(IMAGE_BINARY_FG, image->Size(), CSize(0, 0, 0));
    {
        const double threshold = Number(whole.Map(), "Otsu threshold");
        const CImageView<unsigned char> to(mask);
        const CImageView<const unsigned char> from(*image);
        for (std::int64_t z = 10; z < 18; ++z) {
            for (std::int64_t y = 16; y < 23; ++y) {
                for (std::int64_t x = 11; x < 20; ++x)
                    to.Row(y, z)[x] = from.Row(y, z)[x] > threshold ? 1 : 0;
            }
        }
    }
    const CMeasured part(*image, {.mask = &mask});
    EXPECT_GT(Number(subfield, "Evaluated pixels"), 20.0);
    EXPECT_EQ(Number(part.Field(), "Evaluated pixels"), Number(subfield, "Evaluated pixels"));
    EXPECT_EQ(Number(part.Field(), "Foreground pixels"), Number(subfield, "Foreground pixels"));
    EXPECT_EQ(TensorOf(part.Field()), TensorOf(subfield));
    EXPECT_DOUBLE_EQ(Number(subfield, "Volume fraction"),
                     Number(subfield, "Foreground pixels") / (9 * 7 * 8));
}

TEST_F(FiberDirections, AreTheSameForAnyNumberOfThreads) {
    const auto volume = SmallCrowd(9);
    const auto plane = Stripes(20.0, CSize(70, 300)); // three bands of rows
    const auto measure = [&](int threads, CImage& image, std::vector<float>& angles) {
        SetThreadCount(threads);
        auto measured = std::make_unique<CMeasured>(image, StSetup{.subfield = {7, 7, 7}});
        const IImage* theta = nullptr;
        const IImage* phi = nullptr;
        if (image.Size().Dim() == 3)
            measured->Directions().GetDirections(theta, phi);
        else
            measured->Directions().GetDirections(theta);
        angles = PixelsOf<float>(*theta);
        delete theta;
        delete phi;
        return measured;
    };
    for (CImage* const image : {volume.get(), plane.get()}) {
        std::vector<float> angles;
        const auto one = measure(1, *image, angles);
        for (const int threads : {2, 4, 7}) {
            std::vector<float> others;
            const auto many = measure(threads, *image, others);
            EXPECT_TRUE(one->Map().Equal(many->Map())) << threads;
            EXPECT_EQ(angles, others) << threads;
        }
    }
}

TEST_F(FiberDirections, ShowNoSeamBetweenBands) {
    // Rows at the boundary of two bands are filtered twice; the map must show no seam there.
    const auto whole = Stripes(20.0, CSize(40, 300));
    const auto upper = Stripes(20.0, CSize(40, 150));
    const auto mapOf = [](CImage& image) {
        CMeasured measured(image);
        const IImage* theta = nullptr;
        measured.Directions().GetDirections(theta);
        const std::unique_ptr<const IImage> owner(theta);
        return PixelsOf<float>(*theta);
    };
    const auto pixels = mapOf(*whole);
    const auto others = mapOf(*upper);
    // Up to the rows influenced by the border of the upper half.
    EXPECT_TRUE(std::equal(others.begin(), others.begin() + 40 * 140, pixels.begin()));
    EXPECT_GT(std::count_if(others.begin(), others.begin() + 40 * 140, [](float a) { return a >= 0.0F; }),
              1000);
}

// --- nothing to measure
// -------------------------------------------------------------------------------------------

void ExpectNothing(const CMeasured& measured) {
    for (const std::string& leaf : LeavesOf(measured.Map())) {
        if (leaf.find("Evaluated area") != std::string::npos ||
            leaf.find("Slice position") != std::string::npos ||
            leaf.find("FieldFiberDirections") == std::string::npos)
            continue;
        EXPECT_EQ(Number(measured.Map(), leaf), 0.0) << leaf;
    }
    for (const auto& slice : KeysOf(measured.Profile("x")))
        EXPECT_EQ(Number(measured.Profile("x"), slice + "/Difference to global direction"), 0.0);
}

TEST_F(FiberDirections, DoNotExistInAConstantImage) {
    for (const int value : {0, 1, 100, 254, 255}) {
        for (const double factor : {0.1, 1.0, 1.25}) {
            const auto image = ImageOf(IMAGE_GREY_8, CSize(9, 9, 9),
                                       std::vector(9 * 9 * 9, static_cast<unsigned char>(value)));
            ExpectNothing(CMeasured(*image, {.otsuFactor = factor}));
        }
    }
}

TEST_F(FiberDirections, DoNotExistForDarkFibers) {
    // A bright block with a dark line: the bright part is not a ridge.
    const auto bright = OneFiber({0, 0, 1}, 3.0, EnEdges::SMOOTH);
    auto pixels = PixelsOf<unsigned char>(*bright);
    for (unsigned char& pixel : pixels)
        pixel = static_cast<unsigned char>(255 - pixel);
    const auto dark = ImageOf(IMAGE_GREY_8, CSize(48, 48, 48), pixels);
    const auto mask = DrawFibers(CSize(48, 48, 48), {{{24.2, 23.7, 24.4}, {0, 0, 1}, 1.5}}, EnEdges::HARD);
    auto maskPixels = PixelsOf<unsigned char>(*mask);
    for (unsigned char& pixel : maskPixels)
        pixel = pixel > 100 ? 1 : 0;
    const auto binaryMask = ImageOf(IMAGE_BINARY_FG, CSize(48, 48, 48), maskPixels);
    const CMeasured measured(*dark, {.radius = 3.0, .mask = binaryMask.get()});
    EXPECT_GT(Number(measured.Field(), "Foreground pixels"), 100.0);
    EXPECT_EQ(Number(measured.Field(), "Evaluated pixels"), 0.0);
    EXPECT_EQ(MainDirection(measured.Field()), Vector());
}

TEST_F(FiberDirections, DoNotExistForAnEmptyMask) {
    const auto image = SmallCrowd(10);
    CImage mask(IMAGE_BINARY_FG, image->Size(), CSize(0, 0, 0));
    ExpectNothing(CMeasured(*image, {.mask = &mask}));
}

// --- foreground
// ---------------------------------------------------------------------------------------------------

TEST_F(FiberDirections, MasksOfAllTypesAreEquivalent) {
    const auto image = SmallCrowd(11);
    const auto grey = PixelsOf<unsigned char>(*image);
    const auto maskOf = [&]<class T>(const IImage::CType& type, T inside) {
        std::vector<T> pixels;
        for (const unsigned char pixel : grey)
            pixels.push_back(pixel > 110 ? inside : T{});
        return ImageOf(type, image->Size(), pixels);
    };
    const auto binary = maskOf.operator()<unsigned char>(IMAGE_BINARY_FG, 1);
    const CMeasured expected(*image, {.mask = binary.get()});
    EXPECT_GT(Number(expected.Field(), "Evaluated pixels"), 100.0);
    const auto expectSame = [&](std::unique_ptr<CImage> mask) {
        EXPECT_TRUE(CMeasured(*image, {.mask = mask.get()}).Map().Equal(expected.Map()))
            << mask->Type().ToString();
    };
    expectSame(maskOf.operator()<unsigned char>(IMAGE_BINARY_BG, 1));
    expectSame(maskOf.operator()<unsigned char>(IMAGE_GREY_8, 255));
    expectSame(maskOf.operator()<unsigned short>(IMAGE_GREY_16, 256));
    expectSame(maskOf.operator()<unsigned int>(IMAGE_GREY_32, 0x80000000U));
    expectSame(maskOf.operator()<float>(IMAGE_GREY_F, -0.5F));
}

TEST_F(FiberDirections, TheMaskTakesPrecedenceOverTheOtsuFactor) {
    const auto image = SmallCrowd(12);
    const auto mask =
        ImageOf(IMAGE_BINARY_FG, image->Size(),
                std::vector<unsigned char>(static_cast<std::size_t>(image->Size().PixelCount()), 1));
    CMeasured measured(*image, {.otsuFactor = -7.0, .mask = mask.get()});
    EXPECT_EQ(Number(measured.Field(), "Volume fraction"), 1.0);
    EXPECT_EQ(measured.Map().Entry("Otsu factor", true)->String().Std(), "mask image");
    EXPECT_FALSE(measured.Map().HasEntry("Otsu threshold"));
    EXPECT_EQ(measured.history, "FiberDirections(radius=2,mask,");
}

TEST_F(FiberDirections, ForegroundIsAboveOtsusThresholdTimesTheFactor) {
    // Half of the pixels are 40 and half 200; the smallest best threshold is 40.
    std::vector<unsigned char> pixels;
    for (int i = 0; i < 11 * 11 * 11; ++i)
        pixels.push_back(i % 2 == 0 ? 40 : 200);
    const auto image = ImageOf(IMAGE_GREY_8, CSize(11, 11, 11), pixels);
    const auto foregroundAt = [&](double factor) {
        const CMeasured measured(*image, {.radius = 1.0, .otsuFactor = factor});
        EXPECT_EQ(Number(measured.Map(), "Otsu threshold"), 40.0 * factor);
        return Number(measured.Field(), "Foreground pixels");
    };
    EXPECT_EQ(foregroundAt(0.99), 9 * 9 * 9);
    EXPECT_EQ(foregroundAt(1.0), 365);
    EXPECT_EQ(foregroundAt(4.999), 365);
    EXPECT_EQ(foregroundAt(5.0), 0);
    EXPECT_EQ(foregroundAt(1e300), 0);
}

// --- the result
// ---------------------------------------------------------------------------------------------------

using Texts = std::vector<std::string>;

TEST_F(FiberDirections, TheMapOfAVolumeHasTheseEntries) {
    const auto image = SmallCrowd(13);
    CQuillonHeaderTools::SetSpacing(*image, 0.5, 1.0, 1.0);
    CMeasured measured(*image, {.radius = 1.5, .otsuFactor = 1.125, .subfield = {8, 4, 4}});
    EXPECT_EQ(KeysOf(measured.Map()),
              (Texts{"Border", "Fiber radius", "FieldFiberDirections", "Otsu factor", "Otsu threshold",
                     "Sigma", "SubfieldFiberDirections", "SubfieldProfiles"}));
    EXPECT_TRUE(measured.Map().HasEntry("Border", typeid(CValueLong)));
    EXPECT_EQ(measured.Map().Entry("Border", true)->Long(), 3);
    EXPECT_TRUE(measured.Map().HasEntry("Fiber radius", typeid(CValueDouble)));
    EXPECT_EQ(Number(measured.Map(), "Fiber radius"), 1.5);
    EXPECT_TRUE(measured.Map().HasEntry("Otsu factor", typeid(CValueDouble)));
    EXPECT_EQ(Number(measured.Map(), "Otsu factor"), 1.125);
    EXPECT_EQ(Number(measured.Map(), "Sigma"), 1.25); // the minimum, 1.25 times the largest spacing
    EXPECT_TRUE(measured.Map().HasEntry("SubfieldFiberDirections/Subfield size", typeid(CValueDouble)));
    EXPECT_EQ(Number(measured.Map(), "SubfieldFiberDirections/Subfield size"), 4.0);
    EXPECT_EQ(Number(measured.Map(), "SubfieldFiberDirections/Subfield step"), 4.0);
    EXPECT_EQ(KeysOf(measured.MapAt("SubfieldProfiles")),
              (Texts{"x-Direction", "y-Direction", "z-Direction"}));
    EXPECT_EQ(measured.Profile("x").Size(), 24U);
    EXPECT_EQ(KeysOf(measured.Profile("x")).front(), "Slice 0003");
    EXPECT_EQ(KeysOf(measured.Profile("x")).back(), "Slice 0026");
    EXPECT_EQ(measured.Profile("y").Size(), 20U);
    EXPECT_EQ(measured.Profile("z").Size(), 16U);
    EXPECT_EQ(measured.history, "FiberDirections(radius=1.5,otsu=1.125,subfield=(8,4,4),");

    EXPECT_EQ(LeavesOf(measured.Field()),
              (Texts{"Anisotropy index",      "Eigenvalues/l1",        "Eigenvalues/l2",
                     "Eigenvalues/l3",        "Evaluated area/x0",     "Evaluated area/x1",
                     "Evaluated area/y0",     "Evaluated area/y1",     "Evaluated area/z0",
                     "Evaluated area/z1",     "Evaluated pixels",      "Foreground pixels",
                     "Main direction/phi",    "Main direction/theta",  "Main direction/x",
                     "Main direction/y",      "Main direction/z",      "Orientation tensor/xx",
                     "Orientation tensor/xy", "Orientation tensor/xz", "Orientation tensor/yy",
                     "Orientation tensor/yz", "Orientation tensor/zz", "Volume fraction"}));
    EXPECT_EQ(Number(measured.Field(), "Evaluated area/x0"), 3);
    EXPECT_EQ(Number(measured.Field(), "Evaluated area/x1"), 27);
    EXPECT_EQ(Number(measured.Field(), "Evaluated area/z1"), 19);
    for (const std::string& leaf : LeavesOf(measured.Field())) {
        const bool isPosition = leaf.starts_with("Evaluated area");
        EXPECT_TRUE(measured.Field().HasEntry(leaf, isPosition ? typeid(CValueLong) : typeid(CValueDouble)))
            << leaf;
    }
}

TEST_F(FiberDirections, TheMapOfAPlaneHasTheseEntries) {
    const auto image = Stripes(30.0, CSize(40, 30));
    CMeasured measured(*image, {.radius = 2.0, .subfield = {10, 10, -1}});
    EXPECT_EQ(KeysOf(measured.MapAt("SubfieldProfiles")), (Texts{"x-Direction", "y-Direction"}));
    EXPECT_EQ(LeavesOf(measured.Field()),
              (Texts{"Anisotropy index",      "Area fraction",         "Eigenvalues/l1",
                     "Eigenvalues/l2",        "Eigenvalues/l3",        "Evaluated area/x0",
                     "Evaluated area/x1",     "Evaluated area/y0",     "Evaluated area/y1",
                     "Evaluated area/z0",     "Evaluated area/z1",     "Evaluated pixels",
                     "Foreground pixels",     "Main direction/theta",  "Main direction/x",
                     "Main direction/y",      "Orientation tensor/xx", "Orientation tensor/xy",
                     "Orientation tensor/xz", "Orientation tensor/yy", "Orientation tensor/yz",
                     "Orientation tensor/zz"}));
    EXPECT_EQ(Number(measured.Field(), "Evaluated area/z0"), 0);
    EXPECT_EQ(Number(measured.Field(), "Evaluated area/z1"), 1);
    EXPECT_EQ(Number(measured.Field(), "Orientation tensor/zz"), 0.0);
    EXPECT_EQ(Number(measured.Field(), "Eigenvalues/l3"), 0.0);
    EXPECT_EQ(KeysOf(measured.MapAt("SubfieldFiberDirections")),
              (Texts{"Subfield size", "Subfield step", "Subfield z000 y000 x000", "Subfield z000 y000 x001",
                     "Subfield z000 y000 x002", "Subfield z000 y001 x000", "Subfield z000 y001 x001",
                     "Subfield z000 y001 x002"}));
    EXPECT_EQ(measured.history, "FiberDirections(radius=2,otsu=1,subfield=(10,10,-1),");
}

TEST_F(FiberDirections, RowsOfFieldSubfieldsAndSlicesMatchInATable) {
    const auto image = SmallCrowd(14);
    CMeasured measured(*image, {.subfield = {8, 8, 8}});
    // The maps as written into the table, with the entries that its writer adds.
    const auto rowOf = [](const CValueMap& region, const Texts& added) {
        auto leaves = LeavesOf(region);
        std::set<std::string> row(leaves.begin(), leaves.end());
        row.insert(added.begin(), added.end());
        return Texts(row.begin(), row.end());
    };
    const Texts field = rowOf(measured.Field(), {"Entry type", "Difference to global direction",
                                                 "Slice position", "Number of subfields"});
    const Texts subfield = rowOf(measured.MapAt("SubfieldFiberDirections/Subfield z000 y001 x000"),
                                 {"Entry type", "Number pf subfields", "Slice position"});
    const Texts slice = rowOf(*measured.Profile("y").Entry("Slice 0007", true)->Map(), {"Entry type"});
    EXPECT_EQ(slice, field);
    ASSERT_EQ(subfield.size(), field.size());
    for (std::size_t i = 0; i < field.size(); ++i)
        EXPECT_EQ(subfield[i], field[i] == "Number of subfields" ? "Number pf subfields" : field[i]);
    EXPECT_TRUE(measured.Profile("y").HasEntry("Slice 0007/Slice position", typeid(CValueLong)));
    EXPECT_EQ(Number(measured.Profile("y"), "Slice 0007/Slice position"), 7);
    EXPECT_EQ(measured.Profile("y").Entry("Slice 0007/Number of subfields", true)->String().Std(), "n/a");
}

TEST_F(FiberDirections, SubfieldsAreAsManyAsFitCompletely) {
    const auto image = SmallCrowd(15); // the area is 26 x 22 x 18
    const auto countOf = [&](const std::array<std::int64_t, 3>& size) {
        CMeasured measured(*image, {.subfield = size});
        return measured.MapAt("SubfieldFiberDirections").Size() - 2U;
    };
    EXPECT_EQ(countOf({26, 22, 18}), 1U);
    EXPECT_EQ(countOf({13, 11, 9}), 8U);
    EXPECT_EQ(countOf({10, 10, 10}), 4U);
    EXPECT_EQ(countOf({27, 11, 9}), 0U); // the map exists, without subfields
    EXPECT_EQ(countOf({1000000, 1000000, 1000000}), 0U);
    EXPECT_EQ(countOf({std::numeric_limits<std::int64_t>::max(), 1, 1}), 0U);
}

TEST_F(FiberDirections, WithoutAllSizesThereAreNoSubfields) {
    const auto image = SmallCrowd(16);
    for (const std::array<std::int64_t, 3> size :
         {std::array<std::int64_t, 3>{-1, -1, -1}, {0, 5, 5}, {5, 5, 0}, {5, -1, 5}}) {
        CMeasured measured(*image, {.subfield = size});
        EXPECT_FALSE(measured.Map().HasEntry("SubfieldFiberDirections"));
        EXPECT_EQ(measured.history, "FiberDirections(radius=2,otsu=1,");
    }
}

TEST_F(FiberDirections, NamesHaveTheDigitsOfTheLargestNumber) {
    std::vector<unsigned char> pixels(1205 * 5);
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<unsigned char>(i % 7 == 0 ? 200 : 10);
    const auto image = ImageOf(IMAGE_GREY_8, CSize(1205, 5), pixels);
    CMeasured measured(*image, {.radius = 1.0, .subfield = {1, 1, 1}});
    const CValueMap& subfields = measured.MapAt("SubfieldFiberDirections");
    EXPECT_EQ(subfields.Size(), 1203U * 3U + 2U);
    EXPECT_TRUE(subfields.HasEntry("Subfield z000 y000 x0000"));
    EXPECT_TRUE(subfields.HasEntry("Subfield z000 y002 x1202"));
    EXPECT_EQ(Number(subfields, "Subfield z000 y002 x1202/Evaluated area/x0"), 1203);
    const auto names = KeysOf(measured.Profile("x"));
    EXPECT_EQ(names.front(), "Slice 0001");
    EXPECT_EQ(names.back(), "Slice 1203");
}

TEST_F(FiberDirections, OnlyTheFieldIsMeasuredOnRequest) {
    const auto image = SmallCrowd(17);
    CMeasured whole(*image, {.subfield = {8, 8, 8}});
    CMeasured field(*image, {.subfield = {8, 8, 8}, .isFieldOnly = true});
    EXPECT_FALSE(field.Map().HasEntry("SubfieldFiberDirections"));
    EXPECT_FALSE(field.Map().HasEntry("SubfieldProfiles"));
    EXPECT_TRUE(field.Field().Equal(whole.Field()));
    EXPECT_EQ(field.history, "FiberDirections(radius=2,otsu=1,");
}

TEST_F(FiberDirections, TheDifferenceToTheGlobalDirectionIsAtMostARightAngle) {
    // Two perpendicular fibres; the longer one determines the direction of the field.
    const auto image =
        DrawFibers(CSize(40, 40, 40), {{{10, 20, 20}, {0, 0, 1}, 2.0}, {{30, 20, 20}, {0, 1, 0}, 2.0, 10.0}},
                   EnEdges::SMOOTH);
    CMeasured measured(*image);
    EXPECT_LT(DegreesBetween(MainDirection(measured.Field()), {0, 0, 1}), 0.5);
    EXPECT_NEAR(Number(measured.Profile("x"), "Slice 0010/Difference to global direction"), 0.0, 0.02);
    EXPECT_NEAR(Number(measured.Profile("x"), "Slice 0030/Difference to global direction"),
                std::numbers::pi / 2, 0.02);
    EXPECT_EQ(Number(measured.Profile("x"), "Slice 0020/Difference to global direction"),
              0.0); // nothing is measured there
}

// --- the maps
// -----------------------------------------------------------------------------------------------------

TEST_F(FiberDirections, MapsHaveTheirOwnExtremesAndNoOtherAttributes) {
    const auto image = SmallCrowd(18);
    CMeasured measured(*image);
    const IImage* theta = nullptr;
    const IImage* phi = nullptr;
    measured.Directions().GetDirections(theta, phi);
    const std::unique_ptr<const IImage> thetaOwner(theta);
    const std::unique_ptr<const IImage> phiOwner(phi);
    for (const IImage* const map : {theta, phi}) {
        EXPECT_EQ(map->Type(), IMAGE_GREY_F);
        EXPECT_EQ(map->Size(), image->Size());
        CValueVector recorded;
        ASSERT_TRUE(
            CQuillonHeaderTools::GetMetaInfo(*map, CQuillonHeaderTools::c_sMetaMinMax.c_str(), recorded));
        ASSERT_EQ(recorded.Size(), 2U);
        const auto pixels = PixelsOf<float>(*map);
        EXPECT_EQ(recorded[0]->Double(), -1.0);
        EXPECT_EQ(recorded[1]->Double(), *std::max_element(pixels.begin(), pixels.end()));
        EXPECT_EQ(map->Attributes().Size(), 1U);
    }
}

TEST_F(FiberDirections, MapsAreEmptyInTheBorder) {
    const auto image = SmallCrowd(19);
    CMeasured measured(*image, {.radius = 3.0});
    const IImage* theta = nullptr;
    const IImage* phi = nullptr;
    measured.Directions().GetDirections(theta, phi);
    delete phi;
    const std::unique_ptr<const IImage> owner(theta);
    const CImageView<const float> view(*theta);
    std::int64_t inside = 0;
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x) {
                const bool isInside =
                    x >= 3 && x < view.nx - 3 && y >= 3 && y < view.ny - 3 && z >= 3 && z < view.nz - 3;
                if (!isInside) {
                    ASSERT_EQ(view.Row(y, z)[x], -1.0F) << CPos(x, y, z).ToString();
                } else if (view.Row(y, z)[x] >= 0.0F) {
                    ++inside;
                }
            }
        }
    }
    EXPECT_GT(inside, 100);
}

TEST_F(FiberDirections, AFiberAlongAnAxisHasTheAnglesOfThatAxis) {
    struct StCase {
        Vector direction;
        double theta;
        double phi;
    };
    for (const StCase& expected : {StCase{{0, 0, 1}, 0.0, 0.0}, StCase{{1, 0, 0}, std::numbers::pi / 2, 0.0},
                                   StCase{{0, 1, 0}, std::numbers::pi / 2, std::numbers::pi / 2}}) {
        const auto image =
            DrawFibers(CSize(33, 33, 33), {{{16, 16, 16}, expected.direction, 3.0}}, EnEdges::SMOOTH);
        CMeasured measured(*image, {.radius = 3.0});
        EXPECT_NEAR(Number(measured.Field(), "Main direction/theta"), expected.theta, 1e-6);
        EXPECT_NEAR(
            std::remainder(Number(measured.Field(), "Main direction/phi") - expected.phi, std::numbers::pi),
            expected.direction[2] == 1.0
                ? std::remainder(Number(measured.Field(), "Main direction/phi"), std::numbers::pi)
                : 0.0,
            1e-6);
    }
}

TEST_F(FiberDirections, MapsRequireAMeasurementOfTheirDimension) {
    CSubfieldFiberDirections fresh(2.0, 1.0, -1, -1, -1);
    const IImage* theta = nullptr;
    const IImage* phi = nullptr;
    const auto textOf = [](const std::function<void()>& work) {
        const auto raised = test::Raised<CException>(work);
        return std::string(raised.Source()) + ": " + raised.Message();
    };
    const std::string none = "CSubfieldFiberDirections: The directions have not been computed.";
    EXPECT_EQ(textOf([&] { fresh.GetDirections(theta); }), none);
    EXPECT_EQ(textOf([&] { fresh.GetDirections(theta, phi); }), none);
    const auto volume = SmallCrowd(20);
    CMeasured ofVolume(*volume);
    EXPECT_EQ(textOf([&] { ofVolume.Directions().GetDirections(theta); }),
              "CSubfieldFiberDirections: Image dimension 3 not supported.");
    const auto plane = Stripes(10.0);
    CMeasured ofPlane(*plane);
    EXPECT_EQ(textOf([&] { ofPlane.Directions().GetDirections(theta, phi); }),
              "CSubfieldFiberDirections: Image dimension 2 not supported.");
    EXPECT_EQ(theta, nullptr);
    EXPECT_EQ(phi, nullptr);
}

// --- what is refused
// ----------------------------------------------------------------------------------------------

template <class Exception = CException>
std::string Refusal(CImage& image, const StSetup& setup) {
    std::string history = "FiberDirections(";
    const auto raised = test::Raised<Exception>([&] {
        CSubfieldFiberDirections directions(setup.radius, setup.otsuFactor, -1, -1, -1);
        const std::unique_ptr<CValueMap> map(directions.Compute(image, history, setup.mask, false));
    });
    EXPECT_EQ(history, "FiberDirections(");
    return std::string(raised.Source()) + ": " + raised.Message();
}

TEST_F(FiberDirections, SubfieldsThatDoNotFitAreRefusedBeforeWorkBegins) {
    CImage cube(IMAGE_GREY_8, CSize(48, 48, 48), CSize(0, 0, 0));
    std::string history = "FiberDirections(";
    test::CRecordingProgress progress;
    test::ExpectRefusedForLackOfMemory("The table of subfields", [&] {
        CSubfieldFiberDirections directions(1.0, 1.25, 1, 1, 1);
        directions.SetProgress(CProgressProxy(&progress));
        const std::unique_ptr<CValueMap> map(directions.Compute(cube, history, nullptr, false));
    });
    EXPECT_TRUE(progress.calls.empty());
    EXPECT_EQ(history, "FiberDirections(");
}

TEST_F(FiberDirections, AnImageWithoutAPixelFarEnoughFromTheBordersIsRefused) {
    const std::string message = "CSubfieldFiberDirections: Image is too small for this fiber radius.";
    CImage cube(IMAGE_GREY_8, CSize(9, 9, 9), CSize(0, 0, 0));
    EXPECT_EQ(Refusal(cube, {.radius = 4.5}), message); // 5 pixels
    EXPECT_NO_THROW(CMeasured(cube, {.radius = 4.49})); // 4 pixels, and one is left
    EXPECT_EQ(Refusal(cube, {.radius = 1e9}), message);
    EXPECT_EQ(Refusal(cube, {.radius = 1e300}), message);
    CImage sheet(IMAGE_GREY_8, CSize(50, 50, 1), CSize(0, 0, 0));
    EXPECT_EQ(Refusal(sheet, {.radius = 1.0}), message);
    CImage plane(IMAGE_GREY_8, CSize(50, 50), CSize(0, 0, 0));
    EXPECT_NO_THROW(CMeasured(plane, {.radius = 1.0}));
    CImage empty(IMAGE_GREY_8, CSize(0, 0, 0), CSize(0, 0, 0));
    EXPECT_EQ(Refusal(empty, {.radius = 0.1}), message);
    // The border is in pixels of x, independent of the spacing along y.
    CQuillonHeaderTools::SetSpacing(cube, 1e-3, 1.0, 1.0);
    EXPECT_EQ(Refusal(cube, {.radius = 1.0}), message);
}

TEST_F(FiberDirections, OtherTypesAndDimensionsAreRefused) {
    for (const auto& type : {IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_F, IMAGE_BINARY_FG, IMAGE_COMPLEX_F}) {
        CImage image(type, CSize(20, 20, 20), CSize(0, 0, 0));
        EXPECT_EQ(Refusal(image, {}),
                  std::string("CSubfieldFiberDirections: Image type ") + type.ToString() + " not supported.");
    }
    CSize line(50, 1, 1);
    line.SetDim(1);
    CImage image(IMAGE_GREY_8, line, CSize(0, 0, 0));
    EXPECT_EQ(Refusal(image, {}), "CSubfieldFiberDirections: Image dimension 1 not supported.");
}

TEST_F(FiberDirections, AMaskOfAnotherSizeOrOfComplexNumbersIsRefused) {
    CImage image(IMAGE_GREY_8, CSize(20, 21, 22), CSize(0, 0, 0));
    CImage other(IMAGE_BINARY_FG, CSize(20, 21, 23), CSize(0, 0, 0));
    EXPECT_EQ(
        Refusal<CExBadParam>(image, {.mask = &other}),
        "ORVEN::CSubfieldFiberDirections::Compute: Mask image of size (20,21,23) does not fit the image of "
        "size (20,21,22).");
    CImage plane(IMAGE_BINARY_FG, CSize(20, 21), CSize(0, 0, 0));
    EXPECT_EQ(
        Refusal<CExBadParam>(image, {.mask = &plane}),
        "ORVEN::CSubfieldFiberDirections::Compute: Mask image of size (20,21) does not fit the image of size "
        "(20,21,22).");
    CImage complex(IMAGE_COMPLEX_F, CSize(20, 21, 22), CSize(0, 0, 0));
    EXPECT_EQ(Refusal(image, {.mask = &complex}),
              "CSubfieldFiberDirections: Image type IMAGE_COMPLEX_F not supported.");
}

TEST_F(FiberDirections, AnInvalidRadiusIsRefused) {
    CImage image(IMAGE_GREY_8, CSize(20, 20, 20), CSize(0, 0, 0));
    for (const double radius : {0.0, -1.0, c_infinity, -c_infinity, c_nan}) {
        EXPECT_NE(Refusal<CExBadParam>(image, {.radius = radius}).find("is not positive and finite."),
                  std::string::npos);
    }
}

TEST_F(FiberDirections, AnInvalidSpacingCountsAs1) {
    const auto image = SmallCrowd(21);
    CMeasured expected(*image);
    for (const Vector spacing :
         {Vector{0.0, -1.0, c_nan}, Vector{c_infinity, 1.0, 0.0}, Vector{c_nan, c_nan, c_nan}}) {
        CQuillonHeaderTools::SetSpacing(*image, spacing[0], spacing[1], spacing[2]);
        EXPECT_TRUE(CMeasured(*image).Map().Equal(expected.Map()));
    }
}

TEST_F(FiberDirections, ExtremeSpacingsAreHandled) {
    const auto image = SmallCrowd(22);
    for (const Vector spacing : {Vector{1.0, 1.0, 1e-300}, Vector{1.0, 1e300, 1.0},
                                 Vector{1e300, 1e300, 1e300}, Vector{1e-300, 1e-300, 1e-300}}) {
        CQuillonHeaderTools::SetSpacing(*image, spacing[0], spacing[1], spacing[2]);
        CMeasured measured(*image, {.radius = 2.0 * spacing[0]});
        for (const double entry : TensorOf(measured.Field()))
            EXPECT_TRUE(std::isfinite(entry));
    }
}

TEST_F(FiberDirections, ThinImagesAreMeasured) {
    // The taps extend far beyond both borders.
    const auto image = DrawFibers(CSize(60, 5, 5), {{{0, 2, 2}, {1, 0, 0}, 2.0}}, EnEdges::SMOOTH);
    CMeasured measured(*image, {.radius = 2.4});
    EXPECT_LT(DegreesBetween(MainDirection(measured.Field()), {1, 0, 0}), 1e-3);
    EXPECT_EQ(Number(measured.Field(), "Evaluated pixels"), 56.0);
}

// --- progress
// -----------------------------------------------------------------------------------------------------

TEST_F(FiberDirections, ReportTwoPhasesWithOneStepPerPlane) {
    const auto image = SmallCrowd(23);
    test::CRecordingProgress progress;
    CSubfieldFiberDirections directions(2.0, 1.0, -1, -1, -1);
    directions.SetProgress(CProgressProxy(&progress));
    std::string history;
    const std::unique_ptr<CValueMap> map(directions.Compute(*image, history, nullptr, false));
    EXPECT_EQ(progress.steps, 22U + 18U);
    EXPECT_TRUE(progress.isFromOneThread);
    EXPECT_EQ(std::count(progress.calls.begin(), progress.calls.end(), "Start 22 Counting grey values"), 1);
    EXPECT_EQ(std::count(progress.calls.begin(), progress.calls.end(), "Start 18 Finding fibre directions"),
              1);
    EXPECT_EQ(std::count(progress.calls.begin(), progress.calls.end(), "Finish"), 2);
}

TEST_F(FiberDirections, ACancelledRunMeasuresNothing) {
    const auto image = SmallCrowd(24);
    const auto mask =
        ImageOf(IMAGE_BINARY_FG, image->Size(),
                std::vector<unsigned char>(static_cast<std::size_t>(image->Size().PixelCount()), 1));
    for (CImage* const foreground : {static_cast<CImage*>(nullptr), mask.get()}) {
        test::CRecordingProgress progress;
        progress.isCancelled = true;
        CSubfieldFiberDirections directions(2.0, 1.0, -1, -1, -1);
        directions.SetProgress(CProgressProxy(&progress));
        std::string history = "FiberDirections(";
        EXPECT_EQ(directions.Compute(*image, history, foreground, false), nullptr);
        EXPECT_EQ(history, "FiberDirections(");
        const IImage* theta = nullptr;
        const IImage* phi = nullptr;
        EXPECT_THROW(directions.GetDirections(theta, phi), CException);
    }
}

TEST_F(FiberDirections, MapsOfACancelledRunAreEmpty) {
    const auto image = SmallCrowd(25);
    CMeasured measured(*image);
    test::CRecordingProgress progress;
    progress.isCancelled = true;
    measured.Directions().SetProgress(CProgressProxy(&progress));
    const IImage* theta = nullptr;
    const IImage* phi = nullptr;
    measured.Directions().GetDirections(theta, phi);
    const std::unique_ptr<const IImage> thetaOwner(theta);
    const std::unique_ptr<const IImage> phiOwner(phi);
    for (const IImage* const map : {theta, phi}) {
        for (const float pixel : PixelsOf<float>(*map))
            ASSERT_EQ(pixel, -1.0F);
    }
}

// --- the view request
// ---------------------------------------------------------------------------------------------

TEST_F(FiberDirections, AViewRequestReplacesAnEarlierOne) {
    CValueMap tree;
    tree.SetEntry("output/documents/add", new CValueVector);
    tree.SetEntry("output/views/create/3", new CValueDouble(1.0));
    CValueMap document;
    const CValueDouble extra(7.0);
    CSubfieldFiberDirections::RepackMeasuredFeaturesForQuillon(tree, "MyView", &extra, "fibres", &document);
    const CValueVector& views = *tree.Entry("output/views/create", true)->Vector();
    ASSERT_EQ(views.Size(), 1U);
    CValueMap& view = *views[0]->Map();
    EXPECT_EQ(KeysOf(view), (Texts{"document", "extra", "label", "type"}));
    EXPECT_EQ(view.EntryString("type").Std(), "MyView");
    EXPECT_EQ(view.EntryString("label").Std(), "fibres");
    EXPECT_EQ(Number(view, "extra"), 7.0);
    EXPECT_EQ(UnwrapPointer<CValueMap>(view.Entry("document", true)), &document);
    EXPECT_TRUE(tree.HasEntry("output/documents/add"));
}

TEST_F(FiberDirections, AViewWithoutANameIsTheAttributesView) {
    for (const char* const name : {"", static_cast<const char*>(nullptr)}) {
        CValueMap tree;
        CValueMap document;
        CSubfieldFiberDirections::RepackMeasuredFeaturesForQuillon(tree, name, nullptr, nullptr, &document);
        CValueMap& view = *tree.Entry("output/views/create/0", true)->Map();
        EXPECT_EQ(KeysOf(view), (Texts{"document", "type"}));
        EXPECT_EQ(view.EntryString("type").Std(), "ImageAttributesView");
        EXPECT_EQ(KeysOf(*tree.Entry("output", true)->Map()), Texts{"views"});
    }
}

TEST(FiberDirectionKeys, HaveTheirNames) {
    EXPECT_STREQ(CSubfieldFiberDirections::sFiberDirectionsId, "FiberDirections");
    EXPECT_STREQ(CSubfieldFiberDirections::sFieldFiberDirectionsId, "FieldFiberDirections");
    EXPECT_STREQ(CSubfieldFiberDirections::sSubfieldFiberDirectionsId, "SubfieldFiberDirections");
    EXPECT_STREQ(CSubfieldFiberDirections::sSubfieldProfiles, "SubfieldProfiles");
    EXPECT_EQ(CHessianOrientations::m_fDefaultOtsuFactor, 1.25);
}

} // namespace
