#include "host/QuillonFilter/CPaddedImage.h"
#include "support/CRecordingProgress.h"
#include "support/CThreadCount.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <QuillonBase/Parallel.h>
#include <QuillonFilter/CRecursiveGauss.h>
#include <QuillonFilter/CSampledGauss.h>
#include <QuillonFilter/CYoungVanVliet.h>
#include <sorblib2core/CExBadParam.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace ORVEN;
using Floats = std::vector<float>;
using Real = long double;
using Line = std::vector<Real>;

CSize LineSize(std::int64_t length) {
    CSize size(length, 1, 1);
    size.SetDim(1);
    return size;
}

std::unique_ptr<CImage> Smoothed(const IImage& source, double sigma) {
    auto result = std::make_unique<CImage>(IMAGE_GREY_F, source.Size(), CSize(0, 0, 0));
    CYoungVanVliet(sigma, nullptr, nullptr).gauss(*result, source);
    return result;
}

std::unique_ptr<CImage> RandomFloats(const CSize& size, unsigned seed) {
    std::mt19937 random(seed);
    return test::RandomImage<float>(IMAGE_GREY_F, size, random, 0.0, 1.0);
}

double LargestDifference(const Floats& a, const Floats& b) {
    double largest = a.size() == b.size() ? 0.0 : std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
        const double difference = std::abs(static_cast<double>(a[i]) - static_cast<double>(b[i]));
        largest = difference <= largest ? largest : difference; // NaN counts as a difference
    }
    return largest;
}

// --- the slow twin

/// The recursion as three filters of first order one after the other, in complex numbers, and the right end
/// by going on far beyond it: nothing is shared with what it is held against but the poles.
Line SlowRecursion(const Line& line, Real sigma) {
    using Complex = std::complex<Real>;
    const Complex pole(1.41650L, 1.00829L);
    const auto poles = [pole](Real q) {
        const Complex root = std::exp(std::log(pole) / q);
        return std::array<Complex, 3>{root, std::conj(root), Complex(std::exp(std::log(1.86543L) / q))};
    };
    const auto variance = [&](Real q) {
        Real sum = 0;
        for (const Complex& d : poles(q))
            sum += (Real{2} * d / ((d - Real{1}) * (d - Real{1}))).real();
        return sum;
    };
    // The secant method for the scale.
    Real previous = sigma / 2;
    Real scale = previous * 1.01L;
    for (int i = 0; i < 100 && std::abs(scale - previous) > 1e-17L * scale; ++i) {
        const Real slope = (variance(scale) - variance(previous)) / (scale - previous);
        previous = std::exchange(scale, scale - (variance(scale) - sigma * sigma) / slope);
    }
    const auto run = [&](std::vector<Complex> values) {
        for (const Complex& d : poles(scale)) {
            Complex last = values.front();
            for (Complex& value : values)
                last = value = last + (value - last) * (Real{1} - Real{1} / d);
        }
        std::reverse(values.begin(), values.end());
        return values;
    };
    std::vector<Complex> extended(line.begin(), line.end());
    extended.insert(extended.end(), static_cast<std::size_t>(60 * sigma) + 60, Complex(line.back()));
    extended = run(run(extended));
    Line result;
    for (std::size_t i = 0; i < line.size(); ++i)
        result.push_back(extended[i].real());
    return result;
}

/// Convolution with the sampled kernel, ends repeated.
Line SlowConvolution(const Line& line, Real sigma) {
    Line result;
    for (std::ptrdiff_t i = 0; i < std::ssize(line); ++i) {
        Real sum = 0;
        Real weights = 0;
        for (std::ptrdiff_t k = -5; k <= 5; ++k) {
            const Real weight = std::exp(-static_cast<Real>(k * k) / (2 * sigma * sigma));
            weights += weight;
            sum += weight *
                   line[static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(i + k, 0, std::ssize(line) - 1))];
        }
        result.push_back(sum / weights);
    }
    return result;
}

