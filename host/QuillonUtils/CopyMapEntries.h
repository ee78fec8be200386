#pragma once

#include <sorblib2core/CValueMap.h>

#include <string>

namespace ORVEN {

/// Copies each entry of `source` into `target`, under the prefix and its key, in place of what stood there.
/// An entry that owns what it points to cannot be copied and raises `CExBadParam`.
void CopyMapEntries(CValueMap& target, const CValueMap& source, const std::string& prefix);

} // namespace ORVEN
