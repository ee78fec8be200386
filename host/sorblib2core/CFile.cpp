#include "sorblib2core/CFile.h"

#include <filesystem>

namespace ORVEN {

bool CFile::Exists(const char* path) {
    if (path == nullptr)
        return false;
    std::error_code unreachable;
    return std::filesystem::exists(path, unreachable);
}

} // namespace ORVEN
