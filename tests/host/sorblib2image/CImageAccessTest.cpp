#include <sorblib2core/CExBadParam.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include "support/Raised.h"
#include "support/TestImage.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <numeric>
#include <vector>

using namespace ORVEN;

namespace {

constexpr std::int64_t c_greatest = std::numeric_limits<std::int64_t>::max();

/// A 5 x 4 x 3 image whose pixel at (x, y, z) is x + 10 y + 100 z, with an access to it.
class CImageAccess : public testing::Test {
protected:
    CImageAccess()
        : m_image(IMAGE_GREY_16, CSize(5, 4, 3), CSize(1, 1, 1)) {
        const CImageView<unsigned short> view(m_image);
        for (std::int64_t z = 0; z < view.nz; ++z) {
            for (std::int64_t y = 0; y < view.ny; ++y)
                std::iota(view.Row(y, z), view.Row(y, z) + view.nx,
                          static_cast<unsigned short>(10 * y + 100 * z));
        }
        m_access.reset(m_image.CreateAccess(false));
        m_reader.reset(static_cast<const CImage&>(m_image).CreateAccess(false));
    }

    CImage m_image;
    std::unique_ptr<IImage::IAccess> m_access;
    std::unique_ptr<const IImage::IAccess> m_reader;
};

} // namespace

TEST_F(CImageAccess, LocksABoxIncludingBothCorners) {
    m_access->Lock(CPos(1, 2, 1), CPos(3, 2, 2), IImage::LOCK_READ);
    EXPECT_TRUE(m_access->IsLocked());
    EXPECT_EQ(m_access->First(), CPos(1, 2, 1));
    EXPECT_EQ(m_access->Last(), CPos(3, 2, 2));
    EXPECT_EQ(m_access->Size(), CSize(3, 1, 2));
    EXPECT_EQ(m_access->Type(), IMAGE_GREY_16);
    EXPECT_EQ(*static_cast<const unsigned short*>(m_access->ConstData()), 121);
}

TEST_F(CImageAccess, StridesLeadFromPixelToPixelLineToLineAndPlaneToPlane) {
    m_access->Lock(CPos(1, 1, 1), CPos(2, 2, 2), IImage::LOCK_READ);
    const CPos strides = m_access->Strides();
    const auto pixelAt = [&](std::int64_t step) {
        return *reinterpret_cast<const unsigned short*>(static_cast<const char*>(m_access->ConstData()) +
                                                        step);
    };
    EXPECT_EQ(pixelAt(strides.x), 112);
    EXPECT_EQ(pixelAt(strides.y), 121);
    EXPECT_EQ(pixelAt(strides.z), 211);
}

TEST_F(CImageAccess, WritesThroughALockForReadingAndWriting) {
    m_access->Lock(CPos(4, 3, 2), CPos(4, 3, 2), IImage::LOCK_READ_WRITE);
    EXPECT_EQ(m_access->Data(), m_access->ConstData());
    *static_cast<unsigned short*>(m_access->Data()) = 999;
    EXPECT_EQ(CImageView<const unsigned short>(m_image).Row(3, 2)[4], 999);
}

TEST_F(CImageAccess, HasNoDataWithoutALock) {
    EXPECT_FALSE(m_access->IsLocked());
    EXPECT_EQ(m_access->ConstData(), nullptr);
    EXPECT_THROW((void)m_access->Data(), CExBadParam);
    m_access->Lock(CPos(0, 0, 0), CPos(0, 0, 0), IImage::LOCK_READ_WRITE);
    m_access->Unlock();
    EXPECT_FALSE(m_access->IsLocked());
    EXPECT_EQ(m_access->ConstData(), nullptr);
    EXPECT_STREQ(test::Raised<CExBadParam>([&] { (void)m_access->Data(); }).Message(),
                 "Writing requires the image to be locked with mode 3.");
}

TEST_F(CImageAccess, DoesNotWriteThroughALockForReading) {
    m_access->Lock(CPos(0, 0, 0), CPos(0, 0, 0), IImage::LOCK_READ);
    EXPECT_THROW((void)m_access->Data(), CExBadParam);
}

TEST_F(CImageAccess, ToAConstImageLocksForReadingOnly) {
    EXPECT_STREQ(test::Raised<CExBadParam>([&] {
                     m_reader->Lock(CPos(0, 0, 0), CPos(4, 3, 2), IImage::LOCK_READ_WRITE);
                 }).Message(),
                 "The image cannot be locked with mode 3.");
    EXPECT_FALSE(m_reader->IsLocked());
    m_reader->Lock(CPos(0, 0, 0), CPos(4, 3, 2), IImage::LOCK_READ);
    EXPECT_EQ(m_reader->Size(), m_image.Size());
}

