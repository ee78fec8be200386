#include "QuillonTransformation/axis/BisectorKernel.h"

#include "QuillonTransformation/CExactBisector.h"
#include "QuillonTransformation/axis/LookUpTableFile.h"

#include "oracles/AxisOracle.h"
#include "support/CRandomSeeds.h"
#include "support/CRecordingProgress.h"
#include "support/CThreadCount.h"
#include "support/MemoryRefusal.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <QuillonBase/CProgressProxy.h>
#include <QuillonBase/Parallel.h>
#include <sorblib2core/CException.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>

namespace {

using namespace ORVEN;
using test::ObjectOf;
using test::PixelsOf;
using test::Raised;
using test::Solid;
using test::StObject;
using Floats = std::vector<float>;

constexpr float c_pi = 3.1415927F;

std::unique_ptr<CImage> OutputFor(const IImage& image) {
    auto output = std::make_unique<CImage>(IMAGE_GREY_F, image.Size(), CSize(0, 0, 0));
    const CImageView<float> view(*output);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y)
            std::fill_n(view.Row(y, z), view.nx, -7.0F); // what was there before
    }
    return output;
}

Floats BisectorOf(const StObject& object, const StObject& mask, float minimumAngle = 0.0F,
                  const std::string& table = {}) {
    const auto distance = test::SquaredDistanceImage(object);
    const auto output = OutputFor(*distance);
    CProgressProxy progress;
    ComputeBisector(*distance, *mask.Image(), *output, minimumAngle, table, progress);
    return PixelsOf<float>(*output);
}

Floats BisectorOf(const StObject& object, float minimumAngle = 0.0F) {
    return BisectorOf(object, object, minimumAngle);
}

/// The definition's angles in double are rounded to float by both; acos itself leaves a few units in the last
/// place open.
void ExpectSameAngles(const Floats& angles, const std::vector<double>& expected) {
    ASSERT_EQ(angles.size(), expected.size());
    for (std::size_t i = 0; i < angles.size(); ++i)
        ASSERT_NEAR(angles[i], expected[i], 2.5e-7) << i;
}

TEST(ComputeBisector, ASolidOfFive) {
    const StObject solid = Solid({5, 5, 5}, 1);
    const Floats angles = BisectorOf(solid);
    EXPECT_EQ(angles[solid.Index({3, 3, 3})], c_pi);
    EXPECT_EQ(angles[solid.Index({3, 2, 2})], c_pi);
    EXPECT_EQ(angles[solid.Index({2, 2, 2})], 2.4980915F); // acos(-0.8)
    EXPECT_EQ(angles[solid.Index({0, 3, 3})], 0.0F);
}

TEST(ComputeBisector, OverAFlatWallItIsTwiceTheArcTangentOfTheInverseDistance) {
    const StObject slab = Solid({13, 13, 13}, 0);
    const Floats angles = BisectorOf(slab);
    EXPECT_EQ(angles[slab.Index({6, 6, 0})], 1.57079637F);
    EXPECT_EQ(angles[slab.Index({6, 6, 1})], 0.9272952F);
    EXPECT_EQ(angles[slab.Index({6, 6, 2})], 0.6435011F);
}

TEST(ComputeBisector, TheMiddleOfASlabLiesBetweenOppositeWalls) {
    for (const std::int64_t thickness : {3, 4}) {
        const StObject slab = Solid({11, 11, thickness}, 0);
        const Floats angles = BisectorOf(slab);
        EXPECT_EQ(angles[slab.Index({5, 5, 1})], c_pi);
        EXPECT_EQ(angles[slab.Index({5, 5, thickness - 2})], c_pi);
    }
}

TEST(ComputeBisector, IsPiInTheCentreOfABall) {
    for (std::int64_t squaredLength = 0; squaredLength <= 100; squaredLength += 5) {
        const StObject ball = test::Ball(squaredLength);
        const Floats angles = BisectorOf(ball);
        EXPECT_EQ(angles[angles.size() / 2], c_pi) << squaredLength;
    }
}

