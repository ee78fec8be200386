#include "support/PluginTest.h"
#include "support/TestImage.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CExBadType.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using test::ImageOf;
using test::PixelsOf;
using test::Text;
using Bytes = std::vector<unsigned char>;

constexpr double c_nan = std::numeric_limits<double>::quiet_NaN();
constexpr double c_infinity = std::numeric_limits<double>::infinity();

std::unique_ptr<CImage> Image(const IImage::CType& type, const CSize& size) {
    return std::make_unique<CImage>(type, size, CSize(0, 0, 0));
}

/// An image of 16 bits in which the value of each pixel is its position: 1 + x + 40 y + 1600 z.
std::unique_ptr<CImage> Positions(const CSize& size) {
    auto image = Image(IMAGE_GREY_16, size);
    const CImageView<unsigned short> view(*image);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x)
                view.Row(y, z)[x] = static_cast<unsigned short>(1 + x + 40 * y + 1600 * z);
        }
    }
    return image;
}

class CylinderMaskPlugin : public test::PluginTest {
protected:
    CylinderMaskPlugin()
        : PluginTest("CylinderMask") {}
};

void SetCylinder(test::CPackHost& host, const std::string& axis, double s, double t, double radius,
                 bool isCropped) {
    host.Set("axis", Text(axis));
    host.Set("s", new CValueDouble(s));
    host.Set("t", new CValueDouble(t));
    host.Set("radius", new CValueDouble(radius));
    host.Set("crop", new CValueBool(isCropped));
}

/// The numbers that the cylinder on record has: s, t and radius.
std::vector<double> RecordedCylinder(const CImage& image) {
    CValueMap record;
    std::vector<double> numbers;
    if (CQuillonHeaderTools::GetMetaInfo(image, "CylinderMask", record)) {
        for (const char* key : {"s", "t", "radius"})
            numbers.push_back(record.Entry(key, true)->Double());
    }
    return numbers;
}

using Numbers = std::vector<double>;

// --- frame
// --------------------------------------------------------------------------------------------------------

// --- the mask
// -----------------------------------------------------------------------------------------------------

TEST_F(CylinderMaskPlugin, WithoutCropTheSizeStaysAndAllPixelsBeyondTheRadiusAre0) {
    test::CPackHost host(Positions(CSize(21, 30, 3)));
    const auto before = PixelsOf<unsigned short>(host.Image());
    SetCylinder(host, "Z", 10, 20, 5, false);
    EXPECT_EQ(Run(host), "cylinderMask(axis=Z, s=10, t=20, radius=5)");
    EXPECT_EQ(host.Result().Type(), IMAGE_GREY_16);
    ASSERT_EQ(host.Result().Size(), CSize(21, 30, 3));
    const CImageView<const unsigned short> view(host.Result());
    for (std::int64_t z = 0; z < 3; ++z) {
        for (std::int64_t y = 0; y < 30; ++y) {
            for (std::int64_t x = 0; x < 21; ++x) {
                const bool isInside = (x - 10) * (x - 10) + (y - 20) * (y - 20) <= 25;
                ASSERT_EQ(view.Row(y, z)[x], isInside ? 1 + x + 40 * y + 1600 * z : 0)
                    << CPos(x, y, z).ToString();
            }
        }
    }
    EXPECT_EQ(RecordedCylinder(host.Result()), (Numbers{10, 20, 5}));
    EXPECT_EQ(PixelsOf<unsigned short>(host.Image()), before); // the input is only read
    EXPECT_TRUE(host.Image().Attributes().IsEmpty());
}

TEST_F(CylinderMaskPlugin, MasksEachPixelType) {
    const auto run = [this](auto pixel, const IImage::CType& type) {
        using T = decltype(pixel);
        for (const CSize& size : {CSize(3, 3), CSize(3, 3, 1)}) {
            test::CPackHost host(ImageOf(type, size, std::vector<T>(9, pixel)));
            SetCylinder(host, "Z", 1, 1, 1, false);
            Run(host);
            EXPECT_EQ(host.Result().Type(), type);
            EXPECT_EQ(host.Result().Size(), size);
            const T zero{};
            EXPECT_EQ(PixelsOf<T>(host.Result()), (std::vector<T>{zero, pixel, zero, //
                                                                  pixel, pixel, pixel, zero, pixel, zero}))
                << type.ToString();
        }
    };
    run(static_cast<unsigned char>(1), IMAGE_BINARY_FG);
    run(static_cast<unsigned char>(200), IMAGE_GREY_8);
    run(static_cast<unsigned short>(60000), IMAGE_GREY_16);
    run(4000000000U, IMAGE_GREY_32);
    run(-2.5F, IMAGE_GREY_F);
}

