#pragma once

#include <cstddef>
#include <string>

namespace engine {

/// What a text that comes with an image or a run takes at most. A file of this size still fits into memory
/// together with what is made of it.
inline constexpr std::size_t g_maxTextSize = std::size_t{256} << 20;

/// The contents of a file, or of a pipe that somebody writes to. Raises `CFileError`, "cannot read 'PATH':
/// REASON", also for a pipe that nobody writes to, instead of waiting, and for more than `g_maxTextSize`
/// bytes, of which none are kept.
std::string ReadTextFile(const std::string& path);

} // namespace engine
