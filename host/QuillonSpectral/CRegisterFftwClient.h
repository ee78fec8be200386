#pragma once

#include <cstddef>

namespace ORVEN {

/// Registers a client of the FFTW library for as long as the object lives.
///
/// FFTW keeps plans and tables for the whole process, and must not free them while anyone still transforms.
/// All parts of a process that may use it therefore register here, and the clean-up runs when the last of
/// them goes. This library does not link FFTW: a host that does installs the clean-up function of its copy.
/// Clients are counted across all libraries of the process. Any thread may register.
class CRegisterFftwClient {
public:
    using CleanUp = void (*)();

    CRegisterFftwClient();
    CRegisterFftwClient(const CRegisterFftwClient&) = delete;
    CRegisterFftwClient& operator=(const CRegisterFftwClient&) = delete;
    ~CRegisterFftwClient();

    [[nodiscard]] static std::size_t ClientCount();

    /// Installs the function that runs each time the last client goes, null for none, and returns the former
    /// one. No client can register while it runs, so it must not make or destroy clients, and it must not
    /// raise.
    static CleanUp SetCleanUp(CleanUp cleanUp);
};

} // namespace ORVEN
