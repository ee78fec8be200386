// What `quillon run` says about wrong usage, on real images and with the installed packs.

#include "engine/files/ImageFile.h"
#include "support/CommandLine.h"
#include "support/TestImage.h"

#include <gtest/gtest.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <regex.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Words = std::vector<std::string>;

/// Whether an extended regular expression matches. Not std::regex, for which GCC warns when it is compiled
/// for the sanitizers.
bool Matches(const std::string& text, const std::string& pattern) {
    regex_t expression{};
    if (regcomp(&expression, pattern.c_str(), REG_EXTENDED | REG_NOSUB) != 0)
        throw std::invalid_argument(pattern);
    const bool isMatch = regexec(&expression, text.c_str(), 0, nullptr, 0) == 0;
    regfree(&expression);
    return isMatch;
}

class RunChecks : public testing::Test {
protected:
    /// Runs a plug-in on an image with options.
    [[nodiscard]] static test::StEnd Run(const std::string& plugin, const std::string& image,
                                         Words options = {}) {
        options.insert(options.begin(), {"run", plugin, image});
        return test::Quillon(options);
    }

    /// Asserts that the run is done and prints these lines on standard error.
    static void ExpectDone(const test::StEnd& end, const std::string& lines) {
        EXPECT_EQ(end.status, 0);
        EXPECT_EQ(end.err, lines);
    }

    static void ExpectEnd(const test::StEnd& end, int status, const std::string& lines) {
        EXPECT_EQ(end.status, status);
        EXPECT_EQ(end.err, lines);
        EXPECT_EQ(end.out, "");
    }

    const std::string bone = QUILLON_TEST_DATA "/bone_trabecular_crop_bin.nrrd"; // grey8, 0 and 255
    const std::string cement = QUILLON_TEST_DATA "/cement_pores_128.nrrd";
    const std::string lung = QUILLON_TEST_DATA "/lung_ct_crop_u16.mha";
    const std::string page = QUILLON_TEST_DATA "/page.png";
    test::CTestFolder folder;
    const std::string result = folder / "result.nrrd";
};

/// The same with the second pack, which a build with a sanitizer leaves out.
class RunChecksOfBothPacks : public RunChecks {
protected:
    void SetUp() override {
        if (!std::filesystem::exists(
                std::filesystem::path(QUILLON_PACK).replace_filename("libQuillonBasics.so")))
            GTEST_SKIP() << "this build has no second pack";
    }
};

} // namespace

// Parameters

TEST_F(RunChecks, WarnsOfAValueThatIsNoneOfTheChoices) {
    const std::string message = "ComputeOn='Foreground' is not one of foreground, background; did you mean "
                                "'foreground'?\n";
    ExpectDone(Run("VoronoiEdtPlugin", bone, {"--as", "binary", "-p", "ComputeOn=Foreground", "-o", result}),
               "quillon: warning: " + message);
    EXPECT_TRUE(std::filesystem::exists(result)); // the plug-in does with it what it always did
    std::filesystem::remove(result);
    ExpectEnd(Run("VoronoiEdtPlugin", bone,
                  {"--as", "binary", "-p", "ComputeOn=Foreground", "-o", result, "--strict"}),
              2, "quillon: " + message);
    EXPECT_FALSE(std::filesystem::exists(result));
}

TEST_F(RunChecksOfBothPacks, WarnsOfAValueOutOfRange) {
    ExpectDone(Run("GaussFilter", cement, {"-p", "sigma=-1"}),
               "quillon: warning: sigma=-1 is out of range; allowed: 0 to 10000 pixels\n");
    ExpectEnd(Run("Median", page, {"-p", "radius=51"}), 1,
              "quillon: warning: radius=51 is out of range; allowed: 0 to 50 pixels\n"
              "quillon: Median says: radius = 51 must be from 0 to 50 pixels.\n"
              "quillon: see 'quillon describe Median' for what it takes\n");
}

TEST_F(RunChecks, WarnsOfAParameterWithoutEffect) {
    ExpectDone(Run("Watershed", page, {"-p", "nParameter=50"}),
               "quillon: warning: nParameter=50 has no effect with type='normal'; it applies with "
               "type='preflood'\n");
    ExpectDone(Run("EuclideanSkeleton", bone, {"--as", "binary", "-p", "minAngle=1"}),
               "quillon: warning: minAngle=1 has no effect on the result of EuclideanSkeleton\n");
    ExpectDone(Run("Granulometry", bone, {"--as", "binary", "-p", "dobinning=true", "-p", "stepwidth=0.1"}),
               "quillon: warning: dobinning=true has no effect with experimental=false; it applies with "
               "experimental=true\n"
               "quillon: warning: stepwidth=0.1 has no effect with experimental=false; it applies with "
               "experimental=true\n");
}

