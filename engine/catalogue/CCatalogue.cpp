#include "engine/catalogue/CCatalogue.h"

#include "engine/catalogue/NearestWord.h"
#include "engine/errors/CEngineError.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace engine {

CCatalogue::CCatalogue(std::string_view text) {
    const auto catalogue = nlohmann::ordered_json::parse(text, nullptr, false);
    if (!catalogue.is_object() || !catalogue.contains("plugins") || !catalogue["plugins"].is_array())
        throw std::runtime_error("catalogue: not a JSON object with a list \"plugins\"");
    m_pack = catalogue.value("pack", "");
    m_version = catalogue.value("version", "");
    for (const auto& entry : catalogue["plugins"])
        m_entries.push_back(ParseCatalogueEntry(entry.dump()));
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
    if (!std::filesystem::exists(path))
        return {};
    std::ifstream file(path, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!file)
        throw CFileError("cannot read '" + path + "'");
    try {
        return CCatalogue(text);
    } catch (const std::exception& error) {
        throw CFileError("cannot read '" + path + "': " + error.what());
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

std::string UnknownPluginMessage(const std::string& name, const CCatalogue& catalogue) {
    std::string message = "there is no plug-in '" + name + "'";
    if (const std::string nearest = NearestWord(name, catalogue.Names()); !nearest.empty())
        message += "; the nearest name is '" + nearest + "'";
    return message;
}

} // namespace engine
