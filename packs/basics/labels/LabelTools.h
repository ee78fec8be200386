#pragma once

#include <QuillonBase/IProgress.h>
#include <sorblib2image/CImage.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace quillon::basics {

/// Replaces each label by `newLabels[label]`, which holds no number above `greatest`. The result has the
/// narrowest type that holds `greatest`: IMAGE_GREY_8, IMAGE_GREY_16 or IMAGE_GREY_32. Null if cancelled.
[[nodiscard]] std::unique_ptr<ORVEN::CImage> Relabelled(const ORVEN::CImage& labels,
                                                        const std::vector<std::uint32_t>& newLabels,
                                                        std::uint32_t greatest, ORVEN::IProgress& progress);

/// The number of pixels of each label from 0 to `count`, of an image of type IMAGE_GREY_32 without greater
/// labels. Incomplete if cancelled.
[[nodiscard]] std::vector<std::int64_t> SizesOfLabels(const ORVEN::CImage& labels, std::size_t count,
                                                      ORVEN::IProgress& progress);

} // namespace quillon::basics
