#include "QuillonTransformation/axis/MedialAxisKernel.h"

#include "QuillonTransformation/CExactMedialAxis.h"
#include "QuillonTransformation/axis/FindMedialAxisNeighborhood.h"
#include "QuillonTransformation/axis/LookUpTableFile.h"

#include "oracles/AxisOracle.h"
#include "support/CRandomSeeds.h"
#include "support/CRecordingProgress.h"
#include "support/CThreadCount.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <QuillonBase/CProgressProxy.h>
#include <QuillonBase/Parallel.h>
#include <sorblib2core/CException.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <numeric>
#include <string>

namespace {

using namespace ORVEN;
using test::ObjectOf;
using test::PixelsOf;
using test::Raised;
using test::Solid;
using test::StObject;
using Bytes = std::vector<unsigned char>;

std::unique_ptr<CImage> OutputFor(const IImage& image) {
    auto output = std::make_unique<CImage>(IMAGE_BINARY_FG, image.Size(), CSize(0, 0, 0));
    const CImageView<unsigned char> view(*output);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y)
            std::fill_n(view.Row(y, z), view.nx, static_cast<unsigned char>(7)); // what was there before
    }
    return output;
}

Bytes AxisOf(const IImage& distance, std::int64_t squaredRadius = 0, const std::string& table = {}) {
    const auto output = OutputFor(distance);
    CProgressProxy progress;
    MarkMedialAxis(distance, *output, squaredRadius, table, progress);
    return PixelsOf<unsigned char>(*output);
}

Bytes AxisOf(const StObject& object, std::int64_t squaredRadius = 0, const std::string& table = {}) {
    return AxisOf(*test::SquaredDistanceImage(object), squaredRadius, table);
}

std::int64_t Count(const Bytes& marks) {
    return std::accumulate(marks.begin(), marks.end(), std::int64_t{0});
}

TEST(MarkMedialAxis, ASolidOfFiveKeepsItsCentreAndItsDiagonals) {
    const StObject solid = Solid({5, 5, 5}, 1);
    const Bytes axis = AxisOf(solid);
    const Bytes expected = ObjectOf({7, 7, 7}, [](const test::Vector& p) {
                               const auto away = [](std::int64_t a) { return a == 3 ? 0 : std::abs(a - 3); };
                               const bool isInside = away(p[0]) <= 1 && away(p[1]) <= 1 && away(p[2]) <= 1;
                               return isInside && away(p[0]) + away(p[1]) + away(p[2]) != 1;
                           }).pixels;
    EXPECT_EQ(axis, expected);
    EXPECT_EQ(Count(axis), 21);
}

TEST(MarkMedialAxis, CountsOfBlocksAndSlabs) {
    EXPECT_EQ(Count(AxisOf(Solid({6, 6, 6}, 1))), 40);
    EXPECT_EQ(Count(AxisOf(Solid({9, 3, 3}, 1))), 7);
    EXPECT_EQ(Count(AxisOf(Solid({9, 9, 3}, 1))), 49);
    EXPECT_EQ(Count(AxisOf(Solid({9, 9, 4}, 1))), 98); // an even width gives an axis two pixels wide
}

TEST(MarkMedialAxis, ABlockThatFillsTheImageIsSurroundedByBackground) {
    EXPECT_EQ(Count(AxisOf(Solid({5, 5, 5}, 0))), 21);
    EXPECT_EQ(AxisOf(Solid({1, 1, 1}, 0)), Bytes{1});
    EXPECT_EQ(AxisOf(Solid({1, 7, 1}, 0)), Bytes(7, 1));
}

TEST(MarkMedialAxis, AnEmptyObjectHasNone) {
    EXPECT_EQ(AxisOf(StObject(4, 3, 2)), Bytes(24, 0));
    EXPECT_EQ(AxisOf(StObject(0, 3, 2)), Bytes());
}

TEST(MarkMedialAxis, ABallHasItsCentreAlone) {
    for (std::int64_t squaredLength = 0; squaredLength <= 110; ++squaredLength) {
        const StObject ball = test::Ball(squaredLength);
        Bytes expected(ball.pixels.size(), 0);
        expected[expected.size() / 2] = 1;
        ASSERT_EQ(AxisOf(ball), expected) << squaredLength;
    }
}

