#include "engine/files/ImageFile.h"

#include "engine/errors/CEngineError.h"
#include "engine/files/AttributesFile.h"
#include "engine/files/CAtomicFile.h"
#include "engine/files/COutputFile.h"
#include "engine/files/FileErrors.h"
#include "engine/files/ImageFileName.h"
#include "engine/files/TextFile.h"
#include "engine/files/formats/ChannelChoice.h"
#include "engine/files/formats/DicomFolder.h"
#include "engine/files/formats/HeaderChecks.h"
#include "engine/files/formats/HeaderGeometry.h"
#include "engine/files/formats/ImageHeader.h"
#include "engine/files/formats/MetaFile.h"
#include "engine/files/formats/NiftiFile.h"
#include "engine/files/formats/NrrdFile.h"
#include "engine/files/formats/PixelData.h"
#include "engine/files/formats/PngFile.h"
#include "engine/files/formats/SampleConversion.h"
#include "engine/files/formats/TiffFile.h"

#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/ImageView.h>

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <span>
#include <string_view>
#include <vector>

using ORVEN::CImage;
using ORVEN::CQuillonHeaderTools;
using ORVEN::CSize;
using ORVEN::IImage;
using ORVEN::StImageGeometry;

namespace engine {

namespace {

// ---- reading

void ReadSamples(const std::string& path, const StImageHeader& header, void* samples) {
    if (header.format == FORMAT_DICOM)
        ReadDicomSamples(header, samples);
    else if (header.format == FORMAT_TIFF)
        ReadTiffSamples(path, header, samples);
    else if (header.format == FORMAT_PNG)
        ReadPngSamples(path, header, samples);
    else
        ReadPixelData(header, samples);
}

/// Reads a part of the image.
void ReadRegion(const std::string& path, const StImageHeader& header, const StReadBox& box, void* samples) {
    const bool isBlock =
        header.format == FORMAT_NRRD || header.format == FORMAT_META || header.format == FORMAT_NIFTI;
    if (isBlock && !header.data.isPacked) {
        ReadPixelRegion(header, box, samples);
        return;
    }
    if (header.format == FORMAT_TIFF) {
        ReadTiffRegion(path, header, box, samples);
        return;
    }
    // Compressed as a whole, or small.
    RequireMemory(header.ByteCount());
    const auto all =
        std::make_unique_for_overwrite<unsigned char[]>(static_cast<std::size_t>(header.ByteCount()));
    ReadSamples(path, header, all.get());
    const std::int64_t pixelBytes = std::int64_t{header.samplesPerPixel} * SampleSize(header.sample);
    const std::int64_t rowBytes = box.extents[0] * pixelBytes;
    auto* row = static_cast<unsigned char*>(samples);
    for (std::int64_t z = 0; z < box.extents[2]; ++z) {
        for (std::int64_t y = 0; y < box.extents[1]; ++y, row += rowBytes) {
            const std::int64_t line = (box.first[2] + z) * header.size.y + box.first[1] + y;
            std::memcpy(row, all.get() + (line * header.size.x + box.first[0]) * pixelBytes,
                        static_cast<std::size_t>(rowBytes));
        }
    }
}

/// The extents as three numbers, those beyond the dimension being 1.
std::array<std::int64_t, 3> Extents(const CSize& size) {
    return {size.x, size.Dim() > 1 ? size.y : 1, size.Dim() > 2 ? size.z : 1};
}

/// Reads type, size and attributes from the file itself or its side file. May correct the dimension in the
/// header.
StImageFacts ReadFacts(const std::string& path, StImageHeader& header) {
    if (header.format == FORMAT_DICOM)
        return {};
    if (header.format != FORMAT_NRRD) {
        StImageFacts facts = ReadSideFile(path);
        if (facts.size && Extents(*facts.size) != Extents(header.size)) {
            ThrowUnreadable(SideFilePath(path),
                            CFileReason("it describes an image of size " + facts.size->ToString() +
                                        ", and '" + path + "' has size " + header.size.ToString()));
        }
        header.size = facts.size.value_or(header.size);
        return facts;
    }
    StImageFacts facts;
    if (header.typeName) {
        facts.type = PixelTypeOfName(*header.typeName);
        if (!facts.type)
            throw CFileReason("its image type '" + *header.typeName + "' is unknown");
    }
    if (header.attributes)
        facts.attributes = AttributesOfText(*header.attributes);
    return facts;
}

unsigned char* Bytes(CImage& image) {
    const std::unique_ptr<IImage::IAccess> access(image.CreateAccess(false));
    ORVEN::Impl::LockWhole(*access, image.Size(), IImage::LOCK_READ_WRITE);
    return static_cast<unsigned char*>(access->Data());
}

[[noreturn]] void ThrowOtherType(const IImage::CType& type, const std::string& found) {
    throw CFileReason(std::string("its attributes say it is ") + type.ToString() + ", but " + found +
                      "; choose a type with --as");
}

/// The pixels in a file that become an image: all, or those in a box.
class CSource {
public:
    CSource(const std::string& path, const StImageHeader& header, const std::optional<StReadBox>& box)
        : m_path(path)
        , m_header(header)
        , m_box(box)
        , m_size(header.size) {
        for (int axis = 0; m_box && axis < m_size.Dim(); ++axis)
            m_size[axis] = m_box->extents[static_cast<std::size_t>(axis)];
    }

