#pragma once

#include "engine/files/formats/StImageHeader.h"
#include "engine/files/formats/StReadBox.h"

#include <string>

// Reads grey pages of 1, 8, 16, 32 and 64 bits, integer or float, and colours of 8 and 16 bits, in strips or
// tiles, with any compression that libtiff supports. All pages must have the same format, except for reduced
// copies and masks, which are skipped. Orientation is not applied.
//
// Unsigned pixels for which 0 is white are inverted, except for those of 1 bit by the Python library
// tifffile: it stores truth values so, with 1 for true.
//
// Spacing, unit, channels and time points come from the description of the first page, if ImageJ or a program
// that follows OME wrote it. A resolution per inch or centimetre is a print size elsewhere.

namespace engine {

/// Reads and checks the directories of the pages. One page is a 2-d image, several are a volume. Raises
/// `CFileReason` if they do not match each other or the contents of the file.
StImageHeader ReadTiffHeader(const std::string& path);

/// Reads all pages, one z plane after another, into a buffer of `header.ByteCount()` bytes. `header` is the
/// result of `ReadTiffHeader`. Also allocates a buffer for one strip or tile.
void ReadTiffSamples(const std::string& path, const StImageHeader& header, void* samples);

/// The same for a part of the image. Passes over the pages and strips, or rows of tiles, that it does not
/// need. Also allocates a buffer for one page.
void ReadTiffRegion(const std::string& path, const StImageHeader& header, const StReadBox& box,
                    void* samples);

/// Writes one page per plane, uncompressed, as BigTIFF beyond 2 GiB. The spacing becomes a resolution per
/// centimetre and, if its unit is known, a description in the form of ImageJ. Makes no copy of the samples.
void WriteTiffSamples(const std::string& path, const StImageHeader& header, const void* samples);

} // namespace engine
