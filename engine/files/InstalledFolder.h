#pragma once

#include <filesystem>

namespace engine {

/// The folder of this library, with links resolved.
std::filesystem::path LibraryFolder();

/// The folder `quillon` beside this library, with the parts that are loaded or started on demand.
std::filesystem::path InstalledFolder();

} // namespace engine