TEST(ComputeBisector, AnImageOfOnePixelAndNone) {
    EXPECT_EQ(BisectorOf(Solid({1, 1, 1}, 0)), Floats{c_pi});
    EXPECT_EQ(BisectorOf(StObject(3, 2, 1)), Floats(6, 0.0F));
    EXPECT_EQ(BisectorOf(StObject(3, 0, 1)), Floats());
}

TEST(ComputeBisector, EqualsTheDefinitionOnRandomObjects) {
    for (const unsigned seed : test::CRandomSeeds(0, 300)) {
        std::mt19937 random(seed);
        const StObject object = test::RandomObject(random, seed % 16 == 0 ? 12 : 7);
        ASSERT_NO_FATAL_FAILURE(ExpectSameAngles(BisectorOf(object), test::BisectorAngles(object)));
    }
}

TEST(ComputeBisector, EqualsTheDefinitionWhereNearestPixelsAreMany) {
    // Centres of balls ask for spheres, and points of a cylinder's axis for wide boxes.
    for (const std::int64_t squaredLength : {9, 26, 50})
        ASSERT_NO_FATAL_FAILURE(ExpectSameAngles(BisectorOf(test::Ball(squaredLength)),
                                                 test::BisectorAngles(test::Ball(squaredLength))));
    const StObject cylinder = ObjectOf({13, 13, 6}, [](const test::Vector& p) {
        return (p[0] - 6) * (p[0] - 6) + (p[1] - 6) * (p[1] - 6) < 26;
    });
    ASSERT_NO_FATAL_FAILURE(ExpectSameAngles(BisectorOf(cylinder), test::BisectorAngles(cylinder)));
}

TEST(ComputeBisector, TheMaskSelectsPixelsAndChangesNoAngle) {
    std::mt19937 random(11);
    const StObject object =
        ObjectOf({15, 16, 35}, [&random](const test::Vector&) { return random() % 11 != 0; });
    const StObject mask =
        ObjectOf({15, 16, 35}, [&random](const test::Vector&) { return random() % 3 == 0; });
    const Floats all = BisectorOf(object);
    Floats expected(all);
    for (std::size_t i = 0; i < expected.size(); ++i)
        expected[i] = mask.pixels[i] != 0 ? all[i] : 0.0F;
    EXPECT_EQ(BisectorOf(object, mask), expected);
}

TEST(ComputeBisector, ARaisedAngleOnlyTurnsValuesInto0) {
    std::mt19937 random(5);
    const StObject object =
        ObjectOf({12, 12, 12}, [&random](const test::Vector&) { return random() % 13 != 0; });
    const Floats all = BisectorOf(object);
    for (const float minimum : {-1.0F, 0.5F, 1.57079637F, c_pi, 4.0F}) {
        Floats expected(all);
        std::ranges::replace_if(
            expected, [minimum](float angle) { return angle < minimum; }, 0.0F);
        EXPECT_EQ(BisectorOf(object, minimum), expected) << minimum;
    }
    EXPECT_GT(std::ranges::count(BisectorOf(object, c_pi), c_pi), 0); // an angle that equals it passes
    EXPECT_EQ(BisectorOf(object, std::numeric_limits<float>::quiet_NaN()), Floats(all.size(), 0.0F));
}

TEST(ComputeBisector, CommutesWithTheSymmetriesOfTheGrid) {
    for (const unsigned seed : test::CRandomSeeds(0, 6)) {
        std::mt19937 random(seed);
        const StObject object = test::RandomObject(random, 12);
        const Floats angles = BisectorOf(object);
        for (int number = 0; number < 48; ++number) {
            const test::CSymmetry symmetry(number);
            const StObject image = symmetry.Apply(object);
            Floats expected(angles.size());
            for (const test::Vector& p : object.Positions())
                expected[image.Index(symmetry.Apply(p, object.size))] = angles[object.Index(p)];
            ASSERT_EQ(BisectorOf(image), expected) << number;
        }
    }
}

