#pragma once

#include <cstddef>

namespace ORVEN {

/// Registers a client of the FFTW library for the lifetime of the object.
///
/// FFTW keeps plans and tables for the whole process, which must not be freed while any part of the process
/// still computes transforms. Every part that may use FFTW therefore registers here, and the clean-up runs
/// when the last client is destroyed. This library does not link FFTW: a host that does installs the clean-up
/// function of its copy. Clients are counted across all libraries of the process. Any thread may register.
class CRegisterFftwClient {
public:
    using CleanUp = void (*)();

    CRegisterFftwClient();
    CRegisterFftwClient(const CRegisterFftwClient&) = delete;
    CRegisterFftwClient& operator=(const CRegisterFftwClient&) = delete;
    ~CRegisterFftwClient();

    /// The number of clients that exist.
    [[nodiscard]] static std::size_t ClientCount();

    /// Installs the function that runs whenever the last client is destroyed, null for none, and returns the
    /// previous one. It runs under the lock of the register, so it must not create or destroy clients or call
    /// this class, and it must not raise.
    static CleanUp SetCleanUp(CleanUp cleanUp);
};

} // namespace ORVEN
