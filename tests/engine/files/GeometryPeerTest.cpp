#include "support/FileTools.h"

#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/StImageGeometry.h>

#include <itkImageIOBase.h>
#include <itkMetaImageIO.h>
#include <itkNiftiImageIO.h>
#include <itkNrrdImageIO.h>

#include <cmath>

using namespace ORVEN;

// Where another library finds the pixels of our files in space, and where we find those of its files: a
// result has to lie over its input in any viewer.

namespace engine::test {

namespace {

using Vector = StImageGeometry::Vector;

itk::ImageIOBase::Pointer PeerOf(const std::string& path) {
    itk::Object::SetGlobalWarningDisplay(false);
    if (path.ends_with(".nrrd"))
        return itk::NrrdImageIO::New().GetPointer();
    if (path.ends_with(".mha") || path.ends_with(".mhd"))
        return itk::MetaImageIO::New().GetPointer();
    return itk::NiftiImageIO::New().GetPointer();
}

/// The geometry that the peer finds in a file.
StImageGeometry ReadByPeer(const std::string& path) {
    const auto io = PeerOf(path);
    io->SetFileName(path);
    io->ReadImageInformation();
    StImageGeometry geometry;
    geometry.spacing = Vector{1, 1, 1};
    for (unsigned axis = 0; axis < std::min(io->GetNumberOfDimensions(), 3u); ++axis) {
        (*geometry.spacing)[axis] = io->GetSpacing(axis);
        geometry.origin[axis] = io->GetOrigin(axis);
        const std::vector<double> direction = io->GetDirection(axis);
        std::copy_n(direction.begin(), std::min<std::size_t>(direction.size(), 3),
                    geometry.directions[axis].begin());
    }
    return geometry;
}

void WriteByPeer(const std::string& path, const CImage& image, const StImageGeometry& geometry) {
    const auto io = PeerOf(path);
    const auto axes = static_cast<unsigned>(image.Size().Dim());
    io->SetFileName(path);
    io->SetNumberOfDimensions(axes);
    itk::ImageIORegion region(axes);
    for (unsigned axis = 0; axis < axes; ++axis) {
        io->SetDimensions(axis, static_cast<std::size_t>(image.Size()[axis]));
        region.SetSize(axis, static_cast<std::size_t>(image.Size()[axis]));
        io->SetSpacing(axis, (*geometry.spacing)[axis]);
        io->SetOrigin(axis, geometry.origin[axis]);
        const Vector& direction = geometry.directions[axis];
        io->SetDirection(axis, {direction.begin(), direction.begin() + axes});
    }
    io->SetComponentType(itk::IOComponentEnum::UCHAR);
    io->SetPixelType(itk::IOPixelEnum::SCALAR);
    io->SetNumberOfComponents(1);
    io->SetIORegion(region);
    io->Write(PixelBytes(image).data());
}

/// Both place the corners of an image of 7 x 5 x 3 pixels alike.
void ExpectSamePlace(const StImageGeometry& found, const StImageGeometry& meant, int axes = 3) {
    for (const Vector& pixel : {Vector{0, 0, 0}, Vector{6, 0, 0}, Vector{0, 4, 0}, Vector{0, 0, 2}}) {
        if (axes == 2 && pixel[2] != 0)
            continue;
        const Vector place = found.PositionOf(pixel);
        const Vector right = meant.PositionOf(pixel);
        for (std::size_t i = 0; i < static_cast<std::size_t>(axes); ++i)
            EXPECT_NEAR(place[i], right[i], 1e-4)
                << "axis " << i << " of pixel " << pixel[0] << "," << pixel[1];
    }
}

/// Directions turned by a quaternion that is not normalised, so that every number is a plain fraction.
std::array<Vector, 3> Turned(double a, double b, double c, double d) {
    const double s = a * a + b * b + c * c + d * d;
    return {{{(a * a + b * b - c * c - d * d) / s, 2 * (b * c + a * d) / s, 2 * (b * d - a * c) / s},
             {2 * (b * c - a * d) / s, (a * a + c * c - b * b - d * d) / s, 2 * (c * d + a * b) / s},
             {2 * (b * d + a * c) / s, 2 * (c * d - a * b) / s, (a * a + d * d - b * b - c * c) / s}}};
}

std::array<Vector, 3> Mirrored(std::array<Vector, 3> directions) {
    for (double& number : directions[2])
        number = -number;
    return directions;
}

/// Geometries with every kind of directions: plain, turned slightly and by half a circle, mirrored.
std::vector<StImageGeometry> Geometries() {
    std::vector<StImageGeometry> geometries;
    for (const auto& directions :
         {StImageGeometry::identity, Turned(3, 1, 2, -1), Turned(0, 1, 0, 0), Turned(0, 0, 1, 0),
          Turned(0, 0, 0, 1), Turned(0, 1, 2, 3), Turned(-1, 2, 1, 4), Mirrored(StImageGeometry::identity),
          Mirrored(Turned(1, 5, -2, 1))}) {
        StImageGeometry geometry;
        geometry.spacing = Vector{0.5, 0.25, 2};
        geometry.origin = {12.5, -7, 100.25};
        geometry.directions = directions;
        geometries.push_back(geometry);
    }
    geometries.front().origin = {}; // only a spacing
    return geometries;
}

const std::vector<std::string> c_names = {"a.nrrd", "a.mha", "a.mhd", "a.nii", "a.nii.gz"};

} // namespace

TEST(GeometryPeer, FindsOurVolumesWhereTheyAre) {
    for (const StImageGeometry& geometry : Geometries()) {
        for (const std::string& name : c_names) {
            SCOPED_TRACE(name);
            const CTestFolder folder;
            const auto image = RandomImage(IMAGE_GREY_8, CSize(7, 5, 3), 1);
            geometry.Store(*image);
            WriteImage(*image, folder / name);
            ExpectSamePlace(ReadByPeer(folder / name), geometry);
        }
    }
}

TEST(GeometryPeer, FindsOurPlanesWhereTheyAre) {
    for (const std::string& name : c_names) {
        SCOPED_TRACE(name);
        const CTestFolder folder;
        const auto image = RandomImage(IMAGE_GREY_8, CSize(7, 5), 1);
        StImageGeometry geometry;
        geometry.spacing = Vector{0.5, 0.25, 1};
        geometry.origin = {12.5, -7, 0};
        geometry.directions = {{{0.6, 0.8, 0}, {-0.8, 0.6, 0}, {0, 0, 1}}};
        geometry.Store(*image);
        WriteImage(*image, folder / name);
        ExpectSamePlace(ReadByPeer(folder / name), geometry, 2);
    }
}

TEST(GeometryPeer, FindsAResultOverItsInput) {
    for (const std::string& name : c_names) {
        SCOPED_TRACE(name);
        const CTestFolder folder;
        const auto image = RandomImage(IMAGE_GREY_8, CSize(7, 5, 3), 1);
        Geometries()[1].Store(*image);
        WriteImage(*image, folder / name);
        ASSERT_EQ(
            ::test::Quillon({"run", "GaussFilter", folder / name, "-o", folder / ("filtered" + name)}).status,
            0);
        ExpectSamePlace(ReadByPeer(folder / ("filtered" + name)), ReadByPeer(folder / name));
    }
}

TEST(GeometryPeer, WritesVolumesThatWeFindWhereTheyAre) {
    for (const StImageGeometry& geometry : Geometries()) {
        for (const std::string& name : c_names) {
            SCOPED_TRACE(name);
            const CTestFolder folder;
            WriteByPeer(folder / name, *RandomImage(IMAGE_GREY_8, CSize(7, 5, 3), 1), geometry);
            ExpectSamePlace(StImageGeometry::Of(*ReadImage(folder / name)), geometry);
        }
    }
}

TEST(GeometryPeer, AgreesOnRealFiles) {
    for (const char* const name : {"cement_pores_128.nrrd", "nuclei_platynereis_labels_u16.nrrd",
                                   "lung_ct_crop_u16.mha", "brain_mri_crop.nii.gz"}) {
        SCOPED_TRACE(name);
        ExpectSamePlace(StImageGeometry::Of(*ReadImage(DataFile(name))), ReadByPeer(DataFile(name)));
    }
}

TEST(GeometryPeer, AgreesOnSpacesOfNrrd) {
    for (const std::string space :
         {"space: left-posterior-superior", "space: LPS", "space: right-anterior-superior", "space: RAS",
          "space: scanner-xyz", "space: 3D-right-handed", "space dimension: 3"}) {
        SCOPED_TRACE(space);
        const CTestFolder folder;
        Store(folder / "a.nrrd", "NRRD0005\ntype: uint8\ndimension: 3\nsizes: 7 5 3\nencoding: raw\n" +
                                     space +
                                     "\nspace directions: (0,2,0) (3,0,0) (0,0,-4)\n"
                                     "space origin: (10,20,30)\n\n" +
                                     std::string(105, 'x'));
        const StImageGeometry found = StImageGeometry::Of(*ReadImage(folder / "a.nrrd"));
        ExpectSamePlace(found, ReadByPeer(folder / "a.nrrd"));
        EXPECT_EQ(found.isAnatomical,
                  space.find("3") == std::string::npos && space.find("xyz") == std::string::npos);
    }
}

// The peer reverses the wrong axis here, so this is held against the definition.
TEST(GeometryPeer, IsNotFollowedWhereItMistakesASpaceOfNrrd) {
    const CTestFolder folder;
    Store(folder / "a.nrrd", "NRRD0005\ntype: uint8\ndimension: 3\nsizes: 2 1 1\nencoding: raw\n"
                             "space: left-anterior-superior\nspace directions: (2,0,0) (0,3,0) (0,0,4)\n"
                             "space origin: (10,20,30)\n\nab");
    const StImageGeometry found = StImageGeometry::Of(*ReadImage(folder / "a.nrrd"));
    EXPECT_EQ(found.origin, (Vector{10, -20, 30}));
    EXPECT_EQ(found.directions, (std::array<Vector, 3>{{{1, 0, 0}, {0, -1, 0}, {0, 0, 1}}}));
    EXPECT_TRUE(found.isAnatomical);
}

} // namespace engine::test
