#include "engine/files/ImageFile.h"
#include "engine/files/ImageWords.h"

#include "support/FileTools.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValuePointer.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/StImageGeometry.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <array>
#include <cmath>
#include <csignal>
#include <limits>
#include <locale>

using namespace ORVEN;

namespace engine::test {

namespace {

const std::array c_types = {IMAGE_BINARY_FG, IMAGE_BINARY_BG, IMAGE_GREY_8,
                            IMAGE_GREY_16,   IMAGE_GREY_32,   IMAGE_GREY_F};
const std::array<std::string, 7> c_volumeNames = {"v.nrrd",   "v.mha", "v.mhd", "v.nii",
                                                  "v.nii.gz", "v.tif", "v.TIFF"};

/// Attributes of every kind and with every character that has broken a file format before.
void GiveAttributes(CImage& image) {
    CQuillonHeaderTools::SetSpacing(image, 0.1, 1.0 / 3.0, 2.5e-7);
    CQuillonHeaderTools::AddToHistory(image, "Gau\xc3\x9f \"filter\"\\n(\xc3\xa4, 1.5)\r\n:= # second line",
                                      0);
    CQuillonHeaderTools::AddToHistory(image, "", 0);
    CQuillonHeaderTools::AddToHistory(image, "byte \xff", 0);
    CQuillonHeaderTools::SetNumberOfLabels(image, 4294967296);
    CQuillonHeaderTools::SetMaxDistance(image, std::numeric_limits<double>::infinity());
    CQuillonHeaderTools::SetMetaInfo(image, "MinMax",
                                     CValueVector(new CValueDouble(-0.0), new CValueDouble(3.0)));
    CValueMap feature;
    feature.SetEntry("inner/deep", new CValueBool(false));
    feature.SetEntry("count", new CValueLong(-2147483647));
    CQuillonHeaderTools::SetFeatures(image, "Granulometry", feature);
}

std::unique_ptr<CImage> WrittenAndRead(const CImage& image, const std::string& path) {
    WriteImage(image, path);
    return ReadImage(path);
}

/// A NRRD file as another program would write it.
std::string Nrrd(const std::string& fields, const std::string& data) {
    return "NRRD0004\n# made elsewhere\n" + fields + "\n" + data;
}

template <class Number>
std::string BytesOf(const std::vector<Number>& numbers) {
    std::string bytes(numbers.size() * sizeof(Number), '\0');
    std::memcpy(bytes.data(), numbers.data(), bytes.size());
    return bytes;
}

/// A NRRD file of one row of these samples.
template <class Number>
std::string NrrdRow(const std::string& type, const std::vector<Number>& numbers) {
    return Nrrd("type: " + type + "\ndimension: 2\nsizes: " + std::to_string(numbers.size()) +
                    " 1\nendian: little\nencoding: raw\n",
                BytesOf(numbers));
}

std::optional<std::array<double, 3>> SpacingOf(const CImage& image) {
    std::array<double, 3> spacing{};
    if (!CQuillonHeaderTools::GetSpacing(image, spacing[0], spacing[1], spacing[2]))
        return std::nullopt;
    return spacing;
}

std::optional<std::array<double, 3>> SpacingOfNrrd(const std::string& lines, int dimension = 3) {
    const CTestFolder folder;
    Store(folder / "a.nrrd", Nrrd("type: uint8\ndimension: " + std::to_string(dimension) + "\nsizes:" +
                                      (dimension == 3 ? " 2 1 1" : " 2 1") + "\nencoding: raw\n" + lines,
                                  "ab"));
    return SpacingOf(*ReadImage(folder / "a.nrrd"));
}

using Spacing = std::array<double, 3>;

} // namespace

TEST(ImageFile, KeepsEveryTypeAndAttributeInEveryVolumeFormat) {
    const CTestFolder folder;
    unsigned seed = 0;
    for (const auto& type : c_types) {
        for (const std::string& name : c_volumeNames) {
            for (const CSize& size : {CSize(7, 5, 3), CSize(1, 1, 1), CSize(4, 3, 1), CSize(1, 9, 2)}) {
                SCOPED_TRACE(std::string(type.ToString()) + " " + name + " " + size.ToString());
                const auto image = RandomImage(type, size, ++seed);
                GiveAttributes(*image);
                ExpectSameImage(*WrittenAndRead(*image, folder / name), *image);
            }
        }
    }
}

TEST(ImageFile, KeepsEveryTypeAndAttributeOfPlanes) {
    const CTestFolder folder;
    unsigned seed = 100;
    for (const auto& type : c_types) {
        for (const std::string name : {"p.nrrd", "p.mha", "p.mhd", "p.nii", "p.nii.gz", "p.tif", "p.png"}) {
            if (name == "p.png" && type.PixelSize() > 2)
                continue;
            SCOPED_TRACE(std::string(type.ToString()) + " " + name);
            const auto image = RandomImage(type, CSize(13, 6), ++seed);
            GiveAttributes(*image);
            ExpectSameImage(*WrittenAndRead(*image, folder / name), *image);
        }
    }
}

TEST(ImageFile, KeepsPlainImagesWithoutAnyAttribute) {
    const CTestFolder folder;
    for (const auto& type : c_types) {
        for (const std::string& name : c_volumeNames) {
            SCOPED_TRACE(std::string(type.ToString()) + " " + name);
            const auto image = RandomImage(type, CSize(3, 4, 5), 7);
            ExpectSameImage(*WrittenAndRead(*image, folder / name), *image);
        }
    }
}

TEST(ImageFile, KeepsExtremePixelsBitByBit) {
    const CTestFolder folder;
    const auto words = ImageOf<std::uint16_t>(IMAGE_GREY_16, CSize(3, 1), {0, 65535, 256});
    const auto longs = ImageOf<std::uint32_t>(IMAGE_GREY_32, CSize(3, 1), {0, 4294967295u, 16777217});
    const auto floats =
        ImageOf<float>(IMAGE_GREY_F, CSize(3, 2),
                       {NAN, INFINITY, -INFINITY, -0.0f, std::numeric_limits<float>::denorm_min(),
                        std::numeric_limits<float>::max()});
    for (const std::string name : {"a.nrrd", "a.mha", "a.nii", "a.nii.gz", "a.tif"}) {
        SCOPED_TRACE(name);
        ExpectSameImage(*WrittenAndRead(*words, folder / name), *words);
        ExpectSameImage(*WrittenAndRead(*longs, folder / name), *longs);
        ExpectSameImage(*WrittenAndRead(*floats, folder / name), *floats);
    }
    ExpectSameImage(*WrittenAndRead(*words, folder / "a.png"), *words);
}

TEST(ImageFile, PacksMasksAndLeavesNoiseRaw) {
    const CTestFolder folder;
    WriteImage(*RandomImage(IMAGE_GREY_8, CSize(64, 64, 64), 1), folder / "noise.nrrd");
    const CImage zeros(IMAGE_GREY_8, CSize(64, 64, 64), CSize(0, 0, 0));
    WriteImage(zeros, folder / "zeros.nrrd");
    EXPECT_NE(ReadText(folder / "noise.nrrd").find("encoding: raw"), std::string::npos);
    EXPECT_NE(ReadText(folder / "zeros.nrrd").find("encoding: gzip"), std::string::npos);
    EXPECT_LT(std::filesystem::file_size(folder / "zeros.nrrd"), 4000u);
    ExpectSameImage(*ReadImage(folder / "zeros.nrrd"), zeros);
}

TEST(ImageFile, KeepsLongAttributes) {
    const CTestFolder folder;
    const auto image = RandomImage(IMAGE_GREY_8, CSize(2, 2), 1);
    CValueVector list;
    for (int i = 0; i < 200000; ++i)
        list.PushBack(new CValueDouble(i * 0.1));
    CQuillonHeaderTools::SetFeatures(*image, "list", list);
    ExpectSameImage(*WrittenAndRead(*image, folder / "a.nrrd"), *image);
    ExpectSameImage(*WrittenAndRead(*image, folder / "a.png"), *image);
}

TEST(ImageFile, LeavesPointersAmongAttributesOut) {
    const CTestFolder folder;
    const auto image = RandomImage(IMAGE_GREY_8, CSize(2, 2), 1);
    int target = 0;
    image->Attributes().SetEntry("pointer", new CValuePointer<int>(&target, 1));
    image->Attributes().SetEntry("kept", new CValueLong(1));
    const auto found = WrittenAndRead(*image, folder / "a.tif");
    EXPECT_EQ(found->Attributes().Size(), 1u);
    EXPECT_TRUE(found->Attributes().HasEntry("kept"));
}

TEST(ImageFile, WritesTheInsideOfAnImageWithABorder) {
    const CTestFolder folder;
    CImage image(IMAGE_GREY_16, CSize(3, 2, 2), CSize(2, 1, 1));
    const CImageView<unsigned short> view(image);
    std::vector<std::uint16_t> meant;
    for (std::int64_t z = 0; z < 2; ++z) {
        for (std::int64_t y = 0; y < 2; ++y) {
            for (std::int64_t x = 0; x < 3; ++x) {
                view.Row(y, z)[x] = static_cast<unsigned short>(100 * z + 10 * y + x);
                meant.push_back(view.Row(y, z)[x]);
            }
        }
    }
    for (const std::string name : {"a.nrrd", "a.tif"})
        EXPECT_EQ(Pixels<std::uint16_t>(*WrittenAndRead(image, folder / name)), meant) << name;
}

TEST(ImageFile, ReadsAnImageOfOneDimensionAsOneRow) {
    const CTestFolder folder;
    CSize size(4, 0);
    size.SetDim(1);
    const CImage image(IMAGE_GREY_8, size, CSize(0, 0, 0));
    EXPECT_EQ(WrittenAndRead(image, folder / "a.nrrd")->Size().ToString(), "(4,1)");
    Store(folder / "b.nrrd", Nrrd("type: uchar\ndimension: 1\nsizes: 3\nencoding: raw\n", "abc"));
    EXPECT_EQ(ReadImage(folder / "b.nrrd")->Size().ToString(), "(3,1)");
}

TEST(ImageFile, NumbersInFilesDoNotFollowTheLocale) {
    struct StGerman : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const CTestFolder folder;
    const auto image = RandomImage(IMAGE_GREY_8, CSize(1234, 2, 2), 1);
    GiveAttributes(*image);
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new StGerman));
    for (const std::string& name : c_volumeNames)
        ExpectSameImage(*WrittenAndRead(*image, folder / name), *image);
    std::locale::global(before);
    EXPECT_NE(ReadText(folder / "v.nrrd").find("sizes: 1234 2 2\nspacings: 0.1 0.3333333333333333 2.5e-07\n"),
              std::string::npos);
}

