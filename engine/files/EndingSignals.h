#pragma once

#include <signal.h>

#include <array>

namespace engine {

/// What ends the program from outside: Ctrl-C, a plain `kill`, a terminal that goes away.
inline constexpr std::array g_endingSignals = {SIGINT, SIGTERM, SIGHUP};

/// Holds the ending signals back from the calling thread while it lives, for steps that belong together.
class CEndingSignalsBlock {
public:
    CEndingSignalsBlock();
    CEndingSignalsBlock(const CEndingSignalsBlock&) = delete;
    CEndingSignalsBlock& operator=(const CEndingSignalsBlock&) = delete;
    ~CEndingSignalsBlock();

private:
    sigset_t m_before{};
};

} // namespace engine
