#pragma once

#include "engine/catalogue/StCatalogueEntry.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace engine {

/// What a pack declares about its plug-ins: names, parameters, accepted images.
///
/// A pack creates plug-ins by name but cannot list them, so the catalogue also serves as the list of names.
class CCatalogue {
public:
    /// An empty catalogue, for a pack that has none.
    CCatalogue() = default;
    /// Parses {"pack": TEXT, "version": TEXT, "plugins": [ENTRY, ...]}. Raises `std::runtime_error` for
    /// anything missing, unknown or of the wrong kind, as `ParseCatalogueEntry` does.
    explicit CCatalogue(std::string_view text);

    /// The path of the catalogue file next to a pack's library: lib/Name.catalogue.json for lib/libName.so.
    static std::string PathBeside(const std::string& packPath);
    /// Reads that file; returns an empty catalogue if it does not exist. Raises `CFileError`, naming the
    /// file, if it cannot be read or is not a catalogue.
    static CCatalogue OfPack(const std::string& packPath);

    /// Name and version of the pack; empty for a pack without a catalogue.
    [[nodiscard]] const std::string& Pack() const { return m_pack; }
    [[nodiscard]] const std::string& Version() const { return m_version; }

    /// The entry of a plug-in, or null if it is not in the catalogue. Names are case-sensitive.
    [[nodiscard]] const StCatalogueEntry* Find(std::string_view name) const;
    [[nodiscard]] const std::vector<StCatalogueEntry>& Entries() const { return m_entries; }
    [[nodiscard]] std::vector<std::string> Names() const;

private:
    std::string m_pack;
    std::string m_version;
    std::vector<StCatalogueEntry> m_entries;
};

/// The error message for a plug-in name that is none of the known ones; suggests the most similar of them.
std::string UnknownPluginMessage(const std::string& name, std::span<const std::string> known);

} // namespace engine