// ---- side files

TEST(ImageFile, WritesNoSideFileWhereTheFileHoldsAll) {
    const CTestFolder folder;
    const auto volume = RandomImage(IMAGE_GREY_16, CSize(3, 3, 3), 1);
    WriteImage(*volume, folder / "a.tif");
    CQuillonHeaderTools::SetSpacing(*volume, 0.5, 0.25, 2);
    WriteImage(*volume, folder / "a.mha");
    WriteImage(*volume, folder / "a.nii");
    GiveAttributes(*volume);
    WriteImage(*volume, folder / "a.nrrd");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"a.mha", "a.nii", "a.nrrd", "a.tif"}));
}

TEST(ImageFile, RemovesASideFileThatIsNoLongerNeeded) {
    const CTestFolder folder;
    const auto image = RandomImage(IMAGE_BINARY_FG, CSize(3, 3), 1);
    WriteImage(*image, folder / "a.png");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"a.png", "a.png.attributes.json"}));
    WriteImage(*RandomImage(IMAGE_GREY_8, CSize(3, 3), 1), folder / "a.png");
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"a.png"});
}

TEST(ImageFile, PutsTheDataOfAMetaHeaderBesideIt) {
    const CTestFolder folder;
    WriteImage(*RandomImage(IMAGE_GREY_16, CSize(3, 3, 3), 1), folder / "name.mhd");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"name.mhd", "name.raw"}));
    EXPECT_NE(ReadText(folder / "name.mhd").find("ElementDataFile = name.raw"), std::string::npos);
    EXPECT_EQ(std::filesystem::file_size(folder / "name.raw"), 54u);
}

TEST(ImageFile, RefusesADamagedSideFileInOneLine) {
    const CTestFolder folder;
    const std::string path = folder / "a.png";
    const std::string side = path + ".attributes.json";
    WriteImage(*RandomImage(IMAGE_GREY_8, CSize(3, 2), 1), path);
    for (const std::string& text :
         {std::string(), std::string("{"), std::string("[]"), std::string("{\"attributes\": 3}"),
          std::string("{\"quillon type\": 3}"), std::string("{\"quillon type\": \"IMAGE_COMPLEX_F\"}"),
          std::string("{\"size\": [3, \"2\"]}"), std::string("{\"size\": [3, 3]}"),
          std::string("{\"size\": []}"), std::string("{\"attributes\": {\"a/b\": 1}}"),
          std::string("{\"attributes\": {\"/double\": \"nan\"}}"),
          std::string("{\"attributes\": {\"x\": ") + std::string(100000, '[') + std::string(100000, ']') +
              "}}"}) {
        SCOPED_TRACE(text.substr(0, 60));
        Store(side, text);
        ExpectUnreadable(path, "cannot read '" + side + "': ");
    }
    std::filesystem::remove(side);
    std::filesystem::create_directory(side);
    ExpectUnreadable(path, "it is not a regular file");
}

