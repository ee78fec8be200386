#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>

namespace engine {

/// Reads `header.ByteCount()` bytes from the place given by `header.data` and converts them to the machine's
/// byte order. `path` is the file that the user named.
///
/// Packed data must unpack to exactly that many bytes and match their stored checksum. Raises `CFileError`
/// for damaged or truncated data. Allocates only a small buffer.
void ReadPixelData(const std::string& path, const StImageHeader& header, void* samples);

} // namespace engine
