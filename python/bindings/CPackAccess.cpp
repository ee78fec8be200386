#include "python/bindings/CPackAccess.h"

#include "engine/packs/PackFolders.h"

#include <cstdio>

namespace quillon_python {

namespace {

void Report(const std::string& problem) { std::fprintf(stderr, "quillon: %s\n", problem.c_str()); }

} // namespace

CPackAccess& CPackAccess::Instance() {
    // Never destroyed: Python may free images that a pack made after static objects are gone.
    static CPackAccess* const instance = new CPackAccess;
    return *instance;
}

engine::CPackSet& CPackAccess::Installed() {
    if (const auto found = m_sets.find(""); found != m_sets.end())
        return found->second;
    return m_sets.try_emplace("", engine::FindPacks({}, Report), Report).first->second;
}

engine::CPackSet& CPackAccess::AtPath(const std::string& path) {
    return m_sets.try_emplace(path, std::vector<std::string>{path}, Report).first->second;
}

engine::StFoundPlugin CPackAccess::Find(const std::string& plugin, const std::optional<std::string>& pack) {
    const std::lock_guard lock(m_guard);
    if (!pack)
        return Installed().Find(plugin);
    if (pack->find('/') != std::string::npos)
        return AtPath(*pack).Find(plugin);
    return Installed().FindIn(*pack, plugin);
}

} // namespace quillon_python
