// quillon-scan-pack LIBRARY [PLUGIN ...]: loads a pack on trial. See ScanProtocol.h for what it prints.

#include "engine/errors/CEngineError.h"
#include "engine/packs/CPackLibrary.h"
#include "engine/packs/ChildAnswers.h"
#include "engine/packs/ScanProtocol.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <string>

namespace {

using namespace engine;

bool IsCreated(const CPackLibrary& pack, const std::string& plugin) {
    try {
        return pack.Provides(plugin);
    } catch (const CPluginError&) {
        return true; // it exists, and its own message appears where it is used
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    std::FILE* const answers = OpenAnswers();
    if (answers == nullptr || argumentCount < 2)
        return 2;
    try {
        {
            const CPackLibrary pack(arguments[1]);
            for (int i = 2; i < argumentCount; ++i) {
                if (IsCreated(pack, arguments[i]))
                    std::fprintf(answers, "%s%s\n", c_scanProvides, arguments[i]);
            }
        }
        std::fprintf(answers, "%s\n", c_scanUsable);
    } catch (const CFileError& error) {
        std::string message = error.what();
        std::replace(message.begin(), message.end(), '\n', ' ');
        std::fprintf(answers, "%s%s\n", error.Fault() == EnFault::MACHINE ? c_scanMissing : c_scanUnusable,
                     message.c_str());
    }
    std::fflush(answers);
    return 0;
}
