#include "engine/packs/PackFolders.h"

#include "engine/catalogue/CCatalogue.h"
#include "engine/files/FileErrors.h"
#include "engine/files/InstalledFolder.h"

#include <algorithm>
#include <cstdlib>

namespace fs = std::filesystem;

namespace engine {

namespace {

const char* const c_mainPack = "libQuillonPack.so";

template <class Condition>
std::vector<std::string> LibrariesIn(const fs::path& folder, const Condition& isPack) {
    std::vector<std::string> paths;
    std::error_code error;
    for (auto entry = fs::directory_iterator(folder, error); entry != fs::directory_iterator();
         entry.increment(error)) {
        const std::string path = entry->path().string();
        if (path.ends_with(".so") && isPack(path))
            paths.push_back(path);
    }
    if (error && error != std::errc::no_such_file_or_directory)
        ThrowUnreadable(folder.string(), SystemReason(error.value()));
    const std::string mainPack = (folder / c_mainPack).string();
    std::ranges::sort(paths, {}, [&](const std::string& path) { return std::pair(path != mainPack, path); });
    return paths;
}

const char* NonEmpty(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0' ? value : nullptr;
}

} // namespace

std::vector<std::string> FindPacks(const std::vector<std::string>& named,
                                   const std::function<void(const std::string&)>& report) {
    std::vector<std::string> paths;
    const auto append = [&](const std::vector<std::string>& more) {
        for (const std::string& path : more) {
            if (std::ranges::find(paths, path) == paths.end())
                paths.push_back(path);
        }
    };
    const auto appendFolder = [&](const fs::path& folder) {
        try {
            append(PacksIn(folder));
        } catch (const CFileError& error) {
            if (report)
                report(error.what());
        }
    };
    append(named);
    appendFolder(UserPackFolder());
    const std::size_t countOfOwn = paths.size();
    appendFolder(InstalledFolder() / "packs");
    if (paths.size() == countOfOwn)
        append(CataloguedPacksIn(LibraryFolder()));
    if (paths.size() == countOfOwn)
        append({(LibraryFolder() / c_mainPack).string()});
    return paths;
}

fs::path UserPackFolder() {
    // The standard asks for relative paths to be ignored.
    if (const char* const data = NonEmpty("XDG_DATA_HOME"); data != nullptr && fs::path(data).is_absolute())
        return fs::path(data) / "quillon" / "packs";
    if (const char* const home = NonEmpty("HOME"))
        return fs::path(home) / ".local" / "share" / "quillon" / "packs";
    return {};
}

std::vector<std::string> PacksIn(const fs::path& folder) {
    return LibrariesIn(folder, [](const std::string& /*path*/) { return true; });
}

std::vector<std::string> CataloguedPacksIn(const fs::path& folder) {
    return LibrariesIn(folder, [&](const std::string& path) {
        std::error_code error;
        return fs::path(path).filename() == c_mainPack || fs::exists(CCatalogue::PathBeside(path), error);
    });
}

} // namespace engine
