#include "support/CRandomSeeds.h"
#include "support/CRecordingProgress.h"
#include "support/TestImage.h"

#include <QuillonBase/Parallel.h>
#include <QuillonSegmentation/CFastLocalThresholding.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2image/ImageView.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>

namespace {

using namespace ORVEN;
using Bytes = std::vector<unsigned char>;
using UInt128 = unsigned __int128;

constexpr std::int32_t c_niblack = 0;
constexpr std::int32_t c_sauvola = 1;
constexpr unsigned char c_untouched = 7;

struct StParameters {
    std::int32_t w = 1;
    double k = -0.2;
    std::int32_t method = c_niblack;
};

std::string ToString(const StParameters& parameters) {
    return "w " + std::to_string(parameters.w) + ", k " + std::to_string(parameters.k) + ", method " +
           std::to_string(parameters.method);
}

template <class T>
const IImage::CType& TypeOf() {
    if constexpr (std::is_same_v<T, unsigned char>)
        return IMAGE_GREY_8;
    else if constexpr (std::is_same_v<T, unsigned short>)
        return IMAGE_GREY_16;
    else if constexpr (std::is_same_v<T, unsigned int>)
        return IMAGE_GREY_32;
    else
        return IMAGE_GREY_F;
}

template <class T>
std::unique_ptr<CImage> ImageOf(const CSize& size, const std::vector<T>& pixels) {
    return test::ImageOf<T>(TypeOf<T>(), size, pixels);
}

CSize Line(std::int64_t length) {
    CSize size(length, 1, 1);
    size.SetDim(1);
    return size;
}

void SetParameters(CFastLocalThresholding& algorithm, const StParameters& parameters) {
    algorithm.m_nWindowSize = parameters.w;
    algorithm.m_fCoefficient = parameters.k;
    algorithm.m_nMethod = parameters.method;
}

Bytes Binarized(const IImage& input, const StParameters& parameters) {
    const auto pixelCount = static_cast<std::size_t>(input.Size().PixelCount());
    const auto output = test::ImageOf(IMAGE_BINARY_FG, input.Size(), Bytes(pixelCount, c_untouched));
    CFastLocalThresholding algorithm(nullptr, nullptr);
    SetParameters(algorithm, parameters);
    algorithm.Binarize(*output, input);
    return test::PixelsOf<unsigned char>(*output);
}

/// Runs `body(values, pixel)` for each pixel with all values of its window.
template <class T, class Body>
void ForEachWindow(const IImage& image, std::int64_t w, const Body& body) {
    const CImageView<const T> view(image);
    std::vector<T> values;
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x) {
                values.clear();
                for (std::int64_t v = std::max<std::int64_t>(z - w, 0); v <= std::min(z + w, view.nz - 1);
                     ++v) {
                    for (std::int64_t u = std::max<std::int64_t>(y - w, 0); u <= std::min(y + w, view.ny - 1);
                         ++u) {
                        const T* const row = view.Row(u, v);
                        values.insert(values.end(), row + std::max<std::int64_t>(x - w, 0),
                                      row + std::min(x + w, view.nx - 1) + 1);
                    }
                }
                body(values, view.Row(y, z)[x]);
            }
        }
    }
}

/// Half the range of the finite pixels, or 1 if there is none.
template <class T>
double HalfRange(const IImage& image) {
    std::vector<T> pixels = test::PixelsOf<T>(image);
    std::erase_if(pixels, [](T pixel) { return !std::isfinite(static_cast<double>(pixel)); });
    if (pixels.empty())
        return 1.0;
    const auto [least, greatest] = std::minmax_element(pixels.begin(), pixels.end());
    const double range = (static_cast<double>(*greatest) - static_cast<double>(*least)) / 2.0;
    return range > 0.0 ? range : 1.0;
}

template <class T>
double RangeConstant(const IImage& image) {
    if constexpr (sizeof(T) == 1)
        return 127.0;
    else if constexpr (sizeof(T) == 2)
        return 32767.0;
    else
        return HalfRange<T>(image);
}

template <class Number>
Number Threshold(const StParameters& parameters, Number mean, Number deviation, Number range) {
    const Number k = parameters.k;
    return parameters.method == c_sauvola ? ((deviation / range - 1) * k + 1) * mean : deviation * k + mean;
}

/// The definition, for integers: each window summed for itself, t rounded, cut and truncated.
template <class T>
unsigned char IsAbove(T pixel, std::uint64_t n, UInt128 sum, UInt128 squares, const StParameters& parameters,
                      double range) {
    const UInt128 numerator = n * squares - sum * sum;
    const double deviation = std::sqrt(static_cast<double>(numerator)) / static_cast<double>(n);
    const double mean = static_cast<double>(sum) / static_cast<double>(n);
    const double rounded = Threshold(parameters, mean, deviation, range) + 0.5;
    const double greatest = static_cast<double>(std::numeric_limits<T>::max());
    return pixel > static_cast<T>(std::clamp(rounded, 0.0, greatest)) ? 1 : 0;
}

