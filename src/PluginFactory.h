#pragma once

extern "C" {

/// The one entry of the pack: a new plug-in object by the name of its algorithm, such as "Watershed".
///
/// Names compare as a whole and case-sensitively. The answer is the object as its most derived class, which
/// begins with its `ORVEN::CPluginBase`; the caller owns it and destroys it through that base. Null for a
/// name that the pack does not serve, and for a null name. Only what a constructor raises passes to the
/// caller.
[[gnu::visibility("default")]] void* CreatePluginInstanceEx(const char* name);
}
