#include "BasicsTest.h"

#include "pixels/Percentiles.h"

#include <QuillonBase/CProgressProxy.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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
using test::Shorts;

TEST(Invert, SwapsABinaryImage) {
    CBasicsRun run("Invert", Line<unsigned char>(IMAGE_BINARY_FG, {0, 1, 1}));
    EXPECT_EQ(run.Run(), "invert()");
    EXPECT_EQ(run.Result().Type(), IMAGE_BINARY_FG);
    EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), (Bytes{1, 0, 0}));
}

TEST(Invert, SubtractsFromTheGreatestValueOfTheImage) {
    CBasicsRun bytes("Invert", Line<unsigned char>(IMAGE_GREY_8, {3, 10, 7}));
    bytes.Run();
    EXPECT_EQ(PixelsOf<unsigned char>(bytes.Result()), (Bytes{7, 0, 3}));
    CBasicsRun floats("Invert", Line<float>(IMAGE_GREY_F, {-2.0F, 1.5F, c_nan}));
    floats.Run();
    const Floats pixels = PixelsOf<float>(floats.Result());
    EXPECT_EQ(pixels[0], 3.5F);
    EXPECT_EQ(pixels[1], 0.0F);
    EXPECT_TRUE(std::isnan(pixels[2]));
    CBasicsRun words("Invert", Line<std::uint32_t>(IMAGE_GREY_32, {0, 4294967295U}));
    words.Run();
    EXPECT_EQ(PixelsOf<std::uint32_t>(words.Result()), (std::vector<std::uint32_t>{4294967295U, 0}));
}

TEST(Rescale, MapsTheRangeAndClampsTheRest) {
    CBasicsRun run("Rescale", Line<unsigned short>(IMAGE_GREY_16, {50, 100, 200, 300, 400}));
    run.With("from", 100).With("to", 300);
    EXPECT_EQ(run.Run(), "rescale(grey8,from=100,to=300)");
    EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), (Bytes{0, 0, 128, 255, 255}));
    run.WithText("type", "grey16");
    EXPECT_EQ(run.Run(), "rescale(grey16,from=100,to=300)");
    EXPECT_EQ(PixelsOf<unsigned short>(run.Result()), (Shorts{0, 0, 32768, 65535, 65535}));
    run.WithText("type", "greyf");
    EXPECT_EQ(run.Run(), "rescale(greyf,from=100,to=300)");
    EXPECT_EQ(PixelsOf<float>(run.Result()), (Floats{0.0F, 0.0F, 0.5F, 1.0F, 1.0F}));
}

TEST(Rescale, TakesPercentilesWithoutLimits) {
    Shorts pixels(1001);
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<unsigned short>(i * 10);
    CBasicsRun run("Rescale", Line<unsigned short>(IMAGE_GREY_16, pixels));
    EXPECT_EQ(run.Run(), "rescale(grey8,from=10,to=9990)"); // ranks 1 and 999 of 0 to 1000
}

TEST(Rescale, NanAndAnImageOfOneValueBecome0) {
    CBasicsRun run("Rescale", Line<float>(IMAGE_GREY_F, {c_nan, 0.0F, 4.0F}));
    run.With("from", 0).With("to", 4).Run();
    EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), (Bytes{0, 0, 255}));
    CBasicsRun constant("Rescale", Line<unsigned char>(IMAGE_GREY_8, {7, 7}));
    constant.Run();
    EXPECT_EQ(PixelsOf<unsigned char>(constant.Result()), (Bytes{0, 0}));
}

TEST(Rescale, RefusesUnknownTypesAndEmptyRanges) {
    CBasicsRun run("Rescale", Line<unsigned char>(IMAGE_GREY_8, {1, 2}));
    run.WithText("type", "grey32");
    EXPECT_EQ(run.Refusal(), "Rescale: type = grey32 must be grey8, grey16 or greyf.");
    run.WithText("type", "grey8").With("from", 5).With("to", 5);
    EXPECT_EQ(run.Refusal(), "Rescale: from = 5 must be less than to = 5.");
    CBasicsRun none("Rescale", Line<float>(IMAGE_GREY_F, {c_nan}));
    EXPECT_EQ(none.Refusal(), "Rescale: the image must have finite grey values.");
}

TEST(Percentiles, AreThoseOfTheSortedValues) {
    std::mt19937 random(9);
    const auto image = test::RandomImage<float>(IMAGE_GREY_F, CSize(31, 7, 3), random, -1000, 1000);
    Floats sorted = PixelsOf<float>(*image);
    std::ranges::sort(sorted);
    CProgressProxy silent;
    const std::vector<double> percentages{0.0, 0.1, 12.5, 50.0, 99.9, 100.0};
    const auto found = quillon::basics::Percentiles(*image, percentages, silent);
    for (std::size_t i = 0; i < percentages.size(); ++i) {
        const double rank = static_cast<double>(sorted.size() - 1) * percentages[i] / 100.0;
        const auto below = static_cast<std::size_t>(rank);
        const double next = sorted[std::min(below + 1, sorted.size() - 1)];
        EXPECT_NEAR(found[i], sorted[below] + (rank - static_cast<double>(below)) * (next - sorted[below]),
                    1e-9);
    }
}