template <class T>
Bytes BruteForce(const IImage& image, const StParameters& parameters) {
    const double range = RangeConstant<T>(image);
    Bytes expected;
    ForEachWindow<T>(image, parameters.w, [&](const std::vector<T>& values, T pixel) {
        UInt128 sum = 0;
        UInt128 squares = 0;
        for (const T value : values) {
            sum += value;
            squares += UInt128{value} * value;
        }
        expected.push_back(IsAbove(pixel, values.size(), sum, squares, parameters, range));
    });
    return expected;
}

/// What exact arithmetic would answer for a float image, and where it is too close to call in doubles.
struct StFloatAnswer {
    unsigned char isAbove;
    bool isClose;
};

std::vector<StFloatAnswer> BruteForceFloat(const IImage& image, const StParameters& parameters) {
    const auto range = static_cast<long double>(HalfRange<float>(image));
    std::vector<StFloatAnswer> expected;
    ForEachWindow<float>(image, parameters.w, [&](const std::vector<float>& values, float pixel) {
        const auto n = static_cast<long double>(values.size());
        long double mean = 0;
        long double largest = 0;
        for (const float value : values) {
            mean += value / n;
            largest = std::max(largest, std::fabs(static_cast<long double>(value)));
        }
        long double variance = 0;
        for (const float value : values)
            variance += (value - mean) * (value - mean) / n;
        const long double threshold = Threshold(parameters, mean, std::sqrt(variance), range);
        const long double distance = pixel - threshold;
        expected.push_back({static_cast<unsigned char>(distance > 0 ? 1 : 0),
                            !(std::fabs(distance) > 1e-11L * (largest + std::fabs(threshold)))});
    });
    return expected;
}

/// A size of dimension 1, 2 or 3 with extents from 1 to 12; every third extent or so is 1.
CSize RandomSize(std::mt19937& random) {
    std::uniform_int_distribution<int> extent(-4, 12);
    const auto draw = [&] { return std::max(1, extent(random)); };
    switch (random() % 4) {
    case 0:
        return Line(draw());
    case 1:
        return {draw(), draw()};
    default:
        return {draw(), draw(), draw()};
    }
}

StParameters RandomParameters(std::mt19937& random) {
    constexpr std::array coefficients{-0.2, 0.2, 0.0, -0.1, 0.5, -1.5, 3.0, 1.0};
    StParameters parameters;
    parameters.w = random() % 8 == 0
                       ? std::numeric_limits<std::int32_t>::max() - static_cast<int>(random() % 2)
                       : static_cast<int>(random() % 16);
    parameters.k = random() % 4 == 0 ? std::normal_distribution<double>()(random)
                                     : coefficients[random() % coefficients.size()];
    parameters.method = static_cast<std::int32_t>(random() % 2);
    return parameters;
}

/// Values over the whole range of the type, close to its end, or few and small.
template <class T>
std::unique_ptr<CImage> RandomIntegers(const CSize& size, std::mt19937& random) {
    constexpr double greatest = std::numeric_limits<T>::max();
    switch (random() % 5) {
    case 0:
        return test::RandomImage<T>(TypeOf<T>(), size, random, greatest - 5.0, greatest);
    case 1:
        return test::RandomImage<T>(TypeOf<T>(), size, random, 0.0, 4.0);
    case 2:
        return test::RandomImage<T>(TypeOf<T>(), size, random, 90.0, 110.0);
    case 3:
        return test::RandomImage<T>(TypeOf<T>(), size, random, 0.0, std::sqrt(greatest));
    default:
        return test::RandomImage<T>(TypeOf<T>(), size, random, 0.0, greatest);
    }
}

template <class T>
class CFastLocalThresholdingOfIntegers : public testing::Test {};
using Integers = testing::Types<unsigned char, unsigned short, unsigned int>;
TYPED_TEST_SUITE(CFastLocalThresholdingOfIntegers, Integers);

TYPED_TEST(CFastLocalThresholdingOfIntegers, EqualsTheDefinitionSummedWindowByWindow) {
    for (const unsigned seed : test::CRandomSeeds(0, 600)) {
        std::mt19937 random(seed);
        const CSize size = RandomSize(random);
        const auto image = RandomIntegers<TypeParam>(size, random);
        const StParameters parameters = RandomParameters(random);
        SCOPED_TRACE("size " + size.ToString() + ", " + ToString(parameters));
        ASSERT_EQ(Binarized(*image, parameters), BruteForce<TypeParam>(*image, parameters));
    }
}

