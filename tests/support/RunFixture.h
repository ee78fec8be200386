#pragma once

#include "engine/files/ImageFile.h"
#include "support/CommandLine.h"
#include "support/TestImage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace test {

/// Runs of the program on an image of its own, 4 x 3 pixels of 8 bits, by default with the test pack.
class RunFixture : public testing::Test {
protected:
    RunFixture() {
        engine::WriteImage(*ImageOf<std::uint8_t>(ORVEN::IMAGE_GREY_8, {4, 3},
                                                  {0, 1, 2, 3, 50, 60, 70, 80, 252, 253, 254, 255}),
                           image);
    }

    [[nodiscard]] std::vector<std::string> Words(const std::string& plugin,
                                                 std::vector<std::string> options = {}) const {
        options.insert(options.begin(), {"run", plugin, image, "--pack", QUILLON_TEST_PACK});
        return options;
    }

    [[nodiscard]] StEnd Run(const std::string& plugin, const std::vector<std::string>& options = {}) const {
        return Quillon(Words(plugin, options));
    }

    /// One line for a person that contains the part, and no more.
    static void ExpectOneErrorLine(const StEnd& end, const std::string& part) {
        EXPECT_EQ(end.err.rfind("quillon: ", 0), 0u) << end.err;
        EXPECT_EQ(std::count(end.err.begin(), end.err.end(), '\n'), 1) << end.err;
        EXPECT_NE(end.err.find(part), std::string::npos) << end.err;
    }

    CTestFolder folder;
    const std::string image = folder / "in.nrrd";
};

} // namespace test
