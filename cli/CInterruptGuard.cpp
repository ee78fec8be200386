#include "cli/CInterruptGuard.h"

#include "cli/Commands.h"
#include "engine/files/EndingSignals.h"
#include "engine/files/UnfinishedFiles.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <utility>

namespace cli {

using namespace engine;

namespace {

std::atomic<bool> g_isGuarded{false};
std::atomic<bool> g_isRequested{false};
// Set before `g_isGuarded` is set, and not changed until it is cleared.
std::atomic<const char*> g_notice{nullptr};
std::atomic<std::size_t> g_noticeLength{0};
std::atomic<int> g_noticeDescriptor{-1};
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<const char*>::is_always_lock_free &&
                  std::atomic<std::size_t>::is_always_lock_free && std::atomic<int>::is_always_lock_free,
              "a signal handler must not wait");

/// Calls only functions that are allowed in a signal handler.
void WriteNotice() {
    const int before = errno;
    [[maybe_unused]] const ssize_t written = write(g_noticeDescriptor, g_notice, g_noticeLength);
    errno = before;
}

void OnEndingSignal(int /*signal*/) {
    if (g_isGuarded && !g_isRequested.exchange(true)) {
        WriteNotice();
        return;
    }
    AbandonUnfinishedFiles();
    _exit(STATUS_CANCELLED);
}

} // namespace

void HandleInterrupts() {
    struct sigaction action {};
    action.sa_handler = OnEndingSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int signal : c_endingSignals)
        sigaddset(&action.sa_mask, signal);
    for (const int signal : c_endingSignals) {
        struct sigaction before {};
        sigaction(signal, nullptr, &before);
        if (signal != SIGHUP || before.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
    signal(SIGXFSZ, SIG_IGN);
}

CInterruptGuard::CInterruptGuard(std::string notice, int descriptor)
    : m_notice(std::move(notice)) {
    g_notice = m_notice.data();
    g_noticeLength = m_notice.size();
    g_noticeDescriptor = descriptor;
    g_isRequested = false;
    g_isGuarded = true;
}

CInterruptGuard::~CInterruptGuard() {
    g_isGuarded = false;
    g_isRequested = false;
}

bool CInterruptGuard::IsRequested() { return g_isRequested; }

} // namespace cli