TEST(MarkMedialAxis, TheSquaredRadiusIsTestedAfterMaximality) {
    const StObject solid = Solid({5, 5, 5}, 1);
    const auto distances = test::SquaredDistancesOf(solid);
    const Bytes all = AxisOf(solid);
    for (const std::int64_t least :
         {std::numeric_limits<std::int64_t>::min(), std::int64_t{-1}, std::int64_t{0}, std::int64_t{1},
          std::int64_t{4}, std::int64_t{5}, std::int64_t{9}, std::int64_t{10}, std::int64_t{1} << 32,
          std::numeric_limits<std::int64_t>::max()}) {
        Bytes expected(all);
        for (std::size_t i = 0; i < expected.size(); ++i)
            expected[i] = all[i] != 0 && distances[i] >= least ? 1 : 0;
        EXPECT_EQ(AxisOf(solid, least), expected) << least;
    }
    EXPECT_EQ(Count(AxisOf(solid, 5)), 1);
}

TEST(MarkMedialAxis, EqualsTheCentresOfMaximalBallsOfRandomObjects) {
    for (const unsigned seed : test::CRandomSeeds(0, 400)) {
        std::mt19937 random(seed);
        const StObject object = test::RandomObject(random, seed % 2 == 0 ? 16 : 9);
        const Bytes axis = AxisOf(object);
        ASSERT_EQ(axis, test::CentresOfMaximalBalls(object));
        ASSERT_EQ(test::UnionOfBalls(object, axis), object.pixels);
    }
}

TEST(MarkMedialAxis, EqualsTheCentresOfMaximalBallsWhereBallsAreLarge) {
    // Balls that lean on one another just so are what needs the long vectors.
    for (const unsigned seed : test::CRandomSeeds(0, 3)) {
        std::mt19937 random(seed);
        std::uniform_int_distribution<std::int64_t> shift(0, 5);
        std::uniform_int_distribution<std::int64_t> squaredRadius(60, 170);
        std::vector<std::pair<test::Vector, std::int64_t>> balls;
        for (int i = 0; i < 3; ++i)
            balls.push_back(
                {{12 + shift(random), 12 + shift(random), 12 + shift(random)}, squaredRadius(random)});
        const StObject object = ObjectOf({30, 30, 30}, [&balls](const test::Vector& p) {
            return std::ranges::any_of(balls, [&p](const auto& ball) {
                std::int64_t square = 0;
                for (std::size_t axis = 0; axis < 3; ++axis)
                    square += (p[axis] - ball.first[axis]) * (p[axis] - ball.first[axis]);
                return square < ball.second;
            });
        });
        const Bytes axis = AxisOf(object);
        ASSERT_EQ(axis, test::CentresOfMaximalBalls(object));
        ASSERT_EQ(test::UnionOfBalls(object, axis), object.pixels);
    }
}

TEST(MarkMedialAxis, EqualsTheCentresOfMaximalBallsOfFlatAndLongObjects) {
    // Boxes from a line to a block, with a few holes.
    for (const unsigned seed : test::CRandomSeeds(0, 60)) {
        std::mt19937 random(seed);
        test::Vector size{1 + static_cast<std::int64_t>(random() % 4),
                          1 + static_cast<std::int64_t>(random() % 14),
                          1 + static_cast<std::int64_t>(random() % 34)};
        std::ranges::shuffle(size, random);
        StObject object = Solid(size, 0);
        for (std::size_t i = 0; i < seed % 4; ++i)
            object.pixels[random() % object.pixels.size()] = 0;
        ASSERT_EQ(AxisOf(object), test::CentresOfMaximalBalls(object));
    }
}

TEST(MarkMedialAxis, EqualsTheCentresOfMaximalBallsBetweenFlatFacets) {
    for (const unsigned seed : test::CRandomSeeds(0, 6)) {
        std::mt19937 random(seed);
        std::normal_distribution<double> component;
        std::array<std::array<double, 3>, 7> normals{};
        for (auto& normal : normals) {
            for (double& value : normal)
                value = component(random);
            const double length = std::hypot(normal[0], normal[1], normal[2]);
            for (double& value : normal)
                value /= length;
        }
        const StObject object = ObjectOf({31, 27, 29}, [&normals](const test::Vector& p) {
            return std::ranges::all_of(normals, [&p](const auto& normal) {
                double height = 0.0;
                for (std::size_t axis = 0; axis < 3; ++axis)
                    height += normal[axis] * (static_cast<double>(p[axis]) - 14.0);
                return height < 10.0;
            });
        });
        const Bytes axis = AxisOf(object);
        ASSERT_EQ(axis, test::CentresOfMaximalBalls(object));
        ASSERT_EQ(test::UnionOfBalls(object, axis), object.pixels);
    }
}

