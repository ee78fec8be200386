#pragma once

#include <cstdint>
#include <optional>

namespace engine {

/// Measures how much memory the process takes at most, beyond what it has when this object is made. Counts
/// resident memory, so that what is allocated and never touched is free. One object at a time.
class CPeakMemory {
public:
    CPeakMemory();

    /// The greatest increase so far, in bytes; nothing if the system does not measure it.
    [[nodiscard]] std::optional<std::int64_t> Bytes() const;

private:
    std::optional<std::int64_t> m_before;
};

} // namespace engine
