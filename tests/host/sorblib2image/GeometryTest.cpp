#include <sorblib2core/CExBadParam.h>
#include <sorblib2image/CBox.h>
#include <sorblib2image/CRect.h>

#include "support/Raised.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>

using namespace ORVEN;

namespace {

constexpr std::int64_t c_greatest = std::numeric_limits<std::int64_t>::max();

/// Properties common to positions and sizes.
template <class Triple>
class AnyTriple : public testing::Test {
protected:
    static Triple WithDim(Triple triple, int dim) {
        triple.SetDim(dim);
        return triple;
    }
};

using Triples = testing::Types<CPos, CSize>;
TYPED_TEST_SUITE(AnyTriple, Triples);

CSize SizeOfDim(std::int64_t x, std::int64_t y, std::int64_t z, int dim) {
    CSize size(x, y, z);
    size.SetDim(dim);
    return size;
}

} // namespace

TYPED_TEST(AnyTriple, DefaultIsTheOriginInThreeDimensions) {
    const TypeParam triple;
    EXPECT_EQ(triple, TypeParam(0, 0, 0));
    EXPECT_EQ(triple.Dim(), 3);
}

TYPED_TEST(AnyTriple, TakesItsDimensionFromTheNumberOfCoordinates) {
    const TypeParam two(4, 5);
    EXPECT_EQ(two.Dim(), 2);
    EXPECT_EQ(two.x, 4);
    EXPECT_EQ(two.y, 5);
    EXPECT_EQ(two.z, 0);
    const TypeParam three(4, 5, 6);
    EXPECT_EQ(three.Dim(), 3);
    EXPECT_EQ(three.z, 6);
}

TYPED_TEST(AnyTriple, PrintsTheCoordinatesUpToItsDimension) {
    EXPECT_EQ(TypeParam(4, 5, 6).ToString(), "(4,5,6)");
    EXPECT_EQ(TypeParam(4, 5).ToString(), "(4,5)");
    EXPECT_EQ(this->WithDim(TypeParam(4, 5, 6), 1).ToString(), "(4)");
    EXPECT_EQ(this->WithDim(TypeParam(4, 5, 6), 0).ToString(), "()");
    EXPECT_EQ(TypeParam(-1, c_greatest).ToString(), "(-1,9223372036854775807)");
}

TYPED_TEST(AnyTriple, IsEqualInDimensionAndTheCoordinatesUpToIt) {
    EXPECT_EQ(TypeParam(4, 5, 6), TypeParam(4, 5, 6));
    EXPECT_NE(TypeParam(4, 5, 6), TypeParam(4, 5, 7));
    EXPECT_NE(TypeParam(4, 5, 6), TypeParam(4, 0, 6));
    EXPECT_NE(TypeParam(4, 5, 6), TypeParam(0, 5, 6));
    EXPECT_NE(TypeParam(4, 5, 0), TypeParam(4, 5));
    EXPECT_EQ(this->WithDim(TypeParam(4, 5, 6), 2), TypeParam(4, 5));
    EXPECT_NE(this->WithDim(TypeParam(4, 5, 6), 2), TypeParam(4, 6));
    EXPECT_EQ(this->WithDim(TypeParam(4, 5, 6), 1), this->WithDim(TypeParam(4, 0, 0), 1));
}

TYPED_TEST(AnyTriple, IsAddressedByAxis) {
    TypeParam triple(4, 5, 6);
    EXPECT_EQ(triple[0], 4);
    EXPECT_EQ(std::as_const(triple)[1], 5);
    triple[2] = -7;
    EXPECT_EQ(triple.z, -7);
    IVectorizable& vectorizable = triple;
    EXPECT_EQ(vectorizable[2], -7);
    EXPECT_EQ(vectorizable.Dim(), 3);
}

TYPED_TEST(AnyTriple, RefusesAnUnknownAxis) {
    TypeParam triple(4, 5, 6);
    EXPECT_STREQ(test::Raised<CExBadParam>([&] { (void)triple[3]; }).Message(), "There is no axis 3.");
    EXPECT_STREQ(test::Raised<CExBadParam>([&] { (void)std::as_const(triple)[-1]; }).Message(),
                 "There is no axis -1.");
}

TYPED_TEST(AnyTriple, CopiesAreIndependent) {
    TypeParam triple(4, 5);
    const TypeParam copy(triple);
    TypeParam assigned;
    assigned = triple;
    triple.x = 0;
    EXPECT_EQ(copy, TypeParam(4, 5));
    EXPECT_EQ(assigned, TypeParam(4, 5));
}

TEST(CSize, CountsPixelsUpToItsDimension) {
    EXPECT_EQ(CSize(4, 5, 6).PixelCount(), 120);
    EXPECT_EQ(CSize(4, 5).PixelCount(), 20);
    EXPECT_EQ(SizeOfDim(4, -1, -1, 1).PixelCount(), 4);
    EXPECT_EQ(CSize(4, 0, 6).PixelCount(), 0);
    EXPECT_EQ(CSize(100000, 100000, 100000).PixelCount(), 1000000000000000);
    EXPECT_EQ(CSize(c_greatest, 1).PixelCount(), c_greatest);
}

TEST(CSize, RefusesToCountPixelsOfInvalidSizes) {
    for (const CSize& size :
         {CSize(-1, 5), CSize(5, -1), CSize(5, 5, -1), CSize(-1, -1), CSize(c_greatest, 2),
          CSize(std::int64_t{1} << 21, std::int64_t{1} << 21, std::int64_t{1} << 21), SizeOfDim(1, 1, 1, 0),
          SizeOfDim(1, 1, 1, 4), SizeOfDim(1, 1, 1, -1)}) {
        SCOPED_TRACE(size.ToString());
        EXPECT_THROW((void)size.PixelCount(), CExBadParam);
    }
    EXPECT_STREQ(test::Raised<CExBadParam>([] { (void)CSize(3, -2).PixelCount(); }).Message(),
                 "No image can have the size (3,-2) in dimension 2.");
}

TEST(CBox, SizeIsItsInclusiveExtent) {
    EXPECT_EQ(CBox(CPos(1, 2, 3), CPos(1, 4, 8)).Size(), CSize(1, 3, 6));
    EXPECT_EQ(CBox(CPos(1, 2), CPos(5, 2)).Size(), CSize(5, 1));
    EXPECT_EQ(CBox(CPos(0, 0, 0), CPos(-1, 3, 3)).Size(), CSize(0, 4, 4));
}

TEST(CBox, DefaultIsThePixelAtTheOrigin) {
    EXPECT_EQ(CBox().Size(), CSize(1, 1, 1));
    EXPECT_EQ(CBox().first, CPos(0, 0, 0));
}

TEST(CRect, IsDefinedByItsCorners) {
    CRect rect;
    EXPECT_EQ(rect.first, CPos(0, 0));
    EXPECT_EQ(rect.Size(), CSize(1, 1));
    rect.first = CPos(2, 3);
    rect.last = CPos(4, 3);
    EXPECT_EQ(rect.Size(), CSize(3, 1));
}