/// All axes, one line after the other, rounded to float after each.
Floats SlowGauss(const IImage& image, double sigma) {
    Floats pixels = test::PixelsOf<float>(image);
    const CImageView<const float> view(image);
    const std::array<std::int64_t, 3> extents{view.nx, view.ny, view.nz};
    std::int64_t step = 1;
    for (const std::int64_t extent : extents) {
        for (std::int64_t first = 0; extent > 1 && first < view.PixelCount(); ++first) {
            if (first / step % extent != 0)
                continue;
            Line line;
            for (std::int64_t i = 0; i < extent; ++i)
                line.push_back(pixels[static_cast<std::size_t>(first + i * step)]);
            line = sigma < 0.7 ? SlowConvolution(line, sigma) : SlowRecursion(line, sigma);
            for (std::int64_t i = 0; i < extent; ++i)
                pixels[static_cast<std::size_t>(first + i * step)] =
                    static_cast<float>(line[static_cast<std::size_t>(i)]);
        }
        step *= extent;
    }
    return pixels;
}

TEST(CYoungVanVliet, EqualsASlowTwinForLinesOfEveryLength) {
    for (std::int64_t length = 1; length <= 70; ++length) {
        SCOPED_TRACE("seed = length = " + std::to_string(length));
        const auto image = RandomFloats(LineSize(length), static_cast<unsigned>(length));
        for (const double sigma : {0.3, 0.7, 1.0, 4.0, 25.0}) {
            EXPECT_LT(
                LargestDifference(test::PixelsOf<float>(*Smoothed(*image, sigma)), SlowGauss(*image, sigma)),
                1.5e-7)
                << sigma;
        }
    }
}

TEST(CYoungVanVliet, EqualsASlowTwinForBlocksOfEveryShape) {
    // Numbers of lines below, at and above a block, with what is left by tiles of four.
    const std::array sizes{CSize(1, 1, 1),   CSize(2, 1, 1),   CSize(1, 2, 1),  CSize(1, 1, 2),
                           CSize(3, 2, 2),   CSize(64, 2, 3),  CSize(65, 3, 2), CSize(67, 5, 4),
                           CSize(63, 64, 2), CSize(5, 66, 3),  CSize(1, 67, 9), CSize(9, 1, 66),
                           CSize(130, 1, 5), CSize(4, 131, 1), CSize(6, 5, 40)};
    unsigned seed = 0;
    for (const CSize& size : sizes) {
        SCOPED_TRACE("seed " + std::to_string(++seed) + ", size " + size.ToString());
        const auto image = RandomFloats(size, seed);
        for (const double sigma : {0.5, 2.0}) {
            EXPECT_LT(
                LargestDifference(test::PixelsOf<float>(*Smoothed(*image, sigma)), SlowGauss(*image, sigma)),
                3e-7)
                << sigma;
        }
    }
    for (const CSize& size : {CSize(70, 67), CSize(3, 200), CSize(200, 3)}) {
        SCOPED_TRACE("seed " + std::to_string(++seed) + ", size " + size.ToString());
        const auto image = RandomFloats(size, seed);
        EXPECT_LT(LargestDifference(test::PixelsOf<float>(*Smoothed(*image, 1.5)), SlowGauss(*image, 1.5)),
                  3e-7);
    }
}

// --- how near to a Gaussian

/// Departures from the sampled Gaussian that are known of this filter.
struct StAccuracy {
    double sigma;
    double peakPercent; ///< of the kernel, in parts of the peak
    double sum;         ///< of absolute differences
    double stepPercent; ///< of the response to a step
};

