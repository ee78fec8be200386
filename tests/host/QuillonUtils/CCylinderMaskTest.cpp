#include "support/CRandomSeeds.h"
#include "support/CRecordingProgress.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <QuillonBase/Parallel.h>
#include <QuillonUtils/CCylinderMask.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using test::ImageOf;
using test::PixelsOf;
using Bytes = std::vector<unsigned char>;

constexpr double c_nan = std::numeric_limits<double>::quiet_NaN();
constexpr double c_infinity = std::numeric_limits<double>::infinity();

CString Text(const std::string& text) { return CString(text); }

struct StCylinder {
    std::string axis;
    double s;
    double t;
    double radius;
};

std::string ToString(const StCylinder& cylinder) {
    return "axis '" + cylinder.axis + "', s " + std::to_string(cylinder.s) + ", t " +
           std::to_string(cylinder.t) + ", radius " + std::to_string(cylinder.radius);
}

/// Masks an image with a cylinder that is recorded first.
void Mask(CImage& image, const StCylinder& cylinder, double value = 0.0) {
    const CCylinderMask mask(nullptr, nullptr);
    mask.SetCylinderParameters(image, Text(cylinder.axis), cylinder.s, cylinder.t, cylinder.radius);
    mask.MaskImageWithMetaInfoCylinder(image, value);
}

std::unique_ptr<CImage> Filled(const CSize& size, unsigned char value = 1) {
    return ImageOf(IMAGE_GREY_8, size, Bytes(static_cast<std::size_t>(size.PixelCount()), value));
}

Bytes MaskedOnes(const CSize& size, const StCylinder& cylinder) {
    const auto image = Filled(size);
    Mask(*image, cylinder);
    return PixelsOf<unsigned char>(*image);
}

/// The definition, evaluated at each pixel.
Bytes BruteForce(const CSize& size, const StCylinder& cylinder) {
    const std::int64_t ny = size.Dim() > 1 ? size.y : 1;
    const std::int64_t nz = size.Dim() > 2 ? size.z : 1;
    Bytes pixels;
    for (std::int64_t z = 0; z < nz; ++z) {
        for (std::int64_t y = 0; y < ny; ++y) {
            for (std::int64_t x = 0; x < size.x; ++x) {
                const char axis = cylinder.axis.c_str()[0];
                const auto p = static_cast<double>(axis == 'X' ? y : x);
                const auto q = static_cast<double>(axis == 'X' || axis == 'Y' ? z : y);
                const double distance =
                    (p - cylinder.s) * (p - cylinder.s) + (q - cylinder.t) * (q - cylinder.t);
                pixels.push_back(cylinder.radius >= 0 && distance <= cylinder.radius * cylinder.radius);
            }
        }
    }
    return pixels;
}

std::int64_t InsidePerPlane(double radius) {
    const Bytes pixels = MaskedOnes(CSize(5, 5, 3), {"Z", 2, 2, radius});
    const std::int64_t count = std::count(pixels.begin(), pixels.end(), 1);
    EXPECT_EQ(count % 3, 0);
    return count / 3;
}

TEST(CCylinderMask, KeepsTheDiscAroundTheCentreInEachPlane) {
    EXPECT_EQ(InsidePerPlane(2), 13);
    EXPECT_EQ(InsidePerPlane(1.5), 9);
    EXPECT_EQ(InsidePerPlane(1), 5);
    EXPECT_EQ(InsidePerPlane(0), 1);
    EXPECT_EQ(InsidePerPlane(-1), 0);
    EXPECT_EQ(MaskedOnes(CSize(5, 5), {"Z", 2, 2, 2}), (Bytes{0, 0, 1, 0, 0, //
                                                              0, 1, 1, 1, 0, //
                                                              1, 1, 1, 1, 1, //
                                                              0, 1, 1, 1, 0, //
                                                              0, 0, 1, 0, 0}));
}

TEST(CCylinderMask, ReadsTheCentreInTheCoordinatesAcrossTheAxis) {
    const auto onlyInside = [](const std::string& axis) {
        const CSize size(3, 4, 5);
        const auto image = Filled(size);
        Mask(*image, {axis, 1, 2, 0});
        const CImageView<const unsigned char> view(*image);
        std::string inside;
        for (std::int64_t z = 0; z < size.z; ++z) {
            for (std::int64_t y = 0; y < size.y; ++y) {
                for (std::int64_t x = 0; x < size.x; ++x) {
                    if (view.Row(y, z)[x] != 0)
                        inside += CPos(x, y, z).ToString();
                }
            }
        }
        return inside;
    };
    EXPECT_EQ(onlyInside("X"), "(0,1,2)(1,1,2)(2,1,2)");
    EXPECT_EQ(onlyInside("Y"), "(1,0,2)(1,1,2)(1,2,2)(1,3,2)");
    EXPECT_EQ(onlyInside("Z"), "(1,2,0)(1,2,1)(1,2,2)(1,2,3)(1,2,4)");
}

