#include "support/CMemoryLimit.h"
#include "support/FileTools.h"

using namespace ORVEN;

// Files that lie, end too early or are full of wrong bytes: whatever stands in them, reading ends well or
// with one line and status 4, and never takes memory that the file has no bytes for.

namespace engine::test {

namespace {

/// Reads the file, which may hold anything; answers whether it could be read.
bool ReadAnything(const std::string& path) {
    const ::test::CMemoryLimit limit(std::int64_t{1} << 30);
    const StCallEnd end = EndOf([&] { (void)ReadImage(path); });
    if (!end.fault)
        return true;
    EXPECT_EQ(end.fault, EnFault::FILE);
    EXPECT_TRUE(end.message.starts_with("cannot read '")) << end.message;
    EXPECT_EQ(end.message.find('\n'), std::string::npos) << end.message;
    EXPECT_EQ(end.message.find("not enough memory"), std::string::npos) << end.message;
    return false;
}

struct StFormat {
    const char* name;
    IImage::CType type;
    CSize size;
};

/// A small file of each kind, with pixels that do not pack and pixels that do.
const std::array c_formats = {
    StFormat{"a.nrrd", IMAGE_GREY_16, CSize(9, 8, 7)},  StFormat{"zeros.nrrd", IMAGE_GREY_16, CSize(9, 8, 7)},
    StFormat{"a.mha", IMAGE_GREY_32, CSize(9, 8, 7)},   StFormat{"a.nii", IMAGE_GREY_F, CSize(9, 8, 7)},
    StFormat{"a.nii.gz", IMAGE_GREY_8, CSize(9, 8, 7)}, StFormat{"a.tif", IMAGE_GREY_16, CSize(9, 8, 7)},
    StFormat{"a.png", IMAGE_GREY_16, CSize(30, 20)},
};

void WriteSample(const StFormat& format, const std::string& path) {
    if (std::string(format.name).starts_with("zeros"))
        WriteImage(CImage(format.type, format.size, CSize(0, 0, 0)), path);
    else
        WriteImage(*RandomImage(format.type, format.size, 1), path);
    std::filesystem::remove(path + ".attributes.json");
}

const std::array<const char*, 5> c_realFiles = {"lung_ct_crop_u16.mha", "fibres_polymer_crop_f32.tif",
                                                "shell_crop_stack.tif", "brain_mri_crop.nii.gz", "page.png"};

void ExpectTruncationsRefused(const std::string& contents, const std::string& path, std::size_t fineUpTo,
                              std::size_t coarseStep) {
    for (std::size_t length = 0; length < contents.size(); length += length < fineUpTo ? 3 : coarseStep) {
        SCOPED_TRACE(length);
        Store(path, contents.substr(0, length));
        EXPECT_FALSE(ReadAnything(path));
    }
    Store(path, contents.substr(0, contents.size() - 1));
    EXPECT_FALSE(ReadAnything(path)) << "without its last byte";
}

} // namespace

TEST(DamagedFile, RefusesEmptyTextAndOtherFiles) {
    const CTestFolder folder;
    for (const std::string name : {"a.nrrd", "a.mha", "a.nii", "a.nii.gz", "a.tif", "a.png", "a.txt"}) {
        SCOPED_TRACE(name);
        Store(folder / name, "");
        ExpectUnreadable(folder / name, "it is empty");
        Store(folder / name, "just some text\nin two lines\n");
        ExpectUnreadable(folder / name, "it is not a NRRD, MetaImage, NIfTI, TIFF or PNG file");
        Store(folder / name, std::string("\x1f\x8b\x08\0\0\0", 6));
        ExpectUnreadable(folder / name, "it is not a NRRD");
    }
    ExpectUnreadable(folder / "none.nrrd", "No such file or directory");
    ExpectUnreadable(folder / "", "it is a folder without DICOM slices");
    ExpectUnreadable("/dev/zero", "it is not a regular file");
}

TEST(DamagedFile, RefusesFilesThatEndTooEarly) {
    for (const StFormat& format : c_formats) {
        SCOPED_TRACE(format.name);
        const CTestFolder folder;
        WriteSample(format, folder / format.name);
        const std::string contents = ReadText(folder / format.name);
        ASSERT_TRUE(ReadAnything(folder / format.name));
        ExpectTruncationsRefused(contents, folder / format.name, 600, 101);
    }
}

TEST(DamagedFile, RefusesRealFilesThatEndTooEarly) {
    for (const char* const name : c_realFiles) {
        SCOPED_TRACE(name);
        const CTestFolder folder;
        const std::string contents = ReadText(DataFile(name));
        ExpectTruncationsRefused(contents, folder / name, 0, contents.size() / 40 + 1);
    }
}

TEST(DamagedFile, RefusesAnnouncedSizesThatTheDataCannotHave) {
    const CTestFolder folder;
    const std::string path = folder / "a.nrrd";
    const auto nrrd = [&](const std::string& sizes, const std::string& encoding,
                          const std::string& more = "") {
        Store(path, "NRRD0004\ntype: uint8\ndimension: 3\nsizes: " + sizes + "\nencoding: " + encoding +
                        "\n" + more + "\n0123456789");
        EXPECT_FALSE(ReadAnything(path)) << sizes << " " << encoding << " " << more;
    };
    for (const std::string sizes :
         {"100000 100000 100000", "1099511627776 1099511627776 1", "9223372036854775807 2 2", "0 1 1",
          "-1 -10 1", "-1 10 -1", "10 1", "10 1 1 1", "", "x 1 1", "99999999999999999999 1 1",
          "4294967296 4294967296 1", "3 3 3"}) {
        for (const std::string encoding : {"raw", "gzip", "ascii", "hex", "bzip2", "rot13", ""})
            nrrd(sizes, encoding);
    }
    nrrd("10 1 1", "raw", "byte skip: 1\n");
    nrrd("10 1 1", "raw", "byte skip: -2\n");
    nrrd("10 1 1", "raw", "byte skip: 99999999999999999999\n");
    nrrd("10 1 1", "raw", "kinds: domain\n");
    nrrd("10 1 1", "raw", "data file: /dev/zero\n");
    nrrd("10 1 1", "raw", "data file: ../../nothing\n");
}

TEST(DamagedFile, RefusesLyingMetaImages) {
    const CTestFolder folder;
    const std::string path = folder / "a.mha";
    const auto meta = [&](const std::string& lines) {
        Store(path, "ObjectType = Image\n" + lines +
                        "ElementType = MET_UCHAR\nElementDataFile = LOCAL\n0123456789");
        EXPECT_FALSE(ReadAnything(path)) << lines.substr(0, 80);
    };
    meta("NDims = 3\nDimSize = 100000 100000 100000\n");
    meta("NDims = 3\nDimSize = 0 1 1\n");
    meta("NDims = 3\nDimSize = -10 1 -1\n");
    meta("NDims = 3\nDimSize = 10 1\n");
    meta("NDims = 99\nDimSize = 10\n");
    meta("NDims = -1\nDimSize = 10\n");
    meta("NDims = 2\nDimSize = 10 2147483648\nCompressedData = True\nCompressedDataSize = 99999999999\n");
    meta("NDims = 2\nDimSize = 10 1\nCompressedData = True\nCompressedDataSize = -5\n");
    meta("NDims = 2\nDimSize = 10 1\nCompressedData = True\n");
    meta("NDims = 2\nDimSize = 10 1\nElementNumberOfChannels = 1000000\n");
    meta("NDims = 2\nDimSize = 10 1\nElementSpacing = 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1\n");
    meta("NDims = 2\nDimSize = 10 1\nComment = " + std::string(2000000, 'x') + "\n");
}

TEST(DamagedFile, RefusesPagesOfUnequalSize) {
    const CTestFolder folder;
    WriteImage(*RandomImage(IMAGE_GREY_8, CSize(9, 8, 2), 1), folder / "a.tif");
    std::string contents = ReadText(folder / "a.tif");
    // The last entry of that tag is the second page's: tag 256 (width), a 16-bit number, one of them, 9.
    const std::string width("\0\x01\x03\0\x01\0\0\0\x09\0", 10);
    const auto place = contents.rfind(width);
    ASSERT_NE(place, std::string::npos);
    contents[place + 8] = 8;
    Store(folder / "a.tif", contents);
    std::filesystem::remove(folder / "a.tif.attributes.json");
    ExpectUnreadable(folder / "a.tif",
                     "its pages differ: page 1 is 9 x 8 of 8 bits, page 2 is 8 x 8 of 8 bits");
}

TEST(DamagedFile, RefusesPagesThatNoFileCanHold) {
    const CTestFolder folder;
    WriteImage(*RandomImage(IMAGE_GREY_8, CSize(9, 8, 2), 1), folder / "a.tif");
    std::string contents = ReadText(folder / "a.tif");
    // Width, height and samples a pixel of the first page: tag, kind of number, how many, number.
    const auto set = [&](char tag, char kind, std::uint32_t number) {
        const auto place = contents.find(std::string({tag, '\x01', '\x03', '\0', '\x01', '\0', '\0', '\0'}));
        ASSERT_NE(place, std::string::npos);
        contents[place + 2] = kind;
        std::memcpy(contents.data() + place + 8, &number, 4);
    };
    set(0, 4, 0xffffffff);
    set(1, 4, 0xffffffff);
    Store(folder / "a.tif", contents);
    EXPECT_FALSE(ReadAnything(folder / "a.tif"));
    set(0x15, 3, 0xffff);
    Store(folder / "a.tif", contents);
    ExpectUnreadable(folder / "a.tif", "cannot read");
}

TEST(DamagedFile, SurvivesRandomBytesInTheFirst512) {
    for (const StFormat& format : c_formats) {
        const CTestFolder folder;
        WriteSample(format, folder / format.name);
        const std::string contents = ReadText(folder / format.name);
        for (unsigned seed = 0; seed < 300; ++seed) {
            SCOPED_TRACE(std::string(format.name) + " seed " + std::to_string(seed));
            std::mt19937 random(seed);
            std::string damaged = contents;
            for (auto flips = 1 + random() % 6; flips > 0; --flips)
                damaged[random() % std::min<std::size_t>(damaged.size(), 512)] = static_cast<char>(random());
            Store(folder / format.name, damaged);
            ReadAnything(folder / format.name);
        }
    }
}

TEST(DamagedFile, SurvivesRandomDigitsInTextHeaders) {
    for (const StFormat& format : c_formats) {
        const CTestFolder folder;
        WriteSample(format, folder / format.name);
        const std::string contents = ReadText(folder / format.name);
        for (unsigned seed = 0; seed < 200; ++seed) {
            SCOPED_TRACE(std::string(format.name) + " seed " + std::to_string(seed));
            std::mt19937 random(seed);
            std::string damaged = contents;
            for (std::size_t i = 0; i < std::min<std::size_t>(damaged.size(), 512); ++i) {
                if (damaged[i] >= '0' && damaged[i] <= '9' && random() % 4 == 0)
                    damaged[i] = "0123456789-. "[random() % 13];
            }
            Store(folder / format.name, damaged);
            ReadAnything(folder / format.name);
        }
    }
}

TEST(DamagedFile, SurvivesRandomBytesAnywhereInRealFiles) {
    for (const char* const name : c_realFiles) {
        const CTestFolder folder;
        const std::string contents = ReadText(DataFile(name));
        for (unsigned seed = 0; seed < 40; ++seed) {
            SCOPED_TRACE(std::string(name) + " seed " + std::to_string(seed));
            std::mt19937 random(seed);
            std::string damaged = contents;
            for (auto flips = 1 + random() % 20; flips > 0; --flips)
                damaged[random() % damaged.size()] = static_cast<char>(random());
            Store(folder / name, damaged);
            ReadAnything(folder / name);
        }
    }
}

TEST(DamagedFile, NoticesDamageInsidePackedPixels) {
    for (const std::string name : {"a.nrrd", "a.nii.gz", "a.png"}) {
        const CTestFolder folder;
        const bool isPlane = name == "a.png";
        auto image = RandomImage(IMAGE_BINARY_FG, isPlane ? CSize(40, 40) : CSize(20, 20, 20), 5);
        WriteImage(*image, folder / name);
        const std::string contents = ReadText(folder / name);
        for (unsigned seed = 0; seed < 60; ++seed) {
            SCOPED_TRACE(name + " seed " + std::to_string(seed));
            std::mt19937 random(seed);
            std::string damaged = contents;
            const std::size_t place = contents.size() / 2 + random() % (contents.size() / 2 - 20);
            damaged[place] = static_cast<char>(damaged[place] ^ (1 + random() % 255));
            Store(folder / name, damaged);
            // A few changes of packed data unpack to the same bytes.
            if (ReadAnything(folder / name)) {
                EXPECT_TRUE(PixelBytes(*ReadImage(folder / name, image->Type())) == PixelBytes(*image));
            }
        }
    }
}

TEST(DamagedFile, PrintsNothingItself) {
    const CTestFolder folder;
    for (const StFormat& format : c_formats) {
        WriteSample(format, folder / format.name);
        const std::string contents = ReadText(folder / format.name);
        Store(folder / format.name, contents.substr(0, contents.size() * 3 / 4));
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        EndOf([&] { (void)ReadImage(folder / format.name); });
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << format.name;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << format.name;
    }
}

} // namespace engine::test
