#include "QuillonFilter/CPartialDerivatives.h"

#include "QuillonFilter/CDifferenceFilter.h"
#include "QuillonFilter/LineBlocks.h"

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

void Fill(const CImageView<float>& view, float value) {
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y)
            std::fill_n(view.Row(y, z), view.nx, value);
    }
}

void Derive(IImage& image, const Orders& orders, IProgress& progress) {
    const CImageView<const float> source(image);
    const CImageView<float> result(image);
    const std::array<std::int64_t, 3> extents{result.nx, result.ny, result.nz};
    std::array<std::optional<Impl::CDifferenceFilter>, 3> filters;
    std::array<const Impl::CDifferenceFilter*, 3> wanted{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (extents[axis] <= orders[axis])
            return Fill(result, 0.0F);
        if (orders[axis] > 0)
            wanted[axis] = &filters[axis].emplace(orders[axis], extents[axis]);
    }
    Impl::FilterLines<float, Impl::CDifferenceFilter>(source, result, wanted, progress, "Partial derivative");
}

/// `convert(pixel)` for each pixel of an image, into another of the same size.
template <class Target, class Source, class Convert>
void ConvertImage(IImage& target, const IImage& source, const Convert& convert) {
    const CImageView<Target> targetView(target);
    const CImageView<const Source> sourceView(source);
    for (std::int64_t z = 0; z < targetView.nz; ++z) {
        for (std::int64_t y = 0; y < targetView.ny; ++y) {
            const Source* const row = sourceView.Row(y, z);
            std::transform(row, row + sourceView.nx, targetView.Row(y, z), convert);
        }
    }
}

/// The nearest integer of the type.
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
    // A plane has no z axis: to derive along it would give 0 always.
    std::fill(orders.begin() + image.Size().Dim(), orders.end(), 0);
    DispatchGreyType(c_derivative, image.Type(), [&]<class T>(std::type_identity<T>) {
        if (orders == Orders{} || image.Size().PixelCount() == 0)
            return;
        if constexpr (std::is_same_v<T, float>) {
            Derive(image, orders, Progress());
        } else {
            CImage floats(IMAGE_GREY_F, image.Size(), CSize(0, 0, 0));
            ConvertImage<float, T>(floats, image, [](T value) { return static_cast<float>(value); });
            Derive(floats, orders, Progress());
            ConvertImage<T, float>(image, floats, Saturated<T>);
        }
    });
}

} // namespace ORVEN