TEST(ComputeBisector, BackgroundAroundTheImageChangesNothing) {
    for (const unsigned seed : test::CRandomSeeds(0, 30)) {
        std::mt19937 random(seed);
        const StObject object = test::RandomObject(random, 9);
        StObject outer(object.size[0] + 3, object.size[1] + 4, object.size[2] + 5);
        const auto moved = [](const test::Vector& p) { return test::Vector{p[0] + 1, p[1] + 2, p[2] + 3}; };
        for (const test::Vector& p : object.Positions())
            outer.pixels[outer.Index(moved(p))] = object.pixels[object.Index(p)];
        const Floats angles = BisectorOf(object);
        Floats expected(outer.pixels.size(), 0.0F);
        for (const test::Vector& p : object.Positions())
            expected[outer.Index(moved(p))] = angles[object.Index(p)];
        ASSERT_EQ(BisectorOf(outer), expected);
    }
}

TEST(ComputeBisector, IsTheSameForAnyNumberOfThreads) {
    std::mt19937 random(7);
    const StObject object =
        ObjectOf({9, 10, 70}, [&random](const test::Vector&) { return random() % 12 != 0; });
    const auto distance = test::SquaredDistanceImage(object);
    const auto mask = object.Image();
    const auto run = [&](int threadCount) {
        const test::CThreadCount threads(threadCount);
        const auto output = OutputFor(*distance);
        CProgressProxy progress;
        ComputeBisector(*distance, *mask, *output, 0.0F, {}, progress);
        return PixelsOf<float>(*output);
    };
    const Floats one = run(1);
    for (const int count : {2, 3, 7})
        EXPECT_EQ(run(count), one) << count;
}

/// Cancels itself at its first step.
class CImpatientProgress : public test::CRecordingProgress {
public:
    void Step(unsigned amount, int flag) override {
        CRecordingProgress::Step(amount, flag);
        Cancel();
    }
};

TEST(ComputeBisector, ACancelledRunLeavesZeros) {
    const StObject solid = Solid({3, 3, 60}, 0);
    const auto distance = test::SquaredDistanceImage(solid);
    const auto output = OutputFor(*distance);
    test::CRecordingProgress atOnce;
    atOnce.isCancelled = true;
    ComputeBisector(*distance, *solid.Image(), *output, 0.0F, {}, atOnce);
    EXPECT_EQ(PixelsOf<float>(*output), Floats(9 * 60, 0.0F));

    const test::CThreadCount threads(1);
    CImpatientProgress progress;
    ComputeBisector(*distance, *solid.Image(), *output, 0.0F, {}, progress);
    EXPECT_EQ(PixelsOf<float>(*output), Floats(9 * 60, 0.0F));
    EXPECT_EQ(progress.calls.back(), "Finish");
}

std::string RefusalOf(const IImage& distance, const IImage& mask, IImage& output) {
    CProgressProxy progress;
    return Raised<CException>([&] { ComputeBisector(distance, mask, output, 0.0F, {}, progress); }).Message();
}

TEST(ComputeBisector, RefusesOtherTypesAndSizes) {
    const CSize none(0, 0, 0);
    const CSize size(4, 4, 4);
    const CSize other(4, 5, 4);
    const CImage distance(IMAGE_GREY_32, size, none);
    const CImage mask(IMAGE_BINARY_FG, size, none);
    CImage output(IMAGE_GREY_F, size, none);
    CImage binaryOutput(IMAGE_BINARY_FG, size, none);
    CImage otherOutput(IMAGE_GREY_F, other, none);
    EXPECT_EQ(RefusalOf(mask, mask, output), "Image type IMAGE_BINARY_FG not supported.");
    EXPECT_EQ(RefusalOf(distance, distance, output), "Image type IMAGE_GREY_32 not supported.");
    EXPECT_EQ(RefusalOf(distance, mask, binaryOutput), "Image type IMAGE_BINARY_FG not supported.");
    EXPECT_EQ(RefusalOf(distance, CImage(IMAGE_BINARY_FG, other, none), output),
              "Image of size (4,5,4) does not fit the distances of size (4,4,4).");
    EXPECT_EQ(RefusalOf(distance, mask, otherOutput),
              "Image of size (4,5,4) does not fit the distances of size (4,4,4).");
    EXPECT_EQ(RefusalOf(CImage(IMAGE_GREY_32, CSize(4, 4), none), mask, output),
              "Image dimension 2 not supported.");
}

