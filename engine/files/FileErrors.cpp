#include "engine/files/FileErrors.h"

#include <cerrno>
#include <cstring>

namespace engine {

namespace {

bool IsExhaustion(int errorNumber) {
    switch (errorNumber) {
    case ENOSPC:
    case EDQUOT:
    case ENOMEM:
    case EMFILE:
    case ENFILE:
        return true;
    default:
        return false;
    }
}

} // namespace

CFileReason SystemReason(int errorNumber) {
    return CFileReason(std::strerror(errorNumber),
                       IsExhaustion(errorNumber) ? EnFault::MACHINE : EnFault::FILE);
}

CFileReason NoMemory() { return CFileReason("there is not enough memory", EnFault::MACHINE); }

void ThrowUnreadable(const std::string& path, const CFileError& reason) {
    throw CFileError("cannot read '" + path + "': " + reason.what(), reason.Fault());
}

void ThrowUnwritable(const std::string& path, const CFileError& reason) {
    throw CFileError("cannot write '" + path + "': " + reason.what(), reason.Fault());
}

void ThrowUnwritable(const std::string& path, const std::string& reason) {
    ThrowUnwritable(path, CFileReason(reason));
}

} // namespace engine