TEST_F(CImageAccess, RefusesUnknownModes) {
    for (const int mode : {-1, 0, 2, 4})
        EXPECT_THROW(m_access->Lock(CPos(0, 0, 0), CPos(0, 0, 0), mode), CExBadParam) << mode;
}

TEST_F(CImageAccess, RefusesABoxThatLeavesTheImage) {
    const CPos first(0, 0, 0);
    const CPos last(4, 3, 2);
    for (int axis = 0; axis < 3; ++axis) {
        SCOPED_TRACE(axis);
        CPos before = first;
        before[axis] = -1;
        EXPECT_THROW(m_access->Lock(before, last, IImage::LOCK_READ), CExBadParam);
        CPos behind = last;
        ++behind[axis];
        EXPECT_THROW(m_access->Lock(first, behind, IImage::LOCK_READ), CExBadParam);
        behind[axis] = c_greatest;
        EXPECT_THROW(m_access->Lock(first, behind, IImage::LOCK_READ), CExBadParam);
        CPos reversed = last;
        reversed[axis] = -2;
        EXPECT_THROW(m_access->Lock(first, reversed, IImage::LOCK_READ), CExBadParam);
    }
    EXPECT_FALSE(m_access->IsLocked());
    EXPECT_STREQ(
        test::Raised<CExBadParam>([&] { m_access->Lock(first, CPos(4, 4, 2), IImage::LOCK_READ); }).Message(),
        "The region from (0,0,0) to (4,4,2) leaves the image of size (5,4,3).");
}

TEST_F(CImageAccess, LockingASecondBoxReplacesTheFirst) {
    m_access->Lock(CPos(1, 0, 0), CPos(1, 0, 0), IImage::LOCK_READ_WRITE);
    m_access->Lock(CPos(2, 0, 0), CPos(4, 0, 0), IImage::LOCK_READ);
    EXPECT_EQ(m_access->Size(), CSize(3, 1, 1));
    EXPECT_EQ(*static_cast<const unsigned short*>(m_access->ConstData()), 2);
    EXPECT_THROW((void)m_access->Data(), CExBadParam);
}

TEST_F(CImageAccess, SeveralExistAtTheSameTime) {
    m_access->Lock(CPos(0, 0, 0), CPos(4, 3, 2), IImage::LOCK_READ_WRITE);
    m_reader->Lock(CPos(0, 0, 0), CPos(4, 3, 2), IImage::LOCK_READ);
    *static_cast<unsigned short*>(m_access->Data()) = 77;
    EXPECT_EQ(*static_cast<const unsigned short*>(m_reader->ConstData()), 77);
}

TEST(CImageView, HasTheExtentsOfTheImageAndOneBeyondItsDimension) {
    CSize line(7, 9, 9);
    line.SetDim(1);
    CImage ofOne(IMAGE_GREY_8, line, CSize(0, 0, 0));
    const CImage ofTwo(IMAGE_GREY_8, CSize(5, 4), CSize(0, 0, 0));
    const CImageView<unsigned char> one(ofOne);
    const CImageView<const unsigned char> two(ofTwo);
    EXPECT_EQ(CPos(one.nx, one.ny, one.nz), CPos(7, 1, 1));
    EXPECT_EQ(CPos(two.nx, two.ny, two.nz), CPos(5, 4, 1));
    EXPECT_EQ(one.PixelCount(), 7);
    EXPECT_EQ(two.PixelCount(), 20);
}

TEST(CImageView, ReadsWhatAnotherViewWrote) {
    CImage image(IMAGE_GREY_F, CSize(3, 2, 2), CSize(1, 1, 1));
    const CImageView<float> writer(image);
    const CImageView<const float> reader(image);
    writer.Row(1, 1)[2] = 2.5F;
    EXPECT_EQ(reader.Row(1, 1)[2], 2.5F);
    EXPECT_EQ(reader.Row(0, 1)[2], 0.0F);
}

TEST(CImageView, RefusesPixelsOfAnotherSize) {
    CImage image(IMAGE_GREY_16, CSize(3, 2), CSize(0, 0));
    EXPECT_NO_THROW((void)CImageView<unsigned short>(image));
    EXPECT_STREQ(test::Raised<CExBadParam>([&] { (void)CImageView<float>(image); }).Message(),
                 "Pixels of type IMAGE_GREY_16 are not stored in rows of 4 bytes per pixel.");
    EXPECT_THROW((void)CImageView<const unsigned char>(image), CExBadParam);
}