TYPED_TEST(CFastLocalThresholdingOfIntegers, EqualsTheDefinitionBeyondTheFirstChunkOfPlanes) {
    for (const std::int32_t w : {0, 2, 15, 16, 33, 40}) {
        for (const CSize& size : {CSize(3, 4, 100), CSize(5, 100), CSize(2, 3, 65)}) {
            const auto seed = static_cast<unsigned>(w);
            std::mt19937 random(seed);
            const auto image = RandomIntegers<TypeParam>(size, random);
            for (const std::int32_t method : {c_niblack, c_sauvola}) {
                const StParameters parameters{w, -0.2, method};
                SCOPED_TRACE("size " + size.ToString() + ", " + ToString(parameters));
                ASSERT_EQ(Binarized(*image, parameters), BruteForce<TypeParam>(*image, parameters));
            }
        }
    }
}

// Windows of 90000 pixels along y and z, so that 32 bits do not hold a sum of squares (8 bits) or values.
TYPED_TEST(CFastLocalThresholdingOfIntegers, HoldsTheSumsOfLargeWindows) {
    constexpr double greatest = std::numeric_limits<TypeParam>::max();
    const CSize size(3, 300, 300);
    for (const double least : {0.0, greatest * 0.8}) {
        std::mt19937 random(1);
        const auto image = test::RandomImage<TypeParam>(TypeOf<TypeParam>(), size, random, least, greatest);
        const std::vector<TypeParam> pixels = test::PixelsOf<TypeParam>(*image);
        UInt128 sum = 0;
        UInt128 squares = 0;
        for (const TypeParam pixel : pixels) {
            sum += pixel;
            squares += UInt128{pixel} * pixel;
        }
        for (const std::int32_t method : {c_niblack, c_sauvola}) {
            const StParameters parameters{300, -0.2, method};
            SCOPED_TRACE("from " + std::to_string(least) + ", " + ToString(parameters));
            const double range = RangeConstant<TypeParam>(*image);
            Bytes expected;
            for (const TypeParam pixel : pixels)
                expected.push_back(IsAbove(pixel, pixels.size(), sum, squares, parameters, range));
            ASSERT_EQ(Binarized(*image, parameters), expected);
        }
    }
}

TYPED_TEST(CFastLocalThresholdingOfIntegers, AConstantImageBecomesBackgroundByNiblack) {
    for (const double value : {0.0, 1.0, 77.0, static_cast<double>(std::numeric_limits<TypeParam>::max())}) {
        const auto image =
            ImageOf(CSize(9, 4, 5), std::vector<TypeParam>(180, static_cast<TypeParam>(value)));
        for (const double k : {-3.0, -0.2, 0.0, 0.2})
            EXPECT_EQ(Binarized(*image, {2, k, c_niblack}), Bytes(180, 0)) << value << " " << k;
    }
}

// t = 0.8 c + 0.5 for k = 0.2, and above c for k = -0.2.
TYPED_TEST(CFastLocalThresholdingOfIntegers, DecidesAConstantImageByTheSignOfTheCoefficientWithSauvola) {
    for (unsigned value = 0; value < 100; ++value) {
        const auto image = ImageOf(CSize(3, 4), std::vector<TypeParam>(12, static_cast<TypeParam>(value)));
        EXPECT_EQ(Binarized(*image, {2, -0.2, c_sauvola}), Bytes(12, 0)) << value;
        EXPECT_EQ(Binarized(*image, {2, 0.2, c_sauvola}), Bytes(12, value >= 3 ? 1 : 0)) << value;
    }
}

