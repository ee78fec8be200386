#include "Catalogue.h"

#include "EmbeddedCatalogue.h"
#include "NearestWord.h"

#include <algorithm>

namespace app {

CCatalogue::CCatalogue(std::span<const std::string_view> texts) {
    m_entries.reserve(texts.size());
    for (const std::string_view text : texts)
        m_entries.push_back(ParseCatalogueEntry(text));
}

const CCatalogue& CCatalogue::Embedded() {
    static const CCatalogue catalogue(EmbeddedCatalogue());
    return catalogue;
}

const StCatalogueEntry* CCatalogue::Find(std::string_view name) const {
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [name](const StCatalogueEntry& entry) { return entry.name == name; });
    return found != m_entries.end() ? &*found : nullptr;
}

std::vector<std::string> CCatalogue::Names() const {
    std::vector<std::string> names;
    for (const StCatalogueEntry& entry : m_entries)
        names.push_back(entry.name);
    return names;
}

std::string UnknownPluginMessage(const std::string& name, const CCatalogue& catalogue) {
    std::string message = "there is no plug-in '" + name + "'";
    if (const std::string nearest = NearestWord(name, catalogue.Names()); !nearest.empty())
        message += "; the nearest name is '" + nearest + "'";
    return message;
}

} // namespace app
