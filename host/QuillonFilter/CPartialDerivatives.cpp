#include "QuillonFilter/CPartialDerivatives.h"

#include "QuillonFilter/CDifferenceFilter.h"
#include "QuillonFilter/FilterLines.h"

#include <sorblib2image/CImage.h>
#include <sorblib2image/GreyTypeDispatch.h>

#include <cmath>
#include <limits>
#include <optional>

namespace ORVEN {

namespace {

using Orders = std::array<int, 3>;

constexpr const char* c_derivative = "ORVEN::CPartialDerivatives::Derivative";

constexpr int c_greatestOrder = 32;

/// Returns false if cancelled.
bool Fill(const CImageView<float>& view, float value, IProgress& progress) {
    CWorkPace pace(progress);
    return ForEachRowPiece(view, 1, pace,
                           [&](std::int64_t y, std::int64_t z, std::int64_t firstX, std::int64_t endX) {
                               std::fill(view.Row(y, z) + firstX, view.Row(y, z) + endX, value);
                           });
}

/// Returns false if cancelled.
bool Derive(IImage& image, const Orders& orders, IProgress& progress) {
    const CImageView<const float> source(image);
    const CImageView<float> result(image);
    const std::array<std::int64_t, 3> extents{result.nx, result.ny, result.nz};
    std::array<std::optional<Impl::CDifferenceFilter>, 3> filters;
    std::array<const Impl::CDifferenceFilter*, 3> wanted{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (extents[axis] <= orders[axis])
            return Fill(result, 0.0F, progress);
        if (orders[axis] > 0)
            wanted[axis] = &filters[axis].emplace(orders[axis], extents[axis]);
    }
    return Impl::FilterLines<float, Impl::CDifferenceFilter>(source, result, wanted, progress,
                                                             "Partial derivative");
}

/// Writes `convert(pixel)` for each pixel of an image to another image of the same size. Returns false if
/// cancelled.
template <class Target, class Source, class Convert>
bool ConvertImage(IImage& target, const IImage& source, IProgress& progress, const Convert& convert) {
    const CImageView<Target> targetView(target);
    const CImageView<const Source> sourceView(source);
    CWorkPace pace(progress);
    return ForEachRowPiece(
        targetView, 4, pace, [&](std::int64_t y, std::int64_t z, std::int64_t firstX, std::int64_t endX) {
            const Source* const row = sourceView.Row(y, z);
            std::transform(row + firstX, row + endX, targetView.Row(y, z) + firstX, convert);
        });
}

/// The nearest integer in the range of the type.
template <class T>
T Saturated(float value) {
    constexpr double greatest = std::numeric_limits<T>::max();
    return static_cast<T>(std::clamp(std::nearbyint(static_cast<double>(value)), 0.0, greatest));
}

} // namespace

CPartialDerivatives::CPartialDerivatives(const char* name, const IObject* parent)
    : CAlgorithm(name, parent) {}

CPartialDerivatives::~CPartialDerivatives() = default;

void CPartialDerivatives::Derivative(IImage& image, int orderX, int orderY, int orderZ) {
    Orders orders{orderX, orderY, orderZ};
    for (const int order : orders) {
        if (order < 0 || order > c_greatestOrder) {
            throw CExBadParam(Impl::Here(c_derivative),
                              CString("Order %1 of a derivative is not between 0 and 32.", CString::ENC_UTF8)
                                  .Arg(order, 0));
        }
    }
    // A plane has no z axis; a derivative along it would be 0 everywhere.
    std::fill(orders.begin() + image.Size().Dim(), orders.end(), 0);
    DispatchGreyType(c_derivative, image.Type(), [&]<class T>(std::type_identity<T>) {
        if (orders == Orders{} || image.Size().PixelCount() == 0)
            return;
        if constexpr (std::is_same_v<T, float>) {
            Derive(image, orders, Progress());
        } else {
            CImage floats(IMAGE_GREY_F, image.Size(), CSize(0, 0, 0));
            const auto toFloat = [](T value) { return static_cast<float>(value); };
            if (ConvertImage<float, T>(floats, image, Progress(), toFloat) &&
                Derive(floats, orders, Progress()))
                ConvertImage<T, float>(image, floats, Progress(), Saturated<T>);
        }
    });
}

} // namespace ORVEN
