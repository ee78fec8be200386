#include "support/FileTools.h"

#include <sorblib2image/StImageGeometry.h>

#include <gdcmImageChangeTransferSyntax.h>
#include <gdcmImageWriter.h>
#include <gdcmTrace.h>
#include <itkGDCMImageIO.h>
#include <itkGDCMSeriesFileNames.h>

using namespace ORVEN;

// Folders with a DICOM series, made here slice by slice.

namespace engine::test {

namespace {

using Vector = StImageGeometry::Vector;

/// A slice of 3 x 2 pixels.
struct StSlice {
    std::string series = "1.2.3.4";
    Vector position{10, 20, 30};
    std::array<double, 6> directions{1, 0, 0, 0, 1, 0};
    std::vector<std::uint16_t> pixels{0, 1, 2, 3, 4, 65535};
    double spacing = 0.5; ///< along a row; 0.75 along a column
    std::string intercept = "0";
    std::string slope = "1";
    bool isSigned = false;
    bool isPacked = false;
    bool hasPlace = true;
    unsigned width = 3;
};

void SetText(gdcm::DataSet& data, const gdcm::Tag& tag, std::string text) {
    if (text.size() % 2 != 0)
        text += ' ';
    gdcm::DataElement element(tag);
    element.SetByteValue(text.data(), static_cast<std::uint32_t>(text.size()));
    data.Replace(element);
}

void Write(const std::string& path, const StSlice& slice) {
    gdcm::Trace::WarningOff();
    gdcm::SmartPointer<gdcm::Image> image(new gdcm::Image);
    image->SetNumberOfDimensions(2);
    image->SetDimension(0, slice.width);
    image->SetDimension(1, 2);
    image->SetPixelFormat(slice.isSigned ? gdcm::PixelFormat::INT16 : gdcm::PixelFormat::UINT16);
    image->SetPhotometricInterpretation(gdcm::PhotometricInterpretation::MONOCHROME2);
    image->SetTransferSyntax(gdcm::TransferSyntax::ExplicitVRLittleEndian);
    image->SetSpacing(0, slice.spacing);
    image->SetSpacing(1, 0.75);
    for (unsigned i = 0; i < 3; ++i)
        image->SetOrigin(i, slice.position[i]);
    image->SetDirectionCosines(slice.directions.data());
    image->SetIntercept(std::stod(slice.intercept));
    image->SetSlope(std::stod(slice.slope));
    std::vector<std::uint16_t> pixels = slice.pixels;
    pixels.resize(std::size_t{slice.width} * 2);
    gdcm::DataElement data(gdcm::Tag(0x7fe0, 0x0010));
    data.SetByteValue(reinterpret_cast<const char*>(pixels.data()),
                      static_cast<std::uint32_t>(2 * pixels.size()));
    image->SetDataElement(data);
    gdcm::ImageWriter writer;
    if (slice.isPacked) {
        gdcm::ImageChangeTransferSyntax change;
        change.SetTransferSyntax(gdcm::TransferSyntax::JPEGLosslessProcess14_1);
        change.SetInput(*image);
        ASSERT_TRUE(change.Change());
        writer.SetImage(change.GetOutput());
    } else {
        writer.SetImage(*image);
    }
    gdcm::DataSet& set = writer.GetFile().GetDataSet();
    SetText(set, gdcm::Tag(0x0008, 0x0016),
            slice.hasPlace ? "1.2.840.10008.5.1.4.1.1.2"   // CT
                           : "1.2.840.10008.5.1.4.1.1.7"); // a screen shot
    SetText(set, gdcm::Tag(0x0008, 0x0018),
            "1.2.3." + std::to_string(std::filesystem::path(path).filename().string().size()) + ".9");
    SetText(set, gdcm::Tag(0x0020, 0x000d), "1.2.3");
    SetText(set, gdcm::Tag(0x0020, 0x000e), slice.series);
    writer.SetFileName(path.c_str());
    ASSERT_TRUE(writer.Write());
}

/// Four slices 2 mm apart, in files whose names have another order.
std::vector<std::pair<std::string, StSlice>> Series() {
    std::vector<std::pair<std::string, StSlice>> series;
    for (const int place : {2, 0, 3, 1}) {
        StSlice slice;
        slice.position[2] += 2.0 * place;
        slice.pixels.front() = static_cast<std::uint16_t>(place);
        series.emplace_back("slice" + std::to_string(series.size()) + ".dcm", slice);
    }
    return series;
}

class DicomFolder : public testing::Test {
protected:
    void Write(const std::vector<std::pair<std::string, StSlice>>& series) {
        for (const auto& [name, slice] : series)
            test::Write(folder / name, slice);
    }