TEST(MarkMedialAxis, CommutesWithTheSymmetriesOfTheGrid) {
    for (const unsigned seed : test::CRandomSeeds(0, 6)) {
        std::mt19937 random(seed);
        StObject object = test::RandomObject(random, 14);
        const Bytes axis = AxisOf(object);
        for (int number = 0; number < 48; ++number) {
            const test::CSymmetry symmetry(number);
            StObject marked(object);
            marked.pixels = axis;
            ASSERT_EQ(AxisOf(symmetry.Apply(object)), symmetry.Apply(marked).pixels) << number;
        }
    }
}

TEST(MarkMedialAxis, BackgroundAroundTheImageChangesNothing) {
    for (const unsigned seed : test::CRandomSeeds(0, 40)) {
        std::mt19937 random(seed);
        const StObject object = test::RandomObject(random, 10);
        const auto padded = [](const StObject& inner, const Bytes& pixels) {
            StObject outer(inner.size[0] + 5, inner.size[1] + 3, inner.size[2] + 2);
            for (const test::Vector& p : inner.Positions())
                outer.pixels[outer.Index({p[0] + 2, p[1] + 1, p[2] + 2})] = pixels[inner.Index(p)];
            return outer;
        };
        ASSERT_EQ(AxisOf(padded(object, object.pixels)), padded(object, AxisOf(object)).pixels);
    }
}

TEST(MarkMedialAxis, IsTheSameForAnyNumberOfThreads) {
    std::mt19937 random(3);
    const auto distance = test::SquaredDistanceImage(
        ObjectOf({23, 37, 40}, [&random](const test::Vector&) { return random() % 19 != 0; }));
    SetThreadCount(1);
    const Bytes one = AxisOf(*distance);
    for (const int count : {2, 3, 7}) {
        SetThreadCount(count);
        EXPECT_EQ(AxisOf(*distance), one) << count;
    }
    SetThreadCount(0);
}

TEST(MarkMedialAxis, ACancelledRunLeavesZeros) {
    const auto distance = test::SquaredDistanceImage(Solid({9, 9, 9}, 1));
    const auto output = OutputFor(*distance);
    test::CRecordingProgress progress;
    progress.isCancelled = true;
    MarkMedialAxis(*distance, *output, 0, {}, progress);
    EXPECT_EQ(PixelsOf<unsigned char>(*output), Bytes(11 * 11 * 11, 0));
}

/// Cancels itself at its first step.
class CImpatientProgress : public test::CRecordingProgress {
public:
    void Step(unsigned amount, int flag) override {
        CRecordingProgress::Step(amount, flag);
        Cancel();
    }
};

TEST(MarkMedialAxis, OfWhatWasDoneBeforeTheCancellationNothingStays) {
    const test::CThreadCount threads(1);
    const StObject solid = Solid({5, 5, 40}, 0);
    const auto distance = test::SquaredDistanceImage(solid);
    const auto output = OutputFor(*distance);
    CImpatientProgress progress;
    MarkMedialAxis(*distance, *output, 0, {}, progress);
    EXPECT_EQ(PixelsOf<unsigned char>(*output), Bytes(5 * 5 * 40, 0));
    EXPECT_EQ(progress.calls, (std::vector<std::string>{"Start 3 medial axis", "Step 1 0", "Finish"}));
}

/// Answers true to one question only.
class CForgetfulProgress : public test::CRecordingProgress {
public:
    explicit CForgetfulProgress(int question)
        : m_question(question) {}
    bool IsCancelled() override { return m_asked++ == m_question; }
    [[nodiscard]] int Asked() const { return m_asked; }

private:
    int m_question;
    int m_asked = 0;
};

