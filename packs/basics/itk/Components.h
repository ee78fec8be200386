#pragma once

#include "pixels/EnNeighborhood.h"

#include <QuillonBase/IProgress.h>
#include <sorblib2image/CImage.h>

#include <cstddef>
#include <memory>

namespace quillon::basics {

/// The connected components of the pixels of a binary image that are not 0.
struct StComponents {
    /// Labels from 1 in the order of their first pixels, IMAGE_GREY_32; null after a cancelled run.
    std::unique_ptr<ORVEN::CImage> labels;
    std::size_t count = 0;
};

[[nodiscard]] StComponents ComponentsOf(const ORVEN::CImage& binary, EnNeighborhood neighborhood,
                                        ORVEN::IProgress& progress);

} // namespace quillon::basics
