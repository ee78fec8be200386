#include "support/CRecordingProgress.h"
#include "support/CThreadCount.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <QuillonBase/Parallel.h>
#include <QuillonFilter/CDifferenceFilter.h>
#include <QuillonFilter/CPartialDerivatives.h>
#include <sorblib2core/CExBadParam.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <string>

namespace {

using namespace ORVEN;
using Floats = std::vector<float>;
using Weights = std::vector<double>;

void Derive(IImage& image, int x, int y, int z) {
    CPartialDerivatives(nullptr, nullptr).Derivative(image, x, y, z);
}

Floats Derived(const CImage& image, int x, int y, int z) {
    CImage copy(image);
    Derive(copy, x, y, z);
    return test::PixelsOf<float>(copy);
}

std::unique_ptr<CImage> RandomFloats(const CSize& size, unsigned seed) {
    std::mt19937 random(seed);
    return test::RandomImage<float>(IMAGE_GREY_F, size, random, -1.0, 1.0);
}

/// d^order/dx^order of x^degree.
double PowerDerivative(double x, int degree, int order) {
    double value = order <= degree ? std::pow(x, degree - order) : 0.0;
    for (int i = 0; i < order && order <= degree; ++i)
        value *= degree - i;
    return value;
}

double WeightSum(int order, std::int64_t length) {
    if (order == 0)
        return 1.0;
    const Impl::CFiniteDifferences differences(order, length);
    const auto weights = differences.WindowAt(0).weights;
    return std::accumulate(weights.begin(), weights.end(), 0.0,
                           [](double sum, double weight) { return sum + std::abs(weight); });
}

/// x^a y^b z^c, or what becomes of it, counted from the middle of each axis to keep values small.
template <class Function>
Floats Sampled(const CSize& size, const Function& function) {
    Floats pixels;
    for (std::int64_t i = 0; i < size.PixelCount(); ++i) {
        const auto centred = [](std::int64_t place, std::int64_t extent) {
            return static_cast<double>(place - extent / 2);
        };
        pixels.push_back(
            static_cast<float>(function(centred(i % size.x, size.x), centred(i / size.x % size.y, size.y),
                                        centred(i / size.x / size.y, size.z))));
    }
    return pixels;
}

struct StPolynomial {
    int orderX;
    int orderY;
    int orderZ;
    int degreeX;
    int degreeY;
    int degreeZ;
};

void ExpectExact(const CSize& size, const StPolynomial& p) {
    const Floats pixels = Sampled(size, [&](double x, double y, double z) {
        return std::pow(x, p.degreeX) * std::pow(y, p.degreeY) * std::pow(z, p.degreeZ);
    });
    const Floats expected = Sampled(size, [&](double x, double y, double z) {
        return PowerDerivative(x, p.degreeX, p.orderX) * PowerDerivative(y, p.degreeY, p.orderY) *
               PowerDerivative(z, p.degreeZ, p.orderZ);
    });
    const Floats derived = Derived(*test::ImageOf(IMAGE_GREY_F, size, pixels), p.orderX, p.orderY, p.orderZ);
    double greatest = 0.0;
    for (const float pixel : pixels)
        greatest = std::max(greatest, std::abs(static_cast<double>(pixel)));
    const double tolerance = 6e-8 * greatest * WeightSum(p.orderX, size.x) * WeightSum(p.orderY, size.y) *
                             WeightSum(p.orderZ, size.z);
    for (std::size_t i = 0; i < derived.size(); ++i) {
        ASSERT_NEAR(derived[i], expected[i], tolerance)
            << "pixel " << i << ", orders " << p.orderX << p.orderY << p.orderZ << ", degrees " << p.degreeX
            << p.degreeY << p.degreeZ << ", size " << size.ToString();
    }
}

TEST(CPartialDerivatives, IsExactForPolynomialsAtEveryPixelBordersIncluded) {
    for (int x = 0; x <= 4; ++x) {
        for (int y = 0; y <= 3; ++y) {
            for (int z = 0; z <= 2; ++z) {
                // From the shortest lines that are exact to degree order + 1 to longer ones.
                for (const std::int64_t more : {2, 3, 6}) {
                    const CSize size(x + more, y + more, z + more);
                    ExpectExact(size, {x, y, z, x + 1, y + 1, z + 1});
                    ExpectExact(size, {x, y, z, x, y, z});
                    ExpectExact(size, {x, y, z, x + 1, y, std::max(z - 1, 0)});
                }
            }
        }
    }
    ExpectExact(CSize(70, 3, 3), {1, 1, 1, 2, 2, 2});
    ExpectExact(CSize(3, 70, 3), {0, 2, 1, 1, 3, 2});
    ExpectExact(CSize(4, 3, 70), {2, 0, 1, 3, 1, 2});
}

TEST(CPartialDerivatives, ALineOfOneMorePixelThanTheOrderIsExactToTheOrder) {
    for (int order = 1; order <= 6; ++order) {
        for (int degree = 0; degree <= order; ++degree) {
            ExpectExact(CSize(order + 1, 2, 2), {order, 0, 0, degree, 0, 0});
            ExpectExact(CSize(2, order + 1, 2), {0, order, 0, 0, degree, 0});
            ExpectExact(CSize(2, 2, order + 1), {0, 0, order, 0, 0, degree});
        }
    }
}

TEST(CPartialDerivatives, ALineOfNoMorePixelsThanTheOrderYieldsZero) {
    const auto image = RandomFloats(CSize(4, 3, 2), 1);
    const Floats zeros(24, 0.0F);
    EXPECT_EQ(Derived(*image, 4, 0, 0), zeros);
    EXPECT_EQ(Derived(*image, 1, 3, 0), zeros);
    EXPECT_EQ(Derived(*image, 1, 1, 2), zeros);
    EXPECT_EQ(Derived(*image, 0, 0, 32), zeros);
    EXPECT_NE(Derived(*image, 3, 2, 1), zeros);
}

TEST(CPartialDerivatives, OfTwoPixelsItIsTheDifferenceAtBoth) {
    const auto image = test::ImageOf<float>(IMAGE_GREY_F, CSize(2, 2), {1, 4, 10, 20});
    EXPECT_EQ(Derived(*image, 1, 0, 0), (Floats{3, 3, 10, 10}));
    EXPECT_EQ(Derived(*image, 0, 1, 0), (Floats{9, 16, 9, 16}));
}

TEST(CPartialDerivatives, EqualsSumsOverTheKnownWindows) {
    // The left end of orders 1 to 4 as in the literature, the central window last.
    const std::array<std::vector<Weights>, 4> known{{
        {{-1.5, 2, -0.5}, {-0.5, 0, 0.5}},
        {{2, -5, 4, -1}, {1, -2, 1}},
        {{-2.5, 9, -12, 7, -1.5}, {-1.5, 5, -6, 3, -0.5}, {-0.5, 1, 0, -1, 0.5}},
        {{3, -14, 26, -24, 11, -2}, {2, -9, 16, -14, 6, -1}, {1, -4, 6, -4, 1}},
    }};
    const std::int64_t length = 67;
    for (int order = 1; order <= 4; ++order) {
        const auto& windows = known[static_cast<std::size_t>(order) - 1];
        const auto ends = static_cast<std::int64_t>(windows.size()) - 1;
        const auto image = RandomFloats(CSize(3, length, 2), static_cast<unsigned>(order));
        const CImageView<const float> view(*image);
        const auto derived = test::ImageOf(IMAGE_GREY_F, image->Size(), Derived(*image, 0, order, 0));
        const CImageView<const float> actual(*derived);
        for (std::int64_t y = 0; y < length; ++y) {
            const bool isRight = y >= length - ends;
            const std::int64_t fromEnd = std::min({y, length - 1 - y, ends});
            const Weights& weights = windows[static_cast<std::size_t>(fromEnd)];
            for (std::int64_t x = 0; x < 3; ++x) {
                double expected = 0.0;
                for (std::int64_t i = 0; i < std::ssize(weights); ++i) {
                    const std::int64_t from = fromEnd == ends ? y - std::ssize(weights) / 2 + i
                                              : isRight       ? length - 1 - i
                                                              : i;
                    const double sign = isRight && order % 2 != 0 ? -1.0 : 1.0;
                    expected += sign * weights[static_cast<std::size_t>(i)] *
                                static_cast<double>(view.Row(from, 1)[x]);
                }
                ASSERT_NEAR(actual.Row(y, 1)[x], expected, 6e-8 * (1.0 + std::abs(expected)))
                    << order << " " << y;
            }
        }
    }
}

TEST(CPartialDerivatives, APlaneHasNoZAxisAndALineNoY) {
    const auto image = RandomFloats(CSize(9, 8), 2);
    EXPECT_EQ(Derived(*image, 1, 1, 1), Derived(*image, 1, 1, 0));
    EXPECT_EQ(Derived(*image, 0, 2, 32), Derived(*image, 0, 2, 0));
    EXPECT_EQ(Derived(*image, 0, 0, 3), test::PixelsOf<float>(*image));
    CSize size(9, 1, 1);
    size.SetDim(1);
    const auto line = RandomFloats(size, 3);
    EXPECT_EQ(Derived(*line, 1, 1, 1), Derived(*line, 1, 0, 0));
}

TEST(CPartialDerivatives, AVolumeOfOnePlaneHasADerivativeOfZeroAlongZ) {
    const auto image = RandomFloats(CSize(9, 8, 1), 2);
    EXPECT_EQ(Derived(*image, 0, 0, 1), Floats(72, 0.0F));
    EXPECT_EQ(Derived(*image, 1, 1, 1), Floats(72, 0.0F));
    EXPECT_NE(Derived(*image, 1, 1, 0), Floats(72, 0.0F));
}

TEST(CPartialDerivatives, OrdersZeroLeaveEveryBitAsItIs) {
    const Floats pixels{1.0F, -0.0F, std::numeric_limits<float>::quiet_NaN(),
                        std::numeric_limits<float>::denorm_min()};
    const auto image = test::ImageOf(IMAGE_GREY_F, CSize(2, 2), pixels);
    const Floats after = Derived(*image, 0, 0, 0);
    for (std::size_t i = 0; i < pixels.size(); ++i)
        EXPECT_EQ(std::bit_cast<std::uint32_t>(after[i]), std::bit_cast<std::uint32_t>(pixels[i]));
}

TEST(CPartialDerivatives, OfAMirroredImageItIsTheMirrorWithTheSignOfTheOrder) {
    const CSize size(21, 6, 5);
    const auto mirrored = [&](Floats pixels) {
        for (auto row = pixels.begin(); row != pixels.end(); row += size.x)
            std::reverse(row, row + size.x);
        return pixels;
    };
    const auto image = RandomFloats(size, 13);
    const auto mirror = test::ImageOf(IMAGE_GREY_F, size, mirrored(test::PixelsOf<float>(*image)));
    for (int order = 1; order <= 5; ++order) {
        const Floats a = mirrored(Derived(*image, order, 0, 0));
        const Floats b = Derived(*mirror, order, 0, 0);
        const float sign = order % 2 == 0 ? 1.0F : -1.0F;
        for (std::size_t i = 0; i < a.size(); ++i)
            ASSERT_NEAR(sign * a[i], b[i], 1.2e-7 * std::max(1.0F, std::abs(b[i]))) << order;
    }
}

TEST(CPartialDerivatives, IsLinearInTheImage) {
    const CSize size(12, 11, 10);
    const auto first = RandomFloats(size, 14);
    const auto second = RandomFloats(size, 15);
    const Floats a = test::PixelsOf<float>(*first);
    const Floats b = test::PixelsOf<float>(*second);
    Floats sum;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum.push_back(2.0F * a[i] - 3.0F * b[i]);
    const Floats derivedSum = Derived(*test::ImageOf(IMAGE_GREY_F, size, sum), 1, 2, 1);
    const Floats derivedA = Derived(*first, 1, 2, 1);
    const Floats derivedB = Derived(*second, 1, 2, 1);
    for (std::size_t i = 0; i < a.size(); ++i)
        ASSERT_NEAR(derivedSum[i], 2.0F * derivedA[i] - 3.0F * derivedB[i], 1e-4);
}

TEST(CPartialDerivatives, AxesAreTakenOneAfterTheOther) {
    const auto image = RandomFloats(CSize(70, 66, 5), 16);
    const auto alongX = test::ImageOf(IMAGE_GREY_F, image->Size(), Derived(*image, 1, 0, 0));
    EXPECT_EQ(Derived(*image, 1, 1, 0), Derived(*alongX, 0, 1, 0));
    EXPECT_EQ(Derived(*image, 1, 2, 3),
              Derived(*test::ImageOf(IMAGE_GREY_F, image->Size(), Derived(*alongX, 0, 2, 0)), 0, 0, 3));
}

// --- integers, threads, vectors

TEST(CPartialDerivatives, IntegersAreRoundedAndHeldToTheirRange) {
    auto image = test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(4, 2), {0, 10, 21, 40, 255, 200, 3, 0});
    Derive(*image, 1, 0, 0);
    // 9.5 goes to the even neighbour; what falls is negative, and 0.
    EXPECT_EQ(test::PixelsOf<unsigned char>(*image),
              (std::vector<unsigned char>{10, 10, 15, 23, 16, 0, 0, 94}));
    auto words = test::ImageOf<unsigned short>(IMAGE_GREY_16, CSize(3, 1), {60000, 0, 60000});
    Derive(*words, 2, 0, 0);
    EXPECT_EQ(test::PixelsOf<unsigned short>(*words), (std::vector<unsigned short>{65535, 65535, 65535}));
    auto wide = test::ImageOf<unsigned int>(IMAGE_GREY_32, CSize(3, 1), {0, 1000000, 2000000});
    Derive(*wide, 1, 0, 0);
    EXPECT_EQ(test::PixelsOf<unsigned int>(*wide), (std::vector<unsigned int>{1000000, 1000000, 1000000}));
}