TEST(ComputeBisector, RunsThroughDistancesThatAreNone) {
    for (const unsigned seed : test::CRandomSeeds(0, 20)) {
        std::mt19937 random(seed);
        const auto distance =
            test::RandomImage<std::uint32_t>(IMAGE_GREY_32, CSize(20, 20, 20), random, 0, 100);
        const auto output = OutputFor(*distance);
        CProgressProxy progress;
        ComputeBisector(*distance, *Solid({20, 20, 20}, 0).Image(), *output, 0.0F, {}, progress);
        for (const float angle : PixelsOf<float>(*output))
            ASSERT_TRUE(angle >= 0.0F && angle <= c_pi) << seed;
    }
}

TEST(ComputeBisector, RefusesPlanesWhoseListsDoNotFit) {
    const test::CThreadCount threads(1);
    const CSize size(2000, 1600, 1);
    const CImage distance(IMAGE_GREY_32, size, CSize(0, 0, 0));
    const CImage mask(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
    CImage output(IMAGE_GREY_F, size, CSize(0, 0, 0));
    CProgressProxy progress;
    test::ExpectRefusedForLackOfMemory("The list of nearest background pixels",
                                       [&] { ComputeBisector(distance, mask, output, 0.0F, {}, progress); });
}

// --- tables ---

class ExactBisector : public testing::Test {
protected:
    ~ExactBisector() override {
        std::filesystem::remove(m_path);
        CExactBisector::Lut().clear();
    }

    static Floats Run(const StObject& object, const std::string& table) {
        const auto distance = test::SquaredDistanceImage(object);
        const auto output = OutputFor(*distance);
        CExactBisector algorithm(nullptr, nullptr);
        algorithm.ExactBisector(algorithm.Progress(), *distance, *object.Image(), *output, 0.0F, table);
        return PixelsOf<float>(*output);
    }

    const std::string m_path = testing::TempDir() + "spheres-" + std::to_string(getpid()) + ".lut";
};

TEST_F(ExactBisector, ATableDoesNotChangeTheResult) {
    for (const std::int32_t reach : {5, 100}) { // too short, long enough
        std::ofstream(m_path, std::ios::binary).close();
        std::ofstream file(m_path, std::ios::binary);
        WriteSphereVectors(file, CSphereVectors(reach));
        file.close();
        const StObject ball = test::Ball(60);
        EXPECT_EQ(Run(ball, m_path), BisectorOf(ball)) << reach;
    }
}

TEST_F(ExactBisector, PrefersTheTableOfTheCallToThatOfTheProcess) {
    EXPECT_EQ(CExactBisector::Lut(), "");
    const StObject ball = test::Ball(4);
    EXPECT_EQ(Run(ball, {}), BisectorOf(ball));
    CExactBisector::Lut() = m_path;
    EXPECT_EQ(Raised<CException>([&] { Run(ball, {}); }).Message(),
              "Look-up table '" + m_path + "' is not usable: it cannot be read.");
    std::ofstream file(m_path, std::ios::binary);
    WriteSphereVectors(file, CSphereVectors(100));
    file.close();
    EXPECT_EQ(Run(ball, {}), BisectorOf(ball));
    EXPECT_EQ(Raised<CException>([&] { Run(ball, m_path + ".missing"); }).Message(),
              "Look-up table '" + m_path + ".missing' is not usable: it cannot be read.");
}

} // namespace
