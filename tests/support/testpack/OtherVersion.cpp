// A pack that needs a function of another version of the host libraries.

namespace ORVEN {
void Foretell();
} // namespace ORVEN

extern "C" [[gnu::visibility("default")]] void* CreatePluginInstanceEx(const char* /*name*/) {
    ORVEN::Foretell();
    return nullptr;
}
