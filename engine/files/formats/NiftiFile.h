#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>
#include <string_view>

// Single-file NIfTI-1, .nii and .nii.gz (R. W. Cox et al., nifti1.h, 2003).

namespace engine {

/// Size of the NIfTI-1 header in bytes.
inline constexpr std::size_t c_niftiHeaderSize = 348;

/// Whether these bytes are the start of a NIfTI-1 file. Gzip data must be unpacked first.
bool IsNiftiHeader(std::string_view beginning);

/// Reads and checks the header, in either byte order. Pairs of .hdr and .img, colours and complex pixels are
/// refused. "scl_slope" and "scl_inter" become the header's scale.
///
/// Spacing comes from "pixdim" if none of its values is 0, the unit from "xyzt_units", and the place from the
/// matrix of the header ("sform"), or else from its quaternion ("qform"). The fourth axis is the time, the
/// fifth holds the channels. Raises `CFileReason` if header and data do not
/// match.
StImageHeader ReadNiftiHeader(const std::string& path);

/// Writes header and samples; gzip compresses both, as the format requires. Extents must be below 2^15. An
/// unknown spacing is written as 1, because some readers fail on 0. The space of this format always points to
/// the right, the front and the head; readers turn it back. Makes no copy of the samples.
void WriteNifti(const std::string& path, const StImageHeader& header, std::string_view samples,
                EnPacking packing);

} // namespace engine
