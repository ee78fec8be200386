#pragma once

#include <sorblib2core/CValueMap.h>

#include <string>

namespace ORVEN {

/// Copies each entry of `source` into `target`, with the prefix prepended to its key, replacing existing
/// entries. Raises `CExBadParam` for an entry that is an owning pointer; entries before it have then been
/// copied.
void CopyMapEntries(CValueMap& target, const CValueMap& source, const std::string& prefix);

} // namespace ORVEN
