#pragma once

#include <QuillonBase/CWorkPace.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <cstdint>

namespace ORVEN {

/// The rows of an image in layers, which are what threads share out: the planes of a 3-d image, and the
/// single rows of a flat one. A flat image is seen as one of a single row along y, so that the same code
/// serves all dimensions.
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
    /// The place of a row among all of them.
    [[nodiscard]] std::int64_t RowNumber(std::int64_t y, std::int64_t z) const { return z * ny + y; }
    [[nodiscard]] bool HasRow(std::int64_t y, std::int64_t z) const {
        return y >= 0 && y < ny && z >= 0 && z < nz;
    }
    /// How many layers are worth the while of a thread.
    [[nodiscard]] std::int64_t LayersPerItem() const {
        constexpr std::int64_t pixels = 1 << 16;
        return std::max<std::int64_t>(1, pixels / std::max<std::int64_t>(1, nx * ny));
    }

    /// Calls `body(y, z)` for the rows of some layers and asks in between; a pixel is `unitsEach` of work.
    /// Returns false if cancelled.
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
