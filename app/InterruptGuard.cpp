#include "InterruptGuard.h"

#include "Commands.h"
#include "PartialFolder.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>

namespace app {

namespace {

std::atomic<bool> g_isGuarded{false};
std::atomic<bool> g_isRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler must not wait");

void OnInterrupt(int /*signal*/) {
    if (g_isGuarded && !g_isRequested.exchange(true))
        return;
    RemovePartialFolder();
    _exit(STATUS_CANCELLED);
}

} // namespace

void HandleInterrupts() {
    struct sigaction action {};
    action.sa_handler = OnInterrupt;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
}

CInterruptGuard::CInterruptGuard() {
    g_isRequested = false;
    g_isGuarded = true;
}

CInterruptGuard::~CInterruptGuard() {
    g_isGuarded = false;
    g_isRequested = false;
}

bool CInterruptGuard::IsRequested() { return g_isRequested; }

} // namespace app
