#include "support/PluginTest.h"
#include "support/TestImage.h"

#include <QuillonFilter/CPartialDerivatives.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using test::PixelsOf;
using Floats = std::vector<float>;

const CSize c_volume(6, 5, 4);
const CSize c_plane(7, 6);

std::unique_ptr<CImage> RandomFloats(const CSize& size) {
    std::mt19937 random(18);
    return test::RandomImage<float>(IMAGE_GREY_F, size, random, -1.0, 1.0);
}

Floats Derived(const CImage& image, int x, int y, int z) {
    CImage copy(image);
    CPartialDerivatives(nullptr, nullptr).Derivative(copy, x, y, z);
    return PixelsOf<float>(copy);
}

class PartialDerivativePlugin : public test::PluginTest {
protected:
    PartialDerivativePlugin()
        : PluginTest("PartialDerivative") {}

    static void SetOrders(test::CPackHost& host, std::int32_t x, std::int32_t y, std::int32_t z) {
        host.Set("orderx", new CValueLong(x));
        host.Set("ordery", new CValueLong(y));
        host.Set("orderz", new CValueLong(z));
    }

    std::string RefusalOfSpacing(const CSize& size, double x, double y, double z) {
        test::CPackHost host(RandomFloats(size));
        CQuillonHeaderTools::SetSpacing(host.Image(), x, y, z);
        EXPECT_TRUE(m_plugin->TestParameters(host.Tree())); // which does not look at the spacing
        const std::string refusal = Refusal(host);
        EXPECT_FALSE(host.Tree().HasEntry("output/documents"));
        return refusal;
    }
};

TEST_F(PartialDerivativePlugin, ADefaultObjectComputesTheMixedDerivativeOfOrder1InEachAxis) {
    test::CPackHost host(RandomFloats(c_volume));
    EXPECT_EQ(Run(host), "partderiv(1,1,1)");
    EXPECT_EQ(host.Result().Type(), IMAGE_GREY_F);
    EXPECT_EQ(host.Result().Size(), c_volume);
    EXPECT_EQ(PixelsOf<float>(host.Result()), Derived(host.Image(), 1, 1, 1));
}

TEST_F(PartialDerivativePlugin, TheInputIsNeverChanged) {
    test::CPackHost host(RandomFloats(c_volume));
    Run(host);
    EXPECT_EQ(PixelsOf<float>(host.Image()), PixelsOf<float>(*RandomFloats(c_volume)));
    EXPECT_TRUE(test::HistoryOf(host.Image()).empty());
}

TEST_F(PartialDerivativePlugin, OrdersOfZeroPassThroughUnchanged) {
    test::CPackHost host(RandomFloats(c_volume));
    SetOrders(host, 0, 0, 0);
    EXPECT_EQ(Run(host), "partderiv(0,0,0)");
    EXPECT_EQ(PixelsOf<float>(host.Result()), PixelsOf<float>(host.Image()));
}

TEST_F(PartialDerivativePlugin, EachOrderGoesToItsAxis) {
    test::CPackHost host(RandomFloats(c_volume));
    SetOrders(host, 3, 0, 2);
    EXPECT_EQ(Run(host), "partderiv(3,0,2)");
    EXPECT_EQ(PixelsOf<float>(host.Result()), Derived(host.Image(), 3, 0, 2));
}

TEST_F(PartialDerivativePlugin, OrdersAreKeptWhereNoLongIsThere) {
    test::CPackHost host(RandomFloats(c_volume));
    SetOrders(host, 2, 0, 1);
    EXPECT_EQ(Run(host), "partderiv(2,0,1)");
    host.Set("orderx", new CValueDouble(1.0)); // another kind is no order
    EXPECT_EQ(Run(host), "partderiv(2,0,1)");
    host.Tree().RemoveEntry("parameters");
    EXPECT_EQ(Run(host), "partderiv(2,0,1)");
}

TEST_F(PartialDerivativePlugin, A2dImageStillPassesAllThreeOrders) {
    test::CPackHost host(RandomFloats(c_plane));
    SetOrders(host, 1, 0, 5);
    EXPECT_EQ(Run(host), "partderiv(1,0,5)");
    EXPECT_EQ(PixelsOf<float>(host.Result()), Derived(host.Image(), 1, 0, 5));
    // That the third one arrives is seen where it cannot be taken.
    SetOrders(host, 1, 0, 33);
    EXPECT_EQ(Refusal(host),
              "ORVEN::CPartialDerivatives::Derivative: Order 33 of a derivative is not between 0 and 32.");
    EXPECT_EQ(m_standardError, "");
    EXPECT_FALSE(host.Tree().HasEntry("output/documents"));
}

TEST_F(PartialDerivativePlugin, ANegativeOrderRaises) {
    test::CPackHost host(RandomFloats(c_volume));
    SetOrders(host, 1, -1, 0);
    EXPECT_EQ(Refusal(host),
              "ORVEN::CPartialDerivatives::Derivative: Order -1 of a derivative is not between 0 and 32.");
}

// --- spacing

TEST_F(PartialDerivativePlugin, AnImageWithoutSpacingCountsAsIsotropic) {
    test::CPackHost volume(RandomFloats(c_volume));
    EXPECT_EQ(Run(volume), "partderiv(1,1,1)");
    test::CPackHost plane(RandomFloats(c_plane));
    EXPECT_EQ(Run(plane), "partderiv(1,1,1)");
}