TEST(CYoungVanVliet, TheResponseToAnImpulseIsAsNearToAGaussianAsIsKnown) {
    const std::array table{StAccuracy{0.7, 1.3, 0.030, 0.55}, StAccuracy{1, 3.6, 0.070, 0.71},
                           StAccuracy{1.5, 2.9, 0.037, 0.39}, StAccuracy{2, 2.1, 0.028, 0.33},
                           StAccuracy{3, 1.4, 0.024, 0.32},   StAccuracy{5, 1.1, 0.021, 0.31},
                           StAccuracy{10, 1.0, 0.020, 0.30},  StAccuracy{20, 1.0, 0.020, 0.30},
                           StAccuracy{100, 1.0, 0.020, 0.30}};
    for (const StAccuracy& known : table) {
        SCOPED_TRACE(known.sigma);
        const auto half = static_cast<std::int64_t>(20.0 * known.sigma) + 20;
        Floats pixels(static_cast<std::size_t>(2 * half + 1), 0.0F);
        pixels[static_cast<std::size_t>(half)] = 1.0F;
        const auto h = test::PixelsOf<float>(
            *Smoothed(*test::ImageOf(IMAGE_GREY_F, LineSize(2 * half + 1), pixels), known.sigma));
        const auto gaussAt = [&](std::int64_t i) {
            return std::exp(-0.5 * static_cast<double>(i * i) / (known.sigma * known.sigma));
        };
        double gaussSum = 0.0;
        for (std::int64_t i = -half; i <= half; ++i)
            gaussSum += gaussAt(i);
        double largest = 0.0;
        double sum = 0.0;
        double step = 0.0;
        double largestStep = 0.0;
        double total = 0.0;
        double centroid = 0.0;
        double variance = 0.0;
        double leastLobe = 0.0;
        for (std::int64_t i = -half; i <= half; ++i) {
            const double value = h[static_cast<std::size_t>(half + i)];
            const double difference = value - gaussAt(i) / gaussSum;
            largest = std::max(largest, std::abs(difference));
            sum += std::abs(difference);
            step += difference;
            largestStep = std::max(largestStep, std::abs(step));
            total += value;
            centroid += static_cast<double>(i) * value;
            variance += static_cast<double>(i * i) * value;
            leastLobe = std::min(leastLobe, value);
            EXPECT_NEAR(value, h[static_cast<std::size_t>(half - i)], 1e-7 / gaussSum);
        }
        // The figures are known to the digits of the table.
        EXPECT_LT(largest * gaussSum * 100.0, known.peakPercent + 0.05);
        EXPECT_LT(sum, known.sum + 0.0005);
        EXPECT_LT(largestStep * 100.0, known.stepPercent + 0.005);
        EXPECT_NEAR(total, 1.0, 1e-6);
        EXPECT_NEAR(centroid, 0.0, 1e-5 * known.sigma);
        EXPECT_NEAR(variance / (known.sigma * known.sigma), 1.0, known.sigma < 100 ? 1e-5 : 4e-5);
        EXPECT_GT(leastLobe * gaussSum * 100.0, -1.35);
    }
}

TEST(CYoungVanVliet, AVolumeComesOutAsNearToASampledGaussianAsIsKnown) {
    const std::int64_t edge = 48;
    const CSize size(edge, edge, edge);
    std::mt19937 random(11);
    const auto noise = test::RandomImage<float>(IMAGE_GREY_F, size, random, 0.0, 255.0);
    Floats ballPixels;
    for (std::int64_t i = 0; i < size.PixelCount(); ++i) {
        const std::int64_t x = i % edge - edge / 2;
        const std::int64_t y = i / edge % edge - edge / 2;
        const std::int64_t z = i / edge / edge - edge / 2;
        ballPixels.push_back(x * x + y * y + z * z <= 100 ? 255.0F : 0.0F);
    }
    const auto ball = test::ImageOf(IMAGE_GREY_F, size, ballPixels);

    /// The sampled Gaussian along each axis, ends repeated.
    const auto sampled = [&](const CImage& image, double sigma) {
        Floats pixels = test::PixelsOf<float>(image);
        const auto reach = static_cast<std::int64_t>(std::ceil(8.0 * sigma));
        std::vector<double> weights;
        for (std::int64_t k = 0; k <= reach; ++k)
            weights.push_back(std::exp(-0.5 * static_cast<double>(k * k) / (sigma * sigma)));
        double sum = weights[0];
        for (std::size_t k = 1; k < weights.size(); ++k)
            sum += 2.0 * weights[k];
        for (std::int64_t step = 1; step < size.PixelCount(); step *= edge) {
            const Floats before = pixels;
            for (std::int64_t i = 0; i < size.PixelCount(); ++i) {
                const std::int64_t place = i / step % edge;
                double total = 0.0;
                for (std::int64_t k = -reach; k <= reach; ++k) {
                    const std::int64_t from =
                        i + (std::clamp<std::int64_t>(place + k, 0, edge - 1) - place) * step;
                    total += weights[static_cast<std::size_t>(std::abs(k))] *
                             static_cast<double>(before[static_cast<std::size_t>(from)]);
                }
                pixels[static_cast<std::size_t>(i)] = static_cast<float>(total / sum);
            }
        }
        return pixels;
    };
    struct StCase {
        const CImage& image;
        double sigma;
        double largest;
        double rootMeanSquare;
    };
    // The figures were taken in another volume of noise, whose greatest errors were 0.74 and 0.26 at
    // sigma 2 and 5.
    for (const auto& known :
         {StCase{*noise, 1.0, 4.5, 0.95}, StCase{*noise, 2.0, 0.85, 0.15}, StCase{*noise, 5.0, 0.30, 0.04},
          StCase{*ball, 1.0, 2.4, 0.32}, StCase{*ball, 2.0, 2.2, 0.26}, StCase{*ball, 5.0, 1.9, 0.42}}) {
        const Floats expected = sampled(known.image, known.sigma);
        const Floats actual = test::PixelsOf<float>(*Smoothed(known.image, known.sigma));
        double squares = 0.0;
        for (std::size_t i = 0; i < actual.size(); ++i)
            squares += std::pow(static_cast<double>(actual[i]) - static_cast<double>(expected[i]), 2.0);
        const double rootMeanSquare = std::sqrt(squares / static_cast<double>(actual.size()));
        EXPECT_LT(LargestDifference(actual, expected), known.largest) << known.sigma;
        EXPECT_LT(rootMeanSquare, known.rootMeanSquare) << known.sigma;
    }
}

