#pragma once

#include <sorblib2image/CImage.h>

#include <array>
#include <memory>
#include <optional>
#include <string>

// Image files of five formats: NRRD (.nrrd), MetaImage (.mha; .mhd with .raw), NIfTI-1 (.nii, .nii.gz), TIFF
// (.tif, .tiff; a volume is a stack of pages) and PNG (.png). The extension determines the format to write;
// the contents determine the format to read.
//
// Attributes. NRRD holds all of them, and the image type, as JSON in its key/value fields "quillon
// attributes" and "quillon type". For the other formats they go to a side file, NAME.attributes.json
// ("vol.tif.attributes.json" for "vol.tif"), together with type and size:
//
//     {"quillon type": "IMAGE_BINARY_FG", "size": [64, 64, 1], "attributes": {"spacing": {...}, ...}}
//
// No side file is written if the image can be read back unchanged without it, and the side file of a replaced
// image is removed. If attributes are found in either form, they take precedence over the spacing in the
// file's header. A side file or .raw file that does not belong to the replaced image is never touched;
// writing fails instead.
//
// Spacing. A file without attributes gives the image a "spacing" only if it states one: NRRD by "spacings" or
// "space directions" on all axes, MetaImage by "ElementSpacing" or "ElementSize", NIfTI by a "pixdim" without
// zeros, all with their numbers unchanged; TIFF by a resolution per inch or centimetre and PNG by one per
// metre, in millimetres. The spacing of axes that the file does not have is 1. Origin and orientation of a
// file are not read: the attribute "offset" is a pixel position in another image.
//
// NIfTI pixels with a scale ("scl_slope") are read as the scaled values, as floats.
//
// Shape. A file of one dimension is one row; trailing extents of 1 beyond the third are dropped; a volume of
// one plane stays a volume if the format, or the side file, distinguishes it from a plane.

namespace engine {

/// Reads an image file with its attributes. `as` selects a pixel type to convert to.
///
/// Without `as`, the type is the one given by the attributes, or else the one that holds the pixels: unsigned
/// integers of 8, 16 and 32 bits and floats keep their type; doubles become floats; signed integers become
/// unsigned ones of the same width if none is negative, else floats; 64-bit integers become 32-bit ones. With
/// `as`, binary is 1 where a pixel is not 0; grey8, grey16 and grey32 accept integers in their range; greyf
/// accepts every value, rounded. An image with a value that does not fit is refused, and the message names
/// the first such value; nothing is clipped. Colour images are refused unless every pixel is grey.
///
/// Pixels whose type needs no conversion are read directly into the image; otherwise a second buffer of the
/// file's pixel type is allocated. Scaled NIfTI pixels take a further buffer of floats, and PNG one of the
/// file's size. A header that announces more data than the file can hold or than fits into free memory is
/// refused before anything is allocated. Raises `CFileError` with a one-line message.
std::unique_ptr<ORVEN::CImage> ReadImage(const std::string& path,
                                         const std::optional<ORVEN::IImage::CType>& as = std::nullopt);

/// What can be known of an image without its pixels.
struct StImageOutline {
    ORVEN::IImage::CType type; ///< where the file's own type depends on its values, the widest it can become
    ORVEN::CSize size;
    bool isTypeCertain = true;
    std::array<double, 3> spacing{1, 1, 1}; ///< in the file's unit; 1 where the file states none
};

/// Reads the header of an image file, and its attributes, but no pixels. Raises as `ReadImage` does.
StImageOutline ReadImageOutline(const std::string& path,
                                const std::optional<ORVEN::IImage::CType>& as = std::nullopt);

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