TEST_F(CylinderMaskPlugin, ARadiusThatIsNoNumberOrNegativeLeavesNothingAndAnInfiniteOneAll) {
    const auto remaining = [this](double s, double t, double radius) {
        test::CPackHost host(ImageOf(IMAGE_GREY_8, CSize(3, 2), Bytes(6, 1)));
        SetCylinder(host, "Z", s, t, radius, false);
        Run(host);
        const Bytes pixels = PixelsOf<unsigned char>(host.Result());
        return std::accumulate(pixels.begin(), pixels.end(), 0);
    };
    EXPECT_EQ(remaining(1, 1, c_nan), 0);
    EXPECT_EQ(remaining(1, 1, -1), 0);
    EXPECT_EQ(remaining(1, 1, -c_infinity), 0);
    EXPECT_EQ(remaining(1, 1, c_infinity), 6);
    EXPECT_EQ(remaining(c_nan, 1, 9), 0);
    EXPECT_EQ(remaining(1, c_infinity, 9), 0);
    EXPECT_EQ(remaining(1e300, 1, 9), 0);
}

// --- the crop
// -----------------------------------------------------------------------------------------------------

/// What the cropped image holds: the same positions from `first` on, cut to the circle.
void ExpectBox(const CImage& cropped, const CPos& first, const CSize& size) {
    ASSERT_EQ(cropped.Size(), size);
    const CImageView<const unsigned short> view(cropped);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x) {
                const std::int64_t position = 1 + first.x + x + 40 * (first.y + y) + 1600 * (first.z + z);
                if (view.Row(y, z)[x] != 0) {
                    ASSERT_EQ(view.Row(y, z)[x], position);
                }
            }
        }
    }
}

TEST_F(CylinderMaskPlugin, AlongZTheBoxSpansZAndUsesSForXAndYAndTheCentreIsTheRadius) {
    test::CPackHost host(Positions(CSize(21, 30, 4)));
    SetCylinder(host, "Z", 10, 20, 5, true);
    EXPECT_EQ(Run(host), "cylinderMask(axis=Z, s=10, t=20, radius=5, cropped)");
    ExpectBox(host.Result(), CPos(5, 5, 0), CSize(11, 11, 4));
    EXPECT_EQ(RecordedCylinder(host.Result()), (Numbers{5, 5, 5}));
    // 81 pixels of each plane stand in the disc of radius 5 around (5, 5).
    const auto pixels = PixelsOf<unsigned short>(host.Result());
    EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 0), 4 * (121 - 81));
}

TEST_F(CylinderMaskPlugin, SmallLettersAndAnyOtherActAsCapitalZ) {
    test::CPackHost host(Positions(CSize(21, 30, 26)));
    SetCylinder(host, "Z", 10, 20, 5, true);
    Run(host);
    const auto hasZ = PixelsOf<unsigned short>(host.Result());
    for (const std::string axis : {"z", "x", "y", "q", "1"}) {
        SetCylinder(host, axis, 10, 20, 5, true);
        EXPECT_EQ(Run(host), "cylinderMask(axis=" + axis + ", s=10, t=20, radius=5, cropped)");
        EXPECT_EQ(host.Result().Size(), CSize(11, 11, 26)) << axis;
        EXPECT_EQ(PixelsOf<unsigned short>(host.Result()), hasZ) << axis;
    }
}

