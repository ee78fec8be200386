#include "engine/run/COutputCapture.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace engine {

namespace {

/// Text that waits in a stream's buffer belongs to where the stream led when it was written.
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
    // What did not fit into the capture, by a limit on the size of files, was not the program's own.
    for (std::ostream* stream : {&std::cout, &std::cerr, &std::clog})
        stream->clear();
    std::clearerr(stdout);
    std::clearerr(stderr);
}

} // namespace engine
