#include "engine/files/EndingSignals.h"

namespace engine {

CEndingSignalsBlock::CEndingSignalsBlock() {
    sigset_t ending{};
    sigemptyset(&ending);
    for (const int signal : c_endingSignals)
        sigaddset(&ending, signal);
    pthread_sigmask(SIG_BLOCK, &ending, &m_before);
}

CEndingSignalsBlock::~CEndingSignalsBlock() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

} // namespace engine
