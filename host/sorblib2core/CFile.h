#pragma once

namespace ORVEN {

/// Queries about files in the file system of the host.
class CFile {
public:
    /// Whether `path` exists and is not a directory. Returns false for a null path and for a path that cannot
    /// be examined.
    static bool Exists(const char* path);
};

} // namespace ORVEN
