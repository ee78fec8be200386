#pragma once

#include <sorblib2image/CImage.h>

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Image files of five formats: NRRD (.nrrd), MetaImage (.mha; .mhd with .raw), NIfTI-1 (.nii, .nii.gz), TIFF
// (.tif, .tiff; a volume is a stack of pages) and PNG (.png). The extension determines the format to write;
// the contents determine the format to read. A folder is read as a DICOM series.
//
// Attributes. NRRD holds all of them, and the image type, as JSON in its key/value fields "quillon
// attributes" and "quillon type". For the other formats they go to a side file, NAME.attributes.json
// ("vol.tif.attributes.json" for "vol.tif"), together with type and size:
//
//     {"quillon type": "IMAGE_BINARY_FG", "size": [64, 64, 1], "attributes": {"spacing": {...}, ...}}
//
// No side file is written if the image can be read back unchanged without it, and the side file of a replaced
// image is removed. A side file or .raw file that does not belong to the replaced image is never touched;
// writing fails instead.
//
// Geometry. Spacing, origin, directions and unit (see `StImageGeometry`) are read from the header of a file
// and written to it as far as the format can state them; docs/files.md has the table. Attributes state them,
// too: these numbers are exact, and are used wherever the header agrees with them except for rounding. Where
// it does not, another program has changed the file, and the header counts. A file states a spacing only
// where it means the size of what the image shows: dots per inch are a print size, which is used on request.
// The spacing of axes that the file does not have is 1.
//
// Channels and time points. An image is one of them. A file with several is refused unless one is chosen,
// except for colours that are grey in every pixel.
//
// NIfTI pixels with a scale ("scl_slope") are read as the scaled values, as floats.
//
// Shape. A file of one dimension is one row; trailing extents of 1 beyond the third are dropped; a volume of
// one plane stays a volume if the format, or the side file, distinguishes it from a plane.

namespace engine {

/// The pixels from one index to another along an axis, both included.
struct StIndexRange {
    std::int64_t first = 0;
    std::int64_t last = 0;
};

/// What to make of a file.
struct StReadOptions {
    std::optional<ORVEN::IImage::CType> as; ///< the pixel type to convert to
    std::optional<std::int64_t> channel;    ///< from 0
    std::optional<std::int64_t> time;       ///< time point, from 0
    /// The part of the image to read, with one range for each axis; empty for the whole. Of files that are
    /// not compressed, and of the pages and strips of TIFF, no more is read than the part needs.
    std::vector<StIndexRange> region;
    bool takesPrintSize = false; ///< takes dots per inch for the spacing, in mm, if the file states no other
};

/// Reads an image file with its attributes.
///
/// Without `as`, the type is the one given by the attributes, or else the one that holds the pixels: unsigned
/// integers of 8, 16 and 32 bits and floats keep their type; doubles become floats; signed integers become
/// unsigned ones of the same width if none is negative, else floats; 64-bit integers become 32-bit ones. With
/// `as`, binary is 1 where a pixel is not 0; grey8, grey16 and grey32 accept integers in their range; greyf
/// accepts every value, rounded. An image with a value that does not fit is refused, and the message names
/// the first such value; nothing is clipped.
///
/// Pixels whose type needs no conversion are read directly into the image; otherwise a second buffer of the
/// file's pixel type is allocated. Scaled NIfTI pixels take a further buffer of floats, and PNG one of the
/// file's size. A header that announces more data than the file can hold or than fits into free memory is
/// refused before anything is allocated. Raises `CFileError` with a one-line message.
std::unique_ptr<ORVEN::CImage> ReadImage(const std::string& path, const StReadOptions& options);
/// The same without a choice of channel or time point.
std::unique_ptr<ORVEN::CImage> ReadImage(const std::string& path,
                                         const std::optional<ORVEN::IImage::CType>& as = std::nullopt);

/// What is known of an image without its pixels.
struct StImageOutline {
    ORVEN::IImage::CType type =
        ORVEN::IMAGE_GREY_8; ///< where the file's own type depends on its values, the widest it can become
    ORVEN::IImage::CType typeWithoutNegatives =
        ORVEN::IMAGE_GREY_8; ///< the type if no value is negative; mostly the same
    ORVEN::CSize size;
    bool isTypeCertain = true;
    std::array<double, 3> spacing{1, 1, 1}; ///< in the file's unit; 1 where the file states none
    std::int64_t channels = 1;
    std::int64_t times = 1;
    std::unique_ptr<ORVEN::CImage> carrier; ///< of one pixel, with the attributes that the image would have
};

/// Reads the header of an image file and its attributes, but no pixels; of a file with several channels or
/// time points, what they have in common. Raises as `ReadImage` does, except for damage among the pixels.
StImageOutline ReadImageOutline(const std::string& path, const StReadOptions& options = {});

/// The files that reading the image takes its content from: the file itself or the slices of a folder, a
/// separate file with the pixels, and the side file. Raises as `ReadImageOutline` does.
std::vector<std::string> FilesOfContent(const std::string& path);

/// Raises `CFileError`, "cannot write 'PATH': REASON", if the format of that name cannot hold an image of
/// this type and size.
void RequireFormatHolds(const std::string& path, const ORVEN::IImage::CType& type, const ORVEN::CSize& size);

/// Writes an image file with its attributes. It is written to a temporary place first, so that a failure
/// never leaves a partial file.
///
/// Binary images are stored as bytes of 0 and 1. NRRD data are compressed with gzip if that saves a quarter
/// or more (as for masks and labels, but not scanner noise), .nii.gz and PNG always, other formats never. PNG
/// holds planes of 8 and 16 bits. An image that the format cannot hold is refused. Allocates no copy of the
/// pixels unless the image has a border. Raises `CFileError`, or `CCallerError` for an unknown extension.
void WriteImage(const ORVEN::CImage& image, const std::string& path);

/// Raises `CCallerError` unless the name has an extension that `WriteImage` supports. Call this before long
/// work.
void RequireImageFileName(const std::string& path);

} // namespace engine