TEST(MarkMedialAxis, ASinkThatForgetsACancellationGetsAllOrNothing) {
    const test::CThreadCount threads(1);
    const auto distance = test::SquaredDistanceImage(Solid({31, 31, 31}, 0));
    std::vector<Bytes> results;
    for (bool wasAsked = true; wasAsked;) {
        CForgetfulProgress progress(static_cast<int>(results.size()));
        const auto output = OutputFor(*distance);
        MarkMedialAxis(*distance, *output, 0, {}, progress);
        wasAsked = progress.Asked() > static_cast<int>(results.size());
        results.push_back(PixelsOf<unsigned char>(*output));
    }
    EXPECT_GT(results.size(), 31U) << "reading the distances asks for each plane";
    // The last run was never cancelled. It comes last because it leaves a table that is large enough for all.
    const Bytes none(results.back().size(), 0);
    for (std::size_t question = 0; question < results.size(); ++question)
        EXPECT_TRUE(results[question] == none || results[question] == results.back()) << question;
    EXPECT_NE(results.back(), none);
}

TEST(MarkMedialAxis, ReportsEachBlock) {
    const auto distance = test::SquaredDistanceImage(Solid({3, 33, 17}, 0));
    const auto output = OutputFor(*distance);
    test::CRecordingProgress progress;
    MarkMedialAxis(*distance, *output, 0, {}, progress);
    EXPECT_EQ(progress.calls.front(), "Start 4 medial axis");
    EXPECT_EQ(progress.calls.back(), "Finish");
    EXPECT_EQ(progress.steps, 4U);
    EXPECT_TRUE(progress.isFromOneThread);
}

std::string RefusalOf(const IImage& distance, IImage& output) {
    CProgressProxy progress;
    return Raised<CException>([&] { MarkMedialAxis(distance, output, 0, {}, progress); }).Message();
}

TEST(MarkMedialAxis, RefusesOtherTypesAndSizes) {
    const CSize none(0, 0, 0);
    const CImage distance(IMAGE_GREY_32, CSize(4, 4, 4), none);
    CImage output(IMAGE_BINARY_FG, CSize(4, 4, 4), none);
    CImage greyOutput(IMAGE_GREY_8, CSize(4, 4, 4), none);
    CImage smallOutput(IMAGE_BINARY_FG, CSize(4, 4, 3), none);
    CImage flatOutput(IMAGE_BINARY_FG, CSize(4, 4), none);
    EXPECT_EQ(RefusalOf(CImage(IMAGE_GREY_F, CSize(4, 4, 4), none), output),
              "Image type IMAGE_GREY_F not supported.");
    EXPECT_EQ(RefusalOf(distance, greyOutput), "Image type IMAGE_GREY_8 not supported.");
    EXPECT_EQ(RefusalOf(distance, smallOutput),
              "Image of size (4,4,3) does not fit the distances of size (4,4,4).");
    EXPECT_EQ(RefusalOf(CImage(IMAGE_GREY_32, CSize(4, 4), none), flatOutput),
              "Image dimension 2 not supported.");
}

TEST(MarkMedialAxis, RefusesDistancesThatNoObjectHas) {
    CImage output(IMAGE_BINARY_FG, CSize(5, 5, 5), CSize(0, 0, 0));
    const auto withOne = [](std::uint32_t value) {
        std::vector<std::uint32_t> pixels(125, 1);
        pixels[60] = value;
        return test::ImageOf(IMAGE_GREY_32, CSize(5, 5, 5), pixels);
    };
    EXPECT_EQ(RefusalOf(*withOne(10), output), "Squared distance 10 in an image of size (5,5,5).");
    EXPECT_EQ(RefusalOf(*withOne(0xFFFFFFFF), output),
              "Squared distance 4294967295 in an image of size (5,5,5).");
}

TEST(MarkMedialAxis, RunsThroughDistancesThatAreNone) {
    for (const unsigned seed : test::CRandomSeeds(0, 20)) {
        std::mt19937 random(seed);
        const auto distance =
            test::RandomImage<std::uint32_t>(IMAGE_GREY_32, CSize(20, 20, 20), random, 0, 100);
        const auto output = OutputFor(*distance);
        CProgressProxy progress;
        MarkMedialAxis(*distance, *output, 0, {}, progress);
        const Bytes marks = PixelsOf<unsigned char>(*output);
        EXPECT_LE(*std::ranges::max_element(marks), 1);
    }
}

// --- tables ---

class MedialAxisTables : public testing::Test {
protected:
    ~MedialAxisTables() override { std::filesystem::remove(m_path); }