TEST(ImageFile, RefusesDamagedAttributesOfNrrd) {
    const CTestFolder folder;
    const std::string fields = "type: uint8\ndimension: 2\nsizes: 2 1\nencoding: raw\n";
    for (const std::string line : {"quillon attributes:={", "quillon attributes:=[]", "quillon attributes:=",
                                   "quillon attributes:={\"a/b\": 1}", "quillon type:=IMAGE_GREY_64"}) {
        SCOPED_TRACE(line);
        Store(folder / "a.nrrd", Nrrd(fields + line + "\n", "ab"));
        ExpectUnreadable(folder / "a.nrrd", "cannot read");
    }
}

TEST(ImageFile, RefusesATypeThatThePixelsAreNot) {
    const CTestFolder folder;
    const std::string path = folder / "a.nrrd";
    const std::string fields = "type: uint8\ndimension: 2\nsizes: 2 1\nencoding: raw\nquillon type:=";
    Store(path, Nrrd(fields + "IMAGE_BINARY_FG\n", std::string("\0\x02", 2)));
    ExpectUnreadable(path, "its attributes say it is IMAGE_BINARY_FG, but it holds the value 2");
    EXPECT_EQ(Pixels<unsigned char>(*ReadImage(path, IMAGE_BINARY_FG)), (std::vector<unsigned char>{0, 1}));
    EXPECT_EQ(Pixels<unsigned char>(*ReadImage(path, IMAGE_GREY_8)), (std::vector<unsigned char>{0, 2}));
    Store(path, Nrrd(fields + "IMAGE_GREY_16\n", "ab"));
    ExpectUnreadable(path, "its attributes say it is IMAGE_GREY_16, but its pixels are of another type");
}

// ---- spacing

TEST(ImageFile, TakesSpacingFromNrrdOnlyIfStatedOnAllAxes) {
    EXPECT_EQ(SpacingOfNrrd(""), std::nullopt);
    EXPECT_EQ(SpacingOfNrrd("spacings: 1 1 1\n"), (Spacing{1, 1, 1}));
    EXPECT_EQ(SpacingOfNrrd("spacings: 0.5 -2 1e-3\n"), (Spacing{0.5, 2, 1e-3}));
    EXPECT_EQ(SpacingOfNrrd("spacings: 0.5 2 nan\n"), std::nullopt);
    EXPECT_EQ(SpacingOfNrrd("spacings: 0.5 2\n", 2), (Spacing{0.5, 2, 1}));
    EXPECT_EQ(SpacingOfNrrd("space dimension: 3\nspace directions: (2,0,0) (0,3,4) (0, 0, -1.5)\n"),
              (Spacing{2, 5, 1.5}));
    EXPECT_EQ(SpacingOfNrrd("space dimension: 2\nspace directions: (2,0) (0,3)\n", 2), (Spacing{2, 3, 1}));
}

TEST(ImageFile, TakesSpacingFromMetaImageOnlyIfStated) {
    const CTestFolder folder;
    const std::string head = "ObjectType = Image\nNDims = 3\n";
    const std::string tail = "DimSize = 2 1 1\nElementType = MET_UCHAR\nElementDataFile = LOCAL\nab";
    Store(folder / "a.mha", head + tail);
    EXPECT_EQ(SpacingOf(*ReadImage(folder / "a.mha")), std::nullopt);
    Store(folder / "a.mha", head + "ElementSpacing = 1 1 1\n" + tail);
    EXPECT_EQ(SpacingOf(*ReadImage(folder / "a.mha")), (Spacing{1, 1, 1}));
    Store(folder / "a.mha", head + "ElementSize = 0.5 2 3\n" + tail);
    EXPECT_EQ(SpacingOf(*ReadImage(folder / "a.mha")), (Spacing{0.5, 2, 3}));
}

TEST(ImageFile, ReadsRealFilesWithTheirSpacing) {
    struct StCase {
        const char* name;
        const char* type;
        const char* size;
        std::optional<Spacing> spacing;
        double least;
        double greatest;
    };
    for (const StCase& expected : {
             StCase{"page.png", "IMAGE_GREY_8", "(384,191)", std::nullopt, 0, 255},
             StCase{"cement_pores_128.nrrd", "IMAGE_GREY_8", "(128,128,128)", std::nullopt, 16, 148},
             StCase{"nuclei_platynereis_labels_u16.nrrd", "IMAGE_GREY_16", "(256,256,103)", std::nullopt, 0,
                    37},
             StCase{"lung_ct_crop_u16.mha", "IMAGE_GREY_16", "(48,48,24)", Spacing{1.366, 1.366, 2.5}, 202,
                    1509},
             StCase{"fibres_polymer_crop_f32.tif", "IMAGE_GREY_F", "(128,128)", std::nullopt, -0.0010960333,
                    0.0018747787},
             StCase{"shell_crop_stack.tif", "IMAGE_GREY_8", "(64,48,24)", std::nullopt, 0, 255},
             StCase{"brain_mri_crop.nii.gz", "IMAGE_GREY_8", "(48,40,32)", Spacing{1, 1, 1}, 22, 119},
         }) {
        SCOPED_TRACE(expected.name);
        const auto image = ReadImage(DataFile(expected.name));
        EXPECT_STREQ(image->Type().ToString(), expected.type);
        EXPECT_EQ(image->Size().ToString(), expected.size);
        EXPECT_EQ(SpacingOf(*image), expected.spacing);
        EXPECT_EQ(image->Attributes().HasEntry("spacing"), expected.spacing.has_value());
        EXPECT_EQ(image->Attributes().HasEntry("origin"),
                  expected.name == std::string("brain_mri_crop.nii.gz"));
        const auto floats = Pixels<float>(*ReadImage(DataFile(expected.name), IMAGE_GREY_F));
        const auto [least, greatest] = std::minmax_element(floats.begin(), floats.end());
        EXPECT_NEAR(*least, expected.least, 1e-9);
        EXPECT_NEAR(*greatest, expected.greatest, 1e-9);
    }
}

TEST(ImageFile, KeepsARealVolumeThroughEveryFormat) {
    const CTestFolder folder;
    const auto image = ReadImage(DataFile("lung_ct_crop_u16.mha"));
    for (const std::string& name : c_volumeNames) {
        SCOPED_TRACE(name);
        ExpectSameImage(*WrittenAndRead(*image, folder / name), *image);
    }
}

TEST(ImageFile, TakesSpacingThatNoFormatCanHoldFromTheSideFile) {
    const CTestFolder folder;
    for (const Spacing& spacing : {Spacing{1e-12, 1e-12, 1e-12}, Spacing{1e12, 1, 1e12}, Spacing{1, 1, 7}}) {
        const auto image = RandomImage(IMAGE_GREY_8, CSize(2, 3, 2), 1);
        CQuillonHeaderTools::SetSpacing(*image, spacing[0], spacing[1], spacing[2]);
        for (const std::string& name : c_volumeNames)
            ExpectSameImage(*WrittenAndRead(*image, folder / name), *image);
    }
}

