#pragma once

#include "engine/catalogue/StCatalogueEntry.h"
#include "engine/files/ImageFile.h"

#include <sorblib2core/CValueMap.h>

#include <cstdint>
#include <optional>

namespace engine {

/// How much memory a run needs, in bytes.
struct StMemoryEstimate {
    std::int64_t images = 0;            ///< the image and those among the parameters
    std::optional<std::int64_t> plugin; ///< beyond the images, at most; nothing if the catalogue does not say
    double bytesPerVoxel = 0;           ///< of the plug-in
    std::int64_t voxels = 0;            ///< that these bytes are counted for
    std::optional<std::int64_t> available; ///< at the moment; nothing if the system does not report it

    [[nodiscard]] std::int64_t Needed() const { return images + plugin.value_or(0); }
    /// Whether the run is known not to fit.
    [[nodiscard]] bool IsTooLarge() const { return available && Needed() > *available; }
};

/// Estimates the memory of a run from the catalogue, without reading pixels. `entry` may be null.
/// `furtherImages` are the bytes of images among the parameters. For a plug-in that changes the number of
/// pixels, the greater of both numbers counts.
StMemoryEstimate EstimateMemory(const StCatalogueEntry* entry, const StImageOutline& image,
                                const ORVEN::CValueMap& parameters, std::int64_t furtherImages = 0);

} // namespace engine
