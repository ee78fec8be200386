#include "support/PluginTest.h"
#include "support/TestImage.h"

#include <QuillonFilter/CYoungVanVliet.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using test::PixelsOf;
using Floats = std::vector<float>;

const CSize c_size(6, 5, 4);

std::unique_ptr<CImage> Volume() {
    std::mt19937 random(17);
    return test::RandomImage<unsigned char>(IMAGE_GREY_8, c_size, random, 0, 256);
}

std::vector<double> SpacingOf(const CImage& image) {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    if (!CQuillonHeaderTools::GetSpacing(image, x, y, z))
        return {};
    return {x, y, z};
}

class GaussFilterPlugin : public test::PluginTest {
protected:
    GaussFilterPlugin()
        : PluginTest("GaussFilter") {}
};

TEST_F(GaussFilterPlugin, OnA2dImageGetDataRaisesWithTheDimension) {
    for (const int dimension : {1, 2}) {
        CSize size(4, 4);
        size.SetDim(dimension);
        test::CPackHost host(std::make_unique<CImage>(IMAGE_GREY_8, size, CSize(0, 0, 0)));
        EXPECT_EQ(Refusal(host),
                  "GaussFilterPlugin: Gauss filter only supports 3d images, current image is " +
                      std::to_string(dimension) + "d.");
        EXPECT_EQ(m_standardError, "");
        EXPECT_FALSE(host.Tree().HasEntry("output"));
    }
}

TEST_F(GaussFilterPlugin, OnABinaryImageGetDataRaises) {
    test::CPackHost host(std::make_unique<CImage>(IMAGE_BINARY_FG, c_size, CSize(0, 0, 0)));
    EXPECT_EQ(Refusal(host), "ORVEN::CYoungVanVliet::gauss: Image type IMAGE_BINARY_FG not supported.");
    EXPECT_FALSE(host.Tree().HasEntry("output"));
}

TEST_F(GaussFilterPlugin, ADefaultObjectSmoothsWithSigma1) {
    test::CPackHost host(Volume());
    EXPECT_EQ(Run(host), "gaussian(sigma=1)");
    CImage expected(IMAGE_GREY_F, c_size, CSize(0, 0, 0));
    CYoungVanVliet(1.0, nullptr, nullptr).gauss(expected, host.Image());
    EXPECT_EQ(host.Result().Type(), IMAGE_GREY_F);
    EXPECT_EQ(host.Result().Size(), c_size);
    EXPECT_EQ(PixelsOf<float>(host.Result()), PixelsOf<float>(expected));
    EXPECT_EQ(PixelsOf<unsigned char>(host.Image()), PixelsOf<unsigned char>(*Volume())); // only read
}

TEST_F(GaussFilterPlugin, EachGreyTypeYieldsAFloatImage) {
    for (const auto& type : {IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_F}) {
        test::CPackHost host(std::make_unique<CImage>(type, c_size, CSize(0, 0, 0)));
        EXPECT_EQ(Run(host), "gaussian(sigma=1)");
        EXPECT_EQ(host.Result().Type(), IMAGE_GREY_F);
    }
}

TEST_F(GaussFilterPlugin, SigmaIsReadAndKeptWhereNoDoubleIsThere) {
    test::CPackHost host(Volume());
    host.Set("sigma", new CValueDouble(2.5));
    EXPECT_EQ(Run(host), "gaussian(sigma=2.5)");
    host.Set("sigma", new CValueLong(4)); // another kind is no sigma
    EXPECT_EQ(Run(host), "gaussian(sigma=2.5)");
    host.Tree().RemoveEntry("parameters");
    EXPECT_EQ(Run(host), "gaussian(sigma=2.5)");
    host.Set("sigma", new CValueDouble(0.1234567));
    EXPECT_EQ(Run(host), "gaussian(sigma=0.123457)");
}

