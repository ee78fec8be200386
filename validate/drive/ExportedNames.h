#pragma once

#include <string>
#include <vector>

namespace validate {

/// The functions and variables that a shared library (ELF, 64 bits) exports, ascending. Raises
/// `engine::CFileError` if it cannot be read as one.
std::vector<std::string> ExportedNames(const std::string& path);

} // namespace validate
