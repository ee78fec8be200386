#include "engine/files/ImageFileName.h"
#include "support/FileTools.h"

#include <sorblib2image/CQuillonHeaderTools.h>

using namespace ORVEN;
using ::test::Quillon;

// An image file can have companions: NAME.raw with the pixels of NAME.mhd, NAME.attributes.json with what a
// format has no place for. Files that only happen to have such a name are not touched.

namespace engine::test {

namespace {

/// An image that needs no side file in a format of that name. NIfTI always states a spacing.
std::unique_ptr<CImage> PlainImage(const std::string& name = "") {
    auto image = ImageOf<std::uint8_t>(IMAGE_GREY_8, CSize(4, 3), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    if (name.find(".nii") != std::string::npos)
        CQuillonHeaderTools::SetSpacing(*image, 1, 1, 1);
    return image;
}

std::unique_ptr<CImage> ImageWithHistory() {
    auto image = PlainImage();
    CQuillonHeaderTools::AddToHistory(*image, "Step()", 0);
    return image;
}

/// Asserts that the image cannot be written, and that nothing in the folder changes.
void ExpectRefused(const CTestFolder& folder, const std::string& name, const std::string& inTheWay) {
    SCOPED_TRACE(name);
    const std::vector<std::string> names = folder.Names();
    const std::string before = ReadText(folder / inTheWay);
    for (const auto& image : {PlainImage(), ImageWithHistory()}) {
        const StCallEnd end = EndOf([&] { WriteImage(*image, folder / name); });
        EXPECT_EQ(end.fault, EnFault::FILE);
        EXPECT_EQ(end.message,
                  "cannot write '" + (folder / name) + "': it would replace '" + (folder / inTheWay) +
                      "', which does not belong to it; remove that file, or choose another name");
    }
    EXPECT_EQ(folder.Names(), names);
    EXPECT_EQ(ReadText(folder / inTheWay), before);
}

} // namespace

TEST(Companions, PixelsThatAnotherHeaderNamesAreNotReplaced) {
    const CTestFolder folder;
    Store(folder / "scan.nhdr", "NRRD0004\ntype: uint8\ndimension: 2\nsizes: 4 3\nencoding: raw\n"
                                "data file: scan.raw\n\n");
    Store(folder / "scan.raw", "abcdefghijkl");
    ExpectRefused(folder, "scan.mhd", "scan.raw");
    ExpectRefused(folder, "scan.MHD", "scan.raw");
    EXPECT_EQ(PixelBytes(*ReadImage(folder / "scan.nhdr")), "abcdefghijkl");
    const ::test::StEnd end =
        Quillon({"convert", folder / "scan.nhdr", folder / "scan.mhd", "--as", "grey16"});
    EXPECT_EQ(end.status, 4) << end.err;
    EXPECT_EQ(ReadText(folder / "scan.raw"), "abcdefghijkl");
}

TEST(Companions, PixelsThatTheReplacedHeaderDoesNotNameAreNotReplaced) {
    const CTestFolder folder;
    Store(folder / "scan.raw", "somebody's");
    Store(folder / "other.raw", "abcdefghijkl");
    Store(folder / "scan.mhd", "NDims = 2\nDimSize = 4 3\nElementType = MET_UCHAR\n"
                               "ElementDataFile = other.raw\n");
    ExpectRefused(folder, "scan.mhd", "scan.raw");
    Store(folder / "scan.mhd", "no header at all");
    ExpectRefused(folder, "scan.mhd", "scan.raw");
    std::filesystem::remove(folder / "scan.mhd");
    std::filesystem::remove(folder / "scan.raw");
    std::filesystem::create_directory(folder / "scan.raw");
    EXPECT_EQ(EndOf([&] { WriteImage(*PlainImage(), folder / "scan.mhd"); }).fault, EnFault::FILE);
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"other.raw", "scan.raw"}));
}

TEST(Companions, PixelsThatTheReplacedHeaderNamesAreReplaced) {
    const CTestFolder folder;
    const std::string own = std::filesystem::path(folder / "x").parent_path().filename();
    for (const std::string& name :
         std::vector<std::string>{"scan.raw", "./scan.raw", "../" + own + "/scan.raw"}) {
        SCOPED_TRACE(name);
        Store(folder / "scan.raw", "abcdefghijkl");
        Store(folder / "scan.mhd",
              "NDims = 2\nDimSize = 4 3\nElementType = MET_UCHAR\nElementDataFile = " + name + "\n");
        WriteImage(*PlainImage(), folder / "scan.mhd");
        ExpectSameImage(*ReadImage(folder / "scan.mhd"), *PlainImage());
    }
    WriteImage(*ImageWithHistory(), folder / "scan.mhd");
    ExpectSameImage(*ReadImage(folder / "scan.mhd"), *ImageWithHistory());
    // What its header names, however damaged, is its own.
    Store(folder / "scan.raw", "short");
    WriteImage(*PlainImage(), folder / "scan.mhd");
    ExpectSameImage(*ReadImage(folder / "scan.mhd"), *PlainImage());
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"scan.mhd", "scan.raw"}));
}