TYPED_TEST(CFastLocalThresholdingOfIntegers, ComparesAPixelWithItselfInAWindowOfOne) {
    std::mt19937 random(3);
    const CSize size(7, 6, 5);
    const auto image = test::RandomImage<TypeParam>(TypeOf<TypeParam>(), size, random, 3.0, 250.0);
    const Bytes background(static_cast<std::size_t>(size.PixelCount()), 0);
    const Bytes objects(static_cast<std::size_t>(size.PixelCount()), 1);
    for (const std::int32_t w : {0, -1, -1000, std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_EQ(Binarized(*image, {w, -2.0, c_niblack}), background);
        EXPECT_EQ(Binarized(*image, {w, -0.2, c_sauvola}), background);
        EXPECT_EQ(Binarized(*image, {w, 0.2, c_sauvola}), objects);
    }
}

TYPED_TEST(CFastLocalThresholdingOfIntegers, DoesNotDependOnOrderAndDirectionOfTheAxes) {
    constexpr std::array<std::array<int, 3>, 6> orders{
        {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}}};
    for (const unsigned seed : test::CRandomSeeds(0, 12)) {
        std::mt19937 random(seed);
        const std::array<std::int64_t, 3> extents{11, 6, 4};
        const auto image = RandomIntegers<TypeParam>(CSize(11, 6, 4), random);
        const StParameters parameters = RandomParameters(random);
        const Bytes expected = Binarized(*image, parameters);
        const std::vector<TypeParam> pixels = test::PixelsOf<TypeParam>(*image);
        for (const auto& order : orders) {
            const CSize size(extents[static_cast<std::size_t>(order[0])],
                             extents[static_cast<std::size_t>(order[1])],
                             extents[static_cast<std::size_t>(order[2])]);
            const bool isMirrored = random() % 2 == 0;
            std::vector<std::size_t> sources;
            std::array<std::int64_t, 3> at{};
            for (std::int64_t z = 0; z < size.z; ++z) {
                for (std::int64_t y = 0; y < size.y; ++y) {
                    for (std::int64_t x = 0; x < size.x; ++x) {
                        at[static_cast<std::size_t>(order[0])] = isMirrored ? size.x - 1 - x : x;
                        at[static_cast<std::size_t>(order[1])] = y;
                        at[static_cast<std::size_t>(order[2])] = isMirrored ? size.z - 1 - z : z;
                        sources.push_back(
                            static_cast<std::size_t>((at[2] * extents[1] + at[1]) * extents[0] + at[0]));
                    }
                }
            }
            std::vector<TypeParam> turnedPixels;
            Bytes turnedExpected;
            for (const std::size_t source : sources) {
                turnedPixels.push_back(pixels[source]);
                turnedExpected.push_back(expected[source]);
            }
            ASSERT_EQ(Binarized(*ImageOf(size, turnedPixels), parameters), turnedExpected);
        }
    }
}

TEST(CFastLocalThresholding, StartsWithAWindowOfSevenByNiblack) {
    const CFastLocalThresholding algorithm(nullptr, nullptr);
    EXPECT_EQ(algorithm.m_nWindowSize, 7);
    EXPECT_EQ(algorithm.m_fCoefficient, -0.1);
    EXPECT_EQ(algorithm.m_nMethod, 0);
}

// n = 9, m = 1, variance = 81 / 9 - 1, sd = 2.828: t is 8.35 with k = 2.6 and 8.92 with k = 2.8.
TEST(CFastLocalThresholding, RoundsTheThresholdOfIntegers) {
    const Bytes bump{0, 0, 0, 0, 9, 0, 0, 0, 0};
    const auto image = ImageOf(CSize(3, 3), bump);
    EXPECT_EQ(Binarized(*image, {1, -0.2, c_niblack}), (Bytes{0, 0, 0, 0, 1, 0, 0, 0, 0}));
    EXPECT_EQ(Binarized(*image, {1, 2.6, c_niblack}), (Bytes{0, 0, 0, 0, 1, 0, 0, 0, 0}));
    EXPECT_EQ(Binarized(*image, {1, 2.8, c_niblack}), Bytes(9, 0));
    const auto floats = ImageOf(CSize(3, 3), std::vector<float>(bump.begin(), bump.end()));
    EXPECT_EQ(Binarized(*floats, {1, 2.8, c_niblack}), (Bytes{0, 0, 0, 0, 1, 0, 0, 0, 0}));
}

// Windows of a line with w = 1 are (0 6), (0 6 9), (6 9 4), (9 4): means 3, 5, 6.3 and 6.5.
TEST(CFastLocalThresholding, CutsTheWindowAtTheBorder) {
    const auto image = ImageOf(Line(4), Bytes{0, 6, 9, 4});
    EXPECT_EQ(Binarized(*image, {1, 0.0, c_niblack}), (Bytes{0, 1, 1, 0}));
}

TEST(CFastLocalThresholding, UsesOneThresholdForAllPixelsIfTheWindowCoversTheImage) {
    std::mt19937 random(5);
    const auto image = test::RandomImage<unsigned char>(IMAGE_GREY_8, CSize(8, 9, 10), random, 0.0, 256.0);
    const std::vector<unsigned char> pixels = test::PixelsOf<unsigned char>(*image);
    const Bytes answer = Binarized(*image, {10, -0.2, c_niblack});
    EXPECT_EQ(Binarized(*image, {9, -0.2, c_niblack}), answer);
    EXPECT_EQ(Binarized(*image, {std::numeric_limits<std::int32_t>::max(), -0.2, c_niblack}), answer);
    int greatestBelow = -1;
    int leastAbove = 256;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        if (answer[i] == 1)
            leastAbove = std::min<int>(leastAbove, pixels[i]);
        else
            greatestBelow = std::max<int>(greatestBelow, pixels[i]);
    }
    EXPECT_GT(greatestBelow, -1);
    EXPECT_LT(greatestBelow, leastAbove);
    EXPECT_LT(leastAbove, 256);
}

