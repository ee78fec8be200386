// Plug-ins with dialogs, in a host that has no windows: this binary has no application.

#include "support/PackHost.h"
#include "support/Raised.h"
#include "support/TraversalTools.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CValuePointer.h>
#include <sorblib2image/CImage.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using namespace ORVEN;

TEST(WithoutWindows, LocalFiberDirectionsDialogRaisesAndDoesNotEndTheProgram) {
    test::CPackHost host(std::make_unique<CImage>(IMAGE_GREY_8, CSize(4, 3), CSize(0, 0, 0)));
    const auto plugin = test::CreatePlugin("LocalFiberDirectionsDialog");
    testing::internal::CaptureStderr();
    const auto raised = test::Raised<CException>([&] { host.Run(*plugin); });
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "CLocalFiberDirectionsDialogPlugin::GetData caught A dialog cannot be shown by a host without "
              "windows.\n");
    EXPECT_STREQ(raised.Source(), "CLocalFiberDirectionsDialogPlugin");
    EXPECT_FALSE(host.Tree().HasEntry("parameters"));
}

/// What "PointwiseRelation" raises for an image and another one.
CException RelationRefusal(const IImage::CType& type, CImage& second) {
    test::CPackHost host(std::make_unique<CImage>(type, CSize(4, 3), CSize(0, 0, 0)));
    host.Set("Image2", new CValuePointer<CImage>(&second, 1));
    const auto plugin = test::CreatePlugin("PointwiseRelation");
    const test::CapturedOutput silence;
    return test::Raised<CException>([&] { host.Run(*plugin); });
}

TEST(WithoutWindows, PointwiseRelationRefusesImagesInItsOwnWords) {
    CImage second(IMAGE_COMPLEX_F, CSize(4, 3), CSize(0, 0, 0));
    const CException raised = RelationRefusal(IMAGE_COMPLEX_F, second);
    EXPECT_STREQ(raised.Source(), "GetRelationStringGrayvalues");
    EXPECT_STREQ(raised.Message(), "Image type IMAGE_COMPLEX_F not supported.");
}

TEST(WithoutWindows, PointwiseRelationComparesBeforeItMissesAWindow) {
    CImage second(IMAGE_GREY_8, CSize(4, 3), CSize(0, 0, 0));
    const test::HostProgress progress;
    const CException raised = RelationRefusal(IMAGE_GREY_8, second);
    EXPECT_EQ(progress.steps, 12);
    EXPECT_STREQ(raised.Source(), "PointwiseRelation");
    EXPECT_STREQ(raised.Message(), "A dialog cannot be shown by a host without windows.");
}

} // namespace
