#pragma once

#include "topology/StLocalTopology.h"

#include <cstdint>

namespace quillon {

/// The parameters shared by the two skeleton plug-ins, and how they are read.
struct StSkeletonParameters : StLocalTopology {
    std::int32_t minRadius = 0; ///< pixels
    float minAngle = 0.0F;      ///< radians

    /// Applies the paths of the look-up tables to all skeletons of the process.
    static void Configure(const ORVEN::CValueMap& settings);
    void Update(const ORVEN::CValueMap& tree);
    /// Returns a text with its placeholders replaced by neighbourhood, angle and radius.
    [[nodiscard]] ORVEN::CString HistoryLine(const char* text) const;
};

} // namespace quillon
