#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>

namespace engine {

/// Finds out by its content what kind of image file it is, and reads and checks its header. Nothing in the
/// order of the pixels is read or allocated. Raises `CFileError` for a file of
/// another kind, and for one whose header cannot be true.
StImageHeader ReadImageHeader(const std::string& path);

} // namespace engine
