#include "engine/catalogue/CCatalogue.h"

#include "engine/catalogue/NearestWord.h"
#include "engine/files/FileErrors.h"
#include "engine/files/TextFile.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace engine {

CCatalogue::CCatalogue(std::string_view text) {
    const CJson catalogue = CJson::ParseOrRaise(text);
    const CJson* const plugins = catalogue.Find("plugins");
    if (plugins == nullptr || !plugins->IsArray())
        throw std::runtime_error("catalogue: not a JSON object with a list \"plugins\"");
    for (const auto& [name, value] : {std::pair("pack", &m_pack), std::pair("version", &m_version)}) {
        const CJson* const member = catalogue.Find(name);
        if (member == nullptr)
            continue;
        if (!member->IsString())
            throw std::runtime_error(std::string("catalogue: '") + name + "' is not a string");
        *value = member->String();
    }
    for (const CJson& entry : plugins->Elements()) {
        m_entries.push_back(ParseCatalogueEntry(entry));
        if (Find(m_entries.back().name) != &m_entries.back())
            throw std::runtime_error("catalogue: '" + m_entries.back().name + "' is listed twice");
    }
}

std::string CCatalogue::PathBeside(const std::string& packPath) {
    const std::filesystem::path path = packPath;
    std::string name = path.stem().string();
    if (name.starts_with("lib"))
        name.erase(0, 3);
    return (path.parent_path() / (name + ".catalogue.json")).string();
}

CCatalogue CCatalogue::OfPack(const std::string& packPath) {
    const std::string path = PathBeside(packPath);
    std::error_code error;
    if (std::filesystem::status(path, error).type() == std::filesystem::file_type::not_found)
        return {};
    const std::string text = ReadTextFile(path);
    try {
        return CCatalogue(text);
    } catch (const std::exception& raised) {
        ThrowUnreadable(path, CFileReason(raised.what()));
    }
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

std::string UnknownPluginMessage(const std::string& name, std::span<const std::string> known) {
    const std::vector<std::string> nearest = NearestWords(name, known);
    std::string list;
    for (std::size_t i = 0; i < nearest.size(); ++i)
        list += (i == 0 ? "'" : i + 1 < nearest.size() ? ", '" : " and '") + nearest[i] + "'";
    return "there is no plug-in '" + name + "'" +
           (nearest.empty()       ? ""
            : nearest.size() == 1 ? "; the nearest name is " + list
                                  : "; the nearest names are " + list);
}

} // namespace engine
