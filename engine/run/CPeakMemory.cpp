#include "engine/run/CPeakMemory.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

namespace engine {

namespace {

/// A line of /proc/self/status in bytes: "VmHWM:" is the peak, "VmRSS:" what is resident now.
std::optional<std::int64_t> Status(const std::string& wanted) {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string name;
        std::int64_t kibibytes = 0;
        if (words >> name >> kibibytes && name == wanted)
            return kibibytes * 1024;
    }
    return std::nullopt;
}

/// Sets the peak to what is resident now.
bool ResetPeak() {
    std::ofstream file("/proc/self/clear_refs");
    file << "5" << std::flush;
    return file.good();
}

} // namespace

CPeakMemory::CPeakMemory()
    : m_before(ResetPeak() ? Status("VmRSS:") : std::nullopt) {}

std::optional<std::int64_t> CPeakMemory::Bytes() const {
    const auto peak = m_before ? Status("VmHWM:") : std::nullopt;
    return peak ? std::optional(std::max<std::int64_t>(0, *peak - *m_before)) : std::nullopt;
}

} // namespace engine