TEST_F(RunChecks, WarnsOfACylinderThatTheImageDoesNotHave) {
    const Words asked = {"--as", "binary", "-p", "use cylindrical mask=true"};
    ExpectDone(Run("VoronoiEdtPlugin", bone, asked),
               "quillon: warning: 'use cylindrical mask'=true has no effect: the image has no cylinder; run "
               "CylinderMask first\n");
    ExpectDone(Run("VoronoiEdtPlugin", bone, {"--as", "binary"}), ""); // the same by default
    ASSERT_EQ(Run("CylinderMask", bone,
                  {"--as", "binary", "-p", "s=50", "-p", "t=50", "-p", "radius=40", "-o", result})
                  .status,
              0);
    ExpectDone(Run("VoronoiEdtPlugin", result, {"-p", "use cylindrical mask=true"}), "");
}

TEST_F(RunChecks, WarnsOfAMissingCompanion) {
    ExpectDone(Run("Watershed", page, {"-p", "type=marker"}),
               "quillon: warning: type='marker' needs markerimage, which is missing; give -p "
               "markerimage=FILE\n");
    ExpectDone(Run("CylinderMask", cement, {"-p", "s=60", "-p", "t=60"}),
               "quillon: warning: CylinderMask needs radius, which is missing; give -p radius=VALUE\n");
    ExpectEnd(Run("CylinderMask", cement, {"--strict"}), 2,
              "quillon: CylinderMask needs s, which is missing; give -p s=VALUE\n"
              "quillon: CylinderMask needs t, which is missing; give -p t=VALUE\n"
              "quillon: CylinderMask needs radius, which is missing; give -p radius=VALUE\n");
    ExpectEnd(
        Run("LocalFiberDirections", cement, {"-p", "advanced/use_otsu=false"}), 1,
        "quillon: warning: advanced/use_otsu=false needs advanced/mask_image, which is missing; give -p "
        "advanced/mask_image=FILE\n"
        "quillon: warning: advanced/use_otsu=false needs advanced/output_directions, which is missing; "
        "give -p advanced/output_directions=VALUE\n"
        "quillon: warning: advanced/use_otsu=false needs advanced/otsu_factor, which is missing; give -p "
        "advanced/otsu_factor=VALUE\n"
        "quillon: LocalFiberDirections says: Parameter 'advanced/output_directions' is missing.\n"
        "quillon: see 'quillon describe LocalFiberDirections' for what it takes\n");
}

TEST_F(RunChecksOfBothPacks, WarnsOfAlternatives) {
    ExpectEnd(Run("Threshold", page), 1,
              "quillon: warning: Threshold needs lower or upper; give one with -p\n"
              "quillon: Threshold says: lower and upper are both missing.\n"
              "quillon: see 'quillon describe Threshold' for what it takes\n");
    ExpectEnd(Run("Resample", page, {"-p", "factor=2", "-p", "spacing=1", "--strict"}), 2,
              "quillon: Resample takes either spacing or factor, not both\n");
}

TEST_F(RunChecksOfBothPacks, WarnsOfTheReportOfAnotherPlugin) {
    const std::string report = folder / "report.json";
    ASSERT_EQ(Run("GaussFilter", cement, {"-p", "sigma=2", "--report", report}).status, 0);
    ExpectDone(Run("GaussFilter", cement, {"--parameters", report}), "");
    ExpectEnd(Run("Median", cement, {"--parameters", report, "--strict"}), 2,
              "quillon: the parameters are those of a run of GaussFilter, not of Median\n"
              "quillon: 'sigma' is not a parameter of Median; the nearest key is 'radius'\n");
    std::ofstream(folder / "typo.json") << R"({"radius": 2.0, "raduis": 1})";
    ExpectDone(Run("Median", page, {"--parameters", folder / "typo.json"}),
               "quillon: warning: 'raduis' is not a parameter of Median; the nearest key is 'radius'\n"
               "quillon: warning: radius=2 is a double; Median takes a long\n");
}

TEST_F(RunChecks, TakesTheReportOfTheDialogForItsPlugin) {
    const std::string report = folder / "report.json";
    ASSERT_EQ(
        Run("LocalFiberDirectionsDialog", cement, {"--answer", "radius_edit=2", "--report", report}).status,
        0);
    const test::StEnd end = Run("LocalFiberDirections", cement, {"--parameters", report, "--strict"});
    EXPECT_EQ(end.err, "");
    EXPECT_EQ(end.status, 0);
}

// Refused images