TEST(OrderedKeys, KeepTheOrderOfFloatsAndComeBack) {
    const float infinity = std::numeric_limits<float>::infinity();
    const Floats values{-infinity, -1e30F, -1.0F, -1e-40F, 0.0F, 1e-40F, 2.5F, infinity};
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::uint32_t key = quillon::basics::OrderedKey(values[i]);
        EXPECT_EQ(quillon::basics::OfOrderedKey<float>(key), values[i]);
        EXPECT_GT(key, i > 0 ? quillon::basics::OrderedKey(values[i - 1]) : 0U);
    }
    EXPECT_EQ(quillon::basics::OrderedKey(-0.0F), quillon::basics::OrderedKey(0.0F));
    EXPECT_EQ(quillon::basics::OrderedKey(c_nan), 0U);
    EXPECT_TRUE(std::isnan(quillon::basics::OfOrderedKey<float>(0)));
}

struct StOperation {
    const char* name;
    const IImage::CType& type;
    std::vector<double> values; ///< of (200, 100) and (7, 12)
};

void PrintTo(const StOperation& operation, std::ostream* stream) { *stream << operation.name; }

class ArithmeticOperations : public testing::TestWithParam<StOperation> {};

INSTANTIATE_TEST_SUITE_P(Basics, ArithmeticOperations,
                         testing::Values(StOperation{"add", IMAGE_GREY_F, {300, 19}},
                                         StOperation{"subtract", IMAGE_GREY_F, {100, -5}},
                                         StOperation{"multiply", IMAGE_GREY_F, {20000, 84}},
                                         StOperation{"divide", IMAGE_GREY_F, {2, 7.0F / 12.0F}},
                                         StOperation{"minimum", IMAGE_GREY_8, {100, 7}},
                                         StOperation{"maximum", IMAGE_GREY_8, {200, 12}},
                                         StOperation{"difference", IMAGE_GREY_8, {100, 5}},
                                         StOperation{"and", IMAGE_GREY_8, {64, 4}},
                                         StOperation{"or", IMAGE_GREY_8, {236, 15}},
                                         StOperation{"xor", IMAGE_GREY_8, {172, 11}}),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST_P(ArithmeticOperations, WorkOnTwoImages) {
    CBasicsRun run("Arithmetic", Line<unsigned char>(IMAGE_GREY_8, {200, 7}));
    run.WithImage2(Line<unsigned char>(IMAGE_GREY_8, {100, 12})).WithText("operation", GetParam().name);
    EXPECT_EQ(run.Run(), std::string("arithmetic(") + GetParam().name + ",Image2)");
    ASSERT_EQ(run.Result().Type(), GetParam().type);
    for (std::size_t i = 0; i < 2; ++i) {
        const double value = GetParam().type == IMAGE_GREY_F ? PixelsOf<float>(run.Result())[i]
                                                             : PixelsOf<unsigned char>(run.Result())[i];
        EXPECT_EQ(value, GetParam().values[i]);
    }
}

TEST(Arithmetic, TheWiderTypeHoldsAResultThatIsChosen) {
    CBasicsRun images("Arithmetic", Line<unsigned char>(IMAGE_GREY_8, {200, 0}));
    images.WithText("operation", "difference");
    images.WithImage2(Line<unsigned short>(IMAGE_GREY_16, {60000, 5})).Run();
    EXPECT_EQ(PixelsOf<unsigned short>(images.Result()), (Shorts{59800, 5}));
    CBasicsRun value("Arithmetic", Line<unsigned char>(IMAGE_GREY_8, {200, 7}));
    EXPECT_EQ(value.WithText("operation", "maximum").With("value", 300).Run(), "arithmetic(maximum,300)");
    EXPECT_EQ(PixelsOf<unsigned short>(value.Result()), (Shorts{300, 300}));
    value.With("value", 7.5).Run();
    EXPECT_EQ(PixelsOf<float>(value.Result()), (Floats{200.0F, 7.5F}));
}

TEST(Arithmetic, BinaryImagesStayBinaryWhereTheyCan) {
    CBasicsRun run("Arithmetic", Line<unsigned char>(IMAGE_BINARY_FG, {0, 0, 1, 1}));
    run.WithImage2(Line<unsigned char>(IMAGE_BINARY_FG, {0, 1, 0, 1}));
    for (const auto& [name, pixels] :
         {std::pair("and", Bytes{0, 0, 0, 1}), std::pair("or", Bytes{0, 1, 1, 1}),
          std::pair("xor", Bytes{0, 1, 1, 0}), std::pair("minimum", Bytes{0, 0, 0, 1}),
          std::pair("difference", Bytes{0, 1, 1, 0})}) {
        run.WithText("operation", name).Run();
        EXPECT_EQ(run.Result().Type(), IMAGE_BINARY_FG);
        EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), pixels) << name;
    }
    run.WithText("operation", "add").Run();
    EXPECT_EQ(PixelsOf<float>(run.Result()), (Floats{0.0F, 1.0F, 1.0F, 2.0F}));
}

