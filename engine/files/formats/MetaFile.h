#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <optional>
#include <string>
#include <string_view>

// MetaImage files, .mha with the pixels behind the text header and .mhd with the pixels in a file of their
// own.

namespace engine {

/// Whether these first bytes of a file begin the text header of a MetaImage.
bool IsMetaHeader(std::string_view beginning);

/// Reads and checks the header. The pixels stand in the file itself, or in one other file that the header
/// names relative to itself; lists and patterns of files, and pixels written as text, are refused.
///
/// Spacing: "ElementSpacing", else "ElementSize". Raises `CFileError` if header and data do not fit.
StImageHeader ReadMetaHeader(const std::string& path);

/// The file that a header at the path names for the pixels; nothing if there is no such header, or if they
/// stand behind it.
std::optional<std::string> MetaDataFile(const std::string& path);

/// Writes header and samples, raw. The samples go behind the header, or to a file of the name `dataFile`
/// beside it if that is not empty. Copies nothing.
void WriteMeta(const std::string& path, const std::string& dataFile, const StImageHeader& header,
               std::string_view samples);

} // namespace engine