TEST_F(CylinderMaskPlugin, AlongXTheBoxSpansXAndUsesSForYAndTForZ) {
    test::CPackHost host(Positions(CSize(4, 30, 26)));
    SetCylinder(host, "X", 10, 20, 5, true);
    EXPECT_EQ(Run(host), "cylinderMask(axis=X, s=10, t=20, radius=5, cropped)");
    ExpectBox(host.Result(), CPos(0, 5, 15), CSize(4, 11, 11));
    EXPECT_EQ(RecordedCylinder(host.Result()), (Numbers{5, 5, 5}));
}

TEST_F(CylinderMaskPlugin, AlongYTheBoxSpansYAndUsesSForXAndTForZ) {
    test::CPackHost host(Positions(CSize(30, 4, 26)));
    SetCylinder(host, "Y", 10, 20, 5, true);
    EXPECT_EQ(Run(host), "cylinderMask(axis=Y, s=10, t=20, radius=5, cropped)");
    ExpectBox(host.Result(), CPos(5, 0, 15), CSize(11, 4, 11));
}

TEST_F(CylinderMaskPlugin, In2DimensionsTheBoxIsARectangle) {
    test::CPackHost host(Positions(CSize(21, 30)));
    SetCylinder(host, "Z", 10, 7, 3, true);
    Run(host);
    ExpectBox(host.Result(), CPos(7, 7), CSize(7, 7));
    SetCylinder(host, "X", 10, 1000, 3, true); // nothing lies along z
    Run(host);
    ExpectBox(host.Result(), CPos(0, 7), CSize(21, 7));
    SetCylinder(host, "Y", 10, 1000, 3, true);
    Run(host);
    ExpectBox(host.Result(), CPos(7, 0), CSize(7, 30));
}

TEST_F(CylinderMaskPlugin, BoundsAreCutTowardsZero) {
    test::CPackHost host(Positions(CSize(9, 9, 1)));
    SetCylinder(host, "Z", 2.75, 0, 3.5, true); // from -0.75 to 6.25
    Run(host);
    ExpectBox(host.Result(), CPos(0, 0, 0), CSize(7, 7, 1));
    EXPECT_EQ(RecordedCylinder(host.Result()), (Numbers{3.5, 3.5, 3.5}));
}

TEST_F(CylinderMaskPlugin, ASecondRunAfterACropWithoutUpdateHasTheRadiusForItsCentre) {
    test::CPackHost host(Positions(CSize(21, 30, 4)));
    SetCylinder(host, "Z", 10, 20, 5, true);
    Run(host);
    const test::CapturedOutput silence;
    m_plugin->GetData(host.Tree());
    const auto documents = test::TakeDocuments(host.Tree());
    ASSERT_EQ(documents.size(), 1U);
    const auto& second = *static_cast<const CImage*>(documents[0]->Entry("content", true)->VoidPointer());
    EXPECT_EQ(test::HistoryOf(second).back(), "cylinderMask(axis=Z, s=5, t=5, radius=5, cropped)");
    ExpectBox(second, CPos(0, 0, 0), CSize(11, 11, 4));
}

TEST_F(CylinderMaskPlugin, ARunWithoutCropLeavesTheCentreForTheNext) {
    test::CPackHost host(Positions(CSize(21, 30, 4)));
    SetCylinder(host, "Z", 10, 20, 5, false);
    Run(host);
    host.Tree().RemoveEntry("parameters");
    EXPECT_EQ(Run(host), "cylinderMask(axis=Z, s=10, t=20, radius=5)");
}

TEST_F(CylinderMaskPlugin, ABoxThatLeavesTheImageIsRefusedAndNothingChanges) {
    test::CPackHost host(Positions(CSize(21, 30, 4)));
    SetCylinder(host, "Z", 18, 20, 5, true);
    EXPECT_EQ(Refusal(host), "CImageExtraction::Box: The region from (13,13,0) to (23,23,3) leaves the image "
                             "of size (21,30,4).");
    EXPECT_EQ(m_standardError,
              "Plugin CylinderMask catched exception: The region from (13,13,0) to (23,23,3) "
              "leaves the image of size (21,30,4).\n");
    EXPECT_FALSE(host.Tree().HasEntry("output"));
    SetCylinder(host, "Z", 3, 20, 5, true);
    EXPECT_EQ(
        Refusal(host),
        "CImageExtraction::Box: The region from (-2,-2,0) to (8,8,3) leaves the image of size (21,30,4).");
    // The centre is still that of the refused run.
    host.Tree().RemoveEntry("parameters/s");
    host.Set("crop", new CValueBool(false));
    EXPECT_EQ(Run(host), "cylinderMask(axis=Z, s=3, t=20, radius=5)");

    test::CPackHost flat(Positions(CSize(21, 30)));
    SetCylinder(flat, "Z", 18, 20, 5, true);
    EXPECT_EQ(Refusal(flat),
              "CImageExtraction::Rect: The region from (13,13) to (23,23) leaves the image of size (21,30).");
}