    [[nodiscard]] const StImageHeader& Header() const { return m_header; }
    [[nodiscard]] const CSize& Size() const { return m_size; }
    [[nodiscard]] std::int64_t ByteCount() const {
        return m_size.PixelCount() * m_header.samplesPerPixel * SampleSize(m_header.sample);
    }

    void Read(void* samples) const {
        if (m_box)
            ReadRegion(m_path, m_header, *m_box, samples);
        else
            ReadSamples(m_path, m_header, samples);
    }

private:
    const std::string& m_path;
    const StImageHeader& m_header;
    const std::optional<StReadBox>& m_box;
    CSize m_size;
};

/// Reads pixels that already have the image's type directly into the image.
std::unique_ptr<CImage> ReadInPlace(const CSource& source, const IImage::CType& type) {
    RequireMemory(source.ByteCount());
    auto image = std::make_unique<CImage>(type, source.Size(), CSize(0, 0, 0));
    source.Read(Bytes(*image));
    return image;
}

std::unique_ptr<CImage> ReadAndConvert(const CSource& source, const std::optional<IImage::CType>& type) {
    const StImageHeader& header = source.Header();
    RequireMemory(source.ByteCount());
    const auto samples = std::make_unique_for_overwrite<std::uint64_t[]>(
        static_cast<std::size_t>(source.ByteCount() / 8 + 1)); // aligned for every sample type
    source.Read(samples.get());
    if (header.scale) {
        const auto scaled =
            ScaledSamples(samples.get(), header.sample, source.Size().PixelCount(), *header.scale);
        return MakeImage(source.Size(), scaled.get(), SAMPLE_FLOAT, 1, std::nullopt, type);
    }
    return MakeImage(source.Size(), samples.get(), header.sample, header.samplesPerPixel, header.pickedSample,
                     type);
}

void MakeBinary(CImage& image) {
    for (unsigned char& pixel : std::span(Bytes(image), static_cast<std::size_t>(image.Size().PixelCount())))
        pixel = pixel != 0 ? 1 : 0;
}

void RequireBinary(CImage& image) {
    for (const unsigned char pixel :
         std::span(Bytes(image), static_cast<std::size_t>(image.Size().PixelCount()))) {
        if (pixel > 1)
            ThrowOtherType(image.Type(), "it holds the value " + std::to_string(pixel));
    }
}

std::unique_ptr<CImage> ReadPixels(const CSource& source, const std::optional<IImage::CType>& as,
                                   const std::optional<IImage::CType>& stored) {
    const StImageHeader& header = source.Header();
    const bool isPlain = header.samplesPerPixel == 1 && !header.scale;
    const auto own = isPlain ? SameSampleType(header.sample) : std::nullopt;
    const auto type = as ? as : stored ? stored : own;
    const bool isSame = own && type && SampleOfType(*type) == header.sample;
    if (!as && stored && !isSame)
        ThrowOtherType(*stored, "its pixels are of another type");
    if (!isSame)
        return ReadAndConvert(source, type);
    auto image = ReadInPlace(source, *type);
    if (type->IsBinary() && as)
        MakeBinary(*image);
    else if (type->IsBinary())
        RequireBinary(*image);
    return image;
}

/// Gives the image the attributes found in the file and the geometry of its header.
void SetAttributes(CImage& image, const StImageHeader& header, const StImageFacts& facts) {
    if (!facts.attributes) {
        header.geometry.Store(image);
        return;
    }
    CQuillonHeaderTools::SetAttributes(image, *facts.attributes);
    const StImageGeometry stored = StImageGeometry::Of(image);
    const StImageGeometry merged = MergedGeometry(header, stored);
    if (merged != stored)
        merged.Store(image);
}

/// The box for a region; nothing for the whole image. Raises `CFileReason` if it is not inside the image.
std::optional<StReadBox> BoxOf(const std::vector<StIndexRange>& region, const CSize& size) {
    if (region.empty())
        return std::nullopt;
    if (std::cmp_not_equal(region.size(), size.Dim()))
        throw CFileReason("--region needs " +
                              std::string(size.Dim() == 2 ? "two ranges for a plane, X0:X1,Y0:Y1"
                                                          : "three ranges for a volume, X0:X1,Y0:Y1,Z0:Z1"),
                          EnFault::CALLER);
    StReadBox box;
    for (int axis = 0; axis < size.Dim(); ++axis) {
        const StIndexRange& range = region[static_cast<std::size_t>(axis)];
        if (range.first < 0 || range.last >= size[axis] || range.first > range.last)
            throw CFileReason("--region: " + std::to_string(range.first) + ":" + std::to_string(range.last) +
                                  " is not a range of its indices along " + "xyz"[axis] + ", 0 to " +
                                  std::to_string(size[axis] - 1),
                              EnFault::CALLER);
        box.first[static_cast<std::size_t>(axis)] = range.first;
        box.extents[static_cast<std::size_t>(axis)] = range.last - range.first + 1;
    }
    return box;
}

/// Moves the origin of an image that is a part of another one.
void MoveFirstPixel(CImage& image, const std::array<std::int64_t, 3>& first) {
    if (first == std::array<std::int64_t, 3>{})
        return;
    StImageGeometry geometry = StImageGeometry::Of(image);
    geometry.origin = geometry.PositionOf(
        {static_cast<double>(first[0]), static_cast<double>(first[1]), static_cast<double>(first[2])});
    geometry.Store(image);
}

StImageHeader ReadHeader(const std::string& path, const StReadOptions& options) {
    StImageHeader header = ReadImageHeader(path);
    if (options.takesPrintSize && !header.geometry.spacing && header.printSize) {
        header.geometry.spacing = header.printSize;
        header.geometry.unit = "mm";
    }
    return header;
}

// ---- writing

void RequireHoldable(const StImageHeader& header) {
    const auto require = [](bool isMet, const char* reason) {
        if (!isMet)
            throw CFileReason(reason);
    };
    constexpr std::int64_t maxNiftiExtent = 32767;
    constexpr std::int64_t maxPlaneExtent = 0x7fffffff;
    const auto extents = Extents(header.size);
    const std::int64_t longest = *std::max_element(extents.begin(), extents.end());
    require(*std::min_element(extents.begin(), extents.end()) > 0, "the image has no pixels");
    if (header.format == FORMAT_NIFTI)
        require(longest <= maxNiftiExtent, "NIfTI holds at most 32767 pixels an axis; use .nrrd");
    if (header.format == FORMAT_PNG) {
        require(extents[2] == 1, "PNG holds planes, and the image is a volume; use .nrrd");
        require(SampleSize(header.sample) <= 2,
                "PNG holds pixels of 8 and 16 bits, and the image has 32; use .nrrd");
    }
    if (header.format == FORMAT_PNG || header.format == FORMAT_TIFF)
        require(longest <= maxPlaneExtent, "the image is too long for this format; use .nrrd");
}

/// Raises for attributes that are too long to be read again.
void RequireReadableText(const std::string& attributes) {
    if (attributes.size() > c_maxTextSize)
        throw CFileReason("its attributes take more than " + std::to_string(c_maxTextSize >> 20) + " MiB");
}

StImageHeader HeaderOf(const CImage& image, EnFileFormat format) {
    StImageHeader header;
    header.format = format;
    header.size = image.Size();
    if (header.size.Dim() == 1)
        header.size = CSize(image.Size().x, 1);
    header.sample = SampleOfType(image.Type());
    header.geometry = StImageGeometry::Of(image);
    if (header.geometry.spacing)
        header.geometry.spacing = CheckedSpacing(*header.geometry.spacing);
    if (format == FORMAT_NRRD) {
        header.typeName = image.Type().ToString();
        header.attributes = AttributesText(image.Attributes());
        RequireReadableText(*header.attributes);
    }
    return header;
}

/// The pixels as one contiguous block: those of the image, or a copy in `copy` if the image has a border.
std::string_view DensePixels(const CImage& image, std::string& copy) {
    const std::unique_ptr<const IImage::IAccess> access(image.CreateAccess(false));
    ORVEN::Impl::LockWhole(*access, image.Size(), IImage::LOCK_READ);
    const auto* const first = static_cast<const char*>(access->ConstData());
    const auto [nx, ny, nz] = Extents(image.Size());
    const ORVEN::CPos strides = access->Strides();
    const std::int64_t rowBytes = nx * image.Type().PixelSize();
    const auto byteCount = static_cast<std::size_t>(rowBytes * ny * nz);
    if ((ny == 1 || strides.y == rowBytes) && (nz == 1 || strides.z == rowBytes * ny))
        return {first, byteCount};
    copy.reserve(byteCount);
    for (std::int64_t z = 0; z < nz; ++z) {
        for (std::int64_t y = 0; y < ny; ++y)
            copy.append(first + y * strides.y + z * strides.z, static_cast<std::size_t>(rowBytes));
    }
    return copy;
}

/// Whether gzip saves a quarter or more, estimated from blocks spread over all pixels. On CT grey values it
/// runs at 50 MB per second and saves a sixth; on masks and labels it runs seven times as fast and saves more
/// than nine tenths.
bool IsWorthPacking(std::string_view bytes) {
    constexpr std::size_t blockSize = 65536;
    constexpr std::size_t maxBlocks = 64;
    const std::size_t blocks = std::min(maxBlocks, (bytes.size() + blockSize - 1) / blockSize);
    std::vector<unsigned char> packed(compressBound(blockSize));
    std::size_t taken = 0;
    std::size_t left = 0;
    for (std::size_t i = 0; i < blocks; ++i) {
        const auto block =
            bytes.substr(bytes.size() / blocks * i, std::min(blockSize, bytes.size() / blocks));
        uLongf length = packed.size();
        compress2(packed.data(), &length, reinterpret_cast<const Bytef*>(block.data()), block.size(),
                  Z_BEST_SPEED);
        taken += block.size();
        left += length;
    }
    return left * 4 <= taken * 3;
}

void WriteSamples(const std::string& path, const StImageHeader& header, std::string_view samples,
                  const StTarget& target) {
    const std::string name = std::filesystem::path(path).filename();
    switch (header.format) {
    case FORMAT_NRRD:
        WriteNrrd(path, header, samples, target.packing);
        break;
    case FORMAT_META:
        WriteMeta(path, target.hasDataFile ? DataFileName(name) : "", header, samples);
        break;
    case FORMAT_NIFTI:
        WriteNifti(path, header, samples, target.packing);
        break;
    case FORMAT_TIFF:
        WriteTiffSamples(path, header, samples.data());
        break;
    case FORMAT_PNG:
        WritePng(path, header, samples.data());
        break;
    case FORMAT_DICOM: // no name stands for it
        break;
    }
}

StImageHeader ReadBack(const std::string& path) {
    return Reading(path, [&path] { return ReadImageHeader(path); });
}

/// Whether reading the file without a side file gives this image.
bool IsCompleteAlone(const StImageHeader& found, const CImage& image) {
    CImage alone(ORVEN::IMAGE_GREY_8, CSize(1, 1), CSize(0, 0));
    found.geometry.Store(alone);
    return found.size == image.Size() && SameSampleType(found.sample) == image.Type() &&
           alone.Attributes().Equal(image.Attributes());
}

/// Writes the image file and, if that does not hold all attributes, the side file.
void WriteFiles(const CAtomicFile& file, const CImage& image, StTarget target) {
    const StImageHeader header = HeaderOf(image, target.format);
    RequireHoldable(header);
    std::string copy;
    const std::string_view samples = DensePixels(image, copy);
    if (target.format == FORMAT_NRRD && IsWorthPacking(samples))
        target.packing = PACKING_GZIP;
    WriteSamples(file.Path(), header, samples, target);
    if (target.format == FORMAT_NRRD || IsCompleteAlone(ReadBack(file.Path()), image))
        return;
    const std::string text = SideFileText(image);
    RequireReadableText(text);
    COutputFile sideFile(file.CompanionPath(SideFileName(std::filesystem::path(file.Path()).filename())));
    sideFile.Write(text);
    sideFile.Close();
}

} // namespace

std::unique_ptr<CImage> ReadImage(const std::string& path, const StReadOptions& options) {
    return Reading(path, [&] {
        StImageHeader header = ReadHeader(path, options);
        const StImageFacts facts = ReadFacts(path, header);
        ChooseImage(header, options.channel, options.time);
        const std::optional<StReadBox> box = BoxOf(options.region, header.size);
        auto image = ReadPixels(CSource(path, header, box), options.as, facts.type);
        SetAttributes(*image, header, facts);
        if (box)
            MoveFirstPixel(*image, box->first);
        return image;
    });
}

StImageOutline ReadImageOutline(const std::string& path, const StReadOptions& options) {
    return Reading(path, [&] {
        StImageHeader header = ReadHeader(path, options);
        const StImageFacts facts = ReadFacts(path, header);
        const EnSampleType sample = header.scale ? SAMPLE_FLOAT : header.sample;
        const auto given = options.as ? options.as : facts.type;
        StImageOutline outline;
        outline.type = given.value_or(WidestType(sample));
        outline.typeWithoutNegatives = given.value_or(TypeWithoutNegatives(sample));
        outline.isTypeCertain = outline.type == outline.typeWithoutNegatives;
        const std::optional<StReadBox> box = BoxOf(options.region, header.size);
        outline.size = header.size;
        for (int axis = 0; box && axis < header.size.Dim(); ++axis)
            outline.size[axis] = box->extents[static_cast<std::size_t>(axis)];
        outline.channels = header.ChannelCount();
        outline.times = header.series.times;
        outline.carrier = std::make_unique<CImage>(ORVEN::IMAGE_GREY_8, CSize(1, 1), CSize(0, 0));
        SetAttributes(*outline.carrier, header, facts);
        if (box)
            MoveFirstPixel(*outline.carrier, box->first);
        CQuillonHeaderTools::GetSpacing(*outline.carrier, outline.spacing[0], outline.spacing[1],
                                        outline.spacing[2]);
        return outline;
    });
}

std::vector<std::string> FilesOfContent(const std::string& path) {
    return Reading(path, [&] {
        const StImageHeader header = ReadImageHeader(path);
        std::vector<std::string> files;
        if (header.format == FORMAT_DICOM) {
            for (const StSliceFile& slice : header.slices)
                files.push_back(slice.path);
            return files;
        }
        files.push_back(path);
        if (!header.data.path.empty() && header.data.path != path)
            files.push_back(header.data.path);
        const std::string sideFile = SideFilePath(path);
        std::error_code error;
        if (header.format != FORMAT_NRRD && std::filesystem::exists(sideFile, error))
            files.push_back(sideFile);
        return files;
    });
}

void RequireFormatHolds(const std::string& path, const IImage::CType& type, const CSize& size) {
    RequireImageFileName(path);
    StImageHeader header;
    header.format = TargetOfName(path)->format;
    header.size = size;
    header.sample = SampleOfType(type);
    Writing(path, [&] { RequireHoldable(header); });
}

std::unique_ptr<CImage> ReadImage(const std::string& path, const std::optional<IImage::CType>& as) {
    StReadOptions options;
    options.as = as;
    return ReadImage(path, options);
}

void WriteImage(const CImage& image, const std::string& path) {
    RequireImageFileName(path);
    RequireOwnCompanions(path);
    CAtomicFile file(path);
    Writing(path, [&] { WriteFiles(file, image, *TargetOfName(path)); });
    RequireOwnCompanions(path); // other programs may have written in the meantime
    file.Commit(CompanionNames(std::filesystem::path(file.Path()).filename()));
}

void RequireImageFileName(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        throw CCallerError("cannot write '" + path + "': it is a folder; name a file in it");
    if (!TargetOfName(path)) {
        throw CCallerError("cannot write '" + path +
                           "': its name must end in .nrrd, .mha, .mhd, .nii, .nii.gz, .tif, "
                           ".tiff or .png");
    }
}

} // namespace engine
