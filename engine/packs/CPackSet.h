#pragma once

#include "engine/catalogue/CCatalogue.h"
#include "engine/packs/CPackLibrary.h"
#include "engine/packs/StPackScan.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace engine {

/// A pack on disk: its library and its catalogue. Each is loaded when it is first asked for, so that a pack
/// costs nothing as long as an earlier one has the plug-in. Not safe to use from several threads at once.
class CPack {
public:
    /// Takes one sentence about what is wrong with a pack.
    using Report = std::function<void(const std::string& problem)>;

    CPack(std::string path, Report report)
        : m_path(std::move(path))
        , m_report(std::move(report)) {}

    [[nodiscard]] const std::string& Path() const { return m_path; }
    /// The name in the catalogue, or the library's file name if there is none.
    std::string Name();
    /// The catalogue; an empty one if there is none or, after a report, if it is damaged.
    const CCatalogue& Catalogue();
    /// Whether the pack creates the plug-in, by a trial in a child process. A pack that cannot be used
    /// provides nothing.
    bool Provides(const std::string& plugin);
    /// Whether the pack passes the trial; reports what is wrong, once, if it does not.
    bool IsUsable();
    /// Loads the library into this process. Raises the errors of `CPackLibrary`.
    const CPackLibrary& Library();

    /// The problem that the trial found; empty if there was none, or no trial.
    [[nodiscard]] const StPackScan& Scan() const { return m_scan; }

private:
    /// Tries the plug-ins of the catalogue and `plugin`.
    void Try(const std::string& plugin);

    std::string m_path;
    Report m_report;
    StPackScan m_scan;
    std::vector<std::string> m_tried;
    bool m_isTried = false;
    bool m_isReported = false;
    std::unique_ptr<CPackLibrary> m_library;
    std::optional<CCatalogue> m_catalogue;
};

/// A plug-in that a pack provides.
struct StFoundPlugin {
    const CPackLibrary& pack;
    const StCatalogueEntry* entry; ///< null if the pack's catalogue does not describe it
    CPack& source;
};

/// A plug-in as a catalogue describes it.
struct StDescribedPlugin {
    const StCatalogueEntry& entry;
    CPack* pack;                ///< the pack of the entry
    std::vector<CPack*> hidden; ///< later packs that describe a plug-in of the same name
};

/// The packs that a program uses. The first one that has a plug-in wins. Must outlive the plug-ins, like each
/// `CPackLibrary`.
class CPackSet {
public:
    /// The paths of the packs' libraries, in the order in which they are searched. A pack that cannot be used
    /// is left out, and reported once.
    explicit CPackSet(const std::vector<std::string>& paths, const CPack::Report& report = {});

    [[nodiscard]] std::vector<CPack>& Packs() { return m_packs; }

    /// Finds a plug-in: in the first pack whose catalogue lists it or that has no catalogue, else in any.
    /// Packs before that whose catalogue lacks it are not loaded. If no pack has it, raises `CFileError` for
    /// the first pack that cannot be used, or else `CCallerError` with the most similar names.
    StFoundPlugin Find(const std::string& name);
    /// Finds it in the pack of that name only. Raises `CCallerError` if there is no such pack or it does not
    /// provide the plug-in, and `CFileError` if it cannot be used.
    StFoundPlugin FindIn(const std::string& pack, const std::string& name);
    /// The first description of a plug-in in the catalogues; loads no library. Raises `CCallerError` if there
    /// is none, with the most similar names.
    StDescribedPlugin Describe(const std::string& name);

    /// The same; null if there is none.
    const StCatalogueEntry* FindEntry(const std::string& name);
    /// The descriptions in all catalogues, in the order of the packs.
    std::vector<const StCatalogueEntry*> Entries();

private:
    CPack* FindPack(const std::string& name);
    [[noreturn]] void ThrowUnknown(const std::string& name);

    std::vector<CPack> m_packs;
};

} // namespace engine
