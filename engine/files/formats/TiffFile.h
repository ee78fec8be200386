#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>

// Reads grey pages of 1, 8, 16, 32 and 64 bits, integer or float, and colours of 8 and 16 bits with
// interleaved samples, in strips or tiles, with any compression that libtiff supports. All pages must have
// the same format, except for reduced copies and masks, which are skipped. "White is zero" is inverted for
// unsigned pixels. Orientation is not applied.
//
// Spacing comes from the resolution, in millimetres, if its unit is the inch or centimetre; z is 1.

namespace engine {

/// Reads and checks the directories of the pages. One page is a 2-d image, several are a volume. Raises
/// `CFileReason` if they do not match each other or the contents of the file.
StImageHeader ReadTiffHeader(const std::string& path);

/// Reads all pages, one z plane after another, into a buffer of `header.ByteCount()` bytes. `header` is the
/// result of `ReadTiffHeader`. Also allocates a buffer for one strip or tile.
void ReadTiffSamples(const std::string& path, const StImageHeader& header, void* samples);

/// Writes one page per plane, uncompressed, as BigTIFF beyond 2 GiB. Makes no copy of the samples.
void WriteTiffSamples(const std::string& path, const StImageHeader& header, const void* samples);

} // namespace engine
