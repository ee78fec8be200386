#include "distance/IsotropicPixels.h"

#include <sorblib2core/CException.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

using namespace ORVEN;

/// What is raised for an image of that size and spacing; "nothing" if it passes.
std::string Refusal(const CSize& size, double x, double y, double z) {
    CImage image(IMAGE_GREY_8, size, CSize(0, 0, 0));
    CQuillonHeaderTools::SetSpacing(image, x, y, z);
    try {
        quillon::RequireIsotropicPixels(image, "SomePlugin");
    } catch (const CException& raised) {
        return std::string(raised.Source()) + ": " + raised.Message();
    }
    return "nothing";
}

const CSize c_flat(2, 2);
const CSize c_volume(2, 2, 2);

TEST(RequireIsotropicPixels, AcceptsAnImageWithoutSpacing) {
    EXPECT_NO_THROW(quillon::RequireIsotropicPixels(CImage(IMAGE_GREY_8, c_volume, CSize(0, 0, 0)), ""));
}

TEST(RequireIsotropicPixels, AcceptsEqualLengthsOfAnyValue) {
    EXPECT_EQ(Refusal(c_volume, 0.25, 0.25, 0.25), "nothing");
    EXPECT_EQ(Refusal(c_flat, 3e-6, 3e-6, 3e-6), "nothing");
}

TEST(RequireIsotropicPixels, Names3LengthsIn3Dimensions) {
    EXPECT_EQ(Refusal(c_volume, 1, 1, 2), "SomePlugin: Only isotropic pixels are supported, but spacing is "
                                          "(1.000000,1.000000,2.000000).");
    EXPECT_EQ(Refusal(c_volume, 1, 2, 2), "SomePlugin: Only isotropic pixels are supported, but spacing is "
                                          "(1.000000,2.000000,2.000000).");
}

TEST(RequireIsotropicPixels, Names2LengthsIn2DimensionsAndIgnoresTheThird) {
    EXPECT_EQ(Refusal(c_flat, 1, 2, 1), "SomePlugin: Only isotropic pixels are supported, but spacing is "
                                        "(1.000000,2.000000).");
    EXPECT_EQ(Refusal(c_flat, 1, 1, 2), "nothing");
}

TEST(RequireIsotropicPixels, ComparesWithoutTolerance) {
    EXPECT_EQ(
        Refusal(c_volume, 1, 1, 1 + std::numeric_limits<double>::epsilon()),
        "SomePlugin: Only isotropic pixels are supported, but spacing is (1.000000,1.000000,1.000000).");
}

TEST(RequireIsotropicPixels, TreatsNaNAsDifferent) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(Refusal(c_flat, nan, nan, nan),
              "SomePlugin: Only isotropic pixels are supported, but spacing is (nan,nan).");
}

} // namespace