TEST(CCylinderMask, TreatsEveryAxisButCapitalXAndYAsZ) {
    const CSize size(6, 7, 5);
    const Bytes hasZ = MaskedOnes(size, {"Z", 1, 4, 2});
    for (const std::string axis : {"z", "x", "y", "", "q", " X", "zX", "\xC3\x84"})
        EXPECT_EQ(MaskedOnes(size, {axis, 1, 4, 2}), hasZ) << axis;
    EXPECT_EQ(MaskedOnes(size, {"Xylophone", 1, 4, 2}), MaskedOnes(size, {"X", 1, 4, 2}));
    EXPECT_NE(MaskedOnes(size, {"X", 1, 4, 2}), hasZ);
}

TEST(CCylinderMask, EqualsThePixelwiseTestForAllKindsOfCylinders) {
    const std::array<std::string, 3> axes{"X", "Y", "Z"};
    for (const unsigned seed : test::CRandomSeeds(0, 3000)) {
        std::mt19937 random(seed);
        const auto extent = [&random] { return std::uniform_int_distribution<std::int64_t>(1, 17)(random); };
        const CSize size = seed % 3 == 0 ? CSize(extent(), extent()) : CSize(extent(), extent(), extent());
        std::uniform_real_distribution<double> number(-6, 24);
        StCylinder cylinder{axes[random() % 3], number(random), number(random), number(random) / 2};
        if (seed % 2 == 0) { // integers lie exactly on the edge of the cylinder
            cylinder.s = std::round(cylinder.s);
            cylinder.t = std::round(2 * cylinder.t) / 2;
            cylinder.radius = std::round(cylinder.radius);
        }
        ASSERT_EQ(MaskedOnes(size, cylinder), BruteForce(size, cylinder))
            << size.ToString() << ", " << ToString(cylinder);
    }
}

TEST(CCylinderMask, EqualsThePixelwiseTestForEachMixOfExtremeNumbers) {
    const std::array numbers{0.0,   -0.0,  2.0,    -3.0,       0.5,         1e-300, 1e17,
                             -1e17, 1e300, -1e300, c_infinity, -c_infinity, c_nan};
    for (const CSize& size : {CSize(4, 5, 3), CSize(4, 5)}) {
        for (const std::string axis : {"X", "Y", "Z"}) {
            for (const double s : numbers) {
                for (const double t : numbers) {
                    for (const double radius : numbers) {
                        const StCylinder cylinder{axis, s, t, radius};
                        ASSERT_EQ(MaskedOnes(size, cylinder), BruteForce(size, cylinder))
                            << ToString(cylinder);
                    }
                }
            }
        }
    }
}

TEST(CCylinderMask, ContainsNothingForANegativeRadiusOrNaNAndAllForAnInfiniteOne) {
    const CSize size(4, 3, 2);
    const Bytes nothing(24, 0);
    EXPECT_EQ(MaskedOnes(size, {"Z", 1, 1, -0.1}), nothing);
    EXPECT_EQ(MaskedOnes(size, {"Z", 1, 1, -c_infinity}), nothing);
    EXPECT_EQ(MaskedOnes(size, {"Z", 1, 1, c_nan}), nothing);
    EXPECT_EQ(MaskedOnes(size, {"Y", c_nan, 1, 10}), nothing);
    EXPECT_EQ(MaskedOnes(size, {"X", 1, c_nan, 10}), nothing);
    EXPECT_EQ(MaskedOnes(size, {"Z", c_infinity, 1, 10}), nothing);
    EXPECT_EQ(MaskedOnes(size, {"Z", 1, 1, c_infinity}), Bytes(24, 1));
}