TEST(Arithmetic, DivisionBy0Gives0) {
    CBasicsRun run("Arithmetic", Line<unsigned char>(IMAGE_GREY_8, {0, 9}));
    run.WithText("operation", "divide").With("value", 0).Run();
    EXPECT_EQ(PixelsOf<float>(run.Result()), (Floats{0.0F, 0.0F}));
}

TEST(Arithmetic, RefusesWhatItCannotCombine) {
    CBasicsRun run("Arithmetic", Line<float>(IMAGE_GREY_F, {1.0F}));
    EXPECT_EQ(run.Refusal(), "Arithmetic: Image2 and value are both missing.");
    run.With("value", 2).WithImage2(Line<float>(IMAGE_GREY_F, {1.0F}));
    EXPECT_EQ(run.Refusal(), "Arithmetic: Image2 and value are both given.");
    run.Host().Tree().RemoveEntry("parameters");
    run.WithText("operation", "plus");
    EXPECT_EQ(run.Refusal(), "Arithmetic: operation = plus must be add, subtract, multiply, divide, minimum, "
                             "maximum, difference, and, or or xor.");
    run.WithText("operation", "xor").With("value", 1);
    EXPECT_EQ(run.Refusal(),
              "Arithmetic: operation = xor needs whole numbers from 0 to 4294967295, not float or "
              "value = 1.");
    run.Host().Tree().RemoveEntry("parameters");
    run.WithImage2(Line<float>(IMAGE_GREY_F, {1.0F, 2.0F}));
    EXPECT_EQ(run.Refusal(),
              "Arithmetic: Size of Image2 does not fit to current image: " + test::Extents({2}).ToString() +
                  " vs " + test::Extents({1}).ToString() + ".");
    run.WithImage2(std::make_unique<CImage>(IMAGE_COMPLEX_F, test::Extents({1}), test::Extents({0})));
    EXPECT_EQ(run.Refusal(), "Arithmetic: Image type IMAGE_COMPLEX_F not supported.");
}

TEST(Mask, SetsThePixelsOutside) {
    CBasicsRun run("Mask", Line<unsigned char>(IMAGE_GREY_8, {5, 6, 7}));
    run.WithImage2(Line<unsigned char>(IMAGE_BINARY_FG, {1, 0, 1}));
    EXPECT_EQ(run.Run(), "mask(Image2,outside=0)");
    EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), (Bytes{5, 0, 7}));
    EXPECT_EQ(run.With("outside", 255).Run(), "mask(Image2,outside=255)");
    EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), (Bytes{5, 255, 7}));
}

TEST(Mask, KeepsTheNumberOfLabels) {
    CBasicsRun run("Mask", Line<unsigned char>(IMAGE_GREY_8, {1, 2}));
    CQuillonHeaderTools::SetNumberOfLabels(run.Host().Image(), 3);
    run.WithImage2(Line<unsigned char>(IMAGE_BINARY_FG, {1, 0})).Run();
    EXPECT_EQ(test::AttributeOf(run.Result(), "number of labels"), 3.0);
}

TEST(Mask, RefusesWhatDoesNotFit) {
    CBasicsRun run("Mask", Line<unsigned char>(IMAGE_GREY_8, {5}));
    EXPECT_EQ(run.Refusal(), "Mask: Image2, the mask, is missing.");
    run.WithImage2(Line<unsigned char>(IMAGE_GREY_8, {1}));
    EXPECT_EQ(run.Refusal(), "Mask: Image2 must be binary and has the type IMAGE_GREY_8.");
    run.WithImage2(Line<unsigned char>(IMAGE_BINARY_FG, {1}));
    for (const double outside : {-1.0, 256.0, 0.5}) {
        run.With("outside", outside);
        EXPECT_EQ(run.Refusal().substr(0, 16), "Mask: outside = ");
    }
    run.With("outside", 256);
    EXPECT_EQ(run.Refusal(),
              "Mask: outside = 256 must be a whole number from 0 to 255 for this type of image.");
}

} // namespace
