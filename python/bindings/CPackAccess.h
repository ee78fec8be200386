#pragma once

#include "engine/packs/CPackSet.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace quillon_python {

/// The packs of the process. They stay loaded, because Python may hold images that they made. All operations
/// can be called on several threads at once; call them without the interpreter lock.
class CPackAccess {
public:
    static CPackAccess& Instance();

    /// Finds the plug-in in the pack of that name, or in the library of that path; without a pack, in the
    /// first one that has it. Raises as `CPackSet` does.
    engine::StFoundPlugin Find(const std::string& plugin, const std::optional<std::string>& pack);

    /// Calls `work` with the packs that are searched for a plug-in, while no other thread uses them.
    template <class Work>
    auto With(const Work& work) {
        const std::lock_guard lock(m_guard);
        return work(Installed());
    }

private:
    engine::CPackSet& Installed();
    engine::CPackSet& AtPath(const std::string& path);

    std::mutex m_guard;
    std::map<std::string, engine::CPackSet> m_sets; // by path; under "" those that are installed
};

} // namespace quillon_python
