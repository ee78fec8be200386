#include "engine/files/CTextOutput.h"

#include "engine/files/CAtomicFile.h"
#include "engine/files/COutputFile.h"
#include "engine/files/FileErrors.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace fs = std::filesystem;

namespace engine {

namespace {

/// Makes a write to a pipe without a reader fail instead of ending the program.
class CBrokenPipeGuard {
public:
    CBrokenPipeGuard()
        : m_before(signal(SIGPIPE, SIG_IGN)) {}
    CBrokenPipeGuard(const CBrokenPipeGuard&) = delete;
    CBrokenPipeGuard& operator=(const CBrokenPipeGuard&) = delete;
    ~CBrokenPipeGuard() { signal(SIGPIPE, m_before); }

private:
    void (*m_before)(int);
};

} // namespace

bool IsDeviceOrPipe(const std::string& path) {
    std::error_code error;
    const auto status = fs::status(path, error);
    return fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
}

CTextOutput::CTextOutput(std::string path)
    : m_path(std::move(path)) {
    if (!IsDeviceOrPipe(m_path))
        return;
    // Without O_NONBLOCK, opening a pipe without a reader would wait for one.
    m_special = open(m_path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (m_special < 0)
        ThrowUnwritable(m_path,
                        errno == ENXIO ? CFileReason("it is a pipe without a reader") : SystemReason(errno));
    fcntl(m_special, F_SETFL, fcntl(m_special, F_GETFL) & ~O_NONBLOCK);
}

CTextOutput::~CTextOutput() {
    if (m_special >= 0)
        close(m_special);
}

void CTextOutput::Write(const std::string& text) {
    const auto writeAll = [&text](COutputFile file) {
        file.Write(text);
        file.Close();
    };
    if (m_special >= 0) {
        const CBrokenPipeGuard guard;
        Writing(m_path, [&] { writeAll(COutputFile(std::exchange(m_special, -1))); });
        return;
    }
    CAtomicFile target(m_path);
    Writing(m_path, [&] { writeAll(COutputFile(target.Path())); });
    target.Commit();
}

void WriteTextFile(const std::string& path, const std::string& text) { CTextOutput(path).Write(text); }

} // namespace engine
