#include "engine/run/MemoryEstimate.h"

#include "engine/files/ImageWords.h"

#include <QuillonBase/AvailableMemory.h>
#include <sorblib2core/CValueDouble.h>

#include <algorithm>
#include <cmath>

namespace engine {

namespace {

std::optional<double> NumberAt(const ORVEN::CValueMap& parameters, const std::string& key) {
    if (key.empty() || !parameters.HasEntry(key, typeid(ORVEN::CValueDouble)))
        return std::nullopt;
    const double number = parameters.Entry(key, true)->Double();
    return number > 0 && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

/// The number of pixels of the result, as a double, which does not overflow.
double ResultVoxels(const StCatalogueEntry& entry, const StImageOutline& image,
                    const ORVEN::CValueMap& parameters) {
    const auto factor = NumberAt(parameters, entry.scaleFactor);
    const auto length = NumberAt(parameters, entry.scaleLength);
    double voxels = 1;
    for (int axis = 0; axis < image.size.Dim(); ++axis) {
        const double spacing = image.spacing[static_cast<std::size_t>(axis)];
        const double scale = factor ? *factor : length && spacing > 0 ? spacing / *length : 1;
        voxels *= std::max(1.0, std::round(static_cast<double>(image.size[axis]) * scale));
    }
    return voxels;
}

/// The number for a pixel type; nothing if the catalogue has none.
std::optional<double> BytesFor(const ORVEN::IImage::CType& type, const std::map<std::string, double>& bytes) {
    for (const std::string& word : {WordOfPixelType(type), std::string()}) {
        if (const auto found = bytes.find(word); found != bytes.end())
            return found->second;
    }
    return std::nullopt;
}

} // namespace

StMemoryEstimate EstimateMemory(const StCatalogueEntry* entry, const StImageOutline& image,
                                const ORVEN::CValueMap& parameters, std::int64_t furtherImages) {
    StMemoryEstimate estimate;
    estimate.voxels = image.size.PixelCount();
    estimate.images = estimate.voxels * image.type.PixelSize() + furtherImages;
    estimate.available = ORVEN::AvailableMemory();
    const auto bytesPerVoxel = entry != nullptr ? BytesFor(image.type, entry->bytesPerVoxel) : std::nullopt;
    if (!bytesPerVoxel)
        return estimate;
    constexpr double most = 1e18;
    const double voxels = std::max(static_cast<double>(estimate.voxels),
                                   std::min(most, ResultVoxels(*entry, image, parameters)));
    estimate.voxels = static_cast<std::int64_t>(voxels);
    estimate.bytesPerVoxel = *bytesPerVoxel;
    const double bytes = voxels * *bytesPerVoxel + BytesFor(image.type, entry->fixedBytes).value_or(0);
    estimate.plugin = static_cast<std::int64_t>(std::ceil(std::min(most, bytes)));
    return estimate;
}

} // namespace engine
