#pragma once

#include <signal.h>

#include <array>

namespace engine {

/// Signals that end the program: Ctrl-C, a plain `kill`, and a closed terminal.
inline constexpr std::array c_endingSignals = {SIGINT, SIGTERM, SIGHUP};

/// Blocks the ending signals for the calling thread while it exists, so that a group of steps is not
/// interrupted.
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
