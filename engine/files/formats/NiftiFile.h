#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>
#include <string_view>

// NIfTI-1 files in one piece, .nii and .nii.gz (R. W. Cox et al., nifti1.h, 2003).

namespace engine {

/// Bytes of the header of NIfTI version 1.
inline constexpr std::size_t g_niftiHeaderSize = 348;

/// Whether these first bytes, unpacked if they were gzip, begin a NIfTI file of version 1.
bool IsNiftiHeader(std::string_view beginning);

/// Reads and checks the header, of either byte order. A pair of .hdr and .img, colours and complex pixels are
/// refused. "scl_slope" and "scl_inter" become the header's scale.
///
/// Spacing: "pixdim", if none is 0. Raises `CFileError` if header and data do not fit together.
StImageHeader ReadNiftiHeader(const std::string& path);

/// Writes header and samples; gzip packs both, as the format wants it. Extents must be below 2^15. A spacing
/// that is not known is written as 1, since readers stumble over 0. Copies nothing.
void WriteNifti(const std::string& path, const StImageHeader& header, std::string_view samples,
                EnPacking packing);

} // namespace engine
