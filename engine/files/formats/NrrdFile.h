#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>
#include <string_view>

// NRRD files, after "Definition of NRRD File Format" (G. Kindlmann, teem.sourceforge.net/nrrd/format.html).

namespace engine {

/// Reads and checks the header. The pixels stand raw or as gzip in the file itself, or in one other file that
/// the header names relative to itself; several data files, and pixels written as text, are refused.
///
/// Spacing: "spacings", or the lengths of the "space directions", if every axis states one. An axis whose
/// kind is that of a colour or vector counts as samples of a pixel and must be the first one. Raises
/// `CFileError` if header and data do not fit together.
StImageHeader ReadNrrdHeader(const std::string& path);

/// Writes header and samples, with type name and attributes of the header as key/value fields. Copies
/// nothing.
void WriteNrrd(const std::string& path, const StImageHeader& header, std::string_view samples,
               EnPacking packing);

} // namespace engine