    void Write(const StMedialAxisNeighborhood& neighborhood) const {
        std::ofstream file(m_path, std::ios::binary);
        WriteMedialAxisNeighborhood(file, neighborhood);
    }

    const std::string m_path = testing::TempDir() + "axis-" + std::to_string(getpid()) + ".lut";
};

/// The first ball for which the nearest neighbours alone do not suffice.
StObject LongVectorObject() { return test::Ball(26); }

TEST_F(MedialAxisTables, ATableThatReachesAsFarYieldsTheSame) {
    Write(FindMedialAxisNeighborhood(100));
    for (const unsigned seed : test::CRandomSeeds(0, 20)) {
        std::mt19937 random(seed);
        const StObject object = test::RandomObject(random, 12);
        ASSERT_EQ(AxisOf(object, 0, m_path), AxisOf(object)) << seed;
    }
}

TEST_F(MedialAxisTables, ATableIsTakenAtItsWordWhereItReachesFarEnough) {
    // Without (2,1,1) the ball keeps pixels that are not on its axis, and loses none that is.
    StMedialAxisNeighborhood poor = FindMedialAxisNeighborhood(100);
    poor.generators.resize(3);
    Write(poor);
    const StObject ball = LongVectorObject();
    const Bytes axis = AxisOf(ball, 0, m_path);
    EXPECT_GT(Count(axis), 1);
    EXPECT_EQ(axis[axis.size() / 2], 1);
    EXPECT_EQ(Count(AxisOf(ball)), 1); // the table does not stay behind
}

TEST_F(MedialAxisTables, ATableOfShortReachIsReplacedByTheBuiltInOne) {
    Write({25, {}});
    EXPECT_EQ(Count(AxisOf(LongVectorObject(), 0, m_path)), 1);
}

TEST_F(MedialAxisTables, AMissingOrDamagedTableRaises) {
    EXPECT_EQ(Raised<CException>([&] { AxisOf(LongVectorObject(), 0, m_path); }).Message(),
              "Look-up table '" + m_path + "' is not usable: it cannot be read.");
    std::ofstream(m_path) << "no table";
    EXPECT_EQ(Raised<CException>([&] { AxisOf(LongVectorObject(), 0, m_path); }).Message(),
              "Look-up table '" + m_path + "' is not usable: it is not a look-up table.");
}

class ExactMedialAxis : public MedialAxisTables {
protected:
    ~ExactMedialAxis() override { CExactMedialAxis::Lut().clear(); }

    static std::int64_t CountOf(const StObject& object, std::uint64_t squaredRadius,
                                const std::string& table) {
        const auto distance = test::SquaredDistanceImage(object);
        const auto output = OutputFor(*distance);
        CExactMedialAxis algorithm(nullptr, nullptr);
        algorithm.ExactMedialAxis(algorithm.Progress(), *distance, *output, squaredRadius, table);
        return Count(PixelsOf<unsigned char>(*output));
    }
};

TEST_F(ExactMedialAxis, MarksFromASquaredRadiusOn) {
    const StObject solid = Solid({5, 5, 5}, 1);
    EXPECT_EQ(CountOf(solid, 0, {}), 21);
    EXPECT_EQ(CountOf(solid, 5, {}), 1);
    EXPECT_EQ(CountOf(solid, 10, {}), 0);
    EXPECT_EQ(CountOf(solid, std::uint64_t{1} << 63, {}), 0);
    EXPECT_EQ(CountOf(solid, std::numeric_limits<std::uint64_t>::max(), {}), 0);
}

TEST_F(ExactMedialAxis, PrefersTheTableOfTheCallToThatOfTheProcess) {
    EXPECT_EQ(CExactMedialAxis::Lut(), "");
    StMedialAxisNeighborhood poor{100, {}};
    Write(poor);
    const StObject ball = LongVectorObject();
    EXPECT_EQ(CountOf(ball, 0, {}), 1);
    const std::int64_t poorCount = CountOf(ball, 0, m_path);
    EXPECT_GT(poorCount, 1);
    CExactMedialAxis::Lut() = m_path;
    EXPECT_EQ(CountOf(ball, 0, {}), poorCount);
    const std::string missing = m_path + ".missing";
    EXPECT_EQ(Raised<CException>([&] { CountOf(ball, 0, missing); }).Message(),
              "Look-up table '" + missing + "' is not usable: it cannot be read.");
}

} // namespace