TEST(CFastLocalThresholding, Thresholds32BitsLike16ByNiblack) {
    for (const unsigned seed : test::CRandomSeeds(0, 50)) {
        std::mt19937 random(seed);
        const CSize size = RandomSize(random);
        const auto words = RandomIntegers<unsigned short>(size, random);
        const std::vector<unsigned short> pixels = test::PixelsOf<unsigned short>(*words);
        const auto longs = ImageOf(size, std::vector<unsigned int>(pixels.begin(), pixels.end()));
        StParameters parameters = RandomParameters(random);
        parameters.method = c_niblack;
        SCOPED_TRACE(ToString(parameters));
        ASSERT_EQ(Binarized(*longs, parameters), Binarized(*words, parameters));
    }
}

TEST(CFastLocalThresholding, ThresholdsFloatsAsExactArithmeticDoes) {
    constexpr std::array<std::array<double, 2>, 5> ranges{
        {{0.0, 1.0}, {-1.0, 1.0}, {0.0, 65535.0}, {999'999.0, 1'000'001.0}, {-1e30, 1e30}}};
    std::int64_t pixelCount = 0;
    std::int64_t closeCount = 0;
    for (const unsigned seed : test::CRandomSeeds(0, 600)) {
        std::mt19937 random(seed);
        const CSize size = seed % 20 == 0 ? CSize(3, 4, 80) : RandomSize(random);
        const auto range = ranges[random() % ranges.size()];
        const auto image = test::RandomImage<float>(IMAGE_GREY_F, size, random, range[0], range[1]);
        StParameters parameters = RandomParameters(random);
        // A window of one is its own mean, and what exact arithmetic calls equal is close.
        parameters.w = std::max(parameters.w, 1);
        SCOPED_TRACE("size " + size.ToString() + ", " + ToString(parameters));
        const Bytes answer = Binarized(*image, parameters);
        const std::vector<StFloatAnswer> expected = BruteForceFloat(*image, parameters);
        ASSERT_EQ(answer.size(), expected.size());
        for (std::size_t i = 0; i < answer.size(); ++i) {
            ASSERT_TRUE(answer[i] == expected[i].isAbove || expected[i].isClose) << "pixel " << i;
            closeCount += expected[i].isClose && size.PixelCount() > 1 ? 1 : 0;
        }
        pixelCount += size.PixelCount();
    }
    EXPECT_LT(closeCount * 1000, pixelCount);
}

// The means differ widely from that of the image, by which floats are shifted.
TEST(CFastLocalThresholding, ConstantPartsOfAFloatImageBecomeBackground) {
    for (const float value : {0.0F, 0.1F, -1000.0F, 3.25F}) {
        for (const std::int32_t w : {1, 2, 5}) {
            std::mt19937 random(1);
            const CSize size(48, 24, 24);
            std::uniform_real_distribution<float> texture(90.0F, 110.0F);
            std::vector<float> pixels;
            for (std::int64_t i = 0; i < size.PixelCount(); ++i)
                pixels.push_back(i % size.x < 24 ? value : texture(random));
            const Bytes answer = Binarized(*ImageOf(size, pixels), {w, -0.2, c_niblack});
            std::int64_t objectCount = 0;
            for (std::size_t i = 0; i < pixels.size(); ++i)
                objectCount += static_cast<std::int64_t>(i) % size.x < 24 - w ? answer[i] : 0;
            EXPECT_EQ(objectCount, 0) << value << ", w " << w;
        }
    }
}

TEST(CFastLocalThresholding, ThresholdsAShiftedFloatImageAlikeByNiblack) {
    std::mt19937 random(11);
    const CSize size(20, 18, 70);
    std::vector<float> pixels;
    std::vector<float> shifted;
    for (std::int64_t i = 0; i < size.PixelCount(); ++i) {
        pixels.push_back(static_cast<float>(random() % 1024));
        shifted.push_back(pixels.back() + 1'000'000.0F);
    }
    for (const std::int32_t w : {1, 4, 100}) {
        EXPECT_EQ(Binarized(*ImageOf(size, pixels), {w, -0.2, c_niblack}),
                  Binarized(*ImageOf(size, shifted), {w, -0.2, c_niblack}))
            << w;
    }
}

TEST(CFastLocalThresholding, WindowsWithPixelsThatAreNotFiniteBecomeBackground) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr std::array bad{std::numeric_limits<float>::quiet_NaN(), infinity, -infinity};
    for (const unsigned seed : test::CRandomSeeds(0, 60)) {
        std::mt19937 random(seed);
        const CSize size = seed % 10 == 0 ? CSize(4, 5, 70) : RandomSize(random);
        const auto image = test::RandomImage<float>(IMAGE_GREY_F, size, random, 100.0, 200.0);
        std::vector<float> pixels = test::PixelsOf<float>(*image);
        pixels[random() % pixels.size()] = bad[seed % bad.size()];
        const auto damaged = ImageOf(size, pixels);
        const StParameters parameters{static_cast<std::int32_t>(1 + random() % 3), -0.2,
                                      static_cast<std::int32_t>(random() % 2)};
        std::vector<StFloatAnswer> expected = BruteForceFloat(*damaged, parameters);
        std::size_t pixel = 0;
        ForEachWindow<float>(*damaged, parameters.w, [&](const std::vector<float>& values, float) {
            if (!std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); }))
                expected[pixel] = {0, false};
            ++pixel;
        });
        const Bytes answer = Binarized(*damaged, parameters);
        for (std::size_t i = 0; i < answer.size(); ++i)
            ASSERT_TRUE(answer[i] == expected[i].isAbove || expected[i].isClose) << "pixel " << i;
    }
}

