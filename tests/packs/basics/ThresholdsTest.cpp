#include "BasicsTest.h"

#include "thresholds/AutomaticThresholds.h"
#include "thresholds/CGreyHistogram.h"

#include <QuillonBase/CProgressProxy.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>

namespace {

using namespace ORVEN;
using test::Bytes;
using test::c_nan;
using test::CBasicsRun;
using test::Floats;
using test::Line;
using test::PixelsOf;

TEST(Threshold, BothLimitsAreIncluded) {
    CBasicsRun run("Threshold", Line<unsigned char>(IMAGE_GREY_8, {0, 39, 40, 100, 255}));
    EXPECT_EQ(run.With("lower", 40).With("upper", 100).Run(), "threshold(lower=40,upper=100)");
    EXPECT_EQ(run.Result().Type(), IMAGE_BINARY_FG);
    EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), (Bytes{0, 0, 1, 1, 0}));
}

TEST(Threshold, EitherLimitMayBeMissing) {
    CBasicsRun run("Threshold", Line<unsigned short>(IMAGE_GREY_16, {0, 4000, 65535}));
    EXPECT_EQ(run.With("lower", 4000.5).Run(), "threshold(lower=4000.5)");
    EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), (Bytes{0, 0, 1}));
    run.Host().Tree().RemoveEntry("parameters");
    EXPECT_EQ(run.With("upper", 4000).Run(), "threshold(upper=4000)") << "the lower limit is gone";
    EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), (Bytes{1, 1, 0}));
}

TEST(Threshold, NanIsBackground) {
    CBasicsRun run("Threshold", Line<float>(IMAGE_GREY_F, {-1.5F, c_nan, 2.0F}));
    run.With("lower", -1.5).Run();
    EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), (Bytes{1, 0, 1}));
}

TEST(Threshold, RefusesMissingAndCrossedLimits) {
    CBasicsRun run("Threshold", Line<unsigned char>(IMAGE_GREY_8, {1}));
    EXPECT_EQ(run.Refusal(), "Threshold: lower and upper are both missing.");
    run.With("lower", 200).With("upper", 100);
    EXPECT_EQ(run.Refusal(), "Threshold: lower = 200 must not be greater than upper = 100.");
    run.With("lower", std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(run.Refusal(), "Threshold: lower = nan must not be greater than upper = 100.");
}

TEST(AutoThreshold, OtsuSeparatesTwoHeapsAtTheEndOfTheDarkOne) {
    CBasicsRun run("AutoThreshold", Line<unsigned char>(IMAGE_GREY_8, {10, 11, 12, 200, 201, 202}));
    EXPECT_EQ(run.Run(), "autothreshold(otsu)<12>");
    EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), (Bytes{0, 0, 0, 1, 1, 1}));
    EXPECT_EQ(run.Result().Type(), IMAGE_BINARY_FG);
}

TEST(AutoThreshold, SeveralClassesAreLabelledFromDarkToBright) {
    CBasicsRun run("AutoThreshold", Line<unsigned short>(IMAGE_GREY_16, {900, 10, 500, 11, 901, 501}));
    EXPECT_EQ(run.WithWhole("classes", 3).Run(), "autothreshold(otsu,classes=3)<11,501>");
    EXPECT_EQ(run.Result().Type(), IMAGE_GREY_8);
    EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), (Bytes{2, 0, 1, 0, 2, 1}));
    EXPECT_EQ(test::AttributeOf(run.Result(), "number of labels"), 3.0);
}

/// The variance between the classes that thresholds make, times the number of pixels, by its definition.
double Between(const Bytes& pixels, const std::vector<int>& thresholds) {
    double mean = 0.0;
    for (const unsigned char pixel : pixels)
        mean += pixel;
    mean /= static_cast<double>(pixels.size());
    double between = 0.0;
    for (std::size_t k = 0; k <= thresholds.size(); ++k) {
        double count = 0.0;
        double sum = 0.0;
        for (const unsigned char pixel : pixels) {
            if ((k == 0 || pixel > thresholds[k - 1]) && (k == thresholds.size() || pixel <= thresholds[k])) {
                ++count;
                sum += pixel;
            }
        }
        if (count > 0.0)
            between += count * (sum / count - mean) * (sum / count - mean);
    }
    return between;
}

TEST(AutoThreshold, OtsuFindsTheBestOfAllCombinations) {
    std::mt19937 random(3);
    for (int round = 0; round < 20; ++round) {
        const auto image = test::RandomImage<unsigned char>(IMAGE_GREY_8, test::Extents({60}), random, 0, 14);
        const Bytes pixels = PixelsOf<unsigned char>(*image);
        CProgressProxy silent;
        const quillon::basics::CGreyHistogram histogram(*image, quillon::basics::RangeOf(*image, silent),
                                                        65536, silent);
        for (const int classes : {2, 3, 4}) {
            double best = -1.0;
            std::vector<int> choice(static_cast<std::size_t>(classes - 1));
            const std::function<void(std::size_t, int)> tryAll = [&](std::size_t place, int first) {
                if (place == choice.size()) {
                    best = std::max(best, Between(pixels, choice));
                    return;
                }
                for (choice[place] = first; choice[place] < 14; ++choice[place])
                    tryAll(place + 1, choice[place] + 1);
            };
            tryAll(0, 0);
            std::vector<int> found;
            for (const double threshold : quillon::basics::OtsuThresholds(histogram, classes))
                found.push_back(static_cast<int>(threshold));
            EXPECT_NEAR(Between(pixels, found), best, 1e-9 * best) << classes;
        }
    }
}

