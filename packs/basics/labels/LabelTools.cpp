#include "labels/LabelTools.h"

#include "pixels/PixelLoops.h"

namespace quillon::basics {

using namespace ORVEN;

std::unique_ptr<CImage> Relabelled(const CImage& labels, const std::vector<std::uint32_t>& newLabels,
                                   std::uint32_t greatest, IProgress& progress) {
    const IImage::CType& type = greatest <= 255U     ? IMAGE_GREY_8
                                : greatest <= 65535U ? IMAGE_GREY_16
                                                     : IMAGE_GREY_32;
    auto result = NewImage(type, labels.Size());
    bool isDone = false;
    const auto relabel = [&]<class T>(std::type_identity<T>) {
        isDone = MapPixels<std::uint32_t, T>(
            labels, *result, progress, "Relabelling...",
            [&newLabels](std::uint32_t label) { return static_cast<T>(newLabels[label]); });
    };
    if (type == IMAGE_GREY_8)
        relabel(std::type_identity<std::uint8_t>());
    else if (type == IMAGE_GREY_16)
        relabel(std::type_identity<std::uint16_t>());
    else
        relabel(std::type_identity<std::uint32_t>());
    if (!isDone)
        result.reset();
    return result;
}

std::vector<std::int64_t> SizesOfLabels(const CImage& labels, std::size_t count, IProgress& progress) {
    std::vector<std::int64_t> sizes(count + 1, 0);
    const CImageView<const std::uint32_t> view(labels);
    CWorkPace pace(progress);
    ForEachRowPiece(view, 1, pace, [&](std::int64_t y, std::int64_t z, std::int64_t first, std::int64_t end) {
        const std::uint32_t* const row = view.Row(y, z);
        for (std::int64_t x = first; x < end; ++x)
            ++sizes[row[x]];
    });
    return sizes;
}

} // namespace quillon::basics