TEST_F(CylinderMaskPlugin, ABoxOfNumbersThatNoImageReachesIsRefusedWithoutAskingForMemory) {
    const std::string low = "-9007199254740992";
    const std::string high = "9007199254740992";
    const auto region = [](const std::string& first, const std::string& last) {
        return "CImageExtraction::Box: The region from (" + first + "," + first + ",0) to (" + last + "," +
               last + ",3) leaves the image of size (21,30,4).";
    };
    const auto refusal = [this](double s, double radius) {
        test::CPackHost host(Positions(CSize(21, 30, 4)));
        SetCylinder(host, "Z", s, 0, radius, true);
        return Refusal(host);
    };
    EXPECT_EQ(refusal(10, c_infinity), region(low, high));
    EXPECT_EQ(refusal(10, -c_infinity), region(high, low));
    EXPECT_EQ(refusal(10, c_nan), region(low, low));
    EXPECT_EQ(refusal(c_nan, 5), region(low, low));
    EXPECT_EQ(refusal(c_infinity, 5), region(high, high));
    EXPECT_EQ(refusal(c_infinity, c_infinity), region(low, high));
    EXPECT_EQ(refusal(-c_infinity, 5), region(low, low));
    EXPECT_EQ(refusal(10, 1e300), region(low, high));
    EXPECT_EQ(refusal(10, 1e6), region("-999990", "1000010"));
    EXPECT_EQ(refusal(10, -2), region("12", "8"));
}

// --- parameters
// ---------------------------------------------------------------------------------------------------

TEST_F(CylinderMaskPlugin, ParametersThatAreMissingOrOfAnotherKindKeepTheirOldValues) {
    test::CPackHost host(Positions(CSize(21, 30, 4)));
    SetCylinder(host, "Y", 2.5, 1.25, 3.75, false);
    const std::string line = "cylinderMask(axis=Y, s=2.5, t=1.25, radius=3.75)";
    EXPECT_EQ(Run(host), line);
    host.Tree().RemoveEntry("parameters");
    EXPECT_EQ(Run(host), line);
    for (const char* key : {"axis", "s", "t", "radius", "crop"})
        host.Set(key, new CValueLong(1));
    EXPECT_EQ(Run(host), line);
    host.Tree().SetEntry("parameters", Text("s=1"));
    EXPECT_EQ(Run(host), line);
}

TEST_F(CylinderMaskPlugin, TheAxisIsTheFirstCharacterOfATextThatIsNotEmpty) {
    test::CPackHost host(Positions(CSize(21, 30, 4)));
    SetCylinder(host, "Xavier", 10, 2, 1, false);
    EXPECT_EQ(Run(host), "cylinderMask(axis=X, s=10, t=2, radius=1)");
    CValueMap record;
    CQuillonHeaderTools::GetMetaInfo(host.Result(), "CylinderMask", record);
    EXPECT_EQ(record.EntryString("axis").Std(), "X");
    host.Set("axis", Text(""));
    EXPECT_EQ(Run(host), "cylinderMask(axis=X, s=10, t=2, radius=1)");
}

TEST_F(CylinderMaskPlugin, TheHistoryShowsNumbersInSixDigits) {
    test::CPackHost host(Positions(CSize(3, 3)));
    SetCylinder(host, "Z", 1.23456789, -0.5, 1e100, false);
    EXPECT_EQ(Run(host), "cylinderMask(axis=Z, s=1.23457, t=-0.5, radius=1e+100)");
    SetCylinder(host, "Z", -c_infinity, 0, c_infinity, false);
    EXPECT_EQ(Run(host), "cylinderMask(axis=Z, s=-inf, t=0, radius=inf)");
}

