#pragma once

#include <sorblib2core/CValueMap.h>

#include <string>

namespace quillon {

/// Reads the path of a look-up table from the settings of `Configure`. If the entry is missing, or does not
/// name an existing file, `path` stays unchanged and nothing is reported.
void TakePathOfExistingFile(const ORVEN::CValueMap& settings, const char* key, std::string& path);

} // namespace quillon
