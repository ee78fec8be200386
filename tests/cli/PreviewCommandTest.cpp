#include "cli/CCommandError.h"
#include "support/FileTools.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueString.h>

#include <gtest/gtest.h>

#include <array>

namespace engine::test {

namespace {

using namespace cli;
using namespace ORVEN;

class PreviewCommandTest : public testing::Test {
protected:
    /// The width and height of the picture that the options make.
    [[nodiscard]] std::array<int, 2> SizeOf(const std::string& file, std::vector<std::string> options) const {
        options.insert(options.begin(), {"preview", file, "-o", picture});
        const ::test::StEnd end = ::test::Quillon(options);
        EXPECT_EQ(end.status, STATUS_DONE) << end.err;
        const std::string png = ReadText(picture);
        const auto number = [&](std::size_t at) {
            return static_cast<unsigned char>(png.at(at + 2)) * 256 +
                   static_cast<unsigned char>(png.at(at + 3));
        };
        return {number(16), number(20)};
    }

    void ExpectError(std::vector<std::string> options, const std::string& message) const {
        options.insert(options.begin(), {"preview", volume, "-o", picture});
        const ::test::StEnd end = ::test::Quillon(options);
        EXPECT_EQ(end.status, STATUS_USAGE);
        EXPECT_EQ(end.err, "quillon: " + message + "\n");
        EXPECT_FALSE(std::filesystem::exists(picture));
    }

    CTestFolder folder;
    const std::string volume = DataFile("lung_ct_crop_u16.mha");
    const std::string picture = folder / "a.png";
};

} // namespace

TEST_F(PreviewCommandTest, IsThePlainPictureUnlessMoreIsAskedFor) {
    EXPECT_EQ(SizeOf(volume, {}), (std::array{288, 288}));
    EXPECT_EQ(SizeOf(volume, {"--window", "100:1200"}), (std::array{288, 288}));
    EXPECT_EQ(SizeOf(volume, {"--window", "400", "--level", "1000"}), (std::array{288, 288}));
    EXPECT_EQ(SizeOf(volume, {"--depth", "--axis", "y"}), SizeOf(volume, {"--mip", "--axis", "y"}));
}

TEST_F(PreviewCommandTest, DrawsBarsOutsideOfThePicture) {
    const auto withScale = SizeOf(volume, {"--scale-bar"});
    EXPECT_GT(withScale[0], 288);
    EXPECT_GT(withScale[1], 288 + 20);
    EXPECT_GT(SizeOf(volume, {"--colour-bar"})[0], withScale[0] + 20);
    EXPECT_EQ(SizeOf(volume, {"--color-bar"}), SizeOf(volume, {"--colour-bar"}));
    EXPECT_GT(SizeOf(volume, {"--figure"})[0], 768) << "a figure is large enough for print";
}

TEST_F(PreviewCommandTest, PutsSeveralPlanesSideBySide) {
    EXPECT_EQ(SizeOf(volume, {"--slices", "4"}), (std::array{2 * 288 + 4, 2 * 288 + 4}));
    EXPECT_EQ(SizeOf(volume, {"--slices", "0,23"}), (std::array{2 * 288 + 4, 288}));
}

TEST_F(PreviewCommandTest, ReadsThePlanesItShowsOnly) {
    // 4 TB, of which the file system stores nothing.
    std::ofstream(folder / "a.nrrd") << "NRRD0004\ntype: uint8\ndimension: 3\nsizes: 64 48 1431655765\n"
                                        "encoding: raw\ndata file: a.raw\n\n";
    std::ofstream(folder / "a.raw") << "";
    std::filesystem::resize_file(folder / "a.raw", std::uintmax_t{64 * 48} * 1431655765);
    EXPECT_EQ(SizeOf(folder / "a.nrrd", {"--slice", "1000000000"}), SizeOf(folder / "a.nrrd", {}));
    EXPECT_GT(SizeOf(folder / "a.nrrd", {"--slices", "5,9,7", "--figure"})[0], 0);
}

TEST_F(PreviewCommandTest, OverlaysAMask) {
    const auto mask = RandomImage(IMAGE_BINARY_FG, CSize(48, 48, 24), 1);
    WriteImage(*mask, folder / "mask.nrrd");
    EXPECT_EQ(SizeOf(volume, {"--overlay", folder / "mask.nrrd", "--slice", "3"}), (std::array{288, 288}));
    ExpectUnreadable(picture, "it has 3 channels");
}

TEST_F(PreviewCommandTest, NamesTheSidesOfAPatient) {
    const auto image = RandomImage(IMAGE_GREY_8, CSize(4, 4, 4), 1);
    image->Attributes().SetEntry("space", new CValueString("LPS", CString::NPOS));
    WriteImage(*image, folder / "head.nrrd");
    EXPECT_GT(SizeOf(folder / "head.nrrd", {"--letters"})[0], 256);
    EXPECT_EQ(SizeOf(folder / "head.nrrd", {}), (std::array{256, 256}));
}

TEST_F(PreviewCommandTest, SaysInOneLineWhatIsWrong) {
    ExpectError({"--window", "5"}, "--window 5: a width needs --level; or give two grey values as FROM:TO");
    ExpectError({"--window", "a:5"},
                "--window a:5: give two grey values as FROM:TO, or a width together with --level");
    ExpectError({"--window", "1:2:3"},
                "--window 1:2:3: give two grey values as FROM:TO, or a width together with --level");
    ExpectError({"--window", "5:5"}, "--window 5:5: FROM must be less than TO");
    ExpectError({"--window", "-5", "--level", "1"}, "--window -5: a width must be above 0");
    ExpectError({"--window", "1:2", "--level", "1"},
                "--window 1:2: --level goes with a width, not with FROM:TO");
    ExpectError({"--level", "3"}, "--level needs --window WIDTH");
    ExpectError({"--window", "1:2", "--labels"}, "--labels excludes --window (see 'quillon preview --help')");
    ExpectError({"--slices", "25"},
                "--slices 25: '" + volume + "' has 24 planes on axis z; show 1 to 24 of them");
    ExpectError({"--slices", "0"},
                "--slices 0: '" + volume + "' has 24 planes on axis z; show 1 to 24 of them");
    ExpectError({"--slices", "1,24"}, "--slices 24: '" + volume + "' has the planes 0 to 23 on axis z");
    ExpectError({"--slices", "few"}, "--slices few: give the number of planes, or their indices as A,B,C");
    ExpectError({"--slices", "2", "--mip"}, "--slices excludes --mip (see 'quillon preview --help')");
    ExpectError({"--letters"}, "--letters: '" + volume + "' does not state the directions of a patient");
    ExpectError({"--overlay", DataFile("page.png")},
                "the overlay has 384 x 191 pixels, the image 48 x 48 x 24; they must have the same size");
    const std::string page = DataFile("page.png");
    const ::test::StEnd plane = ::test::Quillon({"preview", page, "-o", picture, "--depth"});
    EXPECT_EQ(plane.err, "quillon: --depth: '" + page + "' has one plane on axis z\n");
}

} // namespace engine::test