TEST(CCylinderMask, TreatsA2DimensionalImageAsThePlaneAt0) {
    EXPECT_EQ(MaskedOnes(CSize(3, 3), {"X", 1, 0, 0}), (Bytes{0, 0, 0, 1, 1, 1, 0, 0, 0}));
    EXPECT_EQ(MaskedOnes(CSize(3, 3), {"Y", 1, 0, 0}), (Bytes{0, 1, 0, 0, 1, 0, 0, 1, 0}));
    EXPECT_EQ(MaskedOnes(CSize(3, 3), {"Y", 1, 1, 0}), Bytes(9, 0));
}

TEST(CCylinderMask, RunsOnLinesAndOnEmptyImages) {
    CSize line(5, 1, 1);
    line.SetDim(1);
    EXPECT_EQ(MaskedOnes(line, {"Z", 3, 0, 1}), (Bytes{0, 0, 1, 1, 1}));
    for (const CSize& size : {CSize(0, 3, 2), CSize(3, 0, 2), CSize(3, 2, 0), CSize(0, 0)}) {
        for (const char* axis : {"X", "Y", "Z"})
            EXPECT_EQ(MaskedOnes(size, {axis, 1, 1, 1}), Bytes()) << size.ToString() << axis;
    }
}

TEST(CCylinderMask, LeavesPixelsInsideAndAttributesUnchanged) {
    const auto image = ImageOf<unsigned char>(IMAGE_GREY_8, CSize(3, 1), {7, 8, 9});
    CQuillonHeaderTools::SetSpacing(*image, 1, 2, 3); // ignored
    Mask(*image, {"Z", 1.5, 0, 0.5}, 5);
    EXPECT_EQ(PixelsOf<unsigned char>(*image), (Bytes{5, 8, 9}));
    double x = 0;
    double y = 0;
    double z = 0;
    EXPECT_TRUE(CQuillonHeaderTools::GetSpacing(*image, x, y, z));
    EXPECT_EQ(y, 2);
}

TEST(CCylinderMask, IsIdempotent) {
    const auto image = Filled(CSize(9, 8, 7));
    Mask(*image, {"Y", 4, 3, 2.5}, 3);
    const Bytes once = PixelsOf<unsigned char>(*image);
    CCylinderMask(nullptr, nullptr).MaskImageWithMetaInfoCylinder(*image, 3);
    EXPECT_EQ(PixelsOf<unsigned char>(*image), once);
}

TEST(CCylinderMask, WritesOnlyTheImageInsideABorder) {
    const CImage image(IMAGE_GREY_8, CSize(3, 3), CSize(2, 2));
    CImage masked(image);
    Mask(masked, {"Z", 1, 1, 1}, 9);
    EXPECT_EQ(PixelsOf<unsigned char>(masked), (Bytes{9, 0, 9, 0, 0, 0, 9, 0, 9}));
}

// --- the value outside
// --------------------------------------------------------------------------------------------

/// The value of a pixel outside.
template <class T>
T Outside(const IImage::CType& type, double value) {
    CImage image(type, CSize(1, 1), CSize(0, 0, 0));
    Mask(image, {"Z", 0, 0, -1}, value);
    return PixelsOf<T>(image)[0];
}

TEST(CCylinderMask, RoundsTheValueAndClampsItToTheRangeOfIntegers) {
    EXPECT_EQ(Outside<unsigned char>(IMAGE_GREY_8, 17.49), 17);
    EXPECT_EQ(Outside<unsigned char>(IMAGE_GREY_8, 17.5), 18);
    EXPECT_EQ(Outside<unsigned char>(IMAGE_GREY_8, 255.4), 255);
    EXPECT_EQ(Outside<unsigned char>(IMAGE_GREY_8, 256), 255);
    EXPECT_EQ(Outside<unsigned char>(IMAGE_GREY_8, -1), 0);
    EXPECT_EQ(Outside<unsigned short>(IMAGE_GREY_16, 300.6), 301);
    EXPECT_EQ(Outside<unsigned short>(IMAGE_GREY_16, 65536), 65535);
    EXPECT_EQ(Outside<unsigned int>(IMAGE_GREY_32, 4294967294.0), 4294967294U);
    EXPECT_EQ(Outside<unsigned int>(IMAGE_GREY_32, 1e300), 4294967295U);
    EXPECT_EQ(Outside<unsigned int>(IMAGE_GREY_32, c_infinity), 4294967295U);
    EXPECT_EQ(Outside<unsigned int>(IMAGE_GREY_32, -c_infinity), 0U);
    EXPECT_EQ(Outside<unsigned int>(IMAGE_GREY_32, c_nan), 0U);
}

