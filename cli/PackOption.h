#pragma once

#include "engine/packs/CPackSet.h"

#include <string>
#include <vector>

namespace cli {

/// The packs given by --pack and, after them, those that `engine::FindPacks` finds. A pack that cannot be
/// used costs one line on standard error.
engine::CPackSet OpenPacks(const std::vector<std::string>& named);

} // namespace cli
