#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>
#include <string_view>

// NRRD files, after "Definition of NRRD File Format" (G. Kindlmann, teem.sourceforge.net/nrrd/format.html).

namespace engine {

/// Reads and checks the header. The pixels may be raw or gzip data, in the file itself or in one other file,
/// whose path in the header is relative to the header. Several data files, and pixels written as text, are
/// refused.
///
/// Spacing comes from "spacings", or from the lengths of the "space directions", if every axis has one; place
/// and unit come from the fields of the space. An axis of a colour or vector kind holds the channels and must
/// be the first or the last; one of the kind "time", and a fourth one without a kind, holds the time points.
/// Raises `CFileReason` if header and data do not match.
StImageHeader ReadNrrdHeader(const std::string& path);

/// Writes header and samples, with the header's type name and attributes as key/value fields. Makes no copy
/// of the samples.
void WriteNrrd(const std::string& path, const StImageHeader& header, std::string_view samples,
               EnPacking packing);

} // namespace engine
