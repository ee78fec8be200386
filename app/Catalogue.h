#pragma once

#include "CatalogueEntry.h"

#include <span>

namespace app {

/// What the host knows about the plug-ins beforehand: names, parameters, images they take.
///
/// A pack can only be asked for a plug-in by name, so that this is also the list of names to ask for.
class CCatalogue {
public:
    /// From the texts of its entries; raises as `ParseCatalogueEntry` does.
    explicit CCatalogue(std::span<const std::string_view> texts);

    /// The one that is compiled in.
    static const CCatalogue& Embedded();

    /// Null for a name that the catalogue does not know. Capitals count.
    [[nodiscard]] const StCatalogueEntry* Find(std::string_view name) const;
    [[nodiscard]] const std::vector<StCatalogueEntry>& Entries() const { return m_entries; }
    [[nodiscard]] std::vector<std::string> Names() const;

private:
    std::vector<StCatalogueEntry> m_entries;
};

/// The sentence for a name that is not there, with the nearest one that is.
std::string UnknownPluginMessage(const std::string& name, const CCatalogue& catalogue);

} // namespace app
