#include "engine/packs/CPackLibrary.h"

#include "engine/errors/CEngineError.h"

#include <dlfcn.h>

#include <filesystem>

namespace engine {

namespace {

/// The path in the form that the system's loader expects.
std::string PlaceOf(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw CFileError("cannot load the pack: '" + path + "' is no regular file");
    // The loader would search for a bare name in the system's library folders.
    return path.find('/') == std::string::npos ? "./" + path : path;
}

} // namespace

CPackLibrary::CPackLibrary(const std::string& path)
    : m_library(dlopen(PlaceOf(path).c_str(), RTLD_NOW | RTLD_LOCAL))
    , m_create(nullptr) {
    if (m_library == nullptr)
        throw CFileError(std::string("cannot load the pack: ") + dlerror());
    m_create = reinterpret_cast<CreateFunction>(dlsym(m_library, "CreatePluginInstanceEx"));
    if (m_create == nullptr) {
        dlclose(m_library);
        throw CFileError("'" + path + "' is no pack: it has no CreatePluginInstanceEx");
    }
}

CPackLibrary::~CPackLibrary() {
    // The leak checker looks at the program's end, and what only an unloaded library points to counts as
    // lost.
#ifndef __SANITIZE_ADDRESS__
    dlclose(m_library);
#endif
}

std::string CPackLibrary::DefaultPath() {
    const auto program = std::filesystem::read_symlink("/proc/self/exe");
    return (program.parent_path().parent_path() / "lib" / "libQuillonPack.so").string();
}

std::unique_ptr<ORVEN::CPluginBase> CPackLibrary::Create(const std::string& name) const {
    // The factory returns a pointer to the most derived class, whose only base is CPluginBase: both have the
    // same address.
    return std::unique_ptr<ORVEN::CPluginBase>(static_cast<ORVEN::CPluginBase*>(m_create(name.c_str())));
}

} // namespace engine
