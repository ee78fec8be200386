#pragma once

#include <span>
#include <string_view>

extern "C" {

/// The only entry point of a pack: creates a plug-in object from the name of its algorithm, such as
/// "Watershed".
///
/// Names are compared in full and case-sensitively. The returned pointer is to the most derived class of the
/// object, which begins with its `ORVEN::CPluginBase`. The caller owns the object and destroys it through
/// that base. Returns null for a null name and for a name that the pack does not provide. The only exceptions
/// that reach the caller are those of the constructor.
[[gnu::visibility("default")]] void* CreatePluginInstanceEx(const char* name);
}

/// What a pack needs to implement its entry point: a table of its plug-ins.
namespace quillon::factory {

struct StRow {
    std::string_view name;
    void* (*create)();
};

template <class Plugin>
void* Create() {
    return new Plugin;
}

/// Creates the plug-in of that name, with the rules of `CreatePluginInstanceEx`.
void* CreateByName(std::span<const StRow> rows, const char* name);

} // namespace quillon::factory