// ---- place and unit

namespace {

/// A geometry that differs from the default in everything, in numbers that no float holds.
StImageGeometry Somewhere(const std::string& unit) {
    StImageGeometry geometry;
    geometry.spacing = Spacing{0.1, 0.3, 0.7};
    geometry.origin = {0.1, -100.3, 7e3};
    geometry.directions = {{{0.6, 0.8, 0}, {-0.8, 0.6, 0}, {0, 0, 1}}};
    geometry.unit = unit;
    geometry.isAnatomical = true;
    return geometry;
}

StImageGeometry GeometryIn(const std::string& path, const StReadOptions& options = {}) {
    return StImageGeometry::Of(*ReadImage(path, options));
}

/// The file with one part of its contents replaced, as another program would leave it.
void Replace(const std::string& path, const std::string& part, const std::string& other) {
    std::string contents = ReadText(path);
    ASSERT_NE(contents.find(part), std::string::npos) << path;
    Store(path, contents.replace(contents.find(part), part.size(), other));
}

} // namespace

TEST(ImageFile, KeepsTheWholeGeometryInEveryFormat) {
    const CTestFolder folder;
    for (const std::string unit : {"", "m", "mm", "um", "nm"}) {
        for (const CSize& size : {CSize(3, 2, 2), CSize(3, 2)}) {
            const auto image = RandomImage(IMAGE_GREY_8, size, 1);
            Somewhere(unit).Store(*image);
            for (const std::string& name : c_volumeNames) {
                SCOPED_TRACE(name + " " + unit + size.ToString());
                ExpectSameImage(*WrittenAndRead(*image, folder / name), *image);
            }
        }
    }
}

TEST(ImageFile, StatesTheUnitInTheHeaderWhereTheFormatCan) {
    struct StCase {
        const char* name;
        const char* unit;
        const char* found;
        double factor; // of lengths
    };
    for (const StCase& expected :
         {StCase{"a.nrrd", "nm", "nm", 1}, StCase{"a.nrrd", "m", "m", 1}, StCase{"a.mha", "mm", "mm", 1},
          StCase{"a.mha", "um", "um", 1}, StCase{"a.mha", "nm", "", 1}, StCase{"a.nii", "m", "m", 1},
          StCase{"a.nii", "mm", "mm", 1}, StCase{"a.nii", "um", "um", 1}, StCase{"a.nii", "nm", "um", 1e-3},
          StCase{"a.tif", "um", "mm", 1e-3}, StCase{"a.tif", "m", "mm", 1e3}}) {
        SCOPED_TRACE(std::string(expected.name) + " " + expected.unit);
        const CTestFolder folder;
        const auto image = RandomImage(IMAGE_GREY_8, CSize(3, 2, 2), 1);
        StImageGeometry geometry;
        geometry.spacing = Spacing{0.5, 0.25, 2};
        geometry.unit = expected.unit;
        geometry.Store(*image);
        WriteImage(*image, folder / expected.name);
        std::filesystem::remove(folder / (expected.name + std::string(".attributes.json")));
        if (expected.name == std::string("a.nrrd"))
            Replace(folder / "a.nrrd", "quillon attributes", "other attributes");
        const StImageGeometry found = GeometryIn(folder / expected.name);
        EXPECT_EQ(found.unit, expected.found);
        ASSERT_TRUE(found.spacing.has_value());
        for (std::size_t axis = 0; axis < 3; ++axis)
            EXPECT_NEAR((*found.spacing)[axis] / expected.factor, (*geometry.spacing)[axis], 1e-6);
    }
}

TEST(ImageFile, TakesWhatAnotherProgramChangedFromTheHeader) {
    const CTestFolder folder;
    const auto image = RandomImage(IMAGE_GREY_8, CSize(3, 2, 2), 1);
    StImageGeometry geometry;
    geometry.spacing = Spacing{0.5, 0.25, 2};
    geometry.origin = {1, 2, 3};
    geometry.unit = "um";
    geometry.Store(*image);
    CQuillonHeaderTools::AddToHistory(*image, "kept", 0);
    WriteImage(*image, folder / "a.nrrd");
    Replace(folder / "a.nrrd", "space directions: (0.5,0,0)", "space directions: (0.6,0,0)");
    StImageGeometry meant = geometry;
    meant.spacing = Spacing{0.6, 0.25, 2};
    EXPECT_EQ(GeometryIn(folder / "a.nrrd"), meant);
    EXPECT_TRUE(ReadImage(folder / "a.nrrd")->Attributes().HasEntry("history"));
    Replace(folder / "a.nrrd", "space origin: (1,2,3)", "space origin: (1,2,4)");
    meant.origin = {1, 2, 4};
    EXPECT_EQ(GeometryIn(folder / "a.nrrd"), meant);

    WriteImage(*image, folder / "a.mha");
    Replace(folder / "a.mha", "Offset = 1 2 3", "Offset = 1 2 5");
    Replace(folder / "a.mha", "DistanceUnits = um", "DistanceUnits = mm");
    meant = geometry; // 1 mm is 1000 um
    meant.spacing = Spacing{500, 250, 2000};
    meant.origin = {1000, 2000, 5000};
    EXPECT_EQ(GeometryIn(folder / "a.mha"), meant);
}

TEST(ImageFile, ReadsOriginDirectionsAndUnitOfOtherPrograms) {
    const CTestFolder folder;
    const std::string nrrd = "type: uint8\ndimension: 3\nsizes: 2 1 1\nencoding: raw\n";
    Store(folder / "a.nrrd", Nrrd(nrrd + "space dimension: 3\nspace directions: (0,2,0) (-3,0,0) (0,0,4)\n"
                                         "space origin: (5, 6, 7)\nspace units: \"microns\" \"um\" \"um\"\n",
                                  "ab"));
    StImageGeometry meant;
    meant.spacing = Spacing{2, 3, 4};
    meant.origin = {5, 6, 7};
    meant.directions = {{{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}}};
    meant.unit = "um";
    EXPECT_EQ(GeometryIn(folder / "a.nrrd"), meant);
    Store(folder / "a.nrrd", Nrrd(nrrd + "spacings: 2 3 4\nunits: \"cm\" \"cm\" \"cm\"\n", "ab"));
    meant = StImageGeometry();
    meant.spacing = Spacing{20, 30, 40};
    meant.unit = "mm";
    EXPECT_EQ(GeometryIn(folder / "a.nrrd"), meant);

    const std::string head = "NDims = 3\nDimSize = 2 1 1\nElementType = MET_UCHAR\nElementSpacing = 2 3 4\n";
    meant = StImageGeometry();
    meant.spacing = Spacing{2, 3, 4};
    meant.origin = {5, 6, 7};
    meant.directions = {{{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}}};
    for (const std::string name : {"Offset", "Position", "Origin"}) {
        Store(folder / "a.mha", head + "TransformMatrix = 0 1 0 -1 0 0 0 0 1\n" + name +
                                    " = 5 6 7\nElementDataFile = LOCAL\nab");
        EXPECT_EQ(GeometryIn(folder / "a.mha"), meant) << name;
    }
    Store(folder / "a.mha", head + "Offset = 5 6\nElementDataFile = LOCAL\nab");
    ExpectUnreadable(folder / "a.mha", "its header is damaged: 'Offset' does not fit 'NDims'");
    Store(folder / "a.mha", head + "TransformMatrix = 1 0 0\nElementDataFile = LOCAL\nab");
    ExpectUnreadable(folder / "a.mha", "its header is damaged: 'TransformMatrix' does not fit 'NDims'");
}