TEST(CFastLocalThresholding, AnImageWithoutAFinitePixelBecomesBackground) {
    const auto image =
        ImageOf(CSize(4, 3, 2), std::vector<float>(24, std::numeric_limits<float>::quiet_NaN()));
    EXPECT_EQ(Binarized(*image, {1, -0.2, c_niblack}), Bytes(24, 0));
    EXPECT_EQ(Binarized(*image, {1, 0.2, c_sauvola}), Bytes(24, 0));
}

TEST(CFastLocalThresholding, EverythingBecomesBackgroundIfTheThresholdIsNotANumber) {
    constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
    std::mt19937 random(2);
    const CSize size(5, 6, 7);
    const auto bytes = test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0.0, 256.0);
    const auto floats = test::RandomImage<float>(IMAGE_GREY_F, size, random, 0.0, 256.0);
    for (const std::int32_t method : {c_niblack, c_sauvola}) {
        EXPECT_EQ(Binarized(*bytes, {2, notANumber, method}), Bytes(210, 0));
        EXPECT_EQ(Binarized(*floats, {2, notANumber, method}), Bytes(210, 0));
    }
}

class CThreads : public testing::Test {
protected:
    ~CThreads() override { SetThreadCount(0); }
};

template <class T>
void ExpectSameForAnyThreadCount(const CSize& size) {
    std::mt19937 random(17);
    const auto image = test::RandomImage<T>(TypeOf<T>(), size, random, 0.0, 250.0);
    for (const std::int32_t method : {c_niblack, c_sauvola}) {
        for (const std::int32_t w : {2, 20}) {
            const StParameters parameters{w, -0.2, method};
            SetThreadCount(1);
            const Bytes expected = Binarized(*image, parameters);
            EXPECT_NE(std::count(expected.begin(), expected.end(), 1), 0);
            for (const int threadCount : {2, 3, 7, 16}) {
                SetThreadCount(threadCount);
                ASSERT_EQ(Binarized(*image, parameters), expected)
                    << threadCount << " threads, " << image->Type().ToString() << ", "
                    << ToString(parameters);
            }
        }
    }
}

using CFastLocalThresholdingThreads = CThreads;

TEST_F(CFastLocalThresholdingThreads, GiveTheSameWhateverTheirNumber) {
    for (const CSize& size : {CSize(13, 11, 200), CSize(37, 300), CSize(5, 330, 40)}) {
        ExpectSameForAnyThreadCount<unsigned char>(size);
        ExpectSameForAnyThreadCount<unsigned short>(size);
        ExpectSameForAnyThreadCount<unsigned int>(size);
        ExpectSameForAnyThreadCount<float>(size);
    }
}

TEST(CFastLocalThresholding, AcceptsImagesWithABorder) {
    std::mt19937 random(23);
    const CSize size(9, 8, 7);
    const auto image = test::RandomImage<unsigned short>(IMAGE_GREY_16, size, random, 0.0, 65536.0);
    CImage bordered(IMAGE_GREY_16, size, CSize(3, 2, 1));
    CImage output(IMAGE_BINARY_FG, size, CSize(1, 2, 3));
    {
        const CImageView<const unsigned short> from(*image);
        const CImageView<unsigned short> to(bordered);
        for (std::int64_t z = 0; z < size.z; ++z) {
            for (std::int64_t y = 0; y < size.y; ++y)
                std::copy_n(from.Row(y, z), size.x, to.Row(y, z));
        }
    }
    const StParameters parameters{2, -0.2, c_sauvola};
    CFastLocalThresholding algorithm(nullptr, nullptr);
    SetParameters(algorithm, parameters);
    algorithm.Binarize(output, bordered);
    EXPECT_EQ(test::PixelsOf<unsigned char>(output), Binarized(*image, parameters));
}

