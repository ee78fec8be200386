#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>

namespace engine {

/// Reads `header.ByteCount()` bytes from where `header.data` says, in the machine's byte order. `path` is the
/// file that the user named.
///
/// Packed data must unpack to exactly that many bytes and have the check sum that they tell. Raises
/// `CFileError` for data that are damaged or end too early. Takes no memory
/// beyond a small buffer.
void ReadPixelData(const std::string& path, const StImageHeader& header, void* samples);

} // namespace engine