class CPartialDerivativesThreads : public testing::Test {
protected:
    ~CPartialDerivativesThreads() override { SetThreadCount(0); }
};

TEST_F(CPartialDerivativesThreads, ResultsAreTheSameForAnyNumberOfThreads) {
    for (const CSize& size : {CSize(70, 33, 21), CSize(9, 150)}) {
        const auto image = RandomFloats(size, 77);
        SetThreadCount(1);
        const Floats expected = Derived(*image, 1, 4, 6);
        for (const int count : {2, 7}) {
            SetThreadCount(count);
            EXPECT_EQ(Derived(*image, 1, 4, 6), expected) << count;
        }
    }
}

TEST(CPartialDerivatives, ResultsAreTheSameForAllVectorInstructions) {
    const CSize size(67, 66, 40);
    const auto image = RandomFloats(size, 31);
    for (const int order : {1, 2, 3, 4, 7, 32}) {
        const Impl::CDifferenceFilter alongX(order, size.x);
        const Impl::CDifferenceFilter hasY(order, size.y);
        const Impl::CDifferenceFilter hasZ(order, size.z);
        const auto run = [&](Impl::EnVectors vectors) {
            CImage result(IMAGE_GREY_F, size, CSize(0, 0, 0));
            CProgressProxy progress;
            Impl::FilterLines<float, Impl::CDifferenceFilter>(CImageView<const float>(*image),
                                                              CImageView<float>(result),
                                                              {&alongX, &hasY, &hasZ}, progress, "", vectors);
            return test::PixelsOf<float>(result);
        };
        const Floats expected = run(Impl::EnVectors::BASELINE);
        for (const auto vectors : {Impl::EnVectors::AVX2, Impl::EnVectors::AVX512}) {
            if (vectors <= Impl::BestVectors()) {
                EXPECT_EQ(run(vectors), expected) << order;
            }
        }
        if (order < 32) {
            EXPECT_EQ(Derived(*image, order, order, order), expected) << order;
        }
    }
}

