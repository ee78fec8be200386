#pragma once

namespace ORVEN {

/// Questions about files of the host's file system.
class CFile {
public:
    /// Whether something of that name is there. A null path, and a path that cannot be asked about, answer
    /// false.
    static bool Exists(const char* path);
};

} // namespace ORVEN
