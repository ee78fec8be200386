#include "engine/files/TextFile.h"

#include "engine/files/FileErrors.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <utility>

namespace engine {

namespace {

class CDescriptor {
public:
    explicit CDescriptor(int descriptor)
        : m_descriptor(descriptor) {}
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;
    ~CDescriptor() {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }

    [[nodiscard]] int Get() const { return m_descriptor; }

private:
    int m_descriptor;
};

/// Reads the next bytes; returns 0 at the end. Waits for a pipe only while it has a writer.
ssize_t ReadSome(int file, std::array<char, 65536>& buffer) {
    for (;;) {
        const ssize_t count = read(file, buffer.data(), buffer.size());
        if (count >= 0 || (errno != EAGAIN && errno != EINTR))
            return count;
        pollfd waited{file, POLLIN, 0};
        poll(&waited, 1, -1);
    }
}

std::string ReadText(const std::string& path) {
    const CDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (file.Get() < 0 || fstat(file.Get(), &status) != 0)
        throw SystemReason(errno);
    if (S_ISDIR(status.st_mode))
        throw CFileReason("it is a folder");
    if (!S_ISREG(status.st_mode) && !S_ISFIFO(status.st_mode))
        throw CFileReason("it is not a regular file");
    const auto requireShort = [](std::uint64_t size) {
        if (size > c_maxTextSize)
            throw CFileReason("it is longer than " + std::to_string(c_maxTextSize >> 20) + " MiB");
    };
    requireShort(static_cast<std::uint64_t>(status.st_size));
    std::string text;
    std::array<char, 65536> buffer;
    ssize_t count = 0;
    while ((count = ReadSome(file.Get(), buffer)) > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
        requireShort(text.size());
    }
    if (count < 0)
        throw SystemReason(errno);
    if (text.empty() && S_ISFIFO(status.st_mode))
        throw CFileReason("it is a pipe without a writer");
    return text;
}

} // namespace

std::string ReadTextFile(const std::string& path) {
    return Reading(path, [&path] { return ReadText(path); });
}

} // namespace engine
