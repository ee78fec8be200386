#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>

// Read: grey pages of 1, 8, 16, 32 and 64 bits, integer or float, and colours of 8 and 16 bits with the
// samples side by side; strips or tiles; any compression that libtiff knows. All pages must be alike, but for
// reduced copies and masks, which are passed over. "White is zero" is turned round for unsigned pixels.
// Orientation is left as it is.
//
// Spacing: millimetres from the resolution, if its unit is the inch or centimetre; z is 1.

namespace engine {

/// Reads and checks the pages' descriptions. One page is an image of dimension 2, more are a volume. Raises
/// `CFileError` if they do not fit each other or what the file holds.
StImageHeader ReadTiffHeader(const std::string& path);

/// Reads all pages, z plane after z plane, into `header.ByteCount()` bytes. `header` is what `ReadTiffHeader`
/// answered. Besides them it takes one strip or tile.
void ReadTiffSamples(const std::string& path, const StImageHeader& header, void* samples);

/// Writes one page a plane, uncompressed, as BigTIFF beyond 2 GiB; copies nothing.
void WriteTiffSamples(const std::string& path, const StImageHeader& header, const void* samples);

} // namespace engine