TEST(CYoungVanVliet, BelowSigma07ItIsTheSampledKernel) {
    const auto image = RandomFloats(CSize(13, 12, 11), 3);
    for (const double sigma : {1e-200, 0.05, 0.3, 0.5, 0.69}) {
        EXPECT_LT(
            LargestDifference(test::PixelsOf<float>(*Smoothed(*image, sigma)), SlowGauss(*image, sigma)),
            1e-6)
            << sigma;
    }
}

// --- borders, constants, symmetries

TEST(CYoungVanVliet, AConstantImageStaysConstantUpToTheBorder) {
    for (const double sigma : {0.3, 0.69, 0.7, 1.0, 5.0, 100.0, 1000.0, 10000.0}) {
        for (const CSize& size : {CSize(1, 1, 1), CSize(2, 3, 1), CSize(40, 7, 30), CSize(3, 70, 2)}) {
            for (const float value : {1.0F, -3.25e-5F, 7.1e30F}) {
                const Floats constant(static_cast<std::size_t>(size.PixelCount()), value);
                const auto smoothed =
                    test::PixelsOf<float>(*Smoothed(*test::ImageOf(IMAGE_GREY_F, size, constant), sigma));
                EXPECT_LE(LargestDifference(smoothed, constant), 1e-6 * std::abs(static_cast<double>(value)))
                    << sigma << size.ToString();
            }
        }
    }
}

/// The image with `margin` more pixels on all sides, which repeat its border.
std::unique_ptr<CImage> Padded(const CImage& image, std::int64_t margin) {
    const CImageView<const float> from(image);
    const auto extended = [margin](std::int64_t extent) { return extent > 1 ? extent + 2 * margin : 1; };
    auto padded = std::make_unique<CImage>(
        IMAGE_GREY_F, CSize(extended(from.nx), extended(from.ny), extended(from.nz)), CSize(0, 0, 0));
    const CImageView<float> to(*padded);
    const auto inside = [margin](std::int64_t i, std::int64_t extent) {
        return extent > 1 ? std::clamp<std::int64_t>(i - margin, 0, extent - 1) : 0;
    };
    for (std::int64_t z = 0; z < to.nz; ++z) {
        for (std::int64_t y = 0; y < to.ny; ++y) {
            for (std::int64_t x = 0; x < to.nx; ++x)
                to.Row(y, z)[x] = from.Row(inside(y, from.ny), inside(z, from.nz))[inside(x, from.nx)];
        }
    }
    return padded;
}

