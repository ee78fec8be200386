#pragma once

#include "topology/StLocalTopology.h"

#include <cstdint>

namespace quillon {

/// What the two skeleton plug-ins are told, and how they are told it: alike in both.
struct StSkeletonParameters : StLocalTopology {
    std::int32_t minRadius = 0; ///< pixels
    float minAngle = 0.0F;      ///< radians

    /// Takes the paths of the look-up tables over for all skeletons of the process.
    static void Configure(const ORVEN::CValueMap& settings);
    void Update(const ORVEN::CValueMap& tree);
    /// A text with neighbourhood, angle and radius for its placeholders.
    [[nodiscard]] ORVEN::CString HistoryLine(const char* text) const;
};

} // namespace quillon
