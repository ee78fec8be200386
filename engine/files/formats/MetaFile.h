#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <optional>
#include <string>
#include <string_view>

// MetaImage files: .mha with the pixels after the text header, and .mhd with the pixels in a separate file.

namespace engine {

/// Whether these bytes are the start of a MetaImage text header.
bool IsMetaHeader(std::string_view beginning);

/// Reads and checks the header. The pixels are in the file itself or in one other file, whose path in the
/// header is relative to the header. Lists and patterns of files, and pixels written as text, are refused.
///
/// Spacing comes from "ElementSpacing", or else from "ElementSize", the place from "Offset" and
/// "TransformMatrix" or their synonyms, and the unit from "DistanceUnits". "AnatomicalOrientation" is not
/// read: common writers state one for images of any kind. A fourth axis is the time. Raises `CFileReason` if
/// header and data do not match.
StImageHeader ReadMetaHeader(const std::string& path);

/// The pixel data file named by the header at the path; nothing if there is no such header, or if the pixels
/// follow the header.
std::optional<std::string> MetaDataFile(const std::string& path);

/// Writes header and samples, uncompressed. The samples follow the header or, if `dataFile` is not empty, go
/// to a file of that name in the same folder. Makes no copy of the samples.
void WriteMeta(const std::string& path, const std::string& dataFile, const StImageHeader& header,
               std::string_view samples);

} // namespace engine
