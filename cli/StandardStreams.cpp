#include "cli/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

namespace cli {

void ReserveStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) >= 0)
            continue;
        // `open` returns the lowest free descriptor, which is this one. Standard output is opened for reading
        // only, so that writing to it still fails; for standard error a failure could not be reported anyway.
        const int mode = stream == STDERR_FILENO ? O_WRONLY : O_RDONLY;
        (void)!open("/dev/null", mode);
    }
}

bool IsStandardOutputClosed() {
    const int flags = fcntl(STDOUT_FILENO, F_GETFL);
    return flags < 0 || (flags & O_ACCMODE) == O_RDONLY;
}

std::optional<std::string> FlushStandardOutput() {
    errno = 0;
    const bool isFlushed = std::cout.flush().good() && std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    if (isFlushed)
        return std::nullopt;
    return errno != 0 ? std::strerror(errno) : "not all could be written";
}

} // namespace cli
