#pragma once

#include <cstdint>

namespace validate {

/// Whether a limit on the address space works. Some sanitizers reserve terabytes of it.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool c_hasMemoryLimit = false;
#else
inline constexpr bool c_hasMemoryLimit = true;
#endif

/// What a rule may take before it is ended.
struct StLimits {
    double loadSeconds = 1;  ///< the time to load a pack, of which the rule about it takes the best of three
    double ruleSeconds = 60; ///< the time for one rule
    double cancelSeconds = 10;                        ///< the time in which a cancelled run has to return
    std::int64_t memoryBytes = std::int64_t{4} << 30; ///< address space of a process; 0 for no limit
};

} // namespace validate
