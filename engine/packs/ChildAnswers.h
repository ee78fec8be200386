#pragma once

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace engine {

/// For a program that `CChildProcess` starts and that loads a pack: returns a stream to the former standard
/// output, where the parent reads the answers, and discards what the pack prints. Returns null if there is no
/// descriptor left.
inline std::FILE* OpenAnswers() {
    std::FILE* const answers = fdopen(dup(STDOUT_FILENO), "w");
    const int nowhere = open("/dev/null", O_RDWR);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
    return answers;
}

} // namespace engine
