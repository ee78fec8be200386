#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/CSorbImageFactory.h>
#include <sorblib2image/ImageView.h>

#include "support/Raised.h"
#include "support/TestImage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

using namespace ORVEN;
using test::ImageOf;
using test::PixelsOf;

namespace {

const CSize c_noBorder(0, 0, 0);
constexpr std::int64_t c_greatest = std::numeric_limits<std::int64_t>::max();

using Byte = unsigned char;
using Bytes = std::vector<Byte>;

CSize SizeOfDim(std::int64_t x, std::int64_t y, std::int64_t z, int dim) {
    CSize size(x, y, z);
    size.SetDim(dim);
    return size;
}

CPos StridesOf(const CImage& image) {
    return std::unique_ptr<const IImage::IAccess>(image.CreateAccess(false))->Strides();
}

/// 0, 1, 2, ... in raster order.
Bytes Counting(std::int64_t count) {
    Bytes pixels(static_cast<std::size_t>(count));
    std::iota(pixels.begin(), pixels.end(), Byte{0});
    return pixels;
}

std::unique_ptr<CImage> CountingImage(const CSize& size) {
    return ImageOf(IMAGE_GREY_8, size, Counting(size.PixelCount()));
}

/// A size that is invalid or too large for memory.
struct StAbsurd {
    const char* name;
    CSize size;
    CSize border;
    bool isBadParam; ///< expects CExBadParam, else std::bad_alloc
};

class AbsurdSize : public testing::TestWithParam<StAbsurd> {
protected:
    /// Runs the body and expects the error for this size.
    template <class Body>
    static void ExpectRefusal(const Body& body) {
        if (GetParam().isBadParam)
            EXPECT_THROW(body(), CExBadParam);
        else
            EXPECT_THROW(body(), std::bad_alloc);
    }
};

} // namespace

TEST(CImage, IsZeroInEveryDimensionAndType) {
    for (const CSize& size : {SizeOfDim(5, 0, 0, 1), CSize(5, 4), CSize(5, 4, 3)}) {
        SCOPED_TRACE(size.ToString());
        const CImage image(IMAGE_GREY_16, size, c_noBorder);
        EXPECT_EQ(image.Size(), size);
        EXPECT_EQ(image.Type(), IMAGE_GREY_16);
        EXPECT_TRUE(image.Attributes().IsEmpty());
        EXPECT_EQ(PixelsOf<unsigned short>(image),
                  std::vector<unsigned short>(static_cast<std::size_t>(size.PixelCount())));
    }
}

TEST(CImage, IsZeroWhereItsMemoryIsMapped) {
    const CImage image(IMAGE_GREY_32, CSize(256, 256, 17), c_noBorder);
    const auto pixels = PixelsOf<unsigned>(image);
    EXPECT_EQ(pixels.size(), 256U * 256U * 17U);
    EXPECT_TRUE(std::all_of(pixels.begin(), pixels.end(), [](unsigned pixel) { return pixel == 0; }));
}

TEST(CImage, StridesAreByteStepsWithoutGaps) {
    EXPECT_EQ(StridesOf(CImage(IMAGE_GREY_8, CSize(5, 4, 3), c_noBorder)), CPos(1, 5, 20));
    EXPECT_EQ(StridesOf(CImage(IMAGE_GREY_F, CSize(5, 4, 3), c_noBorder)), CPos(4, 20, 80));
    EXPECT_EQ(StridesOf(CImage(IMAGE_COMPLEX_F, CSize(5, 4, 3), c_noBorder)), CPos(8, 40, 160));
}

TEST(CImage, StridesBeyondTheDimensionAreZero) {
    const CPos ofTwo = StridesOf(CImage(IMAGE_GREY_16, CSize(5, 4), c_noBorder));
    EXPECT_EQ(ofTwo, CPos(2, 10));
    EXPECT_EQ(ofTwo.z, 0);
    const CPos ofOne = StridesOf(CImage(IMAGE_GREY_16, SizeOfDim(5, 7, 7, 1), c_noBorder));
    EXPECT_EQ(ofOne.x, 2);
    EXPECT_EQ(ofOne.y, 0);
    EXPECT_EQ(ofOne.z, 0);
}

TEST(CImage, BorderIsVisibleOnlyInTheStrides) {
    CImage image(IMAGE_GREY_16, CSize(5, 4, 3), CSize(1, 2, 3));
    EXPECT_EQ(StridesOf(image), CPos(2, 14, 112));
    EXPECT_EQ(image.Size(), CSize(5, 4, 3));
    const CImageView<unsigned short> view(image);
    for (std::int64_t z = 0; z < 3; ++z) {
        for (std::int64_t y = 0; y < 4; ++y)
            std::fill_n(view.Row(y, z), 5, static_cast<unsigned short>(10 * z + y));
    }
    // The border of one pixel on both sides of x lies between the rows and is still 0.
    EXPECT_EQ(view.Row(0, 0)[-1], 0);
    EXPECT_EQ(view.Row(1, 2)[5], 0);
    EXPECT_EQ(view.Row(1, 2)[6], 0);
    EXPECT_EQ(view.Row(2, 2) - view.Row(1, 2), 7);
    EXPECT_EQ(PixelsOf<unsigned short>(image)[59], 23);
}

