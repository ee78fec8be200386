#pragma once

#include <sorblib2core/CValueMap.h>

#include <string>

namespace quillon {

/// Takes the path of a look-up table from the settings of `Configure`, if a text of that key names a file
/// that exists; else the path stays, without a word.
void TakePathOfExistingFile(const ORVEN::CValueMap& settings, const char* key, std::string& path);

} // namespace quillon
