#include "engine/packs/CPackLibrary.h"

#include "engine/packs/PackFile.h"

#include <sorblib2core/CException.h>

#include <dlfcn.h>

#include <exception>
#include <new>

namespace engine {

CPackLibrary::CPackLibrary(const std::string& path)
    : m_library(nullptr)
    , m_create(nullptr) {
    RequireLibrary(path);
    // The loader would search for a bare name in the system's library folders.
    const std::string place = path.find('/') == std::string::npos ? "./" + path : path;
    m_library = dlopen(place.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_library == nullptr)
        throw LoadError(path, dlerror());
    m_create = reinterpret_cast<CreateFunction>(dlsym(m_library, "CreatePluginInstanceEx"));
    if (m_create == nullptr) {
        dlclose(m_library);
        throw PackError(path, "it does not export CreatePluginInstanceEx");
    }
}

CPackLibrary::~CPackLibrary() {
    // The leak checker looks at the program's end, and what only an unloaded library points to counts as
    // lost. The thread sanitizer aborts when a library named in its suppressions is unloaded.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
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