TEST(CImage, ExtentsOfZeroMakeAnImageWithoutPixels) {
    for (const CSize& size : {CSize(0, 0, 0), CSize(0, 4, 3), CSize(5, 0, 3), CSize(5, 4, 0), CSize(0, 4),
                              CSize(5, 0), SizeOfDim(0, 0, 0, 1)}) {
        SCOPED_TRACE(size.ToString());
        const CImage image(IMAGE_GREY_F, size, c_noBorder);
        EXPECT_EQ(image.Size(), size);
        const CImageView<const float> view(image);
        EXPECT_EQ(view.PixelCount(), 0);
        EXPECT_TRUE(PixelsOf<float>(CImage(image)).empty());
    }
}

TEST(CImage, CopyIsDeepAndExcludesTheAttributes) {
    const auto original = CountingImage(CSize(5, 4, 3));
    original->Attributes().SetEntry("label", new CValueLong(1));
    const CImage copy(*original);
    CImageView<Byte>(*original).Row(0, 0)[0] = 99;
    EXPECT_EQ(copy.Size(), original->Size());
    EXPECT_EQ(copy.Type(), original->Type());
    EXPECT_EQ(PixelsOf<Byte>(copy), Counting(60));
    EXPECT_TRUE(copy.Attributes().IsEmpty());
}

TEST(CImage, CopyKeepsTheBorder) {
    CImage original(IMAGE_GREY_8, CSize(5, 4), CSize(3, 2));
    CImageView<Byte>(original).Row(3, 0)[4] = 7;
    const CImage copy(original);
    EXPECT_EQ(StridesOf(copy), CPos(1, 11));
    EXPECT_EQ(PixelsOf<Byte>(copy)[19], 7);
}

TEST(CImage, AttributesAreATreeThatCanBeWritten) {
    CImage image(IMAGE_GREY_8, CSize(1, 1), c_noBorder);
    image.Attributes().SetEntry("meta/unit", new CValueString("mm", CString::NPOS));
    const IImage& constant = image;
    EXPECT_TRUE(constant.Attributes().HasEntry("meta/unit"));
}

TEST(CImage, AResizedImageHasTheNewSizeAndIsZero) {
    const auto image = CountingImage(CSize(5, 4, 3));
    image->Attributes().SetEntry("label", new CValueLong(1));
    EXPECT_EQ(&image->Resize(CSize(2, 3), CSize(1, 0)), image.get());
    EXPECT_EQ(image->Size(), CSize(2, 3));
    EXPECT_EQ(StridesOf(*image), CPos(1, 4));
    EXPECT_EQ(PixelsOf<Byte>(*image), Bytes(6));
    EXPECT_TRUE(image->Attributes().HasEntry("label"));
    EXPECT_EQ(image->Type(), IMAGE_GREY_8);
}

TEST(CImage, ResizeChangesBetweenAllocatedAndMappedMemory) {
    CImage image(IMAGE_GREY_8, CSize(10, 10, 10), c_noBorder);
    image.Resize(CSize(256, 256, 128), c_noBorder);
    CImageView<Byte>(image).Row(255, 127)[255] = 1;
    image.Resize(CSize(2, 2), c_noBorder);
    EXPECT_EQ(PixelsOf<Byte>(image), Bytes(4));
}

TEST_P(AbsurdSize, IsRefusedByTheConstructor) {
    ExpectRefusal([] { (void)CImage(IMAGE_GREY_F, GetParam().size, GetParam().border); });
}

