#pragma once

namespace ORVEN {

/// Questions about files of the host's file system.
class CFile {
public:
    /// Whether a file of that name exists, of any kind but a directory. Returns false for a null path and for
    /// one that cannot be examined.
    static bool Exists(const char* path);
};

} // namespace ORVEN
