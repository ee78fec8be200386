// What plug-ins hand to the host in place of their input. This program defines the operations of the host
// libraries itself: the pack, loaded as a host loads it, finds these before those of the libraries.

#include "utils/PixelView.h"

#include "support/PluginTest.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <QuillonMeasurement/CExtractorLabelData.h>
#include <QuillonTransformation/CSphericalMorphology.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/ImageView.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using Bytes = std::vector<unsigned char>;

/// What an operation of the host was given.
struct StSeen {
    const IImage* image;
    const unsigned char* firstPixel;
    std::string type;
    CSize size;
    Bytes pixels;
    std::unique_ptr<CValueMap> attributes;
};

std::optional<StSeen> g_seen;

void See(const IImage& image) {
    g_seen = StSeen{&image,
                    CImageView<const unsigned char>(image).Row(0, 0),
                    image.Type().ToString(),
                    image.Size(),
                    test::PixelsOf<unsigned char>(image),
                    std::make_unique<CValueMap>(image.Attributes())};
}

} // namespace

namespace ORVEN {

void CSphericalMorphology::Erode(IImage&, IImage& source, float) { See(source); }
void CSphericalMorphology::Dilate(IImage&, IImage& source, float) { See(source); }
void CSphericalMorphology::Opening(IImage&, IImage& source, float) { See(source); }
void CSphericalMorphology::Closing(IImage&, IImage& source, float) { See(source); }
void CSphericalMorphology::ReflectedErosion(IImage&, IImage& source, float) { See(source); }
void CSphericalMorphology::ReflectedDilation(IImage&, IImage& source, float) { See(source); }

void CExtractorLabelData::Extract(const CImage& image, StLabelingData&) const { See(image); }

} // namespace ORVEN

namespace {

/// Counts from 0 in raster order in an image with a border of 99.
std::unique_ptr<CImage> Bordered(const CSize& size, const CSize& border) {
    auto image = std::make_unique<CImage>(IMAGE_GREY_16, size, border);
    const CImageView<unsigned short> view(*image);
    unsigned short pixel = 0;
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = -border.x; x < view.nx + border.x; ++x)
                view.Row(y, z)[x] = x < 0 || x >= view.nx ? static_cast<unsigned short>(99) : pixel++;
        }
    }
    return image;
}

/// An image with a byte of nothing between its pixels.
class CGappedImage : public CImage {
public:
    CGappedImage()
        : CImage(IMAGE_GREY_8, CSize(2, 2), CSize(1, 1)) {}
    using CImage::CreateAccess;
    IAccess* CreateAccess(bool) override {
        return new CAccess(Type(), Size(), CPos(2, 4), m_memory.data(), true);
    }

private:
    Bytes m_memory = Bytes(8);
};

/// A plug-in runs on an image that has a history.
class ViewedInput : public testing::Test {
protected:
    ViewedInput() {
        g_seen.reset();
        CQuillonHeaderTools::AddToHistory(m_host.Image(), "scan", 0);
    }

    void Run(const char* name) {
        const test::CapturedOutput silence;
        m_host.Run(*test::CreatePlugin(name));
    }

    /// The operation has seen the pixels of the input, in place, but not the input.
    void ExpectViewOfTheInput() {
        ASSERT_TRUE(g_seen);
        EXPECT_NE(g_seen->image, &m_host.Image());
        EXPECT_EQ(g_seen->firstPixel, CImageView<const unsigned char>(m_host.Image()).Row(0, 0));
        EXPECT_EQ(g_seen->type, m_host.Image().Type().ToString());
        EXPECT_EQ(g_seen->size, m_host.Image().Size());
        EXPECT_EQ(g_seen->pixels, test::PixelsOf<unsigned char>(m_host.Image()));
    }

    test::CPackHost m_host{
        test::ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(3, 2, 2), {1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 1})};
};

} // namespace

