#pragma once

#include "engine/catalogue/CCatalogue.h"
#include "engine/packs/CPackLibrary.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace engine {

/// A pack on disk: its library and its catalogue. Each is loaded when it is first asked for, so that a pack
/// costs nothing as long as an earlier one has the plug-in. Not safe to use from several threads at once.
class CPack {
public:
    explicit CPack(std::string path)
        : m_path(std::move(path)) {}

    /// The name in the catalogue, or the library's file name if there is none.
    std::string Name();
    /// Raises the errors of `CPackLibrary`.
    const CPackLibrary& Library();
    /// Raises the errors of `CCatalogue::OfPack`.
    const CCatalogue& Catalogue();

private:
    std::string m_path;
    std::unique_ptr<CPackLibrary> m_library;
    std::optional<CCatalogue> m_catalogue;
};

/// A plug-in that a pack provides.
struct StFoundPlugin {
    const CPackLibrary& pack;
    const StCatalogueEntry* entry; ///< null if the pack's catalogue does not describe it
};

/// The packs that a program uses. They are asked for a plug-in one after another, and the first that has it
/// wins. Must outlive the plug-ins, like each `CPackLibrary`.
class CPackSet {
public:
    /// The paths of the packs' libraries, in the order in which they are asked.
    explicit CPackSet(const std::vector<std::string>& paths);

    /// The packs installed with this program: those in ../lib, relative to the program's folder.
    static std::vector<std::string> DefaultPaths();
    /// The packs in a folder: libQuillonPack.so, then by name each libNAME.so that has a NAME.catalogue.json.
    /// If there is none, the path that libQuillonPack.so would have, so that loading it names what is
    /// missing.
    static std::vector<std::string> PathsIn(const std::filesystem::path& folder);

    [[nodiscard]] std::vector<CPack>& Packs() { return m_packs; }

    /// Finds a plug-in in the packs' libraries. Raises `CCallerError` if no pack has it, with the most
    /// similar names, and the errors of loading a pack.
    StFoundPlugin Find(const std::string& name);
    /// The first description of a plug-in in the catalogues; loads no library. Raises `CCallerError` if there
    /// is none, with the most similar names.
    const StCatalogueEntry& Describe(const std::string& name);

    /// The same; null if there is none.
    const StCatalogueEntry* FindEntry(const std::string& name);
    /// The descriptions in all catalogues, in the order of the packs.
    std::vector<const StCatalogueEntry*> Entries();

private:
    [[noreturn]] void ThrowUnknown(const std::string& name);

    std::vector<CPack> m_packs;
};

} // namespace engine
