#include "sorblib2core/CFile.h"

#include <filesystem>

namespace ORVEN {

bool CFile::Exists(const char* path) {
    if (path == nullptr)
        return false;
    std::error_code unreachable;
    const std::filesystem::file_status status = std::filesystem::status(path, unreachable);
    return std::filesystem::exists(status) && !std::filesystem::is_directory(status);
}

} // namespace ORVEN
