#pragma once

#include <stdexcept>
#include <string>

namespace engine {

/// Who has to act before the same call can succeed.
enum class EnFault {
    CALLER,  ///< the request names something that does not exist, or makes no sense
    FILE,    ///< a file is missing or damaged, or cannot be written
    PLUGIN,  ///< the plug-in or its pack failed or broke the contract
    MACHINE, ///< memory, disk space or another resource ran out, or a system library is missing
};

/// Base class of all errors that the engine raises. The message is one sentence for users, without a final
/// full stop. The front end decides what an error means for the process, such as its exit code.
class CEngineError : public std::runtime_error {
public:
    CEngineError(EnFault fault, const std::string& message)
        : std::runtime_error(message)
        , m_fault(fault) {}

    [[nodiscard]] EnFault Fault() const { return m_fault; }

private:
    EnFault m_fault;
};

/// A file could not be read or written. The fault is `MACHINE` if the machine ran out of memory or disk
/// space, so that the same file could be read or written elsewhere.
class CFileError : public CEngineError {
public:
    explicit CFileError(const std::string& message, EnFault fault = EnFault::FILE)
        : CEngineError(fault, message) {}
};

/// A plug-in raised an exception.
class CPluginError : public CEngineError {
public:
    explicit CPluginError(const std::string& message)
        : CEngineError(EnFault::PLUGIN, message) {}
};

/// The caller's request names something that does not exist, or makes no sense.
class CCallerError : public CEngineError {
public:
    explicit CCallerError(const std::string& message)
        : CEngineError(EnFault::CALLER, message) {}
};

} // namespace engine
