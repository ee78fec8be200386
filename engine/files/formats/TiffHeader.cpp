#include "engine/files/FileErrors.h"
#include "engine/files/formats/CTiff.h"
#include "engine/files/formats/CTiffLimits.h"
#include "engine/files/formats/HeaderChecks.h"
#include "engine/files/formats/HeaderGeometry.h"
#include "engine/files/formats/StTiffDescription.h"
#include "engine/files/formats/TiffFile.h"

#include <algorithm>

namespace engine {

namespace {

EnSampleType SampleOf(const StPage& page) {
    const bool isUnsigned = page.sampleFormat == SAMPLEFORMAT_UINT;
    const bool isFloat = page.sampleFormat == SAMPLEFORMAT_IEEEFP;
    if (isUnsigned || page.sampleFormat == SAMPLEFORMAT_INT) {
        switch (page.bits) {
        case 1:
            if (isUnsigned && page.samplesPerPixel == 1)
                return SAMPLE_UINT8;
            break;
        case 8:
            return isUnsigned ? SAMPLE_UINT8 : SAMPLE_INT8;
        case 16:
            return isUnsigned ? SAMPLE_UINT16 : SAMPLE_INT16;
        case 32:
            return isUnsigned ? SAMPLE_UINT32 : SAMPLE_INT32;
        case 64:
            return isUnsigned ? SAMPLE_UINT64 : SAMPLE_INT64;
        default:
            break;
        }
    }
    if (isFloat && page.bits == 32)
        return SAMPLE_FLOAT;
    if (isFloat && page.bits == 64)
        return SAMPLE_DOUBLE;
    throw CFileReason("pixels of " + std::to_string(page.bits) + " bits and sample format " +
                      std::to_string(page.sampleFormat) + " cannot be read");
}

void RequireKnownColours(const StPage& page) {
    if (page.photometric == PHOTOMETRIC_PALETTE)
        throw CFileReason("its pixels are indices into a palette of colours; save it as RGB or grey first");
    if (page.photometric != PHOTOMETRIC_MINISBLACK && page.photometric != PHOTOMETRIC_MINISWHITE &&
        page.photometric != PHOTOMETRIC_RGB)
        throw CFileReason("it holds colours of TIFF type " + std::to_string(page.photometric) +
                          "; save it as RGB or grey first");
}

/// The maximum compression ratio of the file's compression method.
std::int64_t PackingRatio(const CTiff& tiff) {
    const bool isPacked =
        tiff.Field<std::uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE) != COMPRESSION_NONE;
    return isPacked ? c_maxTiffRatio : 1;
}

struct StResolution {
    std::uint16_t unit = RESUNIT_NONE;
    std::optional<std::array<double, 2>> pixelSize; ///< width and height in that unit
};

StResolution ResolutionOf(const CTiff& tiff) {
    StResolution resolution;
    resolution.unit = tiff.Field<std::uint16_t>(TIFFTAG_RESOLUTIONUNIT, RESUNIT_NONE);
    float x = 0;
    float y = 0;
    if (TIFFGetField(tiff.Get(), TIFFTAG_XRESOLUTION, &x) != 0 &&
        TIFFGetField(tiff.Get(), TIFFTAG_YRESOLUTION, &y) != 0)
        resolution.pixelSize = {1 / static_cast<double>(x), 1 / static_cast<double>(y)};
    return resolution;
}

std::optional<std::array<double, 3>> PrintSizeOf(const StResolution& resolution) {
    const double millimetres = resolution.unit == RESUNIT_INCH         ? 25.4
                               : resolution.unit == RESUNIT_CENTIMETER ? 10.0
                                                                       : 0.0;
    if (millimetres == 0 || !resolution.pixelSize)
        return std::nullopt;
    return CheckedSpacing(
        std::array{millimetres * (*resolution.pixelSize)[0], millimetres * (*resolution.pixelSize)[1]});
}

/// ImageJ means the resolution in the unit of its description. Without a unit, it counts only if it says
/// anything, and a resolution per inch or centimetre is a print size.
void ReadImageJSpacing(const StResolution& resolution, const StTiffDescription& description,
                       ORVEN::StImageGeometry& geometry) {
    const auto size = resolution.pixelSize.value_or(std::array{1.0, 1.0});
    const auto unit = KnownLengthUnit(description.unit);
    if (!unit && PrintSizeOf(resolution))
        return;
    const std::array spacing = {size[0], size[1], description.slices > 1 ? description.sliceDistance : 1.0};
    if (!unit && spacing == std::array{1.0, 1.0, 1.0})
        return;
    geometry.spacing = CheckedSpacing(spacing);
    if (unit && geometry.spacing) {
        ConvertUnit(geometry, *unit);
        if (description.slices == 1)
            (*geometry.spacing)[2] = 1;
    }
}

void ReadGeometry(const StResolution& resolution, const StTiffDescription& description,
                  StImageHeader& header) {
    if (description.program == StTiffDescription::PROGRAM_OME)
        header.geometry = description.geometry;
    else if (description.program == StTiffDescription::PROGRAM_IMAGEJ)
        ReadImageJSpacing(resolution, description, header.geometry);
    if (!header.geometry.spacing)
        header.printSize = PrintSizeOf(resolution);
}

/// The description, corrected for pages that it does not fit.
StTiffDescription DescriptionOf(const std::string& text, const StPage& page, std::int64_t pages) {
    StTiffDescription description = StTiffDescription::Of(text);
    const std::string pagesInWords = std::to_string(pages) + (pages == 1 ? " page" : " pages");
    if (description.program == StTiffDescription::PROGRAM_OME) {
        // The samples of a pixel are channels, too.
        if (description.channels % page.samplesPerPixel == 0)
            description.channels /= page.samplesPerPixel;
        if (description.PlaneCount() != pages)
            throw CFileReason("its OME description announces " + std::to_string(description.PlaneCount()) +
                              " pages, but the file has " + pagesInWords +
                              "; the others may be in files beside it, which are not read");
        return description;
    }
    if (description.program == StTiffDescription::PROGRAM_IMAGEJ && description.PlaneCount() == pages)
        return description;
    if (description.program == StTiffDescription::PROGRAM_IMAGEJ && pages == 1 &&
        description.PlaneCount() > 1)
        throw CFileReason("its description announces " + std::to_string(description.PlaneCount()) +
                          " images, but the file has 1 page: ImageJ saves stacks beyond 4 GB in this way; "
                          "save it as NRRD there");
    // Pages were added or removed since the description was written, or there is none.
    description.channels = 1;
    description.times = 1;
    description.slices = pages;
    return description;
}

std::string InWords(const StPage& page) {
    return std::to_string(page.width) + " x " + std::to_string(page.height) + " of " +
           std::to_string(page.bits) + " bits";
}

/// Counts the pages from the current one on, and checks that they are alike and that the file holds them.
std::int64_t CountPages(const CTiff& tiff, const StPage& page, CTiffLimits& limits) {
    // From here on the bytes of a page cannot overflow.
    (void)CheckedSize({page.width, page.height}, page.samplesPerPixel * SampleSize(SampleOf(page)));
    std::int64_t pages = 0;
    do {
        ++pages;
        const StPage other = PageOf(tiff);
        if (!(other == page))
            throw CFileReason("its pages differ: page 1 is " + InWords(page) + ", page " +
                              std::to_string(pages) + " is " + InWords(other));
        limits.CountPixels(tiff.Get(), PackedRowBytes(page) * page.height * page.SeparateSamples(),
                           PackingRatio(tiff));
    } while (NextPage(tiff, &limits));
    limits.RequirePixelData();
    return pages;
}

} // namespace