TEST(CFastLocalThresholding, LeavesTheInputAlone) {
    std::mt19937 random(29);
    const auto image = test::RandomImage<float>(IMAGE_GREY_F, CSize(9, 8, 7), random, 0.0, 1.0);
    const std::vector<float> before = test::PixelsOf<float>(*image);
    Binarized(*image, {2, -0.2, c_sauvola});
    EXPECT_EQ(test::PixelsOf<float>(*image), before);
}

TEST(CFastLocalThresholding, HasNothingToDoInAnEmptyImage) {
    for (const CSize& size : {CSize(0, 4, 5), CSize(4, 0, 5), CSize(4, 5, 0), CSize(0, 0), Line(0)}) {
        for (const IImage::CType* type : {&IMAGE_GREY_8, &IMAGE_GREY_16, &IMAGE_GREY_32, &IMAGE_GREY_F}) {
            const CImage image(*type, size, CSize(0, 0, 0));
            EXPECT_TRUE(Binarized(image, {2, -0.2, c_niblack}).empty()) << size.ToString();
        }
    }
}

TEST(CFastLocalThresholding, StepsThroughTheChunksOfPlanes) {
    const CImage bytes(IMAGE_GREY_8, CSize(4, 4, 70), CSize(0, 0, 0));
    const CImage floats(IMAGE_GREY_F, CSize(4, 4, 70), CSize(0, 0, 0));
    CImage output(IMAGE_BINARY_FG, CSize(4, 4, 70), CSize(0, 0, 0));
    for (const auto& [image, steps] : {std::pair{&bytes, 3U}, std::pair{&floats, 73U}}) {
        test::CRecordingProgress progress;
        CFastLocalThresholding algorithm(nullptr, nullptr);
        algorithm.SetProgress(CProgressProxy(&progress));
        algorithm.Binarize(output, *image);
        EXPECT_EQ(progress.calls.front(), "Start " + std::to_string(steps) + " Local thresholding");
        EXPECT_EQ(progress.calls.back(), "Finish");
        EXPECT_EQ(progress.steps, steps);
        EXPECT_TRUE(progress.isFromOneThread);
    }
}

/// Says "go on" a number of times.
class CPatience : public test::CRecordingProgress {
public:
    explicit CPatience(int times)
        : m_times(times) {}
    bool IsCancelled() override { return --m_times < 0; }

private:
    std::atomic<int> m_times;
};

TEST_F(CFastLocalThresholdingThreads, LeaveEarlyWithoutAnErrorWhenCancelled) {
    const CSize size(4, 4, 200);
    const auto pixelCount = static_cast<std::size_t>(size.PixelCount());
    for (const IImage::CType* type : {&IMAGE_GREY_8, &IMAGE_GREY_16, &IMAGE_GREY_32, &IMAGE_GREY_F}) {
        for (const int threadCount : {1, 3}) {
            for (const int times : {0, 1, 5, 100}) {
                SetThreadCount(threadCount);
                const CImage image(*type, size, CSize(0, 0, 0));
                const auto output = test::ImageOf(IMAGE_BINARY_FG, size, Bytes(pixelCount, c_untouched));
                CPatience progress(times);
                CFastLocalThresholding algorithm(nullptr, nullptr);
                algorithm.SetProgress(CProgressProxy(&progress));
                EXPECT_NO_THROW(algorithm.Binarize(*output, image));
                EXPECT_EQ(progress.calls.back(), "Finish");
                const Bytes pixels = test::PixelsOf<unsigned char>(*output);
                const auto untouched =
                    static_cast<std::size_t>(std::count(pixels.begin(), pixels.end(), c_untouched));
                // Only the calling thread counts, and the others may be done with all before it has asked
                // often.
                if (threadCount == 1 || times == 0) {
                    EXPECT_GT(untouched, times == 0 ? pixelCount - 1 : 0U)
                        << type->ToString() << ", " << threadCount << " threads, " << times;
                }
            }
        }
    }
}

/// Looks at each question how many rows of the output have been filled since the last one.
class CRowWatch : public test::CRecordingProgress {
public:
    explicit CRowWatch(const CImage& output)
        : m_output(output) {}

    bool IsCancelled() override {
        LookAtRows();
        questionsBeforeOutput += m_filled == 0 ? 1 : 0;
        return CRecordingProgress::IsCancelled();
    }

    void LookAtRows() {
        std::int64_t filled = 0;
        for (std::int64_t z = 0; z < m_output.nz; ++z) {
            for (std::int64_t y = 0; y < m_output.ny; ++y)
                filled += *m_output.Row(y, z) != c_untouched ? 1 : 0;
        }
        longestStretch = std::max(longestStretch, filled - m_filled);
        m_filled = filled;
    }

    std::int64_t longestStretch = 0;
    std::int64_t questionsBeforeOutput = 0;

private:
    CImageView<const unsigned char> m_output;
    std::int64_t m_filled = 0;
};

