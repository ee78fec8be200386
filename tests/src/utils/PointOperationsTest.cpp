#include "utils/PointOperations.h"

#include "support/Raised.h"
#include "support/TestImage.h"
#include "support/TraversalTools.h"
#include "utils/ImageTypeDispatch.h"
#include "utils/visitors/PointOperationCopy.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <limits>

using namespace ORVEN;
using test::CapturedOutput;
using test::HostProgress;
using test::Raised;

namespace {

std::string DispatchedName(const IImage::CType& type) {
    return DispatchImageType<unsigned int, unsigned short, unsigned char>(
        "Copy", type, []<class T>(std::type_identity<T>) { return std::string(typeid(T).name()); });
}

std::pair<double, double> StoredMinMax(const IImage& image) {
    CValueVector stored;
    if (!CQuillonHeaderTools::GetMetaInfo(image, CQuillonHeaderTools::c_sMetaMinMax.c_str(), stored) ||
        stored.size() != 2)
        throw std::logic_error("no extrema are stored");
    return {stored[0]->Double(), stored[1]->Double()};
}

} // namespace

TEST(CPointOperations, ReportsATraversalToTheHost) {
    HostProgress host;
    const auto image = test::ImageOf<unsigned int>(IMAGE_GREY_32, CSize(4, 3), {});
    visitors::CInitializer<unsigned int> fill(7);
    const CapturedOutput silence;
    EXPECT_TRUE(CPointOperations(nullptr, nullptr).Visit(fill, *image));
    EXPECT_EQ(test::PixelsOf<unsigned int>(*image), std::vector<unsigned int>(12, 7));
    EXPECT_EQ(host.steps, 12);
    EXPECT_EQ(host.texts,
              std::vector<std::string>{"ORVEN::Impl::VisitorHelper<0>::VisitImageData processing..."});
}

TEST(CPointOperations, ShowsItsNameInPlaceOfTheText) {
    HostProgress host;
    const auto image = test::ImageOf<unsigned int>(IMAGE_GREY_32, CSize(4, 3), {});
    visitors::CInitializer<unsigned int> fill(7);
    const CapturedOutput silence;
    CPointOperations("Initializing Distance Map", nullptr).Visit(fill, *image);
    EXPECT_EQ(host.texts, std::vector<std::string>{"Initializing Distance Map"});
}

TEST(CPointOperations, IsCancelledByTheHost) {
    HostProgress host;
    host.cancelAt = 1;
    const auto image = test::ImageOf<unsigned int>(IMAGE_GREY_32, CSize(2, 2), {});
    visitors::CInitializer<unsigned int> fill(7);
    const CapturedOutput silence;
    EXPECT_FALSE(CPointOperations(nullptr, nullptr).Visit(fill, *image));
    EXPECT_EQ(test::PixelsOf<unsigned int>(*image), (std::vector<unsigned int>{7, 7, 0, 0}));
}

TEST(DispatchImageType, GivesThePixelTypeOfTheImage) {
    EXPECT_EQ(DispatchedName(IMAGE_GREY_32), typeid(unsigned int).name());
    EXPECT_EQ(DispatchedName(IMAGE_GREY_16), typeid(unsigned short).name());
    EXPECT_EQ(DispatchedName(IMAGE_GREY_8), typeid(unsigned char).name());
    EXPECT_EQ(DispatchedName(IMAGE_BINARY_FG), typeid(unsigned char).name());
}

TEST(DispatchImageType, RefusesOtherTypesWithTheDispatcherAsSource) {
    for (const auto& type : {IMAGE_GREY_F, IMAGE_COMPLEX_F, IMAGE_BINARY_BG}) {
        const auto raised = Raised<CException>([&] { DispatchedName(type); });
        EXPECT_STREQ(raised.Source(), "Copy");
        EXPECT_EQ(std::string(raised.Message()),
                  std::string("Image type ") + type.ToString() + " not supported.");
    }
}

TEST(StoreMinMax, StoresMinimumThenMaximumAsMetadata) {
    const auto image = test::ImageOf<float>(IMAGE_GREY_F, CSize(3, 1), {2.5F, -7.25F, 1e30F});
    HostProgress host;
    const CapturedOutput silence;
    const auto extrema = StoreMinMax(*image, "Finding extremal values");
    EXPECT_EQ(StoredMinMax(*image), std::pair(-7.25, static_cast<double>(1e30F)));
    EXPECT_EQ(extrema.minimum, -7.25F);
    EXPECT_EQ(extrema.maximum, 1e30F);
    EXPECT_EQ(host.texts, std::vector<std::string>{"Finding extremal values"});
}

TEST(StoreMinMax, ReplacesWhatWasStoredBefore) {
    const auto image = test::ImageOf<float>(IMAGE_GREY_F, CSize(2, 1), {1, 2});
    const CapturedOutput silence;
    StoreMinMax(*image);
    visitors::CInitializer<float> fill(5);
    CPointOperations(nullptr, nullptr).Visit(fill, *image);
    StoreMinMax(*image);
    EXPECT_EQ(StoredMinMax(*image), std::pair(5.0, 5.0));
}

TEST(StoreMinMax, RaisesForAnImageOfOtherPixels) {
    const auto image = test::ImageOf<unsigned int>(IMAGE_GREY_32, CSize(2, 1), {1, 2});
    const CapturedOutput silence;
    EXPECT_THROW(StoreMinMax(*image), CException);
}
