#include "engine/files/COutputFile.h"

#include "engine/files/FileErrors.h"

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <new>
#include <utility>

namespace engine {

namespace {

// The most that Linux writes and zlib accepts in one call, rounded down.
constexpr std::size_t c_maxChunk = std::size_t{1} << 30;
// Level 1 is no faster and compresses less; level 6 takes 1.5 times as long on grey values and three times as
// long on masks.
constexpr int c_gzipLevel = 2;
constexpr int c_gzipWindow = 15 + 16; // the largest window, with a gzip wrapper

} // namespace

COutputFile::COutputFile(const std::string& path)
    : m_descriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
    if (m_descriptor < 0)
        throw SystemReason(errno);
}

COutputFile::~COutputFile() {
    if (m_descriptor >= 0)
        close(m_descriptor);
}

void COutputFile::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(m_descriptor, bytes.data(), std::min(bytes.size(), c_maxChunk));
        if (count < 0 && errno != EINTR)
            throw SystemReason(errno);
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
}

void COutputFile::WriteGzip(std::initializer_list<std::string_view> parts) {
    constexpr int memoryLevel = 9; // the maximum; 256 KiB
    z_stream stream{};
    if (deflateInit2(&stream, c_gzipLevel, Z_DEFLATED, c_gzipWindow, memoryLevel, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
    const std::unique_ptr<z_stream, int (*)(z_stream*)> end(&stream, &deflateEnd);
    std::array<char, 65536> packed;
    const auto deflateAll = [&](std::string_view chunk, int flush) {
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(chunk.data())); // zlib does not modify it
        stream.avail_in = static_cast<uInt>(chunk.size());
        do {
            stream.next_out = reinterpret_cast<Bytef*>(packed.data());
            stream.avail_out = packed.size();
            deflate(&stream, flush);
            Write({packed.data(), packed.size() - stream.avail_out});
        } while (stream.avail_out == 0);
    };
    for (std::string_view part : parts) {
        for (; !part.empty(); part.remove_prefix(std::min(part.size(), c_maxChunk)))
            deflateAll(part.substr(0, c_maxChunk), Z_NO_FLUSH);
    }
    deflateAll({}, Z_FINISH);
}

void COutputFile::Close() {
    if (close(std::exchange(m_descriptor, -1)) != 0)
        throw SystemReason(errno);
}

} // namespace engine
