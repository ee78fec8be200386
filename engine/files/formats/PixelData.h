#pragma once

#include "engine/files/formats/StImageHeader.h"
#include "engine/files/formats/StReadBox.h"

#include <string>

namespace engine {

/// Reads `header.ByteCount()` bytes from the place given by `header.data` and converts them to the machine's
/// byte order.
///
/// Packed data must unpack to exactly that many bytes and match their stored checksum. Raises `CFileReason`
/// for damaged or truncated data. Allocates only a small buffer.
void ReadPixelData(const StImageHeader& header, void* samples);

/// The same for a part of the image, without reading the rest. The data must not be packed.
void ReadPixelRegion(const StImageHeader& header, const StReadBox& box, void* samples);

} // namespace engine