// --- the result
// ---------------------------------------------------------------------------------------------------

TEST_F(CylinderMaskPlugin, NumberOfLabelsAndGreatestDistanceOfTheInputSurvive) {
    for (const bool isCropped : {false, true}) {
        test::CPackHost host(Positions(CSize(9, 9, 2)));
        CQuillonHeaderTools::SetNumberOfLabels(host.Image(), 17);
        CQuillonHeaderTools::SetMaxDistance(host.Image(), 12.5);
        CQuillonHeaderTools::SetSpacing(host.Image(), 1, 2, 3);
        CQuillonHeaderTools::AddToHistory(host.Image(), "earlier", 0);
        SetCylinder(host, "Z", 4, 4, 3, isCropped);
        Run(host);
        std::size_t count = 0;
        EXPECT_TRUE(CQuillonHeaderTools::GetNumberOfLabels(host.Result(), count));
        EXPECT_EQ(count, 17U);
        double distance = 0;
        EXPECT_TRUE(CQuillonHeaderTools::GetMaxDistance(host.Result(), distance));
        EXPECT_EQ(distance, 12.5);
        double x = 0;
        double y = 0;
        double z = 0;
        EXPECT_TRUE(CQuillonHeaderTools::GetSpacing(host.Result(), x, y, z));
        EXPECT_EQ(z, 3);
        EXPECT_EQ(test::HistoryOf(host.Result()).front(), "earlier");
        EXPECT_EQ(test::HistoryOf(host.Result()).size(), 2U);
    }
}

TEST_F(CylinderMaskPlugin, WithoutLabelsAndDistanceTheResultHasNone) {
    test::CPackHost host(Positions(CSize(3, 3)));
    SetCylinder(host, "Z", 1, 1, 1, false);
    Run(host);
    std::size_t count = 0;
    double distance = 0;
    EXPECT_FALSE(CQuillonHeaderTools::GetNumberOfLabels(host.Result(), count));
    EXPECT_FALSE(CQuillonHeaderTools::GetMaxDistance(host.Result(), distance));
}

TEST_F(CylinderMaskPlugin, AFloatResultGetsItsOwnMinimumAndMaximum) {
    test::CPackHost host(ImageOf<float>(IMAGE_GREY_F, CSize(4, 1), {2, 3, 4, 500}));
    SetCylinder(host, "Z", 1, 0, 1, false);
    Run(host);
    EXPECT_EQ(test::RecordedMinMax(host.Result()), (Numbers{0, 4}));
    test::CPackHost whole(Positions(CSize(4, 1)));
    SetCylinder(whole, "Z", 1, 0, 1, false);
    Run(whole);
    EXPECT_EQ(test::RecordedMinMax(whole.Result()), Numbers());
}

TEST_F(CylinderMaskPlugin, TheResultHasTheLabelOfTheDocument) {
    test::CPackHost host(Positions(CSize(3, 3)), "drill core");
    SetCylinder(host, "Z", 1, 1, 1, false);
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "drill core");
}

TEST_F(CylinderMaskPlugin, ADocumentWithoutLabelGetsAnEmptyOne) {
    test::CPackHost host(Positions(CSize(3, 3)), "");
    SetCylinder(host, "Z", 1, 1, 1, false);
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "");
    host.Document().SetEntry("label", new CValueLong(3));
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "");
}

TEST_F(CylinderMaskPlugin, AnImageOfAnotherTypeEndsTheRunSilently) {
    for (const auto& type : {IMAGE_BINARY_BG, IMAGE_COMPLEX_F}) {
        for (const bool isCropped : {false, true}) {
            test::CPackHost host(Image(type, CSize(9, 9, 2)));
            SetCylinder(host, "Z", 4, 4, 2, isCropped);
            EXPECT_EQ(Refusal(host), "nothing");
            EXPECT_EQ(m_standardError, "");
            EXPECT_EQ(host.DocumentCount(), 0U);
        }
    }
}

} // namespace
