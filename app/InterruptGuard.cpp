#include "InterruptGuard.h"

#include "Commands.h"
#include "EndingSignals.h"
#include "UnfinishedFiles.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>

namespace app {

namespace {

std::atomic<bool> g_isGuarded{false};
std::atomic<bool> g_isRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler must not wait");

void OnEndingSignal(int /*signal*/) {
    if (g_isGuarded && !g_isRequested.exchange(true))
        return;
    AbandonUnfinishedFiles();
    _exit(STATUS_CANCELLED);
}

} // namespace

void HandleInterrupts() {
    struct sigaction action {};
    action.sa_handler = OnEndingSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int signal : g_endingSignals)
        sigaddset(&action.sa_mask, signal);
    for (const int signal : g_endingSignals) {
        struct sigaction before {};
        sigaction(signal, nullptr, &before);
        if (signal != SIGHUP || before.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
    signal(SIGXFSZ, SIG_IGN);
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
