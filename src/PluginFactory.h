#pragma once

extern "C" {

/// The only entry point of the pack: creates a plug-in object from the name of its algorithm, such as
/// "Watershed".
///
/// Names are compared in full and case-sensitively. The returned pointer is to the most derived class of the
/// object, which begins with its `ORVEN::CPluginBase`. The caller owns the object and destroys it through
/// that base. Returns null for a null name and for a name that the pack does not provide. The only exceptions
/// that reach the caller are those of the constructor.
[[gnu::visibility("default")]] void* CreatePluginInstanceEx(const char* name);
}
