#include "QuillonSpectral/CRegisterFftwClient.h"

#include <mutex>
#include <utility>

namespace ORVEN {

namespace {

std::mutex g_guard;
std::size_t g_clientCount = 0;
CRegisterFftwClient::CleanUp g_cleanUp = nullptr;

} // namespace

CRegisterFftwClient::CRegisterFftwClient() {
    const std::lock_guard lock(g_guard);
    ++g_clientCount;
}

CRegisterFftwClient::~CRegisterFftwClient() {
    const std::lock_guard lock(g_guard);
    if (--g_clientCount == 0 && g_cleanUp != nullptr)
        g_cleanUp();
}

std::size_t CRegisterFftwClient::ClientCount() {
    const std::lock_guard lock(g_guard);
    return g_clientCount;
}

CRegisterFftwClient::CleanUp CRegisterFftwClient::SetCleanUp(CleanUp cleanUp) {
    const std::lock_guard lock(g_guard);
    return std::exchange(g_cleanUp, cleanUp);
}

} // namespace ORVEN
