#pragma once

#include "engine/catalogue/StCatalogueEntry.h"

#include <string>
#include <string_view>
#include <vector>

namespace engine {

/// What a pack declares about its plug-ins: names, parameters, accepted images.
///
/// A pack can only be asked for a plug-in by name, so this is also the list of names to ask for.
class CCatalogue {
public:
    /// The catalogue of a pack that brings none.
    CCatalogue() = default;
    /// Parses {"pack": TEXT, "version": TEXT, "plugins": [ENTRY, ...]}. Raises `std::runtime_error`, as
    /// `ParseCatalogueEntry` does for an entry.
    explicit CCatalogue(std::string_view text);

    /// The file beside a pack's library: lib/libName.so has lib/Name.catalogue.json.
    static std::string PathBeside(const std::string& packPath);
    /// Reads that file; a pack without one has an empty catalogue. Raises `CFileError` that names the file if
    /// it cannot be read or is no catalogue.
    static CCatalogue OfPack(const std::string& packPath);

    /// Name and version of the pack; empty for a pack without a catalogue.
    [[nodiscard]] const std::string& Pack() const { return m_pack; }
    [[nodiscard]] const std::string& Version() const { return m_version; }

    /// Null for a name that the catalogue does not know. Capitals count.
    [[nodiscard]] const StCatalogueEntry* Find(std::string_view name) const;
    [[nodiscard]] const std::vector<StCatalogueEntry>& Entries() const { return m_entries; }
    [[nodiscard]] std::vector<std::string> Names() const;

private:
    std::string m_pack;
    std::string m_version;
    std::vector<StCatalogueEntry> m_entries;
};

/// The sentence for a name that is not there, with the nearest one that is.
std::string UnknownPluginMessage(const std::string& name, const CCatalogue& catalogue);

} // namespace engine
