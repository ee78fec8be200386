#pragma once

#include "engine/pictures/StPicture.h"

#include <string>

namespace cli {

/// Writes the picture as PNG. Raises `CFileError`.
void WritePicture(const engine::StPicture& picture, const std::string& path);

} // namespace cli