TEST_F(CFastLocalThresholdingThreads, AskAtEachRowHoweverLargeAPlaneIs) {
    SetThreadCount(1);
    for (const CSize& size : {CSize(5, 300, 2), CSize(5, 300), CSize(5, 3, 100)}) {
        for (const IImage::CType* type : {&IMAGE_GREY_8, &IMAGE_GREY_16, &IMAGE_GREY_32, &IMAGE_GREY_F}) {
            for (const std::int32_t w : {2, 40}) {
                SCOPED_TRACE(std::string(type->ToString()) + " " + size.ToString() + " w " +
                             std::to_string(w));
                const CImage image(*type, size, CSize(0, 0, 0));
                const auto output = test::ImageOf(
                    IMAGE_BINARY_FG, size, Bytes(static_cast<std::size_t>(size.PixelCount()), c_untouched));
                CRowWatch progress(*output);
                CFastLocalThresholding algorithm(nullptr, nullptr);
                algorithm.m_nWindowSize = w;
                algorithm.SetProgress(CProgressProxy(&progress));
                algorithm.Binarize(*output, image);
                progress.LookAtRows();
                EXPECT_EQ(progress.longestStretch, 1);
                // Before the first row the windows along y and z have to be filled, and the extremes found.
                const std::int64_t depth = size.Dim() == 3 ? size.z : size.y;
                const std::int64_t height = size.Dim() == 3 ? size.y : 1;
                const std::int64_t filling =
                    std::min<std::int64_t>(w + 1, depth) * std::min<std::int64_t>(w + 1, height);
                const std::int64_t surveying = type->PixelSize() == 4 ? depth * height : 0;
                EXPECT_GE(progress.questionsBeforeOutput, filling + surveying);
            }
        }
    }
}

/// "kind|source|message" of what binarising raises.
std::string Failure(const IImage::CType& outputType, const CSize& outputSize, const IImage::CType& inputType,
                    const CSize& inputSize, std::int32_t method = c_niblack) {
    CImage output(outputType, outputSize, CSize(0, 0, 0));
    const CImage input(inputType, inputSize, CSize(0, 0, 0));
    CFastLocalThresholding algorithm(nullptr, nullptr);
    algorithm.m_nMethod = method;
    const auto describe = [](const char* kind, const CException& exception) {
        return std::string(kind) + "|" + exception.Source() + "|" + exception.Message();
    };
    try {
        algorithm.Binarize(output, input);
    } catch (const CExBadParam& exception) {
        return describe("CExBadParam", exception);
    } catch (const CException& exception) {
        return describe("CException", exception);
    }
    return "nothing";
}

TEST(CFastLocalThresholding, RaisesForSizesThatDiffer) {
    EXPECT_EQ(
        Failure(IMAGE_BINARY_FG, CSize(4, 5, 7), IMAGE_GREY_8, CSize(4, 5, 6)),
        "CExBadParam|ORVEN::CFastLocalThresholding::Binarize|Output of size (4,5,7) does not fit the input "
        "of size (4,5,6).");
    EXPECT_EQ(
        Failure(IMAGE_BINARY_FG, CSize(4, 5, 1), IMAGE_GREY_F, CSize(4, 5)),
        "CExBadParam|ORVEN::CFastLocalThresholding::Binarize|Output of size (4,5,1) does not fit the input "
        "of size (4,5).");
}

TEST(CFastLocalThresholding, RaisesForTypesThatItCannotTake) {
    const CSize size(4, 5);
    const std::string source = "CException|ORVEN::CFastLocalThresholding::Binarize|";
    EXPECT_EQ(Failure(IMAGE_BINARY_FG, size, IMAGE_BINARY_FG, size),
              source + "Image type IMAGE_BINARY_FG not supported.");
    EXPECT_EQ(Failure(IMAGE_BINARY_FG, size, IMAGE_COMPLEX_F, size),
              source + "Image type IMAGE_COMPLEX_F not supported.");
    EXPECT_EQ(Failure(IMAGE_GREY_16, size, IMAGE_GREY_8, size),
              source + "Image type IMAGE_GREY_16 not supported.");
    EXPECT_EQ(Failure(IMAGE_BINARY_BG, size, IMAGE_GREY_8, size),
              source + "Image type IMAGE_BINARY_BG not supported.");
}

TEST(CFastLocalThresholding, RaisesForAnotherMethod) {
    for (const std::int32_t method : {-1, 2, 1000}) {
        EXPECT_EQ(Failure(IMAGE_BINARY_FG, CSize(4, 5), IMAGE_GREY_8, CSize(4, 5), method),
                  "CExBadParam|ORVEN::CFastLocalThresholding::Binarize|Unknown thresholding method " +
                      std::to_string(method) + ".");
    }
}

} // namespace
