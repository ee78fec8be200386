#pragma once

#include "QuillonFilterOrientations/CDirectionSums.h"
#include "QuillonFilterOrientations/StFiberScale.h"

#include <QuillonBase/CWorkPace.h>
#include <sorblib2core/CValueMap.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

namespace ORVEN::Impl {

/// How the foreground was chosen without a mask.
struct StOtsu {
    double factor;
    double threshold; ///< the grey value that foreground exceeds
};

/// The entries of field, subfields and profiles of a measurement, see `CSubfieldFiberDirections`. There are
/// no subfields if a component of their size is 0. `isFieldOnly` omits profiles. Incomplete if the pace is
/// cancelled.
std::unique_ptr<CValueMap> MapOfFibers(const CDirectionSums& sums, const StFiberScale& scale,
                                       const std::array<std::int64_t, 3>& subfieldSize, bool isFieldOnly,
                                       CWorkPace& pace);

/// Stores the further entries of a measurement; `otsu` is empty for a mask.
void StoreFiberSettings(CValueMap& map, const StFiberScale& scale, double fiberRadius,
                        const std::optional<StOtsu>& otsu);

} // namespace ORVEN::Impl
