#pragma once

#include <QuillonBase/CWorkPace.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <cstdint>

namespace ORVEN {

/// The rows of an image grouped in layers, the units of work for threads: planes of a 3-d image, single rows
/// of a 2-d or 1-d image. The latter has one row along y in each layer, so that the same code works for all
/// dimensions.
template <class T>
class CLayerView {
public:
    template <class Image>
    explicit CLayerView(Image& image)
        : m_view(image)
        , m_isFlat(image.Size().Dim() < 3)
        , nx(m_view.nx)
        , ny(m_isFlat ? 1 : m_view.ny)
        , nz(m_isFlat ? m_view.ny : m_view.nz) {}

    [[nodiscard]] T* Row(std::int64_t y, std::int64_t z) const {
        return m_isFlat ? m_view.Row(z, 0) : m_view.Row(y, z);
    }
    /// The index of a row among all rows.
    [[nodiscard]] std::int64_t RowNumber(std::int64_t y, std::int64_t z) const { return z * ny + y; }
    [[nodiscard]] bool HasRow(std::int64_t y, std::int64_t z) const {
        return y >= 0 && y < ny && z >= 0 && z < nz;
    }
    /// The number of layers that are enough work for one item of a parallel loop.
    [[nodiscard]] std::int64_t LayersPerItem() const {
        constexpr std::int64_t pixels = 1 << 16;
        return std::max<std::int64_t>(1, pixels / std::max<std::int64_t>(1, nx * ny));
    }

    /// Calls `body(y, z)` for the rows of the layers from `firstZ` to before `endZ`, and checks for
    /// cancellation in between. `unitsEach` is the work per pixel. Returns false if cancelled.
    template <class Body>
    bool ForEachRow(std::int64_t firstZ, std::int64_t endZ, std::int64_t unitsEach, CWorkPace& pace,
                    const Body& body) const {
        constexpr std::int64_t unitsOfRow = 16;
        for (std::int64_t z = firstZ; z < endZ; ++z) {
            for (std::int64_t y = 0; y < ny; ++y) {
                body(y, z);
                if (pace.Add(nx * unitsEach + unitsOfRow))
                    return false;
            }
        }
        return !pace.IsCancelled();
    }

private:
    CImageView<T> m_view;
    bool m_isFlat;

public:
    std::int64_t nx;
    std::int64_t ny;
    std::int64_t nz;
};

} // namespace ORVEN
