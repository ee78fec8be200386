#pragma once

#include <sorblib2core/CPluginBase.h>

#include <memory>
#include <string>

namespace engine {

/// A loaded pack. Its plug-ins, and all that came from them, must be gone before it is.
class CPackLibrary {
public:
    /// Loads the shared library; raises `CFileError` if it cannot, or if it is no pack.
    explicit CPackLibrary(const std::string& path);
    CPackLibrary(const CPackLibrary&) = delete;
    CPackLibrary& operator=(const CPackLibrary&) = delete;
    ~CPackLibrary();

    /// The pack that belongs to this program: ../lib/libQuillonPack.so beside it.
    static std::string DefaultPath();

    /// A new plug-in of that name; null if the pack has none. Raises what its constructor raises.
    [[nodiscard]] std::unique_ptr<ORVEN::CPluginBase> Create(const std::string& name) const;
    [[nodiscard]] bool Provides(const std::string& name) const { return Create(name) != nullptr; }

private:
    using CreateFunction = void* (*)(const char* name);

    void* m_library;
    CreateFunction m_create;
};

} // namespace engine
