#include "support/FileTools.h"

#include <sorblib2image/CQuillonHeaderTools.h>

#include <itkImageIOBase.h>
#include <itkMetaImageIO.h>
#include <itkNiftiImageIO.h>
#include <itkNrrdImageIO.h>
#include <itkPNGImageIO.h>
#include <itkTIFFImageIO.h>

#include <cmath>

using namespace ORVEN;

// Our files as another library understands them, and its files as we do: what we write must not only please
// ourselves.

namespace engine::test {

namespace {

itk::ImageIOBase::Pointer PeerOf(const std::string& path) {
    itk::Object::SetGlobalWarningDisplay(false);
    if (path.ends_with(".nrrd"))
        return itk::NrrdImageIO::New().GetPointer();
    if (path.ends_with(".png"))
        return itk::PNGImageIO::New().GetPointer();
    if (path.ends_with(".tif"))
        return itk::TIFFImageIO::New().GetPointer();
    if (path.ends_with(".mha") || path.ends_with(".mhd"))
        return itk::MetaImageIO::New().GetPointer();
    return itk::NiftiImageIO::New().GetPointer();
}

struct StPeerImage {
    std::vector<std::int64_t> extents;
    std::vector<double> spacing;
    itk::IOComponentEnum component = itk::IOComponentEnum::UNKNOWNCOMPONENTTYPE;
    std::string pixels;
};

itk::ImageIORegion WholeRegion(const itk::ImageIOBase& io) {
    itk::ImageIORegion region(io.GetNumberOfDimensions());
    for (unsigned axis = 0; axis < io.GetNumberOfDimensions(); ++axis)
        region.SetSize(axis, io.GetDimensions(axis));
    return region;
}

StPeerImage ReadByPeer(const std::string& path) {
    const auto io = PeerOf(path);
    io->SetFileName(path);
    io->ReadImageInformation();
    StPeerImage image;
    for (unsigned axis = 0; axis < io->GetNumberOfDimensions(); ++axis) {
        image.extents.push_back(static_cast<std::int64_t>(io->GetDimensions(axis)));
        image.spacing.push_back(io->GetSpacing(axis));
    }
    image.component = io->GetComponentType();
    image.pixels.resize(static_cast<std::size_t>(io->GetImageSizeInBytes()));
    io->SetIORegion(WholeRegion(*io));
    io->Read(image.pixels.data());
    return image;
}

itk::IOComponentEnum ComponentOf(const IImage::CType& type) {
    if (type == IMAGE_GREY_16)
        return itk::IOComponentEnum::USHORT;
    if (type == IMAGE_GREY_32)
        return itk::IOComponentEnum::UINT;
    if (type == IMAGE_GREY_F)
        return itk::IOComponentEnum::FLOAT;
    return itk::IOComponentEnum::UCHAR;
}

void WriteByPeer(const std::string& path, const CImage& image, const std::vector<double>& spacing,
                 itk::IOComponentEnum component, bool isPacked) {
    const auto io = PeerOf(path);
    const auto axes = static_cast<unsigned>(image.Size().Dim());
    io->SetFileName(path);
    io->SetNumberOfDimensions(axes);
    for (unsigned axis = 0; axis < axes; ++axis) {
        std::vector<double> direction(axes, 0.0);
        direction[axis] = 1;
        io->SetDimensions(axis, static_cast<std::size_t>(image.Size()[axis]));
        io->SetSpacing(axis, spacing[axis]);
        io->SetOrigin(axis, 0);
        io->SetDirection(axis, direction);
    }
    io->SetComponentType(component);
    io->SetPixelType(itk::IOPixelEnum::SCALAR);
    io->SetNumberOfComponents(1);
    io->SetIORegion(WholeRegion(*io));
    io->SetUseCompression(isPacked);
    io->Write(PixelBytes(image).data());
}

/// Floats that are all finite: the peer makes 0 of others in one format.
std::unique_ptr<CImage> PeerImage(const IImage::CType& type, const CSize& size) {
    if (!(type == IMAGE_GREY_F))
        return RandomImage(type, size, 11);
    std::vector<float> values;
    for (std::int64_t i = 0; i < size.PixelCount(); ++i)
        values.push_back(std::sin(static_cast<float>(i)));
    return ImageOf<float>(type, size, values);
}

const std::array c_types = {IMAGE_BINARY_FG, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_F};

} // namespace

TEST(Peer, ReadsTheVolumesThatWeWrite) {
    for (const auto& type : c_types) {
        for (const std::string name : {"a.nrrd", "a.mha", "a.mhd", "a.nii", "a.nii.gz", "a.tif"}) {
            if (name == "a.tif" && type == IMAGE_GREY_32)
                continue; // the peer does not read such files
            SCOPED_TRACE(std::string(type.ToString()) + " " + name);
            const CTestFolder folder;
            const auto image = PeerImage(type, CSize(7, 5, 3));
            CQuillonHeaderTools::SetSpacing(*image, 0.5, 0.25, 2);
            CQuillonHeaderTools::AddToHistory(*image, "a \\ \"b\"\n\xc3\xa4", 0);
            WriteImage(*image, folder / name);
            const StPeerImage found = ReadByPeer(folder / name);
            EXPECT_EQ(found.extents, (std::vector<std::int64_t>{7, 5, 3}));
            EXPECT_EQ(found.component, ComponentOf(type));
            EXPECT_TRUE(found.pixels == PixelBytes(*image));
            for (std::size_t axis = 0; axis < (name == "a.tif" ? 2u : 3u); ++axis)
                EXPECT_NEAR(found.spacing[axis], (std::array{0.5, 0.25, 2.0}[axis]), 1e-6);
        }
    }
}

TEST(Peer, ReadsThePlanesThatWeWrite) {
    for (const auto& type : {IMAGE_BINARY_FG, IMAGE_GREY_8, IMAGE_GREY_16}) {
        for (const std::string name : {"a.nrrd", "a.mha", "a.nii", "a.tif", "a.png"}) {
            SCOPED_TRACE(std::string(type.ToString()) + " " + name);
            const CTestFolder folder;
            const auto image = PeerImage(type, CSize(9, 4));
            WriteImage(*image, folder / name);
            const StPeerImage found = ReadByPeer(folder / name);
            EXPECT_EQ(found.extents, (std::vector<std::int64_t>{9, 4}));
            EXPECT_TRUE(found.pixels == PixelBytes(*image));
        }
    }
}

TEST(Peer, WritesVolumesThatWeRead) {
    for (const auto& type : c_types) {
        for (const std::string name : {"a.nrrd", "a.mha", "a.mhd", "a.nii", "a.nii.gz", "a.tif"}) {
            for (const bool isPacked : {false, true}) {
                if (name == "a.tif" && type == IMAGE_GREY_32)
                    continue; // the peer cannot write such a file
                SCOPED_TRACE(std::string(type.ToString()) + " " + name + (isPacked ? " packed" : ""));
                const CTestFolder folder;
                const auto image = PeerImage(type, CSize(7, 5, 3));
                WriteByPeer(folder / name, *image, {0.5, 0.25, 2}, ComponentOf(type), isPacked);
                StReadOptions options;
                options.as = type;
                options.takesPrintSize = name == "a.tif"; // the peer states the spacing as a resolution
                const auto found = ReadImage(folder / name, options);
                EXPECT_EQ(found->Size().ToString(), "(7,5,3)");
                EXPECT_TRUE(PixelBytes(*found) == PixelBytes(*image));
                double x = 0;
                double y = 0;
                double z = 0;
                ASSERT_TRUE(CQuillonHeaderTools::GetSpacing(*found, x, y, z));
                EXPECT_NEAR(x, 0.5, 1e-6);
                EXPECT_NEAR(y, 0.25, 1e-6);
                EXPECT_EQ(z, name == "a.tif" ? 1.0 : 2.0);
            }
        }
    }
}

TEST(Peer, WritesPicturesThatWeRead) {
    const CTestFolder folder;
    for (const auto& type : {IMAGE_GREY_8, IMAGE_GREY_16}) {
        const auto image = PeerImage(type, CSize(9, 4));
        WriteByPeer(folder / "a.png", *image, {1, 1}, ComponentOf(type), true);
        ExpectSameImage(*ReadImage(folder / "a.png"), *image);
    }
}

TEST(Peer, AgreesOnRealFiles) {
    for (const char* const name :
         {"page.png", "cement_pores_128.nrrd", "nuclei_platynereis_labels_u16.nrrd", "lung_ct_crop_u16.mha",
          "fibres_polymer_crop_f32.tif", "shell_crop_stack.tif", "brain_mri_crop.nii.gz"}) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(PixelBytes(*ReadImage(DataFile(name))) == ReadByPeer(DataFile(name)).pixels);
    }
}

TEST(Peer, AgreesOnScaledPixels) {
    const CTestFolder folder;
    const auto image = RandomImage(IMAGE_GREY_16, CSize(6, 5, 4), 3);
    WriteImage(*image, folder / "a.nii");
    std::filesystem::remove(folder / "a.nii.attributes.json");
    std::string contents = ReadText(folder / "a.nii");
    const std::array<float, 2> scale = {0.25f, -1000.0f};
    std::memcpy(contents.data() + 112, scale.data(), sizeof(scale)); // scl_slope, scl_inter
    Store(folder / "a.nii", contents);
    const auto found = ReadImage(folder / "a.nii");
    EXPECT_EQ(found->Type(), IMAGE_GREY_F);
    const StPeerImage peer = ReadByPeer(folder / "a.nii");
    ASSERT_EQ(peer.component, itk::IOComponentEnum::FLOAT);
    const auto ours = Pixels<float>(*found);
    for (std::size_t i = 0; i < ours.size(); ++i) {
        float theirs = 0;
        std::memcpy(&theirs, peer.pixels.data() + 4 * i, 4);
        ASSERT_NEAR(ours[i], theirs, 1e-2) << i;
    }
}

} // namespace engine::test