TEST(ImageFile, TakesNoGeometryThatIsNone) {
    const CTestFolder folder;
    const std::string nrrd = "type: uint8\ndimension: 3\nsizes: 2 1 1\nencoding: raw\nspace: LPS\n";
    for (const std::string directions :
         {"(1,0,0) (1,0,0) (0,0,1)", "(0,0,0) (0,1,0) (0,0,1)", "none none none", "(1,0,0) (0,1,0)",
          "(nan,0,0) (0,1,0) (0,0,1)", "(", "x y z"}) {
        Store(folder / "a.nrrd",
              Nrrd(nrrd + "space directions: " + directions + "\nspace origin: (1,2,3)\n", "ab"));
        EXPECT_EQ(ReadImage(folder / "a.nrrd")->Attributes().Size(), 0u) << directions;
    }
}

// ---- channels and time points

namespace {

/// The pixels of each channel and time point, and of a file without one.
std::string Chosen(const std::string& path, std::optional<std::int64_t> channel,
                   std::optional<std::int64_t> time) {
    StReadOptions options;
    options.channel = channel;
    options.time = time;
    try {
        const auto image = ReadImage(path, options);
        return image->Size().ToString() + " " + PixelBytes(*image);
    } catch (const CEngineError& error) {
        EXPECT_EQ(error.Fault(), std::string(error.what()).find("--channel N") == std::string::npos &&
                                         std::string(error.what()).find("--time N") == std::string::npos
                                     ? EnFault::CALLER
                                     : EnFault::FILE);
        return error.what();
    }
}

} // namespace

TEST(ImageFile, ReadsTheChosenChannelAndTimePoint) {
    const CTestFolder folder;
    const std::string path = folder / "a.nrrd";
    const auto none = std::nullopt;
    const std::string fields = "type: uint8\nencoding: raw\n";
    const std::string refused = "cannot read '" + path + "': ";

    Store(path, Nrrd(fields + "dimension: 4\nsizes: 2 1 1 3\n", "abcdef"));
    EXPECT_EQ(Chosen(path, none, none),
              refused + "it has 3 time points; choose one with --time N, N from 0 to 2");
    EXPECT_EQ(Chosen(path, none, 0), "(2,1,1) ab");
    EXPECT_EQ(Chosen(path, 0, 2), "(2,1,1) ef");
    EXPECT_EQ(Chosen(path, none, 3), refused + "--time 3 is not one of its 3 time points, 0 to 2");
    EXPECT_EQ(Chosen(path, 1, 0), refused + "--channel 1 is not one of its 1 channel, 0");

    Store(path, Nrrd(fields + "dimension: 3\nsizes: 2 1 3\nkinds: domain domain time\n", "abcdef"));
    EXPECT_EQ(Chosen(path, none, 1), "(2,1) cd");
    Store(path, Nrrd(fields + "dimension: 3\nsizes: 2 1 3\nkinds: domain domain list\n", "abcdef"));
    EXPECT_EQ(Chosen(path, none, none),
              refused + "it has 3 channels; choose one with --channel N, N from 0 to 2");
    EXPECT_EQ(Chosen(path, 2, none), "(2,1) ef");
    Store(path, Nrrd(fields + "dimension: 3\nsizes: 3 2 1\nkinds: vector domain domain\n", "abcdef"));
    EXPECT_EQ(Chosen(path, 1, none), "(2,1) be");
    EXPECT_EQ(Chosen(path, 3, none), refused + "--channel 3 is not one of its 3 channels, 0 to 2");
    EXPECT_EQ(Chosen(path, -1, none), refused + "--channel -1 is not one of its 3 channels, 0 to 2");

    // Channels vary faster than time points, or slower.
    Store(path, Nrrd(fields + "dimension: 4\nsizes: 1 1 2 3\nkinds: domain domain time list\n", "abcdef"));
    EXPECT_EQ(Chosen(path, none, none),
              refused +
                  "it has 3 channels and 2 time points; choose one with --channel N, N from 0 to 2, and "
                  "--time N, N from 0 to 1");
    EXPECT_EQ(Chosen(path, 1, 1), "(1,1) d");
    EXPECT_EQ(Chosen(path, none, 0),
              refused + "it has 3 channels; choose one with --channel N, N from 0 to 2");
    Store(path, Nrrd(fields + "dimension: 5\nsizes: 2 1 1 1 3\nkinds: vector domain domain domain time\n",
                     "abcdef"));
    EXPECT_EQ(Chosen(path, 1, 2), "(1,1,1) f");
}

TEST(ImageFile, ReadsTimePointsOfPackedAndOtherFiles) {
    const CTestFolder folder;
    const std::string head = "NDims = 4\nDimSize = 2 1 1 3\nElementType = MET_UCHAR\n";
    Store(folder / "a.mha", head + "ElementSpacing = 2 3 4 9\nElementDataFile = LOCAL\nabcdef");
    EXPECT_EQ(Chosen(folder / "a.mha", std::nullopt, 1), "(2,1,1) cd");
    StReadOptions options;
    options.time = 2;
    EXPECT_EQ(GeometryIn(folder / "a.mha", options).spacing, (Spacing{2, 3, 4}));

    // A volume of 2 x 2 x 3 x 2 made of one of 2 x 2 x 6: time points, then channels.
    for (const std::string name : {"a.nii", "a.nii.gz"}) {
        const auto volume = RandomImage(IMAGE_GREY_8, CSize(2, 2, 6), 1);
        WriteImage(*volume, folder / name);
        std::filesystem::remove(folder / (name + ".attributes.json"));
        gzFile packed = gzopen((folder / name).c_str(), "rb");
        std::string bytes(352 + 24, '\0');
        ASSERT_EQ(gzread(packed, bytes.data(), 376), 376);
        gzclose(packed);
        const std::array<std::int16_t, 6> dim = {5, 2, 2, 1, 3, 2};
        std::memcpy(bytes.data() + 40, dim.data(), sizeof(dim));
        packed = gzopen((folder / name).c_str(), name == "a.nii" ? "wbT" : "wb");
        ASSERT_EQ(gzwrite(packed, bytes.data(), 376), 376);
        gzclose(packed);
        const std::string pixels = PixelBytes(*volume);
        EXPECT_EQ(Chosen(folder / name, 0, 1), "(2,2,1) " + pixels.substr(4, 4));
        EXPECT_EQ(Chosen(folder / name, 1, 0), "(2,2,1) " + pixels.substr(12, 4));
        EXPECT_EQ(Chosen(folder / name, 1, 2), "(2,2,1) " + pixels.substr(20, 4));
    }
}

