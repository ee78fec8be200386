// Images whose attributes own something run through the pack like any others, and keep it.

#include "support/PluginTest.h"
#include "support/TestImage.h"

#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

namespace {

using namespace ORVEN;
using test::Text;

/// A plug-in with an image that it takes.
struct StRun {
    const char* name;
    IImage::CType type;
    const char* neighborhood;
    std::size_t documentCount;
};

void PrintTo(const StRun& run, std::ostream* stream) { *stream << run.name; }

class OwnedAttributes : public testing::TestWithParam<StRun> {
protected:
    static std::unique_ptr<CImage> Image() {
        std::mt19937 random(1);
        const IImage::CType& type = GetParam().type;
        const CSize size(8, 8, 8);
        if (type == IMAGE_GREY_F)
            return test::RandomImage<float>(type, size, random, 0, 100);
        return test::RandomImage<unsigned char>(type, size, random, 0, type == IMAGE_BINARY_FG ? 1.9 : 255);
    }

    static void SetParameters(test::CPackHost& host) {
        host.Set("Neighborhood", Text(GetParam().neighborhood));
        host.Set("coefficient", new CValueDouble(-0.2));
        host.Set("windowsize", new CValueLong(2));
        host.Set("usenewimpl", new CValueBool(true));
        host.Set("axis", Text("Z"));
        host.Set("radius", new CValueLong(1));
        host.Set("fiber_radius", new CValueDouble(1.0));
    }
};

const CValuePointerBase& PointerAt(const CImage& image, const std::string& key) {
    return *image.Attributes().Entry(key.c_str(), true)->Pointer();
}

} // namespace

TEST_P(OwnedAttributes, AreInheritedAsPlainPointersAndStayWithTheInput) {
    const auto plugin = test::CreatePlugin(GetParam().name);
    test::CPackHost host(Image());
    SetParameters(host);
    const std::string tag = CQuillonHeaderTools::c_sTagFeatures;
    const std::string keys[] = {"mask", tag + "/mask", "list/0"};
    for (const std::string& key : keys) {
        auto mask = std::make_unique<CImage>(IMAGE_GREY_8, CSize(2, 2), CSize(0, 0));
        host.Image().Attributes().SetEntry(key.c_str(), new CValueOwnedPointer<CImage>(mask.release(), 1));
    }
    {
        const test::CapturedOutput silence;
        ASSERT_TRUE(plugin->TestParameters(host.Tree()));
        ASSERT_NO_THROW(host.Run(*plugin));
    }
    ASSERT_EQ(host.DocumentCount(), GetParam().documentCount);
    for (const std::string& key : keys) {
        const CValuePointerBase& owner = PointerAt(host.Image(), key);
        EXPECT_TRUE(owner.IsOwner()) << key;
        for (std::size_t i = 0; i < host.DocumentCount(); ++i) {
            EXPECT_FALSE(PointerAt(host.Result(i), key).IsOwner()) << key;
            EXPECT_EQ(PointerAt(host.Result(i), key).Void(), owner.Void()) << key;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Plugins, OwnedAttributes,
    testing::Values(
        StRun{"SegmNiblack", IMAGE_GREY_8, "", 1}, StRun{"SegmSauvola", IMAGE_GREY_8, "", 1},
        StRun{"Granulometry", IMAGE_BINARY_FG, "", 0}, StRun{"LocalFiberDirections", IMAGE_GREY_8, "", 0},
        StRun{"Skeleton", IMAGE_BINARY_FG, "N14_1", 1},
        StRun{"EuclideanSkeleton", IMAGE_BINARY_FG, "N14_1", 1},
        StRun{"ExactMedialAxis", IMAGE_BINARY_FG, "", 1}, StRun{"ExactBisector", IMAGE_BINARY_FG, "", 1},
        StRun{"MarkSimplePoints", IMAGE_BINARY_FG, "N14_1", 1},
        StRun{"LocalEulerNumber", IMAGE_BINARY_FG, "N14_1", 1},
        StRun{"VoronoiEdtPlugin", IMAGE_BINARY_FG, "", 1}, StRun{"PartialDerivative", IMAGE_GREY_F, "", 1},
        StRun{"GaussFilter", IMAGE_GREY_8, "", 1}, StRun{"SphericalMorphology", IMAGE_BINARY_FG, "", 1},
        StRun{"LinearDt", IMAGE_BINARY_FG, "", 1}, StRun{"ConvexifyObjects", IMAGE_GREY_8, "", 1},
        StRun{"FieldFeaturesGrayValueImage", IMAGE_GREY_8, "", 0},
        StRun{"Watershed", IMAGE_GREY_8, "Neigh_6", 1}, StRun{"CylinderMask", IMAGE_GREY_8, "", 1}),
    [](const auto& test) { return std::string(test.param.name); });