TEST_F(RunChecks, SaysHowToReadAnImageOfTwoValues) {
    ExpectEnd(
        Run("Skeleton", bone), 3,
        "quillon: Skeleton does not take " + bone +
            " (grey8, 128 x 96 x 36); it takes binary of 3 dimensions; it is grey8 with the values 0 and "
            "255: give --as binary\n");
}

TEST_F(RunChecksOfBothPacks, SaysWhatToRunFirst) {
    ExpectEnd(Run("Skeleton", cement), 3,
              "quillon: Skeleton does not take " + cement +
                  " (grey8, 128 x 128 x 128); it takes binary of 3 dimensions; it is grey8: run SegmNiblack, "
                  "SegmSauvola, AutoThreshold or Threshold first\n");
    ExpectEnd(Run("LocalFiberDirections", lung), 3,
              "quillon: LocalFiberDirections does not take " + lung +
                  " (grey16, 48 x 48 x 24); it takes grey8 of 2 or 3 dimensions; it is grey16: run Rescale "
                  "first\n");
    ExpectEnd(Run("GranulometryExport", cement, {"--file", folder / "sizes.csv"}), 3,
              "quillon: GranulometryExport does not take " + cement +
                  " (grey8, 128 x 128 x 128); it takes binary, grey8, grey16, grey32 or greyf of 1, 2 or 3 "
                  "dimensions, and carries a measurement by Granulometry; it has no measurement that "
                  "GranulometryExport can use: run Granulometry first\n");
    ExpectEnd(Run("GaussFilter", page), 3,
              "quillon: GaussFilter does not take " + page +
                  " (grey8, 384 x 191); it takes grey8, grey16, grey32 or greyf of 3 dimensions; it has 2 "
                  "dimensions: give an image with 3 dimensions\n");
}

TEST_F(RunChecksOfBothPacks, SaysHowToMakePixelsEquallyLong) {
    const Words options = {"--as", "binary", "--spacing", "1,1,2"};
    ExpectEnd(Run("SphericalMorphology", bone, options), 1,
              "quillon: SphericalMorphology says: Only isotropic pixels are supported, but spacing is "
              "(1.000000,1.000000,2.000000).\n"
              "quillon: make the pixels equally long first: run Resample\n");
}

TEST_F(RunChecks, NamesTheSourceOfAnErrorOnlyWhenVerbose) {
    ExpectEnd(Run("SphericalMorphology", bone, {"--as", "binary", "-p", "operation=open", "--verbose"}), 1,
              "quillon: warning: operation='open' is not one of erosion, dilation, opening, closing, "
              "erosionrefl, dilationrefl; did you mean 'opening'?\n"
              "quillon: parameters {\"operation\":\"open\",\"radius\":1}\n"
              "quillon: SphericalMorphology says: unknown spherical morphological operation 'open'.\n"
              "quillon: raised by SphericalMorphologyPlugin\n"
              "quillon: see 'quillon describe SphericalMorphology' for what it takes\n");
}

// Spacing

TEST_F(RunChecksOfBothPacks, NotesThatAPluginIgnoresUnequalSpacing) {
    const Words options = {"--spacing", "0.5,0.5,2"};
    ExpectDone(Run("GaussFilter", cement, options),
               "quillon: note: GaussFilter counts in pixels and ignores the unequal spacing 0.5 x 0.5 x 2\n");
    ExpectDone(Run("GaussFilter", cement, {"--spacing", "2,2,2"}), "");
    ExpectDone(Run("VoronoiEdtPlugin", bone, {"--as", "binary", "--spacing", "1,1,2"}), ""); // uses it
    ExpectDone(Run("Invert", cement, options), ""); // has no use for it
    ExpectDone(Run("GaussFilter", cement, {"--spacing", "0.5,0.5,2", "--quiet"}), "");
}

// Outputs

TEST_F(RunChecksOfBothPacks, RefusesOutputNamesBeforeTheRun) {
    ExpectEnd(Run("Invert", cement, {"-o", folder / "a.jpg"}), 2,
              "quillon: cannot write '" + (folder / "a.jpg") +
                  "': its name must end in .nrrd, .mha, .mhd, .nii, .nii.gz, .tif, .tiff or .png\n");
    ExpectEnd(Run("Invert", cement, {"-o", folder / "none/a.nrrd"}), 4,
              "quillon: cannot write '" + (folder / "none/a.nrrd") + "': there is no folder '" +
                  (folder / "none") + "'\n");
    ExpectEnd(Run("Invert", cement, {"-o", folder / ""}), 2,
              "quillon: cannot write '" + (folder / "") + "': it is a folder; name a file in it\n");
    ExpectEnd(Run("Invert", cement, {"-o", folder / "a.png"}), 4,
              "quillon: cannot write '" + (folder / "a.png") +
                  "': PNG holds planes, and the image is a volume; use .nrrd\n");
    ExpectEnd(Run("VoronoiEdtPlugin", page, {"--as", "binary", "-o", folder / "a.png"}), 4,
              "quillon: cannot write '" + (folder / "a.png") +
                  "': PNG holds pixels of 8 and 16 bits, and the image has 32; use .nrrd\n");
    EXPECT_TRUE(folder.Names().empty());
}

