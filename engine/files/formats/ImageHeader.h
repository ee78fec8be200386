#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>

namespace engine {

/// Identifies the format of an image file by its contents, and reads and checks its header. A folder counts
/// as a DICOM series. Allocates nothing
/// whose size depends on the number of pixels. Raises `CFileReason` for an unknown format and for an
/// inconsistent header.
StImageHeader ReadImageHeader(const std::string& path);

} // namespace engine