// --- progress and refusals

TEST(CPartialDerivatives, ReportsAStepForEachPlaneAndRowOfPlanes) {
    const test::CThreadCount threads(2);
    const auto image = RandomFloats(CSize(8, 5, 7), 2);
    test::CRecordingProgress progress;
    CPartialDerivatives derivatives(nullptr, nullptr);
    derivatives.SetProgress(CProgressProxy(&progress));
    derivatives.Derivative(*image, 1, 1, 1);
    EXPECT_EQ(progress.calls.front(), "Start 12 Partial derivative");
    EXPECT_EQ(progress.calls.back(), "Finish");
    EXPECT_EQ(progress.steps, 12U);
    EXPECT_TRUE(progress.isFromOneThread);
}

TEST(CPartialDerivatives, ACancelledRunLeavesEarlyWithoutAnError) {
    const auto image = RandomFloats(CSize(8, 5, 7), 2);
    const Floats before = test::PixelsOf<float>(*image);
    test::CRecordingProgress progress;
    progress.isCancelled = true;
    CPartialDerivatives derivatives(nullptr, nullptr);
    derivatives.SetProgress(CProgressProxy(&progress));
    EXPECT_NO_THROW(derivatives.Derivative(*image, 1, 1, 1));
    EXPECT_EQ(test::PixelsOf<float>(*image), before);
}

