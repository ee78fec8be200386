#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace engine {

/// The paths of the packs' libraries that a program uses, in the order in which they are searched, each once:
/// the `named` ones, those in the user's folder, and those installed with the program or else beside it.
///
/// If there is none besides the named ones, the last path is that of a missing main pack, so that loading it
/// names what is missing. `report` takes one sentence about each folder that exists but cannot be read.
std::vector<std::string> FindPacks(const std::vector<std::string>& named,
                                   const std::function<void(const std::string& problem)>& report = {});

/// $XDG_DATA_HOME/quillon/packs, by default ~/.local/share/quillon/packs; empty if neither is known.
std::filesystem::path UserPackFolder();

/// A folder of packs: every libNAME.so in it, the main pack first, the others by name. None if there is no
/// such folder; raises `CFileError` if it cannot be read.
std::vector<std::string> PacksIn(const std::filesystem::path& folder);

/// A folder that also holds other libraries: the main pack, then by name each libNAME.so with a
/// NAME.catalogue.json.
std::vector<std::string> CataloguedPacksIn(const std::filesystem::path& folder);

} // namespace engine