TEST(CYoungVanVliet, AnImageEndsAsIfItWentOnWithItsLastPixels) {
    const auto compare = [](const CSize& size, double sigma, unsigned seed, double tolerance) {
        const auto image = RandomFloats(size, seed);
        const auto margin = static_cast<std::int64_t>(15.0 * sigma);
        const auto wide = Smoothed(*Padded(*image, margin), sigma);
        const auto narrow = Smoothed(*image, sigma);
        const CImageView<const float> a(*narrow);
        const CImageView<const float> b(*wide);
        const auto place = [margin](std::int64_t i, std::int64_t extent) {
            return extent > 1 ? i + margin : i;
        };
        for (std::int64_t z = 0; z < a.nz; ++z) {
            for (std::int64_t y = 0; y < a.ny; ++y) {
                for (std::int64_t x = 0; x < a.nx; ++x) {
                    ASSERT_NEAR(a.Row(y, z)[x], b.Row(place(y, a.ny), place(z, a.nz))[place(x, a.nx)],
                                tolerance)
                        << "sigma " << sigma << " at " << x << "," << y << "," << z;
                }
            }
        }
    };
    compare(CSize(9, 7, 8), 0.5, 1, 1e-6);
    compare(CSize(9, 7, 8), 1.0, 2, 1e-6);
    compare(CSize(12, 2, 5), 3.0, 3, 1e-6);
    compare(CSize(100, 1, 1), 10.0, 4, 1e-6);
    compare(CSize(1, 300, 1), 100.0, 5, 1e-6);
    compare(CSize(1, 300, 1), 1000.0, 6, 3e-6);
}

TEST(CYoungVanVliet, AxesAreAllAlike) {
    const auto image = RandomFloats(CSize(20, 14, 9), 21);
    const CImageView<const float> from(*image);
    CImage turned(IMAGE_GREY_F, CSize(9, 20, 14), CSize(0, 0, 0));
    {
        const CImageView<float> to(turned);
        for (std::int64_t z = 0; z < from.nz; ++z) {
            for (std::int64_t y = 0; y < from.ny; ++y) {
                for (std::int64_t x = 0; x < from.nx; ++x)
                    to.Row(x, y)[z] = from.Row(y, z)[x];
            }
        }
    }
    for (const double sigma : {0.6, 2.5}) {
        const auto smoothed = Smoothed(*image, sigma);
        const auto smoothedTurned = Smoothed(turned, sigma);
        const CImageView<const float> a(*smoothed);
        const CImageView<const float> b(*smoothedTurned);
        for (std::int64_t z = 0; z < a.nz; ++z) {
            for (std::int64_t y = 0; y < a.ny; ++y) {
                for (std::int64_t x = 0; x < a.nx; ++x)
                    ASSERT_NEAR(a.Row(y, z)[x], b.Row(x, y)[z], 3e-7);
            }
        }
    }
}

// --- types and copies

template <class T>
void ExpectTheSameAsFloats(const IImage::CType& type, double greatest) {
    std::mt19937 random(5);
    const auto image = test::RandomImage<T>(type, CSize(70, 9, 6), random, 0.0, greatest);
    const auto pixels = test::PixelsOf<T>(*image);
    const auto floats = test::ImageOf(IMAGE_GREY_F, image->Size(), Floats(pixels.begin(), pixels.end()));
    for (const double sigma : {0.4, 1.7}) {
        EXPECT_EQ(test::PixelsOf<float>(*Smoothed(*image, sigma)),
                  test::PixelsOf<float>(*Smoothed(*floats, sigma)))
            << type.ToString() << " " << sigma;
    }
    EXPECT_EQ(test::PixelsOf<float>(*Smoothed(*image, 0.0)), Floats(pixels.begin(), pixels.end()));
}

TEST(CYoungVanVliet, AcceptsAllGreyTypes) {
    ExpectTheSameAsFloats<unsigned char>(IMAGE_GREY_8, 255.99);
    ExpectTheSameAsFloats<unsigned short>(IMAGE_GREY_16, 65535.99);
    ExpectTheSameAsFloats<unsigned int>(IMAGE_GREY_32, 0x1p24);
}