TEST(CCylinderMask, SetsOnly0And1InABinaryImage) {
    for (const auto& type : {IMAGE_BINARY_FG, IMAGE_BINARY_BG}) {
        EXPECT_EQ(Outside<unsigned char>(type, 1), 1);
        EXPECT_EQ(Outside<unsigned char>(type, 255), 1);
        EXPECT_EQ(Outside<unsigned char>(type, 0.4), 0);
        EXPECT_EQ(Outside<unsigned char>(type, c_nan), 0);
    }
}

TEST(CCylinderMask, SetsTheUnroundedValueInAFloatImage) {
    EXPECT_EQ(Outside<float>(IMAGE_GREY_F, -1.25), -1.25F);
    EXPECT_EQ(Outside<float>(IMAGE_GREY_F, 1e300), std::numeric_limits<float>::max());
    EXPECT_EQ(Outside<float>(IMAGE_GREY_F, -1e300), std::numeric_limits<float>::lowest());
    EXPECT_EQ(Outside<float>(IMAGE_GREY_F, -c_infinity), -std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(Outside<float>(IMAGE_GREY_F, c_nan)));
}

TEST(CCylinderMask, RefusesAComplexImageWithACylinder) {
    CImage image(IMAGE_COMPLEX_F, CSize(2, 2), CSize(0, 0, 0));
    const CCylinderMask mask(nullptr, nullptr);
    mask.MaskImageWithMetaInfoCylinder(image, 0); // has no cylinder
    mask.SetCylinderParameters(image, Text("Z"), 0, 0, 1);
    const auto raised = test::Raised<CException>([&] { mask.MaskImageWithMetaInfoCylinder(image, 0); });
    EXPECT_STREQ(raised.Message(), "Image type IMAGE_COMPLEX_F not supported.");
}

// --- the record
// ---------------------------------------------------------------------------------------------------

/// The record in the metadata of an image; an empty map if there is none.
std::unique_ptr<CValueMap> RecordOf(const CImage& image) {
    auto record = std::make_unique<CValueMap>();
    CQuillonHeaderTools::GetMetaInfo(image, "CylinderMask", *record);
    return record;
}

TEST(CCylinderMask, RecordsAxisCentreAndRadiusAsGiven) {
    const auto image = Filled(CSize(2, 2));
    const CCylinderMask mask(nullptr, nullptr);
    mask.SetCylinderParameters(*image, Text("Zeppelin"), -1.5, 1e300, c_infinity);
    const auto record = RecordOf(*image);
    EXPECT_EQ(record->Size(), 4U);
    EXPECT_EQ(record->EntryString("axis").Std(), "Zeppelin");
    EXPECT_EQ(record->Entry("s", true)->Double(), -1.5);
    EXPECT_EQ(record->Entry("t", true)->Double(), 1e300);
    EXPECT_EQ(record->Entry("radius", true)->Double(), c_infinity);
    EXPECT_EQ(PixelsOf<unsigned char>(*image), Bytes(4, 1)); // only recorded
}

TEST(CCylinderMask, ReplacesAnEarlierRecord) {
    const auto image = Filled(CSize(3, 1));
    const CCylinderMask mask(nullptr, nullptr);
    mask.SetCylinderParameters(*image, Text("X"), 5, 5, 1);
    mask.SetCylinderParameters(*image, Text("Z"), 0, 0, 1);
    mask.MaskImageWithMetaInfoCylinder(*image, 0);
    EXPECT_EQ(PixelsOf<unsigned char>(*image), (Bytes{1, 1, 0}));
}

TEST(CCylinderMask, CopiesTheRecordToAnImageOfAnyTypeAndSize) {
    const auto source = Filled(CSize(2, 2));
    CImage target(IMAGE_GREY_F, CSize(3, 2, 2), CSize(0, 0, 0));
    const CCylinderMask mask(nullptr, nullptr);
    mask.SetCylinderParameters(target, Text("X"), 0, 0, 0); // replaced
    mask.SetCylinderParameters(*source, Text("Y"), 1.25, -2, 3);
    EXPECT_TRUE(mask.CopyMetaInfo(*source, target));
    EXPECT_TRUE(RecordOf(target)->Equal(*RecordOf(*source)));
    EXPECT_EQ(RecordOf(target)->Entry("s", true)->Double(), 1.25);
    EXPECT_TRUE(mask.CopyMetaInfo(target, target));
    EXPECT_TRUE(RecordOf(target)->Equal(*RecordOf(*source)));
}