    /// Asserts the whole message.
    void ExpectRefused(const std::string& reason) {
        const StCallEnd end = EndOf([&] { (void)ReadImage(folder / ""); });
        EXPECT_EQ(end.fault, EnFault::FILE);
        EXPECT_EQ(end.message, "cannot read '" + (folder / "") + "': " + reason);
    }

    ::test::CTestFolder folder;
};

} // namespace

TEST_F(DicomFolder, IsReadInTheOrderOfPositions) {
    Write(Series());
    Store(folder / "README.txt", "not a slice");
    const auto image = ReadImage(folder / "");
    EXPECT_EQ(image->Type(), IMAGE_GREY_16);
    EXPECT_EQ(image->Size().ToString(), "(3,2,4)");
    EXPECT_EQ(Pixels<std::uint16_t>(*image),
              (std::vector<std::uint16_t>{0, 1, 2, 3, 4, 65535, 1, 1, 2, 3, 4, 65535,
                                          2, 1, 2, 3, 4, 65535, 3, 1, 2, 3, 4, 65535}));
    StImageGeometry meant;
    meant.spacing = Vector{0.5, 0.75, 2};
    meant.origin = {10, 20, 30};
    meant.unit = "mm";
    meant.isAnatomical = true;
    EXPECT_EQ(StImageGeometry::Of(*image), meant);
}

TEST_F(DicomFolder, IsWhereAnotherReaderFindsIt) {
    std::vector<std::pair<std::string, StSlice>> series = Series();
    for (auto& [name, slice] : series) {
        slice.directions = {0, 0.6, 0.8, 0, -0.8, 0.6}; // normal: (1, 0, 0)
        slice.position = {slice.position[2], 5, -7};
    }
    Write(series);
    const StImageGeometry found = StImageGeometry::Of(*ReadImage(folder / ""));
    const auto names = itk::GDCMSeriesFileNames::New();
    names->SetDirectory(folder / "");
    const std::vector<std::string> files = names->GetInputFileNames();
    ASSERT_EQ(files.size(), 4u);
    for (std::size_t z = 0; z < files.size(); ++z) {
        const auto io = itk::GDCMImageIO::New();
        io->SetFileName(files[z]);
        io->ReadImageInformation();
        for (const Vector& pixel : {Vector{0, 0, 0}, Vector{2, 0, 0}, Vector{0, 1, 0}}) {
            Vector right{};
            for (unsigned i = 0; i < 3; ++i) {
                right[i] = io->GetOrigin(i);
                for (unsigned axis = 0; axis < 2; ++axis)
                    right[i] += pixel[axis] * io->GetSpacing(axis) * io->GetDirection(axis)[i];
            }
            const Vector place = found.PositionOf({pixel[0], pixel[1], static_cast<double>(z)});
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_NEAR(place[i], right[i], 1e-9);
        }
    }
}

TEST_F(DicomFolder, IsRescaledToMeasuredValues) {
    std::vector<std::pair<std::string, StSlice>> series = Series();
    for (auto& [name, slice] : series)
        slice.intercept = "-1024";
    Write(series);
    const auto image = ReadImage(folder / "");
    EXPECT_EQ(image->Type(), IMAGE_GREY_F);
    EXPECT_EQ(Pixels<float>(*image)[0], -1024.0f);
    EXPECT_EQ(Pixels<float>(*image)[5], 64511.0f);
    EXPECT_EQ(Pixels<float>(*image)[18], -1021.0f);
}

TEST_F(DicomFolder, IsReadWhenPackedOrSigned) {
    std::vector<std::pair<std::string, StSlice>> series = Series();
    for (auto& [name, slice] : series)
        slice.isPacked = true;
    Write(series);
    EXPECT_EQ(Pixels<std::uint16_t>(*ReadImage(folder / ""))[5], 65535);
    for (auto& [name, slice] : series) {
        slice.isPacked = false;
        slice.isSigned = true;
    }
    Write(series);
    EXPECT_EQ(Pixels<float>(*ReadImage(folder / ""))[5], -1.0f);
}

TEST_F(DicomFolder, WithOneSliceIsAPlane) {
    Write({Series().front()});
    EXPECT_EQ(ReadImage(folder / "")->Size().ToString(), "(3,2)");
}

TEST_F(DicomFolder, FollowsATiltedScanner) {
    std::vector<std::pair<std::string, StSlice>> series = Series();
    for (auto& [name, slice] : series)
        slice.position[1] += 0.75 * (slice.position[2] - 30);
    Write(series);
    const StImageGeometry found = StImageGeometry::Of(*ReadImage(folder / ""));
    EXPECT_EQ(found.spacing, (Vector{0.5, 0.75, 2.5}));
    EXPECT_EQ(found.directions[2], (Vector{0, 0.6, 0.8}));
}

TEST_F(DicomFolder, SaysWhatIsWrongInOneLine) {
    ExpectRefused("it is a folder without DICOM slices; name an image file, or a folder with a series");
    Store(folder / "a.txt", "text");
    ExpectRefused("it is a folder without DICOM slices; name an image file, or a folder with a series");
    Write(Series());
    const StSlice good = Series().front().second;

    std::filesystem::remove(folder / "slice3.dcm"); // the second
    ExpectRefused(
        "its slices are not evenly spaced: 4 mm lie between 'slice1.dcm' and 'slice0.dcm', and 2 mm "
        "between others; are files missing?");
    Write(Series());

    StSlice other = good;
    other.series = "1.2.3.5";
    Write({{"other.dcm", other}});
    ExpectRefused(
        "it holds 2 series (1.2.3.4 with 4, 1.2.3.5 with 1); put the files of the one you need into a "
        "folder of their own");
    Write({{"other.dcm", good}});
    ExpectRefused("its slices 'other.dcm' and 'slice0.dcm' lie at the same position; the folder may hold "
                  "several time points");

    other = good;
    other.position[2] = 38;
    other.directions = {0, 1, 0, -1, 0, 0};
    Write({{"other.dcm", other}});
    ExpectRefused("its slices 'other.dcm' and 'slice0.dcm' differ in orientation");
    other.directions = good.directions;
    other.width = 4;
    Write({{"other.dcm", other}});
    ExpectRefused("its slices 'other.dcm' and 'slice0.dcm' differ in size");
    other.width = 3;
    other.spacing = 0.6;
    Write({{"other.dcm", other}});
    ExpectRefused("its slices 'other.dcm' and 'slice0.dcm' differ in the size of a pixel");
    other.spacing = good.spacing;
    other.isSigned = true;
    Write({{"other.dcm", other}});
    ExpectRefused("its slices 'other.dcm' and 'slice0.dcm' differ in the type of their pixels");
    other.isSigned = false;
    other.hasPlace = false;
    Write({{"other.dcm", other}});
    ExpectRefused("its file 'other.dcm' does not say where its slice lies");
}

TEST_F(DicomFolder, IsRefusedWithAFileThatEndsTooEarly) {
    Write(Series());
    const std::string contents = ReadText(folder / "slice2.dcm");
    for (const std::size_t missing : {1u, 6u, 12u}) {
        Store(folder / "slice2.dcm", contents.substr(0, contents.size() - missing));
        ExpectRefused("its file 'slice2.dcm' ends too early");
    }
}

TEST_F(DicomFolder, NamesTheFileWithDamagedPixels) {
    std::vector<std::pair<std::string, StSlice>> series = Series();
    for (auto& [name, slice] : series)
        slice.isPacked = true;
    Write(series);
    const std::string contents = ReadText(folder / "slice2.dcm");
    for (const std::size_t missing : {30u, 60u}) {
        Store(folder / "slice2.dcm", contents.substr(0, contents.size() - missing));
        const StCallEnd end = EndOf([&] { (void)ReadImage(folder / ""); });
        EXPECT_EQ(end.fault, EnFault::FILE) << missing;
        EXPECT_TRUE(end.message.starts_with("cannot read '" + (folder / "slice2.dcm") + "': its pixels "))
            << end.message;
    }
}

TEST_F(DicomFolder, IsAskedForInPlaceOfOneOfItsFiles) {
    Write(Series());
    ExpectUnreadable(folder / "slice0.dcm", "it is a DICOM file; give the folder with its series");
}

TEST_F(DicomFolder, IsAnInputOfTheProgram) {
    Write(Series());
    const ::test::StEnd end = ::test::Quillon({"convert", folder / "", folder / "volume.nrrd"});
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_EQ(end.err, "");
    ExpectSameImage(*ReadImage(folder / "volume.nrrd"), *ReadImage(folder / ""));
}

} // namespace engine::test
