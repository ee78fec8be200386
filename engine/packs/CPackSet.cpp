#include "engine/packs/CPackSet.h"

#include "engine/catalogue/NearestWord.h"
#include "engine/errors/CEngineError.h"
#include "engine/files/ImageWords.h"

#include <algorithm>
#include <filesystem>

namespace engine {

std::string CPack::Name() {
    const std::string& name = Catalogue().Pack();
    return !name.empty() ? name : std::filesystem::path(m_path).filename().string();
}

const CCatalogue& CPack::Catalogue() {
    if (m_catalogue)
        return *m_catalogue;
    m_catalogue.emplace();
    try {
        m_catalogue = CCatalogue::OfPack(m_path);
    } catch (const CFileError& error) {
        if (m_report)
            m_report(error.what());
    }
    return *m_catalogue;
}

bool CPack::Provides(const std::string& plugin) {
    Try(plugin);
    return std::ranges::find(m_scan.provided, plugin) != m_scan.provided.end();
}

bool CPack::IsUsable() {
    Try({});
    if (!m_scan.IsUsable() && !m_isReported && m_report)
        m_report(m_scan.problem);
    m_isReported = true;
    return m_scan.IsUsable();
}

void CPack::Try(const std::string& plugin) {
    const bool isKnown = plugin.empty() || std::ranges::find(m_tried, plugin) != m_tried.end();
    if (m_isTried && (isKnown || !m_scan.IsUsable()))
        return;
    m_tried = Catalogue().Names();
    if (!isKnown && std::ranges::find(m_tried, plugin) == m_tried.end())
        m_tried.push_back(plugin);
    m_scan = ScanPack(m_path, m_tried);
    m_isTried = true;
}

const CPackLibrary& CPack::Library() {
    if (m_library == nullptr)
        m_library = std::make_unique<CPackLibrary>(m_path);
    return *m_library;
}

CPackSet::CPackSet(const std::vector<std::string>& paths, const CPack::Report& report) {
    for (const std::string& path : paths)
        m_packs.emplace_back(path, report);
}

StFoundPlugin CPackSet::Find(const std::string& name) {
    CPack* const pack = FindPack(name);
    for (CPack& candidate : m_packs) {
        if (candidate.Scan().IsUsable())
            continue;
        if (pack == nullptr)
            throw CFileError(candidate.Scan().problem, candidate.Scan().fault);
        (void)candidate.IsUsable(); // reports it
    }
    if (pack != nullptr)
        return {pack->Library(), pack->Catalogue().Find(name), *pack};
    const bool isListed = std::ranges::any_of(
        m_packs, [&](CPack& candidate) { return candidate.Catalogue().Find(name) != nullptr; });
    if (!isListed)
        ThrowUnknown(name);
    throw CCallerError((m_packs.size() == 1 ? "the pack does not provide '" : "no pack provides '") + name +
                       "'");
}

StFoundPlugin CPackSet::FindIn(const std::string& pack, const std::string& name) {
    std::vector<std::string> names;
    for (CPack& candidate : m_packs) {
        names.push_back(candidate.Name());
        if (names.back() != pack)
            continue;
        if (candidate.Provides(name))
            return {candidate.Library(), candidate.Catalogue().Find(name), candidate};
        if (!candidate.Scan().IsUsable())
            throw CFileError(candidate.Scan().problem, candidate.Scan().fault);
        throw CCallerError("the pack " + pack + " does not provide '" + name + "'");
    }
    throw CCallerError("there is no pack '" + pack + "'; the packs are " + FirstTen(names));
}

CPack* CPackSet::FindPack(const std::string& name) {
    const auto mayHave = [&](CPack& pack) {
        return pack.Catalogue().Entries().empty() || pack.Catalogue().Find(name) != nullptr;
    };
    for (const bool asksListed : {true, false}) {
        for (CPack& pack : m_packs) {
            if (mayHave(pack) == asksListed && pack.Provides(name))
                return &pack;
        }
    }
    return nullptr;
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

StDescribedPlugin CPackSet::Describe(const std::string& name) {
    std::vector<CPack*> found;
    for (CPack& pack : m_packs) {
        if (pack.Catalogue().Find(name) != nullptr)
            found.push_back(&pack);
    }
    if (found.empty())
        ThrowUnknown(name);
    return {*found.front()->Catalogue().Find(name), found.front(), {found.begin() + 1, found.end()}};
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