TEST(CCylinderMask, AnImageWithoutARecordStaysUnchanged) {
    const auto source = Filled(CSize(3, 3, 3), 7);
    const auto target = Filled(CSize(3, 3, 3));
    const CCylinderMask mask(nullptr, nullptr);
    mask.SetCylinderParameters(*target, Text("Y"), 1, 2, 3);
    EXPECT_FALSE(mask.CopyMetaInfo(*source, *target));
    EXPECT_EQ(RecordOf(*target)->Entry("t", true)->Double(), 2);
    mask.MaskImageWithMetaInfoCylinder(*source, 0);
    EXPECT_EQ(PixelsOf<unsigned char>(*source), Bytes(27, 7));
    EXPECT_TRUE(source->Attributes().IsEmpty());
}

TEST(CCylinderMask, AnIncompleteRecordIsIgnored) {
    const CCylinderMask mask(nullptr, nullptr);
    const auto expectNone = [&mask](const char* key, CValue* value) {
        const auto image = Filled(CSize(2, 2));
        mask.SetCylinderParameters(*image, Text("Z"), 0, 0, -1);
        CValueMap record;
        CQuillonHeaderTools::GetMetaInfo(*image, "CylinderMask", record);
        record.SetEntry(key, value); // null removes the entry
        CQuillonHeaderTools::SetMetaInfo(*image, "CylinderMask", record);
        CImage target(IMAGE_GREY_8, CSize(2, 2), CSize(0, 0, 0));
        EXPECT_FALSE(mask.CopyMetaInfo(*image, target)) << key;
        EXPECT_TRUE(target.Attributes().IsEmpty()) << key;
        mask.MaskImageWithMetaInfoCylinder(*image, 0);
        EXPECT_EQ(PixelsOf<unsigned char>(*image), Bytes(4, 1)) << key;
    };
    expectNone("axis", nullptr);
    expectNone("axis", new CValueLong(2));
    for (const char* key : {"s", "t", "radius"}) {
        expectNone(key, nullptr);
        expectNone(key, new CValueLong(2));
        expectNone(key, new CValueString("2", CString::NPOS));
    }
    const auto image = Filled(CSize(2, 2));
    CQuillonHeaderTools::SetMetaInfo(*image, "CylinderMask", CValueString("Z", CString::NPOS));
    EXPECT_FALSE(mask.CopyMetaInfo(*image, *image));
    mask.MaskImageWithMetaInfoCylinder(*image, 0);
    EXPECT_EQ(PixelsOf<unsigned char>(*image), Bytes(4, 1));
}

// --- threads and progress
// -----------------------------------------------------------------------------------------

TEST(CCylinderMask, ResultsDoNotDependOnTheNumberOfThreads) {
    const CSize size(33, 31, 37);
    for (const char* axis : {"X", "Y", "Z"}) {
        const StCylinder cylinder{axis, 15.5, 18, 12.25};
        for (const int threads : {1, 2, 7}) {
            SetThreadCount(threads);
            EXPECT_EQ(MaskedOnes(size, cylinder), BruteForce(size, cylinder)) << axis << threads;
        }
    }
    SetThreadCount(0);
}

TEST(CCylinderMask, ReportsOneStepPerPlane) {
    const auto image = Filled(CSize(4, 4, 6));
    test::CRecordingProgress progress;
    CCylinderMask mask(nullptr, nullptr);
    mask.SetProgress(CProgressProxy(&progress));
    mask.SetCylinderParameters(*image, Text("Z"), 1, 1, 1);
    mask.MaskImageWithMetaInfoCylinder(*image, 0);
    EXPECT_EQ(progress.calls.front(), "Start 6 Masking with a cylinder...");
    EXPECT_EQ(progress.steps, 6U);
    EXPECT_TRUE(progress.isFromOneThread);
    EXPECT_EQ(progress.calls.back(), "Finish");
}

TEST(CCylinderMask, LeavesPlanesUnchangedAfterCancelling) {
    const auto image = Filled(CSize(4, 4, 6));
    test::CRecordingProgress progress;
    progress.Cancel();
    CCylinderMask mask(nullptr, nullptr);
    mask.SetProgress(CProgressProxy(&progress));
    mask.SetCylinderParameters(*image, Text("Z"), 1, 1, 1);
    mask.MaskImageWithMetaInfoCylinder(*image, 0);
    EXPECT_EQ(PixelsOf<unsigned char>(*image), Bytes(96, 1));
}

} // namespace