TEST(CPartialDerivatives, RefusesOrdersOutsideZeroTo32BeforeAnyChange) {
    const auto image = RandomFloats(CSize(40, 4, 4), 2);
    const Floats before = test::PixelsOf<float>(*image);
    const auto message = [&](int x, int y, int z) {
        return std::string(test::Raised<CExBadParam>([&] { Derive(*image, x, y, z); }).Message());
    };
    EXPECT_EQ(message(-1, 0, 0), "Order -1 of a derivative is not between 0 and 32.");
    EXPECT_EQ(message(1, 33, 0), "Order 33 of a derivative is not between 0 and 32.");
    EXPECT_EQ(message(1, 1, -2147483647), "Order -2147483647 of a derivative is not between 0 and 32.");
    EXPECT_EQ(test::PixelsOf<float>(*image), before);
    EXPECT_NO_THROW(Derive(*image, 32, 0, 0));
}

TEST(CPartialDerivatives, RefusesTypesThatAreNotGrey) {
    for (const auto& type : {IMAGE_BINARY_FG, IMAGE_BINARY_BG, IMAGE_COMPLEX_F}) {
        CImage image(type, CSize(3, 3), CSize(0, 0, 0));
        EXPECT_EQ(std::string(test::Raised<CException>([&] { Derive(image, 1, 0, 0); }).Message()),
                  std::string("Image type ") + type.ToString() + " not supported.");
    }
}

TEST(CPartialDerivatives, AnEmptyImageIsDoneAtOnce) {
    CImage image(IMAGE_GREY_F, CSize(0, 4, 4), CSize(0, 0, 0));
    EXPECT_NO_THROW(Derive(image, 1, 1, 1));
}

} // namespace
