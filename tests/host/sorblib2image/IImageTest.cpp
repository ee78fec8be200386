#include <sorblib2core/CException.h>
#include <sorblib2image/GreyTypeDispatch.h>
#include <sorblib2image/IImage.h>

#include "support/Raised.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace ORVEN;

namespace {

struct StType {
    IImage::CType type;
    const char* name;
    unsigned pixelSize;
    bool isInterleaved;
    bool isBinary;
};

const std::vector<StType>& Types() {
    static const std::vector<StType> types = {{IMAGE_GREY_8, "IMAGE_GREY_8", 1, false, false},
                                              {IMAGE_GREY_16, "IMAGE_GREY_16", 2, false, false},
                                              {IMAGE_GREY_32, "IMAGE_GREY_32", 4, false, false},
                                              {IMAGE_GREY_F, "IMAGE_GREY_F", 4, false, false},
                                              {IMAGE_COMPLEX_F, "IMAGE_COMPLEX_F", 8, true, false},
                                              {IMAGE_BINARY_FG, "IMAGE_BINARY_FG", 1, false, true},
                                              {IMAGE_BINARY_BG, "IMAGE_BINARY_BG", 1, false, true}};
    return types;
}

} // namespace

TEST(ImageType, HasItsNamePixelSizeAndFlags) {
    for (const StType& expected : Types()) {
        SCOPED_TRACE(expected.name);
        EXPECT_STREQ(expected.type.ToString(), expected.name);
        EXPECT_EQ(expected.type.PixelSize(), expected.pixelSize);
        EXPECT_EQ(expected.type.IsInterleaved(), expected.isInterleaved);
        EXPECT_EQ(expected.type.IsBinary(), expected.isBinary);
    }
}

TEST(ImageType, IsEqualToItselfOnly) {
    for (std::size_t i = 0; i < Types().size(); ++i) {
        for (std::size_t j = 0; j < Types().size(); ++j) {
            EXPECT_EQ(Types()[i].type == Types()[j].type, i == j)
                << Types()[i].name << " " << Types()[j].name;
            EXPECT_EQ(Types()[i].type != Types()[j].type, i != j);
        }
    }
}

TEST(ImageType, ComparesByNameAndNotByAddress) {
    const std::string name = "IMAGE_GREY_8"; // as in another library's copy of the constant
    EXPECT_EQ(IImage::CType(name.c_str(), 1, false, false), IMAGE_GREY_8);
}

TEST(GreyTypeDispatch, CallsTheBodyWithThePixelTypeOfAGreyImage) {
    const auto nameOf = [](const IImage::CType& type) {
        return DispatchGreyType("Test", type,
                                []<class T>(std::type_identity<T>) { return std::string(typeid(T).name()); });
    };
    EXPECT_EQ(nameOf(IMAGE_GREY_8), typeid(unsigned char).name());
    EXPECT_EQ(nameOf(IMAGE_GREY_16), typeid(unsigned short).name());
    EXPECT_EQ(nameOf(IMAGE_GREY_32), typeid(unsigned int).name());
    EXPECT_EQ(nameOf(IMAGE_GREY_F), typeid(float).name());
}

TEST(GreyTypeDispatch, RaisesForAnyOtherTypeWithTheFunctionAsSource) {
    for (const IImage::CType& type : {IMAGE_BINARY_FG, IMAGE_BINARY_BG, IMAGE_COMPLEX_F}) {
        bool wasCalled = false;
        const auto raised = test::Raised<CException>([&] {
            DispatchGreyType("Binarize", type, [&]<class T>(std::type_identity<T>) { wasCalled = true; });
        });
        EXPECT_STREQ(raised.Source(), "Binarize");
        EXPECT_EQ(std::string(raised.Message()),
                  std::string("Image type ") + type.ToString() + " not supported.");
        EXPECT_FALSE(wasCalled);
    }
}
