#include "engine/run/COutputCapture.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace engine {

namespace {

/// Buffered text belongs to the destination that the stream had when it was written.
void FlushStreams() {
    std::cout.flush();
    std::cerr.flush();
    std::clog.flush();
    std::fflush(nullptr);
}

int AfterFlush(int descriptor) {
    FlushStreams();
    return descriptor;
}

} // namespace

COutputCapture::COutputCapture()
    : m_output(AfterFlush(STDOUT_FILENO))
    , m_error(STDERR_FILENO) {}

COutputCapture::~COutputCapture() { Stop(); }

void COutputCapture::Stop() {
    FlushStreams();
    m_output.Stop();
    m_error.Stop();
    // Clears errors from pack output that exceeded a file-size limit: the program's own output has not
    // failed.
    for (std::ostream* stream : {&std::cout, &std::cerr, &std::clog})
        stream->clear();
    std::clearerr(stdout);
    std::clearerr(stderr);
}

} // namespace engine
