#include "QuillonFilterOrientations/FiberFigures.h"

#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>

#include <Eigen/Eigenvalues>

#include <algorithm>
#include <string>

namespace ORVEN::Impl {

namespace {

constexpr std::array c_axisNames{"x", "y", "z"};
constexpr std::array c_tensorNames{"xx", "xy", "xz", "yy", "yz", "zz"};

// Keys are made by the callers: making one can raise, and nobody owns a value that is not in the map yet.

void SetDouble(CValueMap& map, const CValue_Key& key, double value) {
    map.SetEntry(key, new CValueDouble(value));
}

/// A pixel position. No image with more than 2^31 pixels along an axis fits into memory.
void SetPosition(CValueMap& map, const CValue_Key& key, std::int64_t value) {
    map.SetEntry(key, new CValueLong(static_cast<std::int32_t>(value)));
}

} // namespace

StFiberFigures::StFiberFigures(const StDirectionSum& sum, std::size_t dimension) {
    if (sum.evaluatedCount == 0)
        return;
    const double unit = 0x1p30 * static_cast<double>(sum.evaluatedCount);
    for (std::size_t i = 0; i < tensor.size(); ++i)
        tensor[i] = static_cast<double>(sum.tensor[i]) / unit;
    const auto& [xx, xy, xz, yy, yz, zz] = tensor;
    Eigen::Matrix3d matrix;
    matrix << xx, xy, xz, //
        xy, yy, yz,       //
        xz, yz, zz;
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(matrix);
    for (Eigen::Index i = 0; i < 3; ++i)
        eigenvalues[static_cast<std::size_t>(i)] = solver.eigenvalues()[2 - i];
    const Eigen::Vector3d direction = solver.eigenvectors().col(2);
    mainDirection = InHalfSpace({direction.x(), direction.y(), direction.z()});
    anisotropy = std::min(1.0, 1.0 - eigenvalues[dimension - 1] / eigenvalues[0]);
}

std::unique_ptr<CValueMap> MapOfRegion(const StFiberFigures& figures, const StDirectionSum& sum,
                                       const StPixelBox& box, std::size_t dimension) {
    auto map = std::make_unique<CValueMap>();
    SetDouble(*map, "Anisotropy index", figures.anisotropy);
    SetDouble(*map, "Evaluated pixels", static_cast<double>(sum.evaluatedCount));
    SetDouble(*map, "Foreground pixels", static_cast<double>(sum.foregroundCount));
    SetDouble(*map, dimension == 3 ? "Volume fraction" : "Area fraction",
              static_cast<double>(sum.foregroundCount) / static_cast<double>(box.PixelCount()));
    for (std::size_t i = 0; i < c_tensorNames.size(); ++i)
        SetDouble(*map, std::string("Orientation tensor/") + c_tensorNames[i], figures.tensor[i]);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        SetDouble(*map, "Eigenvalues/l" + std::to_string(axis + 1), figures.eigenvalues[axis]);
        SetPosition(*map, std::string("Evaluated area/") + c_axisNames[axis] + "0", box.first[axis]);
        SetPosition(*map, std::string("Evaluated area/") + c_axisNames[axis] + "1", box.end[axis]);
    }
    const StAxisAngles<double> angles(figures.mainDirection, dimension);
    SetDouble(*map, "Main direction/theta", angles.theta);
    if (dimension == 3)
        SetDouble(*map, "Main direction/phi", angles.phi);
    for (std::size_t axis = 0; axis < dimension; ++axis)
        SetDouble(*map, std::string("Main direction/") + c_axisNames[axis], figures.mainDirection[axis]);
    return map;
}

double AngleBetween(const Direction& a, const Direction& b) {
    const Direction cross{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    const double sine = std::sqrt(cross[0] * cross[0] + cross[1] * cross[1] + cross[2] * cross[2]);
    return AngleOf(std::fabs(a[0] * b[0] + a[1] * b[1] + a[2] * b[2]), sine);
}

} // namespace ORVEN::Impl
