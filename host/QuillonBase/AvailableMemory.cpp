#include "QuillonBase/AvailableMemory.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>

#ifdef __linux__
#include <sys/resource.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <fstream>
#include <limits>
#include <string>

namespace ORVEN {

namespace {

std::optional<std::int64_t> AvailableOfSystem() {
    std::ifstream file("/proc/meminfo");
    std::string name;
    std::int64_t kibibytes = 0;
    while (file >> name >> kibibytes) {
        if (name == "MemAvailable:")
            return kibibytes * 1024;
        file.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return std::nullopt;
}

/// What is left of the address space.
std::int64_t AvailableAddresses() {
    constexpr std::int64_t unlimited = std::numeric_limits<std::int64_t>::max();
#ifdef __linux__
    rlimit limit{};
    std::int64_t pages = 0;
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY ||
        !(std::ifstream("/proc/self/statm") >> pages))
        return unlimited;
    return std::max<std::int64_t>(static_cast<std::int64_t>(limit.rlim_cur) - pages * sysconf(_SC_PAGESIZE),
                                  0);
#else
    return unlimited;
#endif
}

} // namespace

std::optional<std::int64_t> AvailableMemory() {
    const auto available = AvailableOfSystem();
    return available ? std::optional(std::min(*available, AvailableAddresses())) : std::nullopt;
}

void RequireMemory(const char* function, const char* purpose, std::int64_t byteCount) {
    const auto available = AvailableMemory();
    if (!available || byteCount <= *available)
        return;
    throw CException(Impl::Here(function),
                     CString("%1 needs %2 bytes of memory, and %3 are available; use a part of the image, or "
                             "a larger machine.",
                             CString::ENC_UTF8)
                         .Arg(purpose)
                         .Arg(static_cast<long long>(byteCount), 0)
                         .Arg(static_cast<long long>(*available), 0));
}

} // namespace ORVEN
