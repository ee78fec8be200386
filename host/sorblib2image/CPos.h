#pragma once

#include "sorblib2image/IVectorizable.h"

namespace ORVEN {

/// A position on the image grid, in pixels, of dimension 1, 2 or 3. Coordinates beyond the dimension are set
/// to 0 by the constructors and ignored by comparisons and texts.
class CPos : public IVectorizable {
public:
    /// The origin, in three dimensions.
    CPos() = default;
    CPos(std::int64_t px, std::int64_t py)
        : x(px)
        , y(py)
        , dim(2) {}
    CPos(std::int64_t px, std::int64_t py, std::int64_t pz)
        : x(px)
        , y(py)
        , z(pz) {}

    /// Raises `CExBadParam` for an axis outside 0 to 2.
    std::int64_t& operator[](std::int64_t axis) override;
    const std::int64_t& operator[](std::int64_t axis) const override;
    [[nodiscard]] int Dim() const override { return dim; }
    /// The coordinates up to the dimension: "(4,5,6)" in 3-d, "(4,5)" in 2-d.
    [[nodiscard]] std::string ToString() const override;

    /// Changes the dimension without changing the coordinates.
    void SetDim(int dimension) { dim = dimension; }

    /// Whether the dimensions and all coordinates up to it are the same.
    friend bool operator==(const CPos& a, const CPos& b) { return Equal(a, b); }

    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t z = 0;
    std::int32_t dim = 3;

private:
    static bool Equal(const CPos& a, const CPos& b);
};

} // namespace ORVEN