TEST(ImageFile, ChecksTheSizeOfAllTimePoints) {
    const CTestFolder folder;
    const std::string fields = "type: uint8\nencoding: raw\ndimension: 4\nsizes: 2 1 1 ";
    Store(folder / "a.nrrd", Nrrd(fields + "3\n", "abcde"));
    ExpectUnreadable(folder / "a.nrrd",
                     "its header announces 6 bytes of pixels, but the file has only 5 bytes of data");
    Store(folder / "a.nrrd", Nrrd(fields + "9223372036854775807\n", "abcde"));
    ExpectUnreadable(folder / "a.nrrd", "its header announces more pixels than any machine holds");
    Store(folder / "a.nrrd", Nrrd(fields + "0\n", ""));
    ExpectUnreadable(folder / "a.nrrd", "its header announces the extent 0");
}

// ---- regions

namespace {

StReadOptions Region(const std::vector<StIndexRange>& region) {
    StReadOptions options;
    options.region = region;
    return options;
}

} // namespace

TEST(ImageFile, ReadsARegionAsAPartOfTheWholeFromEveryFormat) {
    const CTestFolder folder;
    for (const auto& type : c_types) {
        const auto image = RandomImage(type, CSize(7, 5, 4), 3);
        Somewhere("mm").Store(*image);
        for (const std::string& name : c_volumeNames) {
            SCOPED_TRACE(std::string(type.ToString()) + " " + name);
            WriteImage(*image, folder / name);
            const auto part = ReadImage(folder / name, Region({{2, 5}, {1, 3}, {1, 2}}));
            ASSERT_EQ(part->Size().ToString(), "(4,3,2)");
            const auto bytes = static_cast<std::size_t>(type.PixelSize());
            const std::string all = PixelBytes(*image);
            std::string meant;
            for (std::size_t z = 1; z <= 2; ++z) {
                for (std::size_t y = 1; y <= 3; ++y)
                    meant += all.substr(((z * 5 + y) * 7 + 2) * bytes, 4 * bytes);
            }
            EXPECT_TRUE(PixelBytes(*part) == meant);
            StImageGeometry moved = Somewhere("mm");
            moved.origin = moved.PositionOf({2, 1, 1});
            EXPECT_EQ(StImageGeometry::Of(*part), moved);
        }
    }
}

