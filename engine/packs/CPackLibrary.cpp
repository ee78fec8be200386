#include "engine/packs/CPackLibrary.h"

#include "engine/errors/CEngineError.h"

#include <sorblib2core/CException.h>

#include <dlfcn.h>

#include <exception>
#include <filesystem>
#include <new>

namespace engine {

namespace {

/// The path in the form that the system's loader expects.
std::string PlaceOf(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw CFileError("cannot load the pack: '" + path + "' is not a regular file");
    // The loader would search for a bare name in the system's library folders.
    return path.find('/') == std::string::npos ? "./" + path : path;
}

/// The error after a failed dlopen of the pack. If the loader names another library than the pack, the pack
/// itself was found, and this machine lacks a library that it needs.
CFileError LoadError(const std::string& place) {
    const std::string reason = dlerror();
    return CFileError("cannot load the pack: " + reason,
                      reason.starts_with(place) ? EnFault::FILE : EnFault::MACHINE);
}

} // namespace

CPackLibrary::CPackLibrary(const std::string& path)
    : m_library(nullptr)
    , m_create(nullptr) {
    const std::string place = PlaceOf(path);
    m_library = dlopen(place.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_library == nullptr)
        throw LoadError(place);
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

std::unique_ptr<ORVEN::CPluginBase> CPackLibrary::Create(const std::string& name) const {
    try {
        // The factory returns a pointer to the most derived class, whose only base is CPluginBase: both have
        // the same address.
        return std::unique_ptr<ORVEN::CPluginBase>(static_cast<ORVEN::CPluginBase*>(m_create(name.c_str())));
    } catch (const ORVEN::CException& error) {
        throw CPluginError(std::string(error.Source()) + ": " + error.Message());
    } catch (const std::bad_alloc&) {
        throw CPluginError("not enough memory");
    } catch (const std::exception& error) {
        throw CPluginError(error.what());
    }
}

} // namespace engine
