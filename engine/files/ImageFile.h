#pragma once

#include <sorblib2image/CImage.h>

#include <memory>
#include <optional>
#include <string>

// Image files of five formats: NRRD (.nrrd), MetaImage (.mha; .mhd with .raw), NIfTI-1 (.nii, .nii.gz), TIFF
// (.tif, .tiff; a volume is a stack of pages) and PNG (.png). Written by the name's extension, read by what
// the file holds.
//
// Attributes. NRRD holds all of them, and the image type, as JSON in its key/value fields "quillon
// attributes" and "quillon type". For the other formats they go to NAME.attributes.json beside the file
// ("vol.tif" and "vol.tif.attributes.json"), together with type and size:
//
//     {"quillon type": "IMAGE_BINARY_FG", "size": [64, 64, 1], "attributes": {"spacing": {...}, ...}}
//
// None is written if the file alone comes back equal, and that of a replaced image is removed. Where either
// form of attributes is found, it counts, and what the file says of spacing does not. A side file, or a .raw
// file, that does not belong to the replaced image is never touched; writing fails.
//
// Spacing. A file without attributes gives the image a "spacing" only if it states one: NRRD by "spacings" or
// "space directions" on all axes, MetaImage by "ElementSpacing" or "ElementSize", NIfTI by a "pixdim" without
// zeros, all with their numbers as they stand; TIFF by a resolution per inch or centimetre and PNG by one per
// metre, in millimetres. Axes beyond the file's are 1. Origin and orientation of a file are not read: the
// attribute "offset" counts pixels in another image.
//
// NIfTI pixels with a scale ("scl_slope") are the scaled numbers, as floats.
//
// Shape. A file of one dimension is one row; trailing extents of 1 beyond the third are dropped; a volume of
// one plane stays a volume where the format tells it from a plane (or the side file does).

namespace engine {

/// Reads an image file with its attributes; `as` says which pixel type to make of it instead of the file's
/// own.
///
/// Without `as`: the type that the attributes name, else the one that holds the pixels: unsigned integers of
/// 8, 16 and 32 bits and floats as they are; doubles as floats; signed integers as unsigned ones of their
/// width if none is negative, else as floats; 64-bit integers as 32-bit ones. With `as`: binary is 1 where a
/// pixel is not 0; grey8, grey16 and grey32 take whole numbers in their range; greyf takes everything,
/// rounded. Whatever does not fit is refused with the first such value, never clipped. Colours are refused
/// unless all are grey.
///
/// Pixels of the image's own type are read straight into it; others take a second buffer of the file's type,
/// and NIfTI one of the file's size. A header that announces more than the file can hold, or than memory is
/// free, is refused before anything is allocated. Raises `CFileError`, in one
/// line.
std::unique_ptr<ORVEN::CImage> ReadImage(const std::string& path,
                                         const std::optional<ORVEN::IImage::CType>& as = std::nullopt);

/// Writes an image file with its attributes, beside its name first, so that a failure never leaves half a
/// file.
///
/// Binary images are bytes of 0 and 1. NRRD data are packed by gzip where that saves a quarter or more
/// (masks, labels; not the noise of a scanner), .nii.gz always, other formats never but PNG. PNG holds planes
/// of 8 and 16 bits. What a format cannot hold is refused. Takes no further memory in the order of the
/// pixels, but for an image with a border. Raises `CFileError`; a name of
/// another extension is of status usage.
void WriteImage(const ORVEN::CImage& image, const std::string& path);

/// Raises `CCallerError` unless the name has an extension that `WriteImage` knows: to be
/// asked before long work.
void RequireImageFileName(const std::string& path);

/// The pixel type that a word of the command line stands for: binary, grey8, grey16, grey32 or greyf.
std::optional<ORVEN::IImage::CType> PixelTypeOfWord(const std::string& word);

} // namespace engine