TEST_F(RunChecksOfBothPacks, WritesAPlaneThatWasCutOutOfAVolumeAsAPicture) {
    ExpectDone(Run("Crop", cement, {"-p", "z0=3", "-p", "z1=3", "-o", folder / "plane.png"}), "");
}

TEST_F(RunChecksOfBothPacks, ReplacesAnInputOnlyWhenTold) {
    const std::string image = folder / "image.png";
    const std::string mask = folder / "mask.png";
    std::filesystem::copy_file(page, image);
    std::filesystem::copy_file(page, mask);
    const std::string before = test::ReadText(image);
    std::filesystem::create_directory(folder / "sub");
    for (const std::string& output : {image, folder / "sub/../image.png", mask}) {
        const Words options = {"-p", "operation=maximum", "-p", "Image2=" + mask, "-o", output};
        ExpectEnd(Run("Arithmetic", image, options), 2,
                  "quillon: '" + output + "' is also an input; give --overwrite to replace it\n");
    }
    ExpectEnd(Run("Invert", image, {"--report", image}), 2,
              "quillon: '" + image + "' is also an input; give --overwrite to replace it\n");
    ExpectEnd(Run("Invert", image, {"-o", image, "--force"}), 2, // which is about refused images
              "quillon: '" + image + "' is also an input; give --overwrite to replace it\n");
    ExpectEnd(test::Quillon({"convert", image, image}), 2,
              "quillon: '" + image + "' is also an input; give --overwrite to replace it\n");
    EXPECT_EQ(test::ReadText(image), before);
    ExpectDone(Run("Invert", image, {"-o", image, "--overwrite"}), "");
    EXPECT_NE(test::ReadText(image), before);
    EXPECT_EQ(test::Quillon({"convert", image, image, "--overwrite"}).status, 0);
}

TEST_F(RunChecks, AsksForTheFileOfAnExportBeforeTheRun) {
    ExpectEnd(Run("GranulometryExport", cement), 2,
              "quillon: GranulometryExport asks for the name of a table: give --file TABLE.csv\n");
    EXPECT_EQ(Run("GranulometryExport", cement, {"--cancel-dialogs"}).status,
              3); // there is nothing to export
    ExpectEnd(Run("GranulometryExport", cement, {"--file", folder / "none/a.csv"}), 4,
              "quillon: cannot write '" + (folder / "none/a.csv") + "': there is no folder '" +
                  (folder / "none") + "'\n");
}

TEST_F(RunChecks, EndsWithFourAfterAnErrorBox) {
    const std::string measured = folder / "measured.nrrd";
    ASSERT_EQ(Run("LocalFiberDirections", cement, {"-o", measured}).status, 0);
    const test::StEnd end = Run("LocalFiberDirectionsExport", measured,
                                {"--file", folder / "table.csv", "-p", "export_field=false"});
    EXPECT_EQ(end.status, 4);
    EXPECT_EQ(end.err, "quillon: LocalFiberDirectionsExport says: No data selected for export.\n");
}

// Memory

TEST_F(RunChecks, EstimatesTheMemoryOfARun) {
    const test::StEnd end = Run("GaussFilter", cement, {"--estimate", "-o", result});
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.err, "");
    EXPECT_TRUE(Matches(end.out,
                        "^GaussFilter on .*cement_pores_128.nrrd, grey8, 128 x 128 x 128\n"
                        "  images     2097152 bytes \\(2 MiB\\)\n"
                        "  plug-in    [0-9]+ bytes \\([0-9.]+ MiB\\), [0-9.]+ for each of 2097152 voxels\n"
                        "  needed     [0-9]+ bytes \\([0-9.]+ MiB\\)\n"
                        "  available  [0-9]+ bytes \\([0-9.]+ [MG]iB\\)\n$"))
        << end.out;
    EXPECT_TRUE(folder.Names().empty());
}

TEST_F(RunChecksOfBothPacks, WarnsOfARunThatWillNotFit) {
    const test::StEnd end = Run("Resample", cement, {"-p", "factor=300", "--report", folder / "report.json"});
    EXPECT_TRUE(Matches(end.err, "^quillon: warning: this run needs about [0-9.]+ TiB of memory, and [0-9.]+ "
                                 "[MG]iB are available; use a part of the image, or a larger machine\n"))
        << end.err;
}