TEST(CYoungVanVliet, IntegersOf32BitsAreNotRoundedBeforeTheyAreSmoothed) {
    // 2^24 + 1 is no float: it would become 2^24.
    const unsigned int base = 1U << 24;
    const CSize size(600, 5, 1);
    std::vector<unsigned int> pixels;
    for (std::int64_t i = 0; i < size.PixelCount(); ++i)
        pixels.push_back(i % 3 == 0 ? base + 2 : base + 1);
    const Floats smoothed =
        test::PixelsOf<float>(*Smoothed(*test::ImageOf(IMAGE_GREY_32, size, pixels), 30.0));
    // The mean is base + 4/3, and the next float base + 2; of rounded pixels they would be base + 2/3 and
    // base.
    for (std::size_t row = 0; row < 5; ++row)
        EXPECT_EQ(smoothed[row * 600 + 300], static_cast<float>(base + 2)) << row;
}

TEST(CYoungVanVliet, SigmaZeroNegativeAndNanYieldAnExactCopy) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float tiny = std::numeric_limits<float>::denorm_min();
    const Floats pixels{1.0F, -0.0F, nan, tiny, -std::numeric_limits<float>::infinity(), 3.4e38F, 0.1F, 7.0F};
    const auto image = test::ImageOf(IMAGE_GREY_F, CSize(2, 2, 2), pixels);
    for (const double sigma : {0.0, -0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        const Floats copy = test::PixelsOf<float>(*Smoothed(*image, sigma));
        EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), copy.begin(), [](float a, float b) {
            return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
        })) << sigma;
    }
    const auto integers =
        test::ImageOf<unsigned int>(IMAGE_GREY_32, CSize(3, 1, 1), {0U, 16777217U, 4294967295U});
    EXPECT_EQ(test::PixelsOf<float>(*Smoothed(*integers, -2.0)), (Floats{0.0F, 16777216.0F, 4294967296.0F}));
}

TEST(CYoungVanVliet, ResultAndSourceCanBeOneImage) {
    const auto image = RandomFloats(CSize(70, 65, 5), 8);
    const Floats expected = test::PixelsOf<float>(*Smoothed(*image, 1.3));
    CYoungVanVliet(1.3, nullptr, nullptr).gauss(*image, *image);
    EXPECT_EQ(test::PixelsOf<float>(*image), expected);
}

TEST(CYoungVanVliet, AcceptsImagesWithABorderAndImagesThatAreNoCImage) {
    const CSize size(37, 10, 6);
    const auto image = RandomFloats(size, 9);
    const CImageView<const float> view(*image);
    const Floats expected = test::PixelsOf<float>(*Smoothed(*image, 1.3));

    CImage bordered(IMAGE_GREY_F, size, CSize(3, 1, 2));
    test::CPaddedImage padded(size);
    {
        const CImageView<float> borderedView(bordered);
        for (std::int64_t z = 0; z < size.z; ++z) {
            for (std::int64_t y = 0; y < size.y; ++y) {
                std::copy_n(view.Row(y, z), size.x, borderedView.Row(y, z));
                std::copy_n(view.Row(y, z), size.x, padded.Row(y, z));
            }
        }
    }
    EXPECT_EQ(test::PixelsOf<float>(*Smoothed(bordered, 1.3)), expected);
    EXPECT_EQ(test::PixelsOf<float>(*Smoothed(padded, 1.3)), expected);

    test::CPaddedImage result(size);
    const auto gapsBefore = std::count(result.Memory().begin(), result.Memory().end(), result.c_gap);
    CYoungVanVliet(1.3, nullptr, nullptr).gauss(result, padded);
    EXPECT_EQ(test::PixelsOf<float>(result), expected);
    EXPECT_EQ(std::count(result.Memory().begin(), result.Memory().end(), result.c_gap),
              gapsBefore - size.PixelCount());
}