TEST_F(GaussFilterPlugin, ASigmaOfZeroOrBelowIsNotRefusedAndCopies) {
    for (const double sigma : {0.0, -3.0}) {
        test::CPackHost host(Volume());
        host.Set("sigma", new CValueDouble(sigma));
        EXPECT_TRUE(m_plugin->TestParameters(host.Tree()));
        EXPECT_EQ(Run(host), sigma < 0.0 ? "gaussian(sigma=-3)" : "gaussian(sigma=0)");
        const auto before = PixelsOf<unsigned char>(host.Image());
        EXPECT_EQ(PixelsOf<float>(host.Result()), Floats(before.begin(), before.end()));
    }
}

TEST_F(GaussFilterPlugin, ErrorsOfTheFilterPassUnseenAndLeaveNoDocument) {
    test::CPackHost host(Volume());
    host.Set("sigma", new CValueDouble(std::numeric_limits<double>::infinity()));
    EXPECT_EQ(Refusal(host), "ORVEN::CYoungVanVliet::gauss: Sigma inf is infinite or above 10000 pixels.");
    EXPECT_EQ(m_standardError, "");
    EXPECT_FALSE(host.Tree().HasEntry("output"));
}

TEST_F(GaussFilterPlugin, AnInputWithoutSpacingYieldsASpacingOf1) {
    test::CPackHost host(Volume());
    Run(host);
    EXPECT_EQ(SpacingOf(host.Result()), (std::vector<double>{1.0, 1.0, 1.0}));
    EXPECT_EQ(SpacingOf(host.Image()), std::vector<double>());
}

TEST_F(GaussFilterPlugin, SpacingIsKeptAndIgnored) {
    test::CPackHost host(Volume());
    Run(host);
    const Floats isotropic = PixelsOf<float>(host.Result());
    CQuillonHeaderTools::SetSpacing(host.Image(), 0.5, 2.0, 7.0);
    Run(host);
    EXPECT_EQ(SpacingOf(host.Result()), (std::vector<double>{0.5, 2.0, 7.0}));
    EXPECT_EQ(PixelsOf<float>(host.Result()), isotropic);
}

TEST_F(GaussFilterPlugin, TheLeastAndGreatestValueAreOnRecord) {
    test::CPackHost host(Volume());
    Run(host);
    const Floats pixels = PixelsOf<float>(host.Result());
    const auto [least, greatest] = std::minmax_element(pixels.begin(), pixels.end());
    EXPECT_EQ(test::RecordedMinMax(host.Result()), (std::vector<double>{*least, *greatest}));
}

TEST_F(GaussFilterPlugin, TheResultInheritsAttributesHistoryAndLabel) {
    test::CPackHost host(Volume(), "foam.nrrd");
    CQuillonHeaderTools::AddToHistory(host.Image(), "scanned()", 0);
    CQuillonHeaderTools::SetNumberOfLabels(host.Image(), 7);
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "foam.nrrd");
    EXPECT_EQ(test::HistoryOf(host.Result()), (std::vector<std::string>{"scanned()", "gaussian(sigma=1)"}));
    EXPECT_EQ(test::HistoryOf(host.Image()), std::vector<std::string>{"scanned()"});
    std::size_t labels = 0;
    EXPECT_TRUE(CQuillonHeaderTools::GetNumberOfLabels(host.Result(), labels));
    EXPECT_EQ(labels, 7U);
}

TEST_F(GaussFilterPlugin, ADocumentWithoutLabelIsUnnamedAndSoIsOneWhoseLabelIsNoText) {
    test::CPackHost host(Volume(), "");
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "unnamed");
    host.Document().SetEntry("label", new CValueLong(3));
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "unnamed");
}

TEST_F(GaussFilterPlugin, ImagesWithThinOrEmptyAxesRunThrough) {
    for (const CSize& size :
         {CSize(1, 1, 1), CSize(1, 9, 1), CSize(9, 1, 1), CSize(1, 1, 9), CSize(0, 3, 3)}) {
        test::CPackHost host(std::make_unique<CImage>(IMAGE_GREY_16, size, CSize(0, 0, 0)));
        EXPECT_EQ(Run(host), "gaussian(sigma=1)");
        EXPECT_EQ(host.Result().Size(), size);
    }
}

} // namespace