TEST_F(PartialDerivativePlugin, AnIsotropicSpacingIsIgnoredAndKept) {
    test::CPackHost host(RandomFloats(c_volume));
    CQuillonHeaderTools::SetSpacing(host.Image(), 0.25, 0.25, 0.25);
    Run(host);
    EXPECT_EQ(PixelsOf<float>(host.Result()), Derived(host.Image(), 1, 1, 1));
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    EXPECT_TRUE(CQuillonHeaderTools::GetSpacing(host.Result(), x, y, z));
    EXPECT_EQ((std::vector<double>{x, y, z}), (std::vector<double>{0.25, 0.25, 0.25}));
}

TEST_F(PartialDerivativePlugin, OtherSpacingsIn3dRaiseTheTextOf3d) {
    EXPECT_EQ(RefusalOfSpacing(c_volume, 1, 1, 2),
              "PartialDerivativePlugin: Only isotropic pixels are supported, but spacing is "
              "(1.000000,1.000000,2.000000).");
    EXPECT_EQ(RefusalOfSpacing(c_volume, 1, 2, 2),
              "PartialDerivativePlugin: Only isotropic pixels are supported, but spacing is "
              "(1.000000,2.000000,2.000000).");
}

TEST_F(PartialDerivativePlugin, OtherSpacingsIn2dRaiseTheTextOf2dAndZIsIgnored) {
    EXPECT_EQ(
        RefusalOfSpacing(c_plane, 1, 2, 1),
        "PartialDerivativePlugin: Only isotropic pixels are supported, but spacing is (1.000000,2.000000).");
    test::CPackHost host(RandomFloats(c_plane));
    CQuillonHeaderTools::SetSpacing(host.Image(), 1, 1, 9);
    EXPECT_EQ(Run(host), "partderiv(1,1,1)");
}

// --- what GetData takes although TestParameters does not

TEST_F(PartialDerivativePlugin, AnImageOf8BitsIsRefusedByTestParametersAndDerivedByGetData) {
    test::CPackHost host(test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(3, 2), {0, 10, 20, 90, 60, 0}));
    EXPECT_FALSE(m_plugin->TestParameters(host.Tree()));
    SetOrders(host, 1, 0, 0);
    EXPECT_EQ(Run(host), "partderiv(1,0,0)");
    EXPECT_EQ(host.Result().Type(), IMAGE_GREY_8);
    EXPECT_EQ(PixelsOf<unsigned char>(host.Result()), (std::vector<unsigned char>{10, 10, 10, 0, 0, 0}));
    EXPECT_TRUE(test::RecordedMinMax(host.Result()).empty()); // of floats only
}

TEST_F(PartialDerivativePlugin, ABinaryImageIsCopiedButNotDerived) {
    test::CPackHost host(std::make_unique<CImage>(IMAGE_BINARY_FG, c_plane, CSize(0, 0, 0)));
    EXPECT_EQ(Refusal(host),
              "ORVEN::CPartialDerivatives::Derivative: Image type IMAGE_BINARY_FG not supported.");
}

TEST_F(PartialDerivativePlugin, ATypeThatCannotBeCopiedRaisesWithCopyAsSource) {
    for (const auto& type : {IMAGE_BINARY_BG, IMAGE_COMPLEX_F}) {
        test::CPackHost host(std::make_unique<CImage>(type, c_plane, CSize(0, 0, 0)));
        EXPECT_EQ(Refusal(host), std::string("Copy: Image type ") + type.ToString() + " not supported.");
        EXPECT_EQ(m_standardError, "");
    }
}

// --- the result

TEST_F(PartialDerivativePlugin, TheLeastAndGreatestValueAreOnRecord) {
    test::CPackHost host(RandomFloats(c_volume));
    Run(host);
    const Floats pixels = PixelsOf<float>(host.Result());
    const auto [least, greatest] = std::minmax_element(pixels.begin(), pixels.end());
    EXPECT_EQ(test::RecordedMinMax(host.Result()), (std::vector<double>{*least, *greatest}));
}

TEST_F(PartialDerivativePlugin, TheResultInheritsAttributesHistoryAndLabel) {
    test::CPackHost host(RandomFloats(c_volume), "foam.nrrd");
    CQuillonHeaderTools::AddToHistory(host.Image(), "gaussian(sigma=2)", 0);
    SetOrders(host, 1, 0, 0);
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "foam.nrrd");
    EXPECT_EQ(test::HistoryOf(host.Result()),
              (std::vector<std::string>{"gaussian(sigma=2)", "partderiv(1,0,0)"}));
}

TEST_F(PartialDerivativePlugin, ADocumentWithoutLabelIsUnnamedAndSoIsOneWhoseLabelIsNoText) {
    test::CPackHost host(RandomFloats(c_volume), "");
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "unnamed");
    host.Document().SetEntry("label", new CValueLong(3));
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "unnamed");
}

TEST_F(PartialDerivativePlugin, ImagesWithThinOrEmptyAxesRunThrough) {
    for (const CSize& size : {CSize(1, 1), CSize(1, 9, 1), CSize(9, 1), CSize(1, 1, 9), CSize(0, 3, 3)}) {
        test::CPackHost host(RandomFloats(size));
        EXPECT_EQ(Run(host), "partderiv(1,1,1)");
        EXPECT_EQ(PixelsOf<float>(host.Result()), Floats(static_cast<std::size_t>(size.PixelCount()), 0.0F));
    }
}

} // namespace