TEST(Companions, AttributesOfSomebodyElseAreNeitherReplacedNorRemoved) {
    for (const std::string name : {"a.mha", "a.mhd", "a.nii", "a.nii.gz", "a.tif", "a.tiff", "a.png"}) {
        const CTestFolder folder;
        const std::string side = name + ".attributes.json";
        for (const std::string contents : {"{\"mine\": 1}", "[]", "notes", ""}) {
            Store(folder / side, contents);
            ExpectRefused(folder, name, side); // no image there
            Store(folder / name, "whatever");
            ExpectRefused(folder, name, side); // an image to be replaced
            std::filesystem::remove(folder / name);
        }
        std::filesystem::remove(folder / side);
        // Ours, but of an image that is not there.
        WriteImage(*ImageWithHistory(), folder / name);
        ASSERT_TRUE(std::filesystem::exists(folder / side));
        std::filesystem::rename(folder / name, folder / "moved");
        if (name == "a.mhd")
            std::filesystem::remove(folder / "a.raw");
        ExpectRefused(folder, name, side);
    }
}

TEST(Companions, AttributesOfTheReplacedImageAreReplacedAndRemoved) {
    for (const std::string name : {"a.mha", "a.mhd", "a.nii", "a.nii.gz", "a.tif", "a.png"}) {
        SCOPED_TRACE(name);
        const CTestFolder folder;
        const std::string side = name + ".attributes.json";
        WriteImage(*ImageWithHistory(), folder / name);
        WriteImage(*ImageWithHistory(), folder / name);
        ExpectSameImage(*ReadImage(folder / name), *ImageWithHistory());
        WriteImage(*PlainImage(name), folder / name);
        EXPECT_FALSE(std::filesystem::exists(folder / side));
    }
}

TEST(Companions, NrrdHasNone) {
    const CTestFolder folder;
    Store(folder / "a.nrrd.attributes.json", "somebody's");
    Store(folder / "a.raw", "somebody's");
    WriteImage(*ImageWithHistory(), folder / "a.nrrd");
    EXPECT_EQ(ReadText(folder / "a.nrrd.attributes.json"), "somebody's");
    EXPECT_EQ(ReadText(folder / "a.raw"), "somebody's");
}

TEST(Companions, AreThoseOfTheFileThatALinkLeadsTo) {
    const CTestFolder folder;
    std::filesystem::create_directory(folder / "real");
    WriteImage(*PlainImage(), folder / "real/a.mhd");
    std::filesystem::create_symlink("real/a.mhd", folder / "b.mhd");
    Store(folder / "b.raw", "somebody's");
    WriteImage(*ImageWithHistory(), folder / "b.mhd");
    EXPECT_EQ(ReadText(folder / "b.raw"), "somebody's");
    ExpectSameImage(*ReadImage(folder / "real/a.mhd"), *ImageWithHistory());
}

TEST(SideFileName, IsTheImagesWithAnEndingUpToTheLongestName) {
    EXPECT_EQ(SideFileName("vol.tif"), "vol.tif.attributes.json");
    const std::string longest(239, 'a');
    EXPECT_EQ(SideFileName(longest), longest + ".attributes.json");
    const std::string first = SideFileName(longest + "b");
    EXPECT_EQ(first.size(), 255u);
    EXPECT_TRUE(first.starts_with(std::string(200, 'a')) && first.ends_with(".attributes.json")) << first;
    EXPECT_NE(first, SideFileName(longest + "c"));
    EXPECT_EQ(first, SideFileName(longest + "b"));
}

TEST(SideFileName, LetsImagesOfTheLongestNamesKeepTheirAttributes) {
    const CTestFolder folder;
    for (const std::string ending : {".nrrd", ".mha", ".mhd", ".nii", ".nii.gz", ".tif", ".tiff", ".png"}) {
        for (const std::size_t length : {239u, 240u, 255u}) {
            const std::string name = std::string(length - ending.size(), 'n') + ending;
            SCOPED_TRACE(ending + " " + std::to_string(length));
            WriteImage(*ImageWithHistory(), folder / name);
            ExpectSameImage(*ReadImage(folder / name), *ImageWithHistory());
            WriteImage(*PlainImage(name), folder / name);
            ExpectSameImage(*ReadImage(folder / name), *PlainImage(name));
            std::filesystem::remove(folder / name);
            if (ending == ".mhd") // for .raw to be free for the next length
                std::filesystem::remove(folder / DataFileName(name));
        }
    }
    EXPECT_EQ(folder.Names(), std::vector<std::string>());
}

} // namespace engine::test
