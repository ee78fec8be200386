#pragma once

#include <QuillonBase/CWorkPace.h>
#include <sorblib2image/ImageView.h>

#include <cstdint>

namespace ORVEN {

/// Read access to the pixels of a map of squared distances to the background, all of which are valid.
/// In an object that is surrounded by background, no value can exceed ((e + 1) / 2)^2, where e is the
/// smallest extent of the image.
///
/// Together with the second bound, 32767^2, this ensures that values computed from the distances fit into 64
/// bits, and vectors to the background into 16.
class CSquaredDistanceView {
public:
    /// Raises `CException`, in the name of `function`, "Image type %1 not supported." unless the type is
    /// IMAGE_GREY_32, "Image dimension %1 not supported." unless it is 3, and "Squared distance %1 in an
    /// image of size %2." for a distance out of bounds. The pixels are read on all cores; if that is
    /// cancelled, the pace is cancelled, and not all pixels have been validated.
    CSquaredDistanceView(const char* function, const IImage& image, IProgress& progress, CWorkPace& pace);
    /// For a map that `SquaredDistancesToBackground` has computed; `greatest` is what it returned.
    CSquaredDistanceView(const char* function, const IImage& image, std::int32_t greatest);

    [[nodiscard]] const IImage& Image() const { return m_image; }

    [[nodiscard]] const std::int32_t* Row(std::int64_t y, std::int64_t z) const { return m_view.Row(y, z); }
    /// Returns 0 for positions outside the image.
    [[nodiscard]] std::int32_t At(std::int64_t x, std::int64_t y, std::int64_t z) const {
        return Contains(x, y, z) ? Row(y, z)[x] : 0;
    }
    [[nodiscard]] bool Contains(std::int64_t x, std::int64_t y, std::int64_t z) const {
        return x >= 0 && x < nx && y >= 0 && y < ny && z >= 0 && z < nz;
    }
    [[nodiscard]] std::int32_t Greatest() const { return m_greatest; }

    std::int64_t nx;
    std::int64_t ny;
    std::int64_t nz;

private:
    const IImage& m_image;
    CImageView<const std::int32_t> m_view;
    std::int32_t m_greatest;
};

/// Raises `CException`, in the name of `function`, "Image type %1 not supported." unless the image has the
/// given type, and "Image of size %1 does not fit the distances of size %2." unless it has the size of the
/// map.
void RequireFitting(const char* function, const IImage& image, const IImage::CType& type,
                    const IImage& squaredDistance);

} // namespace ORVEN
