#include "engine/run/CDescriptorCapture.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace engine {

namespace {

int Checked(int result, const char* what) {
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

std::string Contents(int file) {
    struct stat status {};
    std::string text;
    if (fstat(file, &status) == 0)
        text.resize(static_cast<std::size_t>(status.st_size));
    std::size_t filled = 0;
    while (filled < text.size()) {
        const ssize_t count =
            pread(file, text.data() + filled, text.size() - filled, static_cast<off_t>(filled));
        if (count <= 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    text.resize(filled);
    return text;
}

} // namespace

CDescriptorCapture::CDescriptorCapture(int descriptor)
    : m_descriptor(descriptor)
    , m_original(Checked(fcntl(descriptor, F_DUPFD_CLOEXEC, 0), "cannot keep an output stream"))
    , m_file(memfd_create("quillon-output", MFD_CLOEXEC)) {
    if (m_file < 0 || dup2(m_file, descriptor) < 0) {
        const int reason = errno;
        close(m_original);
        if (m_file >= 0)
            close(m_file);
        throw std::system_error(reason, std::generic_category(), "cannot divert an output stream");
    }
}

CDescriptorCapture::~CDescriptorCapture() {
    Stop();
    close(m_original);
}

void CDescriptorCapture::Stop() {
    if (m_file < 0)
        return;
    dup2(m_original, m_descriptor);
    m_text = Contents(m_file);
    close(m_file);
    m_file = -1;
}

} // namespace engine
