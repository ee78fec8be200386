#include "support/CRandomSeeds.h"
#include "support/PluginTest.h"
#include "support/TestImage.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
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
using test::ImageOf;
using test::PixelsOf;
using test::Text;
using Bytes = std::vector<unsigned char>;

std::unique_ptr<CImage> Binary(const CSize& size, const Bytes& pixels = {}) {
    return ImageOf(IMAGE_BINARY_FG, size, pixels);
}

class SphericalMorphologyPlugin : public test::PluginTest {
protected:
    SphericalMorphologyPlugin()
        : PluginTest("SphericalMorphology") {}

    Bytes Morph(const CSize& size, const Bytes& pixels, const std::string& operation,
                std::int32_t radius) const {
        test::CPackHost host(Binary(size, pixels));
        host.Set("operation", Text(operation));
        host.Set("radius", new CValueLong(radius));
        EXPECT_EQ(Run(host), "morph(spherical,op=" + operation + ",r=" + std::to_string(radius) + ")");
        return PixelsOf<unsigned char>(host.Result());
    }

    std::string RefusalOfSpacing(const CSize& size, double x, double y, double z) {
        test::CPackHost host(Binary(size));
        CQuillonHeaderTools::SetSpacing(host.Image(), x, y, z);
        const std::string refusal = Refusal(host);
        EXPECT_FALSE(host.Tree().HasEntry("output/documents"));
        return refusal;
    }
};

// --- frame
// --------------------------------------------------------------------------------------------------------

TEST_F(SphericalMorphologyPlugin, ADefaultObjectErodesWithRadius1) {
    test::CPackHost host(Binary(CSize(5, 5), Bytes(25, 1)));
    EXPECT_EQ(Run(host), "morph(spherical,op=erosion,r=1)");
    EXPECT_EQ(PixelsOf<unsigned char>(host.Result()), (Bytes{0, 0, 0, 0, 0, //
                                                             0, 1, 1, 1, 0, //
                                                             0, 1, 1, 1, 0, //
                                                             0, 1, 1, 1, 0, //
                                                             0, 0, 0, 0, 0}));
    EXPECT_EQ(host.Result().Type(), IMAGE_BINARY_FG);
    EXPECT_EQ(PixelsOf<unsigned char>(host.Image()), Bytes(25, 1)); // the input is only read
}

// --- operations
// ---------------------------------------------------------------------------------------------------