StImageHeader ReadTiffHeader(const std::string& path) {
    const std::int64_t fileSize = FileSize(path);
    const auto tiff = OpenForReading(path);
    CTiffLimits limits(path, fileSize);
    limits.CountDirectory(tiff->Get());
    if (IsPassedOver(*tiff) && !NextPage(*tiff, &limits))
        throw CFileReason("it has no page with a full image");
    const StPage page = PageOf(*tiff);
    StImageHeader header;
    header.format = FORMAT_TIFF;
    header.sample = SampleOf(page);
    header.samplesPerPixel = page.AdjacentSamples();
    header.separateSamples = page.SeparateSamples();
    RequireKnownColours(page);
    const std::string text = tiff->Text(TIFFTAG_IMAGEDESCRIPTION);
    const StResolution resolution = ResolutionOf(*tiff);
    const std::int64_t pages = CountPages(*tiff, page, limits);
    const StTiffDescription description = DescriptionOf(text, page, pages);
    std::vector<std::int64_t> extents = {page.width, page.height};
    if (description.slices > 1)
        extents.push_back(description.slices);
    header.size = CheckedSize(std::move(extents), header.samplesPerPixel * SampleSize(header.sample));
    header.series = description.Series();
    ReadGeometry(resolution, description, header);
    return header;
}

} // namespace engine