TEST(CYoungVanVliet, AnEmptyImageIsDoneAtOnce) {
    EXPECT_NO_THROW(Smoothed(CImage(IMAGE_GREY_8, CSize(0, 4, 4), CSize(0, 0, 0)), 2.0));
    EXPECT_NO_THROW(Smoothed(CImage(IMAGE_GREY_8, CSize(4, 4, 0), CSize(0, 0, 0)), 2.0));
}

TEST(CYoungVanVliet, APixelThatIsNotFiniteSpoilsTheLinesThroughItAlone) {
    auto image = RandomFloats(CSize(9, 8), 4);
    *CImageView<float>(*image).Row(0, 0) = std::numeric_limits<float>::infinity();
    auto clean = RandomFloats(CSize(9, 8), 4);
    const Floats spoilt = test::PixelsOf<float>(*Smoothed(*image, 0.1));
    EXPECT_FALSE(std::isfinite(spoilt[0]));
    const Floats fine = test::PixelsOf<float>(*Smoothed(*clean, 0.1));
    for (std::size_t i = 6 * 9; i < fine.size(); ++i) { // out of the reach of a kernel of 11 pixels
        if (i % 9 > 5) {
            EXPECT_EQ(spoilt[i], fine[i]);
        }
    }
}

// --- threads, vectors, the processor's mode

class CYoungVanVlietThreads : public testing::Test {
protected:
    ~CYoungVanVlietThreads() override { SetThreadCount(0); }
};

TEST_F(CYoungVanVlietThreads, ResultsAreTheSameForAnyNumberOfThreads) {
    for (const CSize& size : {CSize(70, 33, 21), CSize(3, 150, 1), CSize(5, 4, 90)}) {
        const auto image = RandomFloats(size, 77);
        for (const double sigma : {0.5, 3.0}) {
            SetThreadCount(1);
            const Floats expected = test::PixelsOf<float>(*Smoothed(*image, sigma));
            for (const int count : {2, 7}) {
                SetThreadCount(count);
                EXPECT_EQ(test::PixelsOf<float>(*Smoothed(*image, sigma)), expected)
                    << count << size.ToString();
            }
        }
    }
}

template <class Filter>
void ExpectTheSameForAllVectors(const Filter& filter) {
    for (const CSize& size : {CSize(67, 66, 5), CSize(64, 64, 2), CSize(7, 3, 130)}) {
        const auto image = RandomFloats(size, 31);
        const auto run = [&](Impl::EnVectors vectors) {
            CImage result(IMAGE_GREY_F, size, CSize(0, 0, 0));
            CProgressProxy progress;
            Impl::FilterLines<float, Filter>(CImageView<const float>(*image), CImageView<float>(result),
                                             {&filter, &filter, &filter}, progress, "", vectors);
            return test::PixelsOf<float>(result);
        };
        const Floats expected = run(Impl::EnVectors::BASELINE);
        for (const auto vectors : {Impl::EnVectors::AVX2, Impl::EnVectors::AVX512}) {
            if (vectors <= Impl::BestVectors()) {
                EXPECT_EQ(run(vectors), expected) << size.ToString();
            }
        }
        EXPECT_EQ(run(Impl::BestVectors()), expected);
    }
}

TEST(CYoungVanVliet, ResultsAreTheSameForAllVectorInstructions) {
    ExpectTheSameForAllVectors(Impl::CRecursiveGauss(0.9));
    ExpectTheSameForAllVectors(Impl::CRecursiveGauss(12.0));
    ExpectTheSameForAllVectors(Impl::CSampledGauss(0.5));
}

TEST(CYoungVanVliet, TinyNumbersCountAgainAfterwards) {
    Smoothed(*RandomFloats(CSize(5, 5, 5), 1), 1.0);
    volatile float tiny = std::numeric_limits<float>::min();
    EXPECT_GT(tiny * 0.5F, 0.0F);
}

// --- progress and refusals

