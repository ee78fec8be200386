#pragma once

#include <sorblib2core/CPluginBase.h>

#include <memory>
#include <string>

namespace engine {

/// A loaded pack. It must outlive its plug-ins and every object that they created.
class CPackLibrary {
public:
    /// Loads the shared library. Raises `CFileError` if it cannot be loaded or is not a pack; the machine is
    /// at fault if it lacks a library that the pack needs.
    explicit CPackLibrary(const std::string& path);
    CPackLibrary(const CPackLibrary&) = delete;
    CPackLibrary& operator=(const CPackLibrary&) = delete;
    ~CPackLibrary();

    /// Creates the plug-in of that name; returns null if the pack has none. Raises
    /// `CPluginError` with the message of an exception from its constructor.
    [[nodiscard]] std::unique_ptr<ORVEN::CPluginBase> Create(const std::string& name) const;
    [[nodiscard]] bool Provides(const std::string& name) const { return Create(name) != nullptr; }

private:
    using CreateFunction = void* (*)(const char* name);

    void* m_library;
    CreateFunction m_create;
};

} // namespace engine
