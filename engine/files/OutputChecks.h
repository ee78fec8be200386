#pragma once

#include <string>
#include <vector>

// What can be known to be wrong with the files that a command is to write, before it does long work.

namespace engine {

/// Raises `CFileError`, "cannot write 'PATH': REASON", if no file can be made under that name: its folder is
/// not there or cannot be written to, the name is too long, or something other than a file stands there.
void RequireWritableFile(const std::string& path);

/// The same, for an image file with all that goes with it: files that do not belong to the image are not
/// replaced. The ending has to be a known one.
void RequireWritableImage(const std::string& path);

/// Raises `CFileError` for a name that stands for no place, as the working folder is gone.
void RequirePlace(const std::string& path);

/// All files that writing the image file makes, replaces or removes, as paths that compare equal for the same
/// file however it is spelled.
std::vector<std::string> FilesOfImage(const std::string& path);
/// The same for a file that goes alone.
std::string FileItself(const std::string& path);

} // namespace engine