TEST(CYoungVanVliet, ReportsAStepForEachPlaneAndRowOfPlanes) {
    const test::CThreadCount threads(2);
    const auto image = RandomFloats(CSize(8, 5, 7), 2);
    CImage result(IMAGE_GREY_F, image->Size(), CSize(0, 0, 0));
    test::CRecordingProgress progress;
    CYoungVanVliet filter(1.0, nullptr, nullptr);
    filter.SetProgress(CProgressProxy(&progress));
    filter.gauss(result, *image);
    EXPECT_EQ(progress.calls.front(), "Start 12 Gaussian filter");
    EXPECT_EQ(progress.calls.back(), "Finish");
    EXPECT_EQ(progress.steps, 12U);
    EXPECT_TRUE(progress.isFromOneThread);
}

TEST(CYoungVanVliet, ACancelledRunLeavesEarlyWithoutAnError) {
    const auto image = RandomFloats(CSize(8, 5, 7), 2);
    const Floats untouched(8 * 5 * 7, 7.0F);
    const auto result = test::ImageOf(IMAGE_GREY_F, image->Size(), untouched);
    test::CRecordingProgress progress;
    progress.isCancelled = true;
    CYoungVanVliet filter(1.0, nullptr, nullptr);
    filter.SetProgress(CProgressProxy(&progress));
    EXPECT_NO_THROW(filter.gauss(*result, *image));
    EXPECT_EQ(test::PixelsOf<float>(*result), untouched);
    EXPECT_EQ(progress.calls.back(), "Finish");
}

TEST(CYoungVanVliet, ReportsUnderTheNameOfTheCall) {
    const auto image = RandomFloats(CSize(3, 3, 3), 2);
    test::CRecordingProgress progress;
    IProgress* const before = CProgressProxy::SetHostSink(&progress);
    CYoungVanVliet filter(1.0, "Smoothing", nullptr);
    CProgressProxy::SetHostSink(before);
    // With more threads, a step is less than a plane.
    const test::CThreadCount threads(1);
    filter.gauss(*image, *image);
    EXPECT_EQ(progress.calls.front(), "Start 6 Smoothing");
}

TEST(CYoungVanVliet, RefusesASigmaThatIsInfiniteOrBeyondDoublePrecision) {
    const auto image = RandomFloats(CSize(3, 3, 3), 2);
    const double infinity = std::numeric_limits<double>::infinity();
    const auto message = [&](double sigma) {
        return std::string(test::Raised<CExBadParam>([&] { Smoothed(*image, sigma); }).Message());
    };
    EXPECT_EQ(message(infinity), "Sigma inf is infinite or above 10000 pixels.");
    EXPECT_EQ(message(-infinity), "Sigma -inf is infinite or above 10000 pixels.");
    EXPECT_EQ(message(20000.0), "Sigma 20000 is infinite or above 10000 pixels.");
    EXPECT_NO_THROW(Smoothed(*image, 10000.0));
}

TEST(CYoungVanVliet, RefusesAResultOfAnotherSize) {
    const CImage source(IMAGE_GREY_8, CSize(3, 4, 5), CSize(0, 0, 0));
    CImage result(IMAGE_GREY_F, CSize(3, 4), CSize(0, 0, 0));
    const auto raised =
        test::Raised<CExBadParam>([&] { CYoungVanVliet(1.0, nullptr, nullptr).gauss(result, source); });
    EXPECT_STREQ(raised.Message(), "Result of size (3,4) does not fit the source of size (3,4,5).");
}

TEST(CYoungVanVliet, RefusesTypesThatAreNotGrey) {
    const CSize size(3, 4, 5);
    const auto message = [&](const IImage::CType& resultType, const IImage::CType& sourceType) {
        const CImage source(sourceType, size, CSize(0, 0, 0));
        CImage result(resultType, size, CSize(0, 0, 0));
        return std::string(test::Raised<CException>([&] {
                               CYoungVanVliet(1.0, nullptr, nullptr).gauss(result, source);
                           }).Message());
    };
    EXPECT_EQ(message(IMAGE_GREY_F, IMAGE_BINARY_FG), "Image type IMAGE_BINARY_FG not supported.");
    EXPECT_EQ(message(IMAGE_GREY_F, IMAGE_COMPLEX_F), "Image type IMAGE_COMPLEX_F not supported.");
    EXPECT_EQ(message(IMAGE_GREY_8, IMAGE_GREY_F), "Image type IMAGE_GREY_8 not supported.");
}

} // namespace