TEST_P(AbsurdSize, FailsToResizeAndLeavesTheImageAsItWas) {
    const auto image = CountingImage(CSize(5, 4, 3));
    image->Attributes().SetEntry("label", new CValueLong(1));
    ExpectRefusal([&] { image->Resize(GetParam().size, GetParam().border); });
    EXPECT_EQ(image->Size(), CSize(5, 4, 3));
    EXPECT_EQ(PixelsOf<Byte>(*image), Counting(60));
    EXPECT_TRUE(image->Attributes().HasEntry("label"));
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, AbsurdSize,
    testing::Values(StAbsurd{"Negative", CSize(5, -1, 3), c_noBorder, true},
                    StAbsurd{"BothNegative", CSize(-5, -1), c_noBorder, true},
                    StAbsurd{"PixelsBeyond64Bits", CSize(c_greatest, 2), c_noBorder, true},
                    StAbsurd{"DimensionZero", SizeOfDim(1, 1, 1, 0), c_noBorder, true},
                    StAbsurd{"DimensionFour", SizeOfDim(1, 1, 1, 4), c_noBorder, true},
                    StAbsurd{"NegativeBorder", CSize(5, 4), CSize(0, -1), true},
                    StAbsurd{"BorderBeyond64Bits", CSize(5, 4), CSize(c_greatest / 2, 0), true},
                    StAbsurd{"DoubledBorderBeyond64Bits", CSize(5, 4), CSize(0, c_greatest), true},
                    StAbsurd{"BytesBeyondAddresses", CSize(c_greatest, 1), c_noBorder, false},
                    StAbsurd{"BytesBeyondMemory", CSize(std::int64_t{1} << 20, 1 << 20, 1 << 20), c_noBorder,
                             false}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(CImage, EmptyImageWithStridesBeyond64BitsIsRefused) {
    EXPECT_THROW((void)CImage(IMAGE_GREY_F, CSize(c_greatest / 2, 0), c_noBorder), std::bad_alloc);
    EXPECT_THROW((void)CImage(IMAGE_GREY_F, CSize(0, c_greatest, c_greatest), c_noBorder), CExBadParam);
}

TEST(CImage, ViewReadsAndWritesPixelsOfTheCaller) {
    Bytes pixels = Counting(6);
    {
        CImage view(IMAGE_GREY_8, CSize(3, 2), pixels.data(), nullptr, nullptr, c_noBorder);
        EXPECT_EQ(PixelsOf<Byte>(view), Counting(6));
        EXPECT_EQ(CImageView<const Byte>(view).Row(0, 0), pixels.data());
        EXPECT_TRUE(view.Attributes().IsEmpty());
        view.Attributes().SetEntry("label", new CValueLong(1));
        CImageView<Byte>(view).Row(1, 0)[2] = 99;
    }
    EXPECT_EQ(pixels, (Bytes{0, 1, 2, 3, 4, 99}));
}

TEST(CImage, ViewLeavesAttributesAndAccessToTheCaller) {
    Bytes pixels = Counting(12);
    CValueMap attributes;
    attributes.SetEntry("label", new CValueLong(1));
    CImage::CAccess access(IMAGE_GREY_8, CSize(2, 1), CPos(1, 4), pixels.data() + 5, true);
    {
        CImage view(IMAGE_GREY_8, CSize(2, 1), pixels.data(), &attributes, &access, CSize(1, 1));
        EXPECT_EQ(&view.Attributes(), &attributes);
        view.Attributes().SetEntry("seen", new CValueLong(2));
        EXPECT_EQ(PixelsOf<Byte>(view), (Bytes{5, 6}));
    }
    EXPECT_EQ(attributes.Size(), 2U);
    EXPECT_EQ(pixels, Counting(12));
    access.Lock(CPos(0, 0), CPos(1, 0), IImage::LOCK_READ);
    EXPECT_EQ(*static_cast<const Byte*>(access.ConstData()), 5);
}

TEST(CImage, CopyOfAViewIsDeep) {
    Bytes pixels = Counting(6);
    const CImage view(IMAGE_GREY_8, CSize(3, 2), pixels.data(), nullptr, nullptr, c_noBorder);
    const CImage copy(view);
    pixels.assign(6, 0);
    EXPECT_EQ(PixelsOf<Byte>(copy), Counting(6));
}

TEST(CImage, AResizedViewHasPixelsOfItsOwn) {
    Bytes pixels = Counting(6);
    CImage view(IMAGE_GREY_8, CSize(3, 2), pixels.data(), nullptr, nullptr, c_noBorder);
    view.Resize(CSize(2, 2), c_noBorder);
    CImageView<Byte>(view).Row(0, 0)[0] = 7;
    EXPECT_EQ(PixelsOf<Byte>(view), (Bytes{7, 0, 0, 0}));
    EXPECT_EQ(pixels, Counting(6));
}

TEST(CImage, ViewOfAnInvalidSizeRaisesAndFreesNothing) {
    Byte pixel = 5;
    CValueMap attributes;
    EXPECT_THROW((void)CImage(IMAGE_GREY_8, CSize(-1, 1), &pixel, &attributes, nullptr, c_noBorder),
                 CExBadParam);
    EXPECT_TRUE(attributes.IsEmpty());
    EXPECT_EQ(pixel, 5);
}

TEST(CImage, AddressesPixelsBeyond32BitOffsets) {
    // 5 * 10^9 bytes of address space; only a few pages are ever touched.
    const CSize size(2001, 1801, 1401);
    CImage image(IMAGE_GREY_8, size, c_noBorder);
    const CImageView<Byte> view(image);
    view.Row(0, 0)[0] = 1;
    view.Row(1800, 1400)[2000] = 2;
    const std::int64_t lastOffset = &view.Row(1800, 1400)[2000] - view.Row(0, 0);
    EXPECT_EQ(lastOffset, size.PixelCount() - 1);
    EXPECT_GT(lastOffset, std::int64_t{1} << 32);
    // The place that 32-bit offsets would wrap around to.
    const std::int64_t wrapped = lastOffset & 0xffffffff;
    EXPECT_EQ(view.Row(0, 0)[wrapped], 0);
    EXPECT_EQ(view.Row(0, 0)[0], 1);
    const std::unique_ptr<const IImage::IAccess> access(image.CreateAccess(false));
    access->Lock(CPos(2000, 1800, 1400), CPos(2000, 1800, 1400), IImage::LOCK_READ);
    EXPECT_EQ(*static_cast<const Byte*>(access->ConstData()), 2);
}

TEST(CSorbImageFactory, IsASingleton) { EXPECT_EQ(&CSorbImageFactory::Obj(), &CSorbImageFactory::Obj()); }

TEST(CSorbImageFactory, CreatesZeroImagesOwnedByTheCaller) {
    const std::unique_ptr<IImage> image(CSorbImageFactory::Obj().Create(IMAGE_GREY_32, CSize(3, 2)));
    EXPECT_EQ(image->Type(), IMAGE_GREY_32);
    EXPECT_EQ(image->Size(), CSize(3, 2));
    EXPECT_EQ(PixelsOf<unsigned>(*image), std::vector<unsigned>(6));
    EXPECT_NE(dynamic_cast<CImage*>(image.get()), nullptr);
    EXPECT_THROW((void)CSorbImageFactory::Obj().Create(IMAGE_GREY_8, CSize(-1, 1)), CExBadParam);
}

TEST(CSorbImageFactory, TakesOverTheImagesThatItCreated) {
    const IImage* const made = CSorbImageFactory::Obj().Create(IMAGE_GREY_8, CSize(3, 2));
    const std::unique_ptr<const IImage> owned = CSorbImageFactory::TakeOver(*made);
    EXPECT_EQ(owned.get(), made); // and freed only by it, as the address sanitizer checks
}

TEST(CSorbImageFactory, DoesNotTakeOverOtherImages) {
    const CImage image(IMAGE_GREY_8, CSize(3, 2), c_noBorder);
    EXPECT_EQ(CSorbImageFactory::TakeOver(image), nullptr);
    const std::unique_ptr<IImage> made(CSorbImageFactory::Obj().Create(IMAGE_GREY_8, CSize(3, 2)));
    const CImage copy(static_cast<const CImage&>(*made));
    EXPECT_EQ(CSorbImageFactory::TakeOver(copy), nullptr);
}

TEST(CSorbImageFactory, RecognisesItsImagesOnEveryThread) {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 1000; ++round) {
                const IImage* const made = CSorbImageFactory::Obj().Create(IMAGE_GREY_8, CSize(3, 2));
                // Memory of an image of the factory is often reused for one that is not.
                ASSERT_NE(CSorbImageFactory::TakeOver(*made), nullptr);
                const auto other = std::make_unique<CImage>(IMAGE_GREY_8, CSize(3, 2), c_noBorder);
                ASSERT_EQ(CSorbImageFactory::TakeOver(*other), nullptr);
            }
        });
    }
}

