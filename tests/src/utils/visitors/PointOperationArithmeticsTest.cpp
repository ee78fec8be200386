#include "utils/visitors/PointOperationArithmetics.h"

#include "support/Raised.h"
#include "support/TestImage.h"
#include "support/TraversalTools.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>

using namespace ORVEN;
using test::Raised;
using test::Traverse;

namespace {

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr std::uint32_t greatestBits = 0x7F7FFFFF;
constexpr std::uint32_t leastBits = 0xFF7FFFFF;

using Root = visitors::CRoot<float, float>;
using Product = visitors::CMultValue<float, float>;

float Multiplied(float factor, float pixel) {
    const auto image = test::ImageOf<float>(IMAGE_GREY_F, CSize(1, 1), {pixel});
    Product multiply(factor);
    EXPECT_TRUE(Traverse(multiply, *image));
    return test::PixelsOf<float>(*image).front();
}

std::uint32_t MultipliedBits(float factor, float pixel) {
    return std::bit_cast<std::uint32_t>(Multiplied(factor, pixel));
}

float RootOf(Root& root, float pixel) {
    const auto image = test::ImageOf<float>(IMAGE_GREY_F, CSize(1, 1), {pixel});
    EXPECT_TRUE(Traverse(root, *image));
    return test::PixelsOf<float>(*image).front();
}

std::string RefusalOf(Root& root) {
    return Raised<CException>([&] { RootOf(root, 1.0F); }).Message();
}

} // namespace

TEST(CMultValue, Multiplies) {
    EXPECT_EQ(Multiplied(2.5F, 4.0F), 10.0F);
    EXPECT_EQ(Multiplied(-0.5F, 3.0F), -1.5F);
    EXPECT_EQ(Multiplied(0.0F, 3.0F), 0.0F);
}

TEST(CMultValue, SaturatesAtTheGreatestFloat) { EXPECT_EQ(MultipliedBits(10, 3e38F), greatestBits); }

TEST(CMultValue, SaturatesAtTheLeastFloat) { EXPECT_EQ(MultipliedBits(-10, 3e38F), leastBits); }

TEST(CMultValue, SaturatesBySignsOfFactorAndPixel) {
    EXPECT_EQ(MultipliedBits(10, -3e38F), leastBits);
    EXPECT_EQ(MultipliedBits(-10, -3e38F), greatestBits);
    EXPECT_EQ(MultipliedBits(1, infinity), greatestBits);
    EXPECT_EQ(MultipliedBits(1, -infinity), leastBits);
}

TEST(CMultValue, TurnsNaNIntoAFiniteValueBySign) {
    EXPECT_EQ(MultipliedBits(2, notANumber), greatestBits);
    EXPECT_EQ(MultipliedBits(-2, notANumber), leastBits);
    EXPECT_EQ(MultipliedBits(0, infinity), greatestBits);
    EXPECT_EQ(MultipliedBits(0, -infinity), leastBits);
}

TEST(CMultValue, LeavesTheGreatestFloatsThemselves) {
    EXPECT_EQ(MultipliedBits(1, std::bit_cast<float>(greatestBits)), greatestBits);
    EXPECT_EQ(MultipliedBits(1, std::bit_cast<float>(leastBits)), leastBits);
}

TEST(CMultValue, RefusesAMixOfComplexAndReal) {
    const char* message = "Arithmetics for mixed complex and real tuples not implemented.";
    EXPECT_STREQ(
        (Raised<CException>([] { visitors::CMultValue<std::complex<float>, float> mixed(1); }).Message()),
        message);
    EXPECT_STREQ(
        (Raised<CException>([] { visitors::CMultValue<float, std::complex<float>> mixed(1); }).Message()),
        message);
    EXPECT_NO_THROW((visitors::CMultValue<std::complex<float>, std::complex<float>>(1)));
}

TEST(CRoot, TakesTheSquareRootOfEachPixel) {
    const auto image = test::ImageOf<float>(IMAGE_GREY_F, CSize(2, 1, 2), {0, 1, 2, 1e30F});
    Root root;
    EXPECT_TRUE(Traverse(root, *image));
    EXPECT_EQ(test::PixelsOf<float>(*image),
              (std::vector<float>{0, 1, static_cast<float>(std::sqrt(2.0)),
                                  static_cast<float>(std::sqrt(static_cast<double>(1e30F)))}));
}

