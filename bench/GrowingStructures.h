#pragma once

#include <sorblib2image/CImage.h>

#include <cstdint>
#include <memory>
#include <string>

/// Volumes with structures that grow with the volume.
namespace bench {

/// A cube of EDGE^3 pixels. `structure` is "spheres", "solid", "foam" or "scan", `type` is "binary", "grey8"
/// or "greyf"; `scan` is the image file for "scan", a cube of 8-bit values. Raises `std::runtime_error` for
/// other names.
std::unique_ptr<ORVEN::CImage> MakeStructure(const std::string& structure, const std::string& scan,
                                             std::int64_t edge, const std::string& type);

} // namespace bench
