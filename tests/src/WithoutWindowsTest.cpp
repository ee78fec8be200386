// Plug-ins with dialogs, in a host that has no windows: this binary has no application.

#include "support/PackHost.h"
#include "support/Raised.h"

#include <sorblib2core/CException.h>
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

} // namespace
