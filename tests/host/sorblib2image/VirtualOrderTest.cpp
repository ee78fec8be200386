// The order of the virtual functions is part of the binary interface to packs already built: a call goes by
// slot, not by name. Slots count from 1; the destructor is the first.

#include <sorblib2image/CImage.h>
#include <sorblib2image/CSorbImageFactory.h>

#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

using namespace ORVEN;
using test::VirtualSlot;

namespace {

template <class Image>
class AnyImageClass : public testing::Test {};

using ImageClasses = testing::Types<IImage, CImage>;
TYPED_TEST_SUITE(AnyImageClass, ImageClasses);

template <class Access>
class AnyAccessClass : public testing::Test {};

using AccessClasses = testing::Types<IImage::IAccess, CImage::CAccess>;
TYPED_TEST_SUITE(AnyAccessClass, AccessClasses);

} // namespace

TYPED_TEST(AnyImageClass, HasItsVirtualOperationsInOrder) {
    EXPECT_EQ(VirtualSlot<const IImage::IAccess*(bool) const>(&TypeParam::CreateAccess), 2);
    EXPECT_EQ(VirtualSlot<IImage::IAccess*(bool)>(&TypeParam::CreateAccess), 3);
    EXPECT_EQ(VirtualSlot<const CValueMap&() const>(&TypeParam::Attributes), 4);
    EXPECT_EQ(VirtualSlot<CValueMap&()>(&TypeParam::Attributes), 5);
    EXPECT_EQ(VirtualSlot(&TypeParam::Type), 6);
    EXPECT_EQ(VirtualSlot(&TypeParam::Size), 7);
}

TEST(VirtualOrder, OfCImageContinuesWithResize) { EXPECT_EQ(VirtualSlot(&CImage::Resize), 8); }

TYPED_TEST(AnyAccessClass, HasItsVirtualOperationsInOrder) {
    EXPECT_EQ(VirtualSlot(&TypeParam::Lock), 2);
    EXPECT_EQ(VirtualSlot(&TypeParam::Unlock), 3);
    EXPECT_EQ(VirtualSlot(&TypeParam::IsLocked), 4);
    EXPECT_EQ(VirtualSlot(&TypeParam::First), 5);
    EXPECT_EQ(VirtualSlot(&TypeParam::Last), 6);
    EXPECT_EQ(VirtualSlot(&TypeParam::Size), 7);
    EXPECT_EQ(VirtualSlot(&TypeParam::Type), 8);
    EXPECT_EQ(VirtualSlot(&TypeParam::Strides), 9);
    EXPECT_EQ(VirtualSlot(&TypeParam::ConstData), 10);
    EXPECT_EQ(VirtualSlot(&TypeParam::Data), 11);
}

TEST(VirtualOrder, OfCSorbImageFactoryCreatesImagesWithItsSecondFunction) {
    EXPECT_EQ(VirtualSlot(&CSorbImageFactory::Create), 2);
}