TEST_F(SphericalMorphologyPlugin, EachNameSelectsItsOperation) {
    // A bar of 2 with a hole of 1 beside it, at the border.
    const CSize size(7, 3);
    const Bytes image{1, 1, 1, 0, 0, 0, 1, //
                      1, 0, 1, 0, 0, 0, 0, //
                      1, 1, 1, 0, 0, 0, 0};
    EXPECT_EQ(Morph(size, image, "erosion", 1), Bytes(21, 0));
    EXPECT_EQ(Morph(size, image, "dilation", 1), (Bytes{1, 1, 1, 1, 0, 1, 1, //
                                                        1, 1, 1, 1, 0, 0, 1, //
                                                        1, 1, 1, 1, 0, 0, 0}));
    EXPECT_EQ(Morph(size, image, "opening", 1), Bytes(21, 0));
    EXPECT_EQ(Morph(size, image, "closing", 1), (Bytes{1, 1, 1, 0, 0, 0, 1, //
                                                       1, 1, 1, 0, 0, 0, 0, //
                                                       1, 1, 1, 0, 0, 0, 0}));
    EXPECT_EQ(Morph(size, image, "erosionrefl", 1), (Bytes{1, 0, 0, 0, 0, 0, 0, //
                                                           0, 0, 0, 0, 0, 0, 0, //
                                                           1, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Morph(size, image, "dilationrefl", 1), Morph(size, image, "dilation", 1));
}

TEST_F(SphericalMorphologyPlugin, EqualsTheBallMovedOverRandomImages) {
    for (const unsigned seed : test::CRandomSeeds(0, 60)) {
        std::mt19937 random(seed);
        const auto extent = [&random] { return std::uniform_int_distribution<std::int64_t>(1, 12)(random); };
        const CSize size = seed % 2 == 0 ? CSize(extent(), extent()) : CSize(extent(), extent(), extent());
        const auto image = test::RandomImage<unsigned char>(IMAGE_BINARY_FG, size, random, 0, 2);
        const Bytes pixels = PixelsOf<unsigned char>(*image);
        const auto radius = static_cast<std::int32_t>(random() % 4);
        const CImageView<const unsigned char> view(*image);
        Bytes eroded;
        Bytes dilated;
        for (std::int64_t z = 0; z < view.nz; ++z) {
            for (std::int64_t y = 0; y < view.ny; ++y) {
                for (std::int64_t x = 0; x < view.nx; ++x) {
                    bool meets = false;
                    bool fits = true;
                    const std::int64_t depth = size.Dim() == 3 ? radius : 0;
                    for (std::int64_t w = z - depth; w <= z + depth; ++w) {
                        for (std::int64_t v = y - radius; v <= y + radius; ++v) {
                            for (std::int64_t u = x - radius; u <= x + radius; ++u) {
                                const std::int64_t distance =
                                    (u - x) * (u - x) + (v - y) * (v - y) + (w - z) * (w - z);
                                if (distance > radius * radius)
                                    continue;
                                const bool isInImage =
                                    u >= 0 && v >= 0 && w >= 0 && u < view.nx && v < view.ny && w < view.nz;
                                const bool isObject = isInImage && view.Row(v, w)[u] != 0;
                                meets = meets || isObject;
                                fits = fits && isObject;
                            }
                        }
                    }
                    eroded.push_back(fits);
                    dilated.push_back(meets);
                }
            }
        }
        ASSERT_EQ(Morph(size, pixels, "erosion", radius), eroded) << size.ToString() << " r " << radius;
        ASSERT_EQ(Morph(size, pixels, "dilation", radius), dilated) << size.ToString() << " r " << radius;
    }
}

TEST_F(SphericalMorphologyPlugin, ARadiusOf0LeavesTheObjects) {
    const Bytes image{1, 0, 1, 1, 0, 0};
    for (const char* operation : {"erosion", "dilation", "opening", "closing", "erosionrefl", "dilationrefl"})
        EXPECT_EQ(Morph(CSize(3, 2), image, operation, 0), image) << operation;
}

TEST_F(SphericalMorphologyPlugin, ARadiusBeyondAnyImageLeavesNothingOrAll) {
    constexpr std::int32_t greatest = std::numeric_limits<std::int32_t>::max();
    Bytes image(24, 1);
    image[5] = 0;
    const CSize size(4, 3, 2);
    EXPECT_EQ(Morph(size, image, "erosion", greatest), Bytes(24, 0));
    EXPECT_EQ(Morph(size, image, "erosionrefl", greatest), Bytes(24, 0));
    EXPECT_EQ(Morph(size, image, "opening", greatest), Bytes(24, 0));
    EXPECT_EQ(Morph(size, image, "dilation", greatest), Bytes(24, 1));
    EXPECT_EQ(Morph(size, Bytes(24, 0), "dilationrefl", greatest), Bytes(24, 0));
}

TEST_F(SphericalMorphologyPlugin, ANegativeRadiusIsRefusedByTheHost) {
    for (const std::int32_t radius : {-1, std::numeric_limits<std::int32_t>::min()}) {
        test::CPackHost host(Binary(CSize(3, 3)));
        host.Set("radius", new CValueLong(radius));
        const std::string refusal = Refusal(host);
        EXPECT_EQ(refusal.substr(refusal.find(": ") + 2), "Radius must not be negative.");
        EXPECT_EQ(m_standardError, "");
    }
}

TEST_F(SphericalMorphologyPlugin, AnyOtherNameIsRefusedWithIt) {
    for (const std::string name : {"Erosion", "EROSION", "", "erode", "opening ", "%1"}) {
        test::CPackHost host(Binary(CSize(3, 3)));
        host.Set("operation", Text(name));
        EXPECT_EQ(Refusal(host),
                  "SphericalMorphologyPlugin: unknown spherical morphological operation '" + name + "'.");
        EXPECT_EQ(m_standardError, "");
        EXPECT_FALSE(host.Tree().HasEntry("output"));
    }
}

TEST_F(SphericalMorphologyPlugin, ParametersThatAreMissingOrOfAnotherKindKeepTheirOldValues) {
    test::CPackHost host(Binary(CSize(3, 3)));
    host.Set("operation", Text("closing"));
    host.Set("radius", new CValueLong(2));
    EXPECT_EQ(Run(host), "morph(spherical,op=closing,r=2)");
    host.Tree().RemoveEntry("parameters");
    EXPECT_EQ(Run(host), "morph(spherical,op=closing,r=2)");
    host.Set("operation", new CValueLong(1));
    host.Set("radius", new CValueDouble(1));
    EXPECT_EQ(Run(host), "morph(spherical,op=closing,r=2)");
}

// --- spacing
// ------------------------------------------------------------------------------------------------------

TEST_F(SphericalMorphologyPlugin, AnImageWithoutSpacingCountsAsIsotropic) {
    test::CPackHost host(Binary(CSize(3, 3, 3)));
    EXPECT_EQ(Refusal(host), "nothing");
    EXPECT_EQ(RefusalOfSpacing(CSize(3, 3, 3), 0.1, 0.1, 0.1), "nothing");
}

TEST_F(SphericalMorphologyPlugin, UnequalSpacingIn3DimensionsIsRefusedWithTheThreeNumbers) {
    EXPECT_EQ(RefusalOfSpacing(CSize(3, 3, 3), 1, 1, 2),
              "SphericalMorphologyPlugin: Only isotropic pixels are "
              "supported, but spacing is (1.000000,1.000000,2.000000).");
    EXPECT_EQ(m_standardError, "");
}

TEST_F(SphericalMorphologyPlugin, UnequalSpacingIn2DimensionsIsRefusedWithTheTwoNumbers) {
    EXPECT_EQ(RefusalOfSpacing(CSize(3, 3), 1, 2, 1), "SphericalMorphologyPlugin: Only isotropic pixels are "
                                                      "supported, but spacing is (1.000000,2.000000).");
    EXPECT_EQ(RefusalOfSpacing(CSize(3, 3), 1, 1, 2), "nothing");
}

TEST_F(SphericalMorphologyPlugin, SpacingThatDiffersInXOnlyIsRefusedWithTheThreeNumbers) {
    EXPECT_EQ(RefusalOfSpacing(CSize(3, 3, 3), 1, 2, 2),
              "SphericalMorphologyPlugin: Only isotropic pixels are "
              "supported, but spacing is (1.000000,2.000000,2.000000).");
}

TEST_F(SphericalMorphologyPlugin, SpacingIsJudgedBeforeTheNameOfTheOperation) {
    test::CPackHost host(Binary(CSize(3, 3)));
    CQuillonHeaderTools::SetSpacing(host.Image(), 1, 2, 1);
    host.Set("operation", Text("none"));
    EXPECT_EQ(Refusal(host), "SphericalMorphologyPlugin: Only isotropic pixels are supported, but spacing is "
                             "(1.000000,2.000000).");
}

// --- the result
// ---------------------------------------------------------------------------------------------------

TEST_F(SphericalMorphologyPlugin, TheResultHasTheAttributesOfTheInputAndOneLineMore) {
    test::CPackHost host(Binary(CSize(3, 3)));
    CQuillonHeaderTools::SetSpacing(host.Image(), 2, 2, 2);
    CQuillonHeaderTools::AddToHistory(host.Image(), "earlier", 0);
    Run(host);
    double x = 0;
    double y = 0;
    double z = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetSpacing(host.Result(), x, y, z));
    EXPECT_EQ(x, 2);
    EXPECT_EQ(test::HistoryOf(host.Result()),
              (std::vector<std::string>{"earlier", "morph(spherical,op=erosion,r=1)"}));
    EXPECT_EQ(test::RecordedMinMax(host.Result()), std::vector<double>());
}

TEST_F(SphericalMorphologyPlugin, TheLabelIsThatOfTheDocumentOrUnnamed) {
    test::CPackHost labelled(Binary(CSize(2, 2)), "grains");
    Run(labelled);
    EXPECT_EQ(labelled.ResultLabel(), "grains");
    test::CPackHost bare(Binary(CSize(2, 2)), "");
    Run(bare);
    EXPECT_EQ(bare.ResultLabel(), "unnamed");
    bare.Document().SetEntry("label", new CValueLong(3));
    Run(bare);
    EXPECT_EQ(bare.ResultLabel(), "unnamed");
}

TEST_F(SphericalMorphologyPlugin, AnImageThatIsNotBinaryIsRefusedByTheHost) {
    test::CPackHost host(ImageOf<float>(IMAGE_GREY_F, CSize(2, 2), {}));
    EXPECT_NE(Refusal(host), "nothing");
    EXPECT_FALSE(host.Tree().HasEntry("output"));
}

TEST_F(SphericalMorphologyPlugin, EmptyImagesPass) {
    for (const CSize& size : {CSize(0, 3, 2), CSize(3, 0, 2), CSize(3, 2, 0), CSize(0, 0)}) {
        for (const char* operation : {"erosion", "dilation", "opening", "closing"})
            EXPECT_EQ(Morph(size, {}, operation, 2), Bytes()) << size.ToString() << operation;
    }
}

} // namespace
