#pragma once

#include <string>
#include <vector>

// Checks of output files that a command makes before it starts long work.

namespace engine {

/// Raises `CFileError`, "cannot write 'PATH': REASON", if no file can be created under that name: its folder
/// is missing or not writable, the name is too long, or something other than a file has that name.
void RequireWritableFile(const std::string& path);

/// The same for an image file with its companions; also raises if a file that does not belong to the image
/// would be replaced. The extension must be a known one.
void RequireWritableImage(const std::string& path);

/// Raises `CCallerError` if two of the files that are going to be written are the same file, under whatever
/// spelling. Image files count with their companions; of the other files, devices and pipes may repeat.
void RequireDifferentFiles(const std::vector<std::string>& images, const std::vector<std::string>& others);

/// Raises `CCallerError` if a file that is going to be written is also one of the inputs, under whatever
/// spelling. An image file counts with its companions.
void RequireNoInput(const std::vector<std::string>& outputs, const std::vector<std::string>& inputs);

/// Raises `CFileError` if the name cannot be resolved because the working folder no longer exists.
void RequirePlace(const std::string& path);

/// All files that writing the image file creates, replaces or removes, as normalised paths: two spellings of
/// the same file compare equal.
std::vector<std::string> FilesOfImage(const std::string& path);
/// The same for a file without companions.
std::string FileItself(const std::string& path);

} // namespace engine
