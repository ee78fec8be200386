#pragma once

namespace ORVEN {

/// Which pixels of a binary image are at distance 0.
enum class EnSeeds { ZEROS, ONES, NON_ZEROS };

} // namespace ORVEN