TEST(PixelView, SharesThePixelsOnly) {
    for (const CSize& border : {CSize(0, 0, 0), CSize(1, 0, 0), CSize(2, 3, 0), CSize(1, 2, 3)}) {
        SCOPED_TRACE(border.ToString());
        const auto image = Bordered(CSize(5, 4, 3), border);
        image->Attributes().SetEntry("label", new CValueLong(1));
        {
            CImage view = quillon::PixelViewOf(*image);
            EXPECT_EQ(view.Type(), IMAGE_GREY_16);
            EXPECT_EQ(view.Size(), CSize(5, 4, 3));
            EXPECT_TRUE(view.Attributes().IsEmpty());
            EXPECT_EQ(test::PixelsOf<unsigned short>(view), test::PixelsOf<unsigned short>(*image));
            CImageView<unsigned short>(view).Row(3, 2)[4] = 7;
            view.Attributes().SetEntry("seen", new CValueLong(2));
        }
        EXPECT_EQ(CImageView<unsigned short>(*image).Row(3, 2)[4], 7);
        EXPECT_EQ(image->Attributes().Size(), 1U);
    }
}

TEST(PixelView, IsMadeInEveryDimensionAndOfImagesWithoutPixels) {
    CSize line(5, 0, 0);
    line.SetDim(1);
    for (const CSize& size : {line, CSize(5, 4), CSize(0, 4), CSize(5, 0), CSize(0, 4, 3), CSize(5, 0, 3),
                              CSize(5, 4, 0), CSize(1, 1, 1)}) {
        SCOPED_TRACE(size.ToString());
        const auto image = Bordered(size, CSize(0, 0, 0));
        const CImage view = quillon::PixelViewOf(*image);
        EXPECT_EQ(view.Size(), size);
        EXPECT_EQ(test::PixelsOf<unsigned short>(view), test::PixelsOf<unsigned short>(*image));
    }
}

TEST(PixelView, OfPixelsThatAreNotContiguousRaises) {
    CGappedImage image;
    EXPECT_STREQ(test::Raised<CExBadParam>([&] { (void)quillon::PixelViewOf(image); }).Message(),
                 "The pixels of an image of size (2,2) do not stand side by side.");
}

TEST_F(ViewedInput, OfTheMorphologyHasNoAttributes) {
    for (const char* operation :
         {"erosion", "dilation", "opening", "closing", "erosionrefl", "dilationrefl"}) {
        SCOPED_TRACE(operation);
        g_seen.reset();
        m_host.Set("operation", test::Text(operation));
        Run("SphericalMorphology");
        ExpectViewOfTheInput();
        EXPECT_TRUE(g_seen->attributes->IsEmpty());
        EXPECT_EQ(test::HistoryOf(m_host.Result()).front(), "scan");
    }
}

TEST_F(ViewedInput, OfTheHullsHasTheAttributesOfTheInputAndASpacingAndTheNumberOfLabels) {
    Run("ConvexifyObjects");
    ExpectViewOfTheInput();
    const CValueMap& seen = *g_seen->attributes;
    EXPECT_EQ(seen.Entry("history/0", true)->String(), "scan");
    for (const char* axis : {"spacing/x", "spacing/y", "spacing/z"})
        EXPECT_EQ(seen.Entry(axis, true)->Double(), 1.0);
    EXPECT_EQ(seen.Entry("number of labels", true)->Long(), 2);
    EXPECT_EQ(m_host.Image().Attributes().Size(), 1U) << "nothing is written to the input's header";
}

TEST_F(ViewedInput, OfTheHullsKeepsTheSpacingOfTheInput) {
    CQuillonHeaderTools::SetSpacing(m_host.Image(), 0.5, 0.25, 2.0);
    Run("ConvexifyObjects");
    ExpectViewOfTheInput();
    EXPECT_EQ(g_seen->attributes->Entry("spacing/y", true)->Double(), 0.25);
}
