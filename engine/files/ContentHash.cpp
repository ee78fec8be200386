#include "engine/files/ContentHash.h"

#include "engine/files/FileErrors.h"

#include <fcntl.h>
#include <gcrypt.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string_view>

namespace engine {

namespace {

/// The library is ready once a program has asked for its version; another user in the process may have done
/// so already.
void PrepareLibrary() {
    static std::once_flag isDone;
    std::call_once(isDone, [] {
        if (gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P) != 0)
            return;
        gcry_check_version(nullptr);
        gcry_control(GCRYCTL_DISABLE_SECMEM, 0); // there is nothing secret
        gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
    });
}

class CSha256 {
public:
    CSha256() {
        PrepareLibrary();
        if (gcry_md_open(&m_state, GCRY_MD_SHA256, 0) != 0)
            throw CFileReason("SHA-256 is not available", EnFault::MACHINE);
    }
    CSha256(const CSha256&) = delete;
    CSha256& operator=(const CSha256&) = delete;
    ~CSha256() { gcry_md_close(m_state); }

    void Add(std::string_view bytes) { gcry_md_write(m_state, bytes.data(), bytes.size()); }

    std::string Hexadecimal() {
        static const char* const digits = "0123456789abcdef";
        const unsigned char* const hash = gcry_md_read(m_state, GCRY_MD_SHA256);
        std::string text;
        for (unsigned i = 0; i < gcry_md_get_algo_dlen(GCRY_MD_SHA256); ++i) {
            text += digits[hash[i] >> 4];
            text += digits[hash[i] & 15];
        }
        return text;
    }

private:
    gcry_md_hd_t m_state = nullptr;
};

class CInputFile {
public:
    explicit CInputFile(const std::string& path)
        : m_descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        if (m_descriptor < 0)
            throw SystemReason(errno);
    }
    CInputFile(const CInputFile&) = delete;
    CInputFile& operator=(const CInputFile&) = delete;
    ~CInputFile() { close(m_descriptor); }

    /// The next bytes; none at the end of the file.
    std::string_view Next() {
        ssize_t count = 0;
        do {
            count = read(m_descriptor, m_buffer.data(), m_buffer.size());
        } while (count < 0 && errno == EINTR);
        if (count < 0)
            throw SystemReason(errno);
        return {m_buffer.data(), static_cast<std::size_t>(count)};
    }

private:
    int m_descriptor;
    std::array<char, 65536> m_buffer{};
};

std::string HashOfFile(const std::string& path) {
    return Reading(path, [&path] {
        CSha256 hash;
        CInputFile file(path);
        for (std::string_view bytes = file.Next(); !bytes.empty(); bytes = file.Next())
            hash.Add(bytes);
        return hash.Hexadecimal();
    });
}

} // namespace

std::string ContentHash(std::vector<std::string> paths) {
    if (paths.size() == 1)
        return HashOfFile(paths.front());
    std::vector<std::pair<std::string, std::string>> lines; // name and hash
    for (const std::string& path : paths)
        lines.emplace_back(std::filesystem::path(path).filename().string(), HashOfFile(path));
    std::sort(lines.begin(), lines.end());
    CSha256 hash;
    for (const auto& [name, hashOfFile] : lines)
        hash.Add(hashOfFile + "  " + name + "\n");
    return hash.Hexadecimal();
}

std::future<std::string> ContentHashInBackground(std::vector<std::string> paths) {
    return std::async(std::launch::async,
                      [paths = std::move(paths)]() mutable { return ContentHash(std::move(paths)); });
}

} // namespace engine
