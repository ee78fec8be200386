#pragma once

#include "engine/errors/CEngineError.h"

#include <string>

namespace engine {

/// The error for a pack that cannot be loaded: "cannot load the pack 'PATH': REASON".
CFileError PackError(const std::string& path, const std::string& reason, EnFault fault = EnFault::FILE);

/// Raises `PackError` unless the path leads to a complete shared library for the processor of this machine.
/// The system's loader does not always tell these cases apart. Reads the first bytes of a regular file, and
/// opens no other kind of file.
void RequireLibrary(const std::string& path);

/// The error after a failed dlopen of the pack, from what dlerror returned. The machine is at fault if it
/// lacks a library that the pack needs.
CFileError LoadError(const std::string& path, const std::string& reason);

} // namespace engine
