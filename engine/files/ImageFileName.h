#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// What the name of an image file that is to be written says, and the other files that go with it.

namespace engine {

struct StTarget {
    EnFileFormat format = FORMAT_NRRD;
    EnPacking packing = PACKING_NONE;
    bool hasDataFile = false; ///< the pixels go to a second file
};

/// What the ending of the name, in any case of letters, asks for; nothing for an unknown one.
std::optional<StTarget> TargetOfName(const std::string& path);

/// The name of the side file with the attributes of an image of that name, "vol.tif.attributes.json" for
/// "vol.tif". Where that is longer than the 255 bytes that a name can have, the image's name is cut, and a
/// check sum of the whole name keeps such names apart: "vol...~1a2b3c4d.attributes.json".
std::string SideFileName(const std::string& imageName);

/// The name of the file with the pixels of "vol.mhd": "vol.raw".
std::string DataFileName(const std::string& imageName);

/// The names of the files beside it that writing an image of that name can make, replace or remove.
std::vector<std::string> CompanionNames(const std::string& imageName);

/// Raises `CFileError`, "cannot write 'PATH': ...", if writing the image would replace or remove another file
/// that does not belong to it. A file with pixels belongs to it only if the image file that stands there now
/// names it; a side file, if there is an image file and what stands in the side file is what we write.
void RequireOwnCompanions(const std::string& path);

} // namespace engine
