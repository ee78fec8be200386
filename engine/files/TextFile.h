#pragma once

#include <cstddef>
#include <string>

namespace engine {

/// Maximum size in bytes of a text file that belongs to an image or a run. A file of this size still fits
/// into memory together with the data parsed from it.
inline constexpr std::size_t c_maxTextSize = std::size_t{256} << 20;

/// Returns the contents of a file or of a pipe with a writer. Raises `CFileError`, "cannot read 'PATH':
/// REASON", also for a pipe without a writer, instead of waiting, and for more than `c_maxTextSize` bytes.
std::string ReadTextFile(const std::string& path);

} // namespace engine