TEST(ImageFile, ReadsNoMoreThanTheRegionFromAFileThatIsNotPacked) {
    const CTestFolder folder;
    // 4 GB, of which the file system stores nothing.
    Store(folder / "a.nrrd", "NRRD0004\ntype: uint8\ndimension: 3\nsizes: 2048 2048 1024\nencoding: raw\n"
                             "data file: a.raw\n\n");
    Store(folder / "a.raw", "");
    std::filesystem::resize_file(folder / "a.raw", std::uintmax_t{1} << 32);
    std::fstream file(folder / "a.raw", std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(((std::int64_t{1000} * 2048) + 7) * 2048 + 3);
    file.write("x", 1);
    file.close();
    const auto part = ReadImage(folder / "a.nrrd", Region({{2, 4}, {7, 7}, {1000, 1000}}));
    EXPECT_EQ(PixelBytes(*part), std::string("\0x\0", 3));
}

TEST(ImageFile, RefusesARegionOutsideTheImage) {
    const CTestFolder folder;
    const std::string path = folder / "a.nrrd";
    WriteImage(*RandomImage(IMAGE_GREY_8, CSize(7, 5, 4), 3), path);
    const auto endOf = [&](const std::vector<StIndexRange>& region) {
        const StCallEnd end = EndOf([&] { (void)ReadImage(path, Region(region)); });
        EXPECT_EQ(end.fault, EnFault::CALLER);
        return end.message;
    };
    const std::string start = "cannot read '" + path + "': --region";
    EXPECT_EQ(endOf({{0, 7}, {0, 4}, {0, 3}}), start + ": 0:7 is not a range of its indices along x, 0 to 6");
    EXPECT_EQ(endOf({{0, 6}, {-1, 4}, {0, 3}}),
              start + ": -1:4 is not a range of its indices along y, 0 to 4");
    EXPECT_EQ(endOf({{0, 6}, {0, 4}, {3, 2}}), start + ": 3:2 is not a range of its indices along z, 0 to 3");
    EXPECT_EQ(endOf({{0, 6}, {0, 4}}), start + " needs three ranges for a volume, X0:X1,Y0:Y1,Z0:Z1");
    WriteImage(*RandomImage(IMAGE_GREY_8, CSize(7, 5), 3), path);
    EXPECT_EQ(endOf({{0, 6}}), start + " needs two ranges for a plane, X0:X1,Y0:Y1");
}

// ---- pixel types of other programs

TEST(ImageFile, KeepsIntegersWithoutNegativeValuesUnsigned) {
    const CTestFolder folder;
    Store(folder / "a.nrrd", NrrdRow<std::int8_t>("int8", {0, 127}));
    EXPECT_EQ(Pixels<unsigned char>(*ReadImage(folder / "a.nrrd")), (std::vector<unsigned char>{0, 127}));
    Store(folder / "a.nrrd", NrrdRow<std::int16_t>("short", {0, 32767}));
    EXPECT_EQ(Pixels<std::uint16_t>(*ReadImage(folder / "a.nrrd")), (std::vector<std::uint16_t>{0, 32767}));
    Store(folder / "a.nrrd", NrrdRow<std::int32_t>("int", {5, 2147483647}));
    EXPECT_EQ(Pixels<std::uint32_t>(*ReadImage(folder / "a.nrrd")),
              (std::vector<std::uint32_t>{5, 2147483647}));
    Store(folder / "a.nrrd", NrrdRow<std::uint64_t>("uint64", {5, 4294967295}));
    EXPECT_EQ(Pixels<std::uint32_t>(*ReadImage(folder / "a.nrrd")),
              (std::vector<std::uint32_t>{5, 4294967295}));
    Store(folder / "a.nrrd", NrrdRow<std::int64_t>("int64", {5, 0}));
    EXPECT_EQ(Pixels<std::uint32_t>(*ReadImage(folder / "a.nrrd")), (std::vector<std::uint32_t>{5, 0}));
}

TEST(ImageFile, MakesFloatsOfNegativeIntegersAndDoubles) {
    const CTestFolder folder;
    const auto floats = [&] { return Pixels<float>(*ReadImage(folder / "a.nrrd")); };
    Store(folder / "a.nrrd", NrrdRow<std::int8_t>("signed char", {-128, 127}));
    EXPECT_EQ(floats(), (std::vector<float>{-128, 127}));
    Store(folder / "a.nrrd", NrrdRow<std::int16_t>("int16", {-32768, 32767}));
    EXPECT_EQ(floats(), (std::vector<float>{-32768, 32767}));
    Store(folder / "a.nrrd", NrrdRow<std::int32_t>("int32", {-16777216, 2}));
    EXPECT_EQ(floats(), (std::vector<float>{-16777216, 2}));
    Store(folder / "a.nrrd", NrrdRow<double>("double", {0.1, -INFINITY}));
    EXPECT_EQ(floats(), (std::vector<float>{0.1f, -INFINITY}));
}

TEST(ImageFile, RefusesValuesThatNoTypeHolds) {
    const CTestFolder folder;
    const std::string path = folder / "a.nrrd";
    Store(path, NrrdRow<std::int32_t>("int32", {-1, 16777217}));
    ExpectUnreadable(path, "its value 16777217 exactly; --as greyf takes the nearest ones");
    EXPECT_EQ(Pixels<float>(*ReadImage(path, IMAGE_GREY_F)), (std::vector<float>{-1, 16777216}));
    Store(path, NrrdRow<std::uint64_t>("uint64", {4294967296}));
    ExpectUnreadable(path,
                     "its value 4294967296 does not fit IMAGE_GREY_32, which holds whole numbers from 0 to "
                     "4294967295");
    Store(path, NrrdRow<double>("double", {-3.5e38}));
    ExpectUnreadable(path, "its value -3.5e+38 does not fit IMAGE_GREY_F, which holds floats of 32 bits");
}

TEST(ImageFile, ConvertsWithoutClipping) {
    const CTestFolder folder;
    const std::string path = folder / "a.nrrd";
    Store(path, NrrdRow<float>("float", {0.0f, 255.0f, -0.0f}));
    EXPECT_EQ(Pixels<unsigned char>(*ReadImage(path, IMAGE_GREY_8)), (std::vector<unsigned char>{0, 255, 0}));
    EXPECT_EQ(Pixels<unsigned char>(*ReadImage(path, IMAGE_BINARY_FG)),
              (std::vector<unsigned char>{0, 1, 0}));
    Store(path, NrrdRow<std::uint16_t>("uint16", {0, 256}));
    ExpectUnreadable(path, "its value 256 does not fit IMAGE_GREY_8, which holds whole numbers from 0 to 255",
                     IMAGE_GREY_8);
    EXPECT_EQ(Pixels<std::uint32_t>(*ReadImage(path, IMAGE_GREY_32)), (std::vector<std::uint32_t>{0, 256}));
    Store(path, NrrdRow<float>("float", {1.5f}));
    ExpectUnreadable(path, "its value 1.5 does not fit IMAGE_GREY_16", IMAGE_GREY_16);
    Store(path, NrrdRow<float>("float", {-1.0f}));
    ExpectUnreadable(path, "its value -1 does not fit IMAGE_GREY_32", IMAGE_GREY_32);
    Store(path, NrrdRow<float>("float", {4294967296.0f}));
    ExpectUnreadable(path, "does not fit IMAGE_GREY_32", IMAGE_GREY_32);
    Store(path, NrrdRow<float>("float", {NAN}));
    ExpectUnreadable(path, "its value nan does not fit IMAGE_GREY_8", IMAGE_GREY_8);
    EXPECT_EQ(Pixels<unsigned char>(*ReadImage(path, IMAGE_BINARY_FG)), std::vector<unsigned char>{1});
    Store(path, NrrdRow<std::uint32_t>("uint32", {4294967295u}));
    EXPECT_EQ(Pixels<float>(*ReadImage(path, IMAGE_GREY_F)), std::vector<float>{4294967296.0f});
}

TEST(ImageFile, KeepsAttributesWhenTheTypeIsChanged) {
    const CTestFolder folder;
    const auto image = RandomImage(IMAGE_BINARY_FG, CSize(4, 4, 4), 3);
    GiveAttributes(*image);
    WriteImage(*image, folder / "a.nrrd");
    const auto found = ReadImage(folder / "a.nrrd", IMAGE_GREY_16);
    EXPECT_EQ(found->Type(), IMAGE_GREY_16);
    EXPECT_TRUE(found->Attributes().Equal(image->Attributes()));
}

TEST(ImageFile, SwapsBytesOfOtherMachines) {
    const CTestFolder folder;
    Store(folder / "a.nrrd", Nrrd("type: uint16\ndimension: 2\nsizes: 2 1\nendian: big\nencoding: raw\n",
                                  std::string("\0\x01\x02\x03", 4)));
    EXPECT_EQ(Pixels<std::uint16_t>(*ReadImage(folder / "a.nrrd")), (std::vector<std::uint16_t>{1, 0x203}));
}

TEST(ImageFile, ReadsDetachedPixels) {
    const CTestFolder folder;
    const std::string head = "type: uint8\ndimension: 2\nsizes: 3 1\nencoding: raw\n";
    const std::vector<unsigned char> meant = {1, 2, 255};
    Store(folder / "a.nhdr", Nrrd(head + "data file: pixels.raw\n", ""));
    EXPECT_EQ(EndOf([&] { (void)ReadImage(folder / "a.nhdr"); }).message,
              "cannot read '" + (folder / "pixels.raw") + "': No such file or directory");
    Store(folder / "pixels.raw", "\x01\x02\xff");
    EXPECT_EQ(Pixels<unsigned char>(*ReadImage(folder / "a.nhdr")), meant);
    Store(folder / "a.nhdr", Nrrd(head + "data file: LIST\npixels.raw\n", ""));
    ExpectUnreadable(folder / "a.nhdr", "several data files");
    Store(folder / "a.mhd",
          "NDims = 2\nDimSize = 3 1\nElementType = MET_UCHAR\nElementDataFile = pixels.raw\n");
    EXPECT_EQ(Pixels<unsigned char>(*ReadImage(folder / "a.mhd")), meant);
}

TEST(ImageFile, SkipsBytesBeforePixels) {
    const CTestFolder folder;
    const std::vector<unsigned char> meant = {'a', 'b', 'c'};
    const std::string nrrd = "type: uint8\ndimension: 2\nsizes: 3 1\nencoding: raw\nbyte skip: ";
    const std::string meta = "NDims = 2\nDimSize = 3 1\nElementType = MET_UCHAR\nHeaderSize = ";
    Store(folder / "a.nrrd", Nrrd(nrrd + "2\n", "xxabc"));
    EXPECT_EQ(Pixels<unsigned char>(*ReadImage(folder / "a.nrrd")), meant);
    Store(folder / "a.nrrd", Nrrd(nrrd + "-1\n", "xxxabc"));
    EXPECT_EQ(Pixels<unsigned char>(*ReadImage(folder / "a.nrrd")), meant);
    Store(folder / "a.raw", "xxabc");
    Store(folder / "a.mhd", meta + "2\nElementDataFile = a.raw\n");
    EXPECT_EQ(Pixels<unsigned char>(*ReadImage(folder / "a.mhd")), meant);
    Store(folder / "a.mhd", meta + "-1\nElementDataFile = a.raw\n");
    EXPECT_EQ(Pixels<unsigned char>(*ReadImage(folder / "a.mhd")), meant);
}

TEST(ImageFile, RefusesPixelsWrittenAsText) {
    const CTestFolder folder;
    Store(folder / "a.nrrd", Nrrd("type: uint8\ndimension: 2\nsizes: 3 1\nencoding: ascii\n", "1 2 255\n"));
    ExpectUnreadable(folder / "a.nrrd", "the encoding 'ascii' cannot be read; raw and gzip can");
    Store(folder / "a.mha", "NDims = 2\nBinaryData = False\nDimSize = 3 1\nElementType = MET_UCHAR\n"
                            "ElementDataFile = LOCAL\n1 2 255\n");
    ExpectUnreadable(folder / "a.mha", "pixels written as text cannot be read");
}

TEST(ImageFile, TakesColoursThatAreGreyAndRefusesOthers) {
    const CTestFolder folder;
    const std::string fields =
        "type: uint8\ndimension: 3\nsizes: 3 2 1\nkinds: RGB-color domain domain\nencoding: raw\n";
    Store(folder / "a.nrrd", Nrrd(fields, "\x05\x05\x05\x09\x09\x09"));
    EXPECT_EQ(Pixels<unsigned char>(*ReadImage(folder / "a.nrrd")), (std::vector<unsigned char>{5, 9}));
    Store(folder / "a.nrrd", Nrrd(fields, "\x05\x05\x05\x09\x09\x08"));
    ExpectUnreadable(folder / "a.nrrd", "it has 3 channels; choose one with --channel N, N from 0 to 2");
}

TEST(ImageFile, ReadsAVolumeWithOneTimeStepAndRefusesMore) {
    const CTestFolder folder;
    Store(folder / "a.nrrd", Nrrd("type: uint8\ndimension: 4\nsizes: 2 1 1 1\nencoding: raw\n", "ab"));
    EXPECT_EQ(ReadImage(folder / "a.nrrd")->Size().ToString(), "(2,1,1)");
    Store(folder / "a.nrrd", Nrrd("type: uint8\ndimension: 4\nsizes: 1 1 1 2\nencoding: raw\n", "ab"));
    ExpectUnreadable(folder / "a.nrrd", "it has 2 time points; choose one with --time N, N from 0 to 1");
}

// ---- writing that cannot be done

TEST(ImageFile, RefusesWhatAFormatCannotHold) {
    const CTestFolder folder;
    const auto endOf = [&](const CImage& image, const std::string& name) {
        return EndOf([&] { WriteImage(image, folder / name); });
    };
    EXPECT_EQ(endOf(*RandomImage(IMAGE_GREY_8, CSize(2, 2, 2), 1), "a.png").fault, EnFault::FILE);
    EXPECT_EQ(endOf(*RandomImage(IMAGE_GREY_F, CSize(2, 2), 1), "a.png").fault, EnFault::FILE);
    EXPECT_EQ(endOf(*RandomImage(IMAGE_GREY_32, CSize(2, 2), 1), "a.png").fault, EnFault::FILE);
    EXPECT_EQ(endOf(*RandomImage(IMAGE_COMPLEX_F, CSize(2, 2), 1), "a.nrrd").fault, EnFault::FILE);
    EXPECT_EQ(endOf(CImage(IMAGE_GREY_8, CSize(0, 2), CSize(0, 0)), "a.nrrd").fault, EnFault::FILE);
    EXPECT_EQ(endOf(CImage(IMAGE_GREY_8, CSize(32768, 1), CSize(0, 0)), "a.nii").fault, EnFault::FILE);
    EXPECT_EQ(endOf(*RandomImage(IMAGE_GREY_8, CSize(2, 2), 1), "a.jpg").fault, EnFault::CALLER);
    EXPECT_EQ(endOf(*RandomImage(IMAGE_GREY_8, CSize(2, 2), 1), "nrrd").fault, EnFault::CALLER);
    EXPECT_TRUE(folder.Names().empty());
}

TEST(ImageFile, LeavesNothingBehindWhenTheDiskIsFull) {
    const auto image = RandomImage(IMAGE_GREY_16, CSize(100, 100, 20), 1);
    for (const std::string& name : c_volumeNames) {
        for (const rlim_t limit : {0u, 100u, 4096u, 200000u, 399999u}) {
            SCOPED_TRACE(name + " " + std::to_string(limit));
            const CTestFolder folder;
            Store(folder / name, "old");
            const pid_t child = fork();
            if (child == 0) {
                // A limit on the size of files stands in for a full disk: writes fall short.
                std::signal(SIGXFSZ, SIG_IGN);
                const rlimit limits{limit, limit};
                setrlimit(RLIMIT_FSIZE, &limits);
                const StCallEnd end = EndOf([&] { WriteImage(*image, folder / name); });
                _exit(end.fault == EnFault::FILE && end.message.starts_with("cannot write") ? 0 : 1);
            }
            int status = -1;
            waitpid(child, &status, 0);
            EXPECT_EQ(status, 0);
            EXPECT_EQ(folder.Names(), std::vector<std::string>{name});
            EXPECT_EQ(ReadText(folder / name), "old");
        }
    }
}

TEST(ImageFile, LeavesNothingBehindWhenTheDiskIsFullForPictures) {
    const auto image = RandomImage(IMAGE_GREY_16, CSize(100, 100), 1);
    for (const rlim_t limit : {0u, 50u, 4096u, 15000u}) {
        SCOPED_TRACE(limit);
        const CTestFolder folder;
        const pid_t child = fork();
        if (child == 0) {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limits{limit, limit};
            setrlimit(RLIMIT_FSIZE, &limits);
            const StCallEnd end = EndOf([&] { WriteImage(*image, folder / "a.png"); });
            _exit(end.fault == EnFault::FILE ? 0 : 1);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
        EXPECT_TRUE(folder.Names().empty());
    }
}

TEST(ImageFile, KnowsTheWordsOfPixelTypes) {
    EXPECT_EQ(PixelTypeOfWord("binary"), IMAGE_BINARY_FG);
    EXPECT_EQ(PixelTypeOfWord("grey8"), IMAGE_GREY_8);
    EXPECT_EQ(PixelTypeOfWord("grey16"), IMAGE_GREY_16);
    EXPECT_EQ(PixelTypeOfWord("grey32"), IMAGE_GREY_32);
    EXPECT_EQ(PixelTypeOfWord("greyf"), IMAGE_GREY_F);
    EXPECT_EQ(PixelTypeOfWord("gray8"), std::nullopt);
}

} // namespace engine::test