TEST(AutoThreshold, LiAgreesWithItsFixedPoint) {
    // Two values a and b, once each: the threshold is (a - b) / (ln a - ln b), counted from the least value;
    // the dark mean is 0 there, so that the mean stays.
    CBasicsRun two("AutoThreshold", Line<unsigned char>(IMAGE_GREY_8, {10, 20}));
    EXPECT_EQ(two.WithText("method", "li").Run(), "autothreshold(li)<15>");
    // Values 0, 1, 9 and 10: dark mean 0.5, bright mean 9.5, (0.5 - 9.5) / ln(0.5 / 9.5) = 3.0566...
    CBasicsRun four("AutoThreshold", Line<unsigned char>(IMAGE_GREY_8, {0, 1, 9, 10}));
    four.WithText("method", "li");
    const std::string history = four.Run();
    EXPECT_EQ(history.substr(0, 24), "autothreshold(li)<3.0566") << history;
    EXPECT_EQ(PixelsOf<unsigned char>(four.Result()), (Bytes{0, 0, 1, 1}));
}

TEST(AutoThreshold, TriangleTakesTheBinFarthestBelowTheLine) {
    // Counts 1, 1, 1, 5, 9 for 0 to 4: distances 9 x - 4 n at x = 0..3 are -4, 5, 14, 7.
    Bytes pixels{0, 1, 2};
    pixels.insert(pixels.end(), 5, 3);
    pixels.insert(pixels.end(), 9, 4);
    CBasicsRun dark("AutoThreshold", Line<unsigned char>(IMAGE_GREY_8, pixels));
    EXPECT_EQ(dark.WithText("method", "triangle").Run(), "autothreshold(triangle)<2>");
    // The mirror image has its tail on the bright side.
    for (unsigned char& pixel : pixels)
        pixel = static_cast<unsigned char>(4 - pixel);
    CBasicsRun bright("AutoThreshold", Line<unsigned char>(IMAGE_GREY_8, pixels));
    EXPECT_EQ(bright.WithText("method", "triangle").Run(), "autothreshold(triangle)<2>");
}

TEST(AutoThreshold, AnImageOfOneValueIsAllBackground) {
    for (const char* method : {"otsu", "li", "triangle"}) {
        CBasicsRun run("AutoThreshold", Line<float>(IMAGE_GREY_F, {7.5F, 7.5F}));
        EXPECT_EQ(run.WithText("method", method).Run(), std::string("autothreshold(") + method + ")<7.5>");
        EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), (Bytes{0, 0}));
    }
}

TEST(AutoThreshold, FloatsAreSeparatedAndNanIsBackground) {
    CBasicsRun run("AutoThreshold", Line<float>(IMAGE_GREY_F, {-1.0F, -0.9F, c_nan, 5.0F, 5.2F}));
    run.Run();
    EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), (Bytes{0, 0, 0, 1, 1}));
}

TEST(AutoThreshold, RefusesWhatItCannotDo) {
    CBasicsRun run("AutoThreshold", Line<unsigned char>(IMAGE_GREY_8, {1, 2, 3}));
    run.WithText("method", "Otsu");
    EXPECT_EQ(run.Refusal(), "AutoThreshold: method = Otsu must be otsu, li or triangle.");
    run.WithText("method", "li").WithWhole("classes", 3);
    EXPECT_EQ(run.Refusal(), "AutoThreshold: classes = 3 needs method = otsu; li has 2 classes.");
    run.WithText("method", "otsu").WithWhole("classes", 6);
    EXPECT_EQ(run.Refusal(), "AutoThreshold: classes = 6 must be from 2 to 5.");
    run.WithWhole("classes", 4);
    EXPECT_EQ(run.Refusal(), "AutoThreshold: classes = 4 is more than the image has grey values, 3.");
    CBasicsRun infinite("AutoThreshold",
                        Line<float>(IMAGE_GREY_F, {1.0F, std::numeric_limits<float>::infinity()}));
    EXPECT_EQ(infinite.Refusal(), "AutoThreshold: the image must have finite grey values.");
    CBasicsRun binary("AutoThreshold", Line<unsigned char>(IMAGE_BINARY_FG, {0, 1}));
    EXPECT_EQ(binary.Refusal(), "AutoThreshold: Image type IMAGE_BINARY_FG not supported.");
}

} // namespace
