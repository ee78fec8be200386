#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// Derives format and companion files from the name of an image file to be written.

namespace engine {

struct StTarget {
    EnFileFormat format = FORMAT_NRRD;
    EnPacking packing = PACKING_NONE;
    bool hasDataFile = false; ///< the pixels go to a separate file
};

/// The format and packing for the extension of the name, ignoring case; nothing for an unknown one.
std::optional<StTarget> TargetOfName(const std::string& path);

/// The name of the side file that holds the attributes of an image, "vol.tif.attributes.json" for "vol.tif".
/// If that exceeds the limit of 255 bytes for a name, the image's name is truncated and a checksum of the
/// full name makes it unique: "vol...~1a2b3c4d.attributes.json".
std::string SideFileName(const std::string& imageName);

/// The name of the pixel data file: "vol.raw" for "vol.mhd".
std::string DataFileName(const std::string& imageName);

/// The names of the other files that writing an image of that name can create, replace or remove.
std::vector<std::string> CompanionNames(const std::string& imageName);

/// Raises `CFileError`, "cannot write 'PATH': ...", if writing the image would replace or remove another file
/// that does not belong to it. A pixel data file belongs to the image only if the existing image file names
/// it. A side file belongs to it if the image file exists and the side file is one that this program writes.
void RequireOwnCompanions(const std::string& path);

} // namespace engine