TEST(CValuePointerToCImage, WithANullPointerHasCount0) {
    const CValuePointer<CImage> value(nullptr, 1);
    EXPECT_EQ(value.Count(), 0U);
    EXPECT_EQ(value.ElementType(), typeid(CImage));
}

TEST(CValuePointerToCImage, OwningPointerFreesTheImage) {
    // The address sanitizer reports an image that is not freed.
    const CValueOwnedPointer<CImage> value(new CImage(IMAGE_GREY_8, CSize(3, 2), c_noBorder), 1);
    EXPECT_TRUE(value.IsOwner());
    const std::unique_ptr<CValue> heir(value.Clone(CValue::TF_MOVE));
    EXPECT_FALSE(value.IsOwner());
    EXPECT_EQ(UnwrapPointer<CImage>(heir.get())->Size(), CSize(3, 2));
}

TEST(UnwrapPointer, ToCImageOnAPointerToAMapRaisesBadParamWithBothTypeNames) {
    CValueMap map;
    CValuePointer<CValueMap> value(&map, 1);
    const auto raised = test::Raised<CExBadParam>([&] { (void)UnwrapPointer<CImage>(&value); });
    EXPECT_EQ(std::string(raised.Message()), std::string("Requested type ('") + typeid(CImage).name() +
                                                 "') does not match actual type ('" +
                                                 typeid(CValueMap).name() + "')!");
    EXPECT_STREQ(raised.Location().function, "ORVEN::UnwrapPointer");
}
