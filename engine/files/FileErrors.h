#pragma once

#include "engine/errors/CEngineError.h"

#include <new>
#include <string>

// Code that reads or writes the contents of a file raises the reason of a failure only, a `CFileReason`. The
// functions below add the path, in one place for each file.

namespace engine {

/// Why a file cannot be read or written, without its path: "it ends too early".
class CFileReason : public CFileError {
public:
    using CFileError::CFileError;
};

/// The reason for a failed system call, from its `errno`. The machine is at fault if a resource ran out: disk
/// space, memory or descriptors.
CFileReason SystemReason(int errorNumber);

/// Raises `CFileError` with the one-line message "cannot read 'PATH': REASON".
[[noreturn]] void ThrowUnreadable(const std::string& path, const CFileError& reason);
/// The same for "cannot write 'PATH': REASON".
[[noreturn]] void ThrowUnwritable(const std::string& path, const CFileError& reason);
[[noreturn]] void ThrowUnwritable(const std::string& path, const std::string& reason);

/// The reason if memory runs out while a file is read or written.
CFileReason NoMemory();

/// Calls `read` and returns its result. Adds the path to a reason that it raises; errors that already name a
/// file, such as a second one that belongs to the first, pass unchanged.
template <class Read>
auto Reading(const std::string& path, const Read& read) {
    try {
        return read();
    } catch (const CFileReason& reason) {
        ThrowUnreadable(path, reason);
    } catch (const std::bad_alloc&) {
        ThrowUnreadable(path, NoMemory());
    }
}

/// Calls `write` and returns its result. Adds the path to each file error that it raises, because the only
/// other path in it is that of an unfinished file.
template <class Write>
auto Writing(const std::string& path, const Write& write) {
    try {
        return write();
    } catch (const CFileError& reason) {
        ThrowUnwritable(path, reason);
    } catch (const std::bad_alloc&) {
        ThrowUnwritable(path, NoMemory());
    }
}

} // namespace engine
