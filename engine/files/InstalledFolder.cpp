#include "engine/files/InstalledFolder.h"

#include <dlfcn.h>

namespace engine {

std::filesystem::path LibraryFolder() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&LibraryFolder), &info) == 0)
        return {};
    std::error_code error;
    return std::filesystem::canonical(info.dli_fname, error).parent_path();
}

std::filesystem::path InstalledFolder() { return LibraryFolder() / "quillon"; }

} // namespace engine
