#pragma once

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>

namespace test {

/// Makes allocations fail that add more than `bytes` to the address space of this process, as long as the
/// object lives. Without effect under the sanitizers that need the address space for themselves.
class CMemoryLimit {
public:
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    static constexpr bool isEffective = true;
#else
    static constexpr bool isEffective = false;
#endif

    explicit CMemoryLimit([[maybe_unused]] std::int64_t bytes) {
        getrlimit(RLIMIT_AS, &m_before);
        if constexpr (isEffective) {
            // By default each new thread reserves 64 MiB of addresses or more for what it will allocate.
            mallopt(M_ARENA_MAX, 1);
            long pages = 0;
            std::ifstream("/proc/self/statm") >> pages;
            rlimit limit = m_before;
            limit.rlim_cur = static_cast<rlim_t>(pages * sysconf(_SC_PAGESIZE) + bytes);
            setrlimit(RLIMIT_AS, &limit);
        }
    }
    CMemoryLimit(const CMemoryLimit&) = delete;
    CMemoryLimit& operator=(const CMemoryLimit&) = delete;
    ~CMemoryLimit() { setrlimit(RLIMIT_AS, &m_before); }

private:
    rlimit m_before{};
};

} // namespace test
