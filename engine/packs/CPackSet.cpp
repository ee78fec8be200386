#include "engine/packs/CPackSet.h"

#include "engine/catalogue/NearestWord.h"
#include "engine/errors/CEngineError.h"

#include <algorithm>

namespace fs = std::filesystem;

namespace engine {

namespace {

const char* const c_mainPack = "libQuillonPack.so";

} // namespace

std::string CPack::Name() {
    const std::string& name = Catalogue().Pack();
    return !name.empty() ? name : fs::path(m_path).filename().string();
}

const CPackLibrary& CPack::Library() {
    if (m_library == nullptr)
        m_library = std::make_unique<CPackLibrary>(m_path);
    return *m_library;
}

const CCatalogue& CPack::Catalogue() {
    if (!m_catalogue)
        m_catalogue = CCatalogue::OfPack(m_path);
    return *m_catalogue;
}

CPackSet::CPackSet(const std::vector<std::string>& paths)
    : m_packs(paths.begin(), paths.end()) {}

std::vector<std::string> CPackSet::DefaultPaths() {
    const auto program = fs::read_symlink("/proc/self/exe");
    return PathsIn(program.parent_path().parent_path() / "lib");
}

std::vector<std::string> CPackSet::PathsIn(const fs::path& folder) {
    const std::string mainPack = (folder / c_mainPack).string();
    std::vector<std::string> paths;
    std::error_code error;
    for (auto entry = fs::directory_iterator(folder, error); entry != fs::directory_iterator();
         entry.increment(error)) {
        const std::string path = entry->path().string();
        if (path.ends_with(".so") && path != mainPack && fs::exists(CCatalogue::PathBeside(path), error))
            paths.push_back(path);
    }
    std::sort(paths.begin(), paths.end());
    if (paths.empty() || fs::exists(mainPack, error))
        paths.insert(paths.begin(), mainPack);
    return paths;
}

StFoundPlugin CPackSet::Find(const std::string& name) {
    for (CPack& pack : m_packs) {
        if (pack.Library().Provides(name))
            return {pack.Library(), pack.Catalogue().Find(name)};
    }
    if (FindEntry(name) == nullptr)
        ThrowUnknown(name);
    throw CCallerError((m_packs.size() == 1 ? "the pack does not provide '" : "no pack provides '") + name +
                       "'");
}

const StCatalogueEntry& CPackSet::Describe(const std::string& name) {
    const StCatalogueEntry* const entry = FindEntry(name);
    if (entry == nullptr)
        ThrowUnknown(name);
    return *entry;
}

const StCatalogueEntry* CPackSet::FindEntry(const std::string& name) {
    for (CPack& pack : m_packs) {
        if (const StCatalogueEntry* const entry = pack.Catalogue().Find(name))
            return entry;
    }
    return nullptr;
}

std::vector<const StCatalogueEntry*> CPackSet::Entries() {
    std::vector<const StCatalogueEntry*> entries;
    for (CPack& pack : m_packs) {
        for (const StCatalogueEntry& entry : pack.Catalogue().Entries())
            entries.push_back(&entry);
    }
    return entries;
}

void CPackSet::ThrowUnknown(const std::string& name) {
    std::vector<std::string> known;
    for (CPack& pack : m_packs) {
        const auto names = pack.Catalogue().Names();
        known.insert(known.end(), names.begin(), names.end());
    }
    throw CCallerError(UnknownPluginMessage(name, known));
}

} // namespace engine
