// A pack that needs a library which the loader cannot find.

int FunctionOfTheLostLibrary();

extern "C" [[gnu::visibility("default")]] void* CreatePluginInstanceEx(const char* /*name*/) {
    FunctionOfTheLostLibrary();
    return nullptr;
}
