#pragma once

namespace ORVEN {

/// Which pixels of a binary image are at distance 0.
enum class EnSeeds { Zeros, Ones, NonZeros };

} // namespace ORVEN
