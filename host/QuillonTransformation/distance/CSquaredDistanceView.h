#pragma once

#include <QuillonBase/CWorkPace.h>
#include <sorblib2image/ImageView.h>

#include <cstdint>

namespace ORVEN {

/// The pixels of a map of squared distances to the background, for reading, after a look at all of them: in
/// an object of pixels with background all around none can be above ((e + 1) / 2)^2, e being the least extent
/// of the image.
///
/// That bound, and 32767^2 as another, keeps what is computed from the distances within 64 bits, vectors to
/// the background within 16.
class CSquaredDistanceView {
public:
    /// Raises `CException`, in the name of `function`, "Image type %1 not supported." unless the type is
    /// IMAGE_GREY_32, "Image dimension %1 not supported." unless it is 3, and "Squared distance %1 in an
    /// image of size %2." Once the pace is cancelled not all pixels have been looked at.
    CSquaredDistanceView(const char* function, const IImage& image, CWorkPace& pace);

    [[nodiscard]] const std::int32_t* Row(std::int64_t y, std::int64_t z) const { return m_view.Row(y, z); }
    /// 0 for positions outside the image.
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
    CImageView<const std::int32_t> m_view;
    std::int32_t m_greatest;
};

/// Raises `CException`, in the name of `function`, unless the image is of the type and of the size of the
/// map: "Image type %1 not supported." or "Image of size %1 does not fit the distances of size %2."
void RequireFitting(const char* function, const IImage& image, const IImage::CType& type,
                    const IImage& squaredDistance);

} // namespace ORVEN