TEST(CRoot, NegativePixelYieldsNaN) {
    Root root;
    EXPECT_TRUE(std::isnan(RootOf(root, -1.0F)));
    EXPECT_TRUE(std::isnan(RootOf(root, notANumber)));
}

TEST(CRoot, InfinityBecomesTheGreatestFloat) {
    Root root;
    EXPECT_EQ(std::bit_cast<std::uint32_t>(RootOf(root, infinity)), greatestBits);
}

TEST(CRoot, SpreadsTheInputOverTheOutput) {
    Root root;
    root.m_isSpread = true;
    root.m_fX0 = 1;
    root.m_fX1 = 5;
    root.m_fY0 = 10;
    root.m_fY1 = 30;
    EXPECT_EQ(RootOf(root, 1.0F), 10.0F);
    EXPECT_EQ(RootOf(root, 5.0F), 30.0F);
    EXPECT_EQ(RootOf(root, 2.0F), 20.0F);
    EXPECT_TRUE(std::isnan(RootOf(root, 0.0F)));
}

TEST(CRoot, SpreadOfASinglePointIsARootPlusTheUpperOutput) {
    Root root;
    root.m_isSpread = true;
    root.m_fX0 = 3;
    root.m_fX1 = 3;
    root.m_fY0 = 10;
    root.m_fY1 = 30;
    EXPECT_EQ(RootOf(root, 7.0F), 2.0F + 30.0F);
}

TEST(CRoot, SpreadBeyondTheFloatsSaturatesOnBothSides) {
    Root root;
    root.m_isSpread = true;
    root.m_fX0 = 0;
    root.m_fX1 = 1;
    root.m_fY0 = 0;
    root.m_fY1 = 3e38;
    EXPECT_EQ(std::bit_cast<std::uint32_t>(RootOf(root, 100.0F)), greatestBits);
    root.m_fY0 = -1e300;
    EXPECT_EQ(std::bit_cast<std::uint32_t>(RootOf(root, 0.0F)), leastBits);
}

TEST(CRoot, ARunWithoutSpreadForgetsTheSpreadBefore) {
    Root root;
    root.m_isSpread = true;
    root.m_fX0 = 3;
    root.m_fX1 = 3;
    RootOf(root, 7.0F);
    root.m_isSpread = false;
    EXPECT_EQ(RootOf(root, 9.0F), 3.0F);
}

TEST(CRoot, EmptyIntervalRaises) {
    const std::string message = "Input and output intervals for spreading data must not be empty.";
    Root input;
    input.m_fX0 = 2;
    input.m_fX1 = 1;
    EXPECT_EQ(RefusalOf(input), message);
    Root output;
    output.m_fY0 = 2;
    output.m_fY1 = 1;
    EXPECT_EQ(RefusalOf(output), message);
}

TEST(CRoot, InfiniteBoundRaises) {
    Root root;
    root.m_fX0 = std::numeric_limits<double>::infinity();
    EXPECT_EQ(RefusalOf(root), "Parameters for square root function must be finite (m_fX0=inf, "
                               "m_fX1=3.40282e+38, m_fY0=-3.40282e+38, m_fY1=3.40282e+38).");
    Root other;
    other.m_fX0 = 1;
    other.m_fX1 = 2.5;
    other.m_fY0 = -3;
    other.m_fY1 = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(RefusalOf(other), "Parameters for square root function must be finite (m_fX0=1, "
                                "m_fX1=2.5, m_fY0=-3, m_fY1=nan).");
}

TEST(CRoot, RefusesComplexNumbers) {
    const char* message = "Square root complex numbers not implemented.";
    EXPECT_STREQ((Raised<CException>([] { visitors::CRoot<std::complex<float>, float> root; }).Message()),
                 message);
    EXPECT_STREQ((Raised<CException>([] { visitors::CRoot<float, std::complex<float>> root; }).Message()),
                 message);
}
