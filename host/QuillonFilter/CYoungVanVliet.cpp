#include "QuillonFilter/CYoungVanVliet.h"

#include "QuillonFilter/CRecursiveGauss.h"
#include "QuillonFilter/CSampledGauss.h"
#include "QuillonFilter/FilterLines.h"

#include <sorblib2image/GreyTypeDispatch.h>

#include <cmath>

namespace ORVEN {

namespace {

constexpr const char* c_gauss = "ORVEN::CYoungVanVliet::gauss";

constexpr double c_leastRecursiveSigma = 0.7;

/// From this sigma on, the poles are so close to 1 that double precision leaves four digits of a result, and
/// soon none.
constexpr double c_greatestSigma = 1e4;

/// Filters along each axis with more than one pixel.
template <class T, class Filter>
void Smooth(const CImageView<const T>& source, const CImageView<float>& result, const Filter& filter,
            IProgress& progress) {
    const auto along = [&filter](std::int64_t extent) { return extent > 1 ? &filter : nullptr; };
    Impl::FilterLines<T, Filter>(source, result, {along(result.nx), along(result.ny), along(result.nz)},
                                 progress, "Gaussian filter");
}

} // namespace

CYoungVanVliet::CYoungVanVliet(double sigma, const char* name, const IObject* parent)
    : CAlgorithm(name, parent)
    , m_sigma(sigma) {}

CYoungVanVliet::~CYoungVanVliet() = default;

void CYoungVanVliet::gauss(IImage& result, const IImage& source) {
    if (!(result.Type() == IMAGE_GREY_F))
        ThrowUnsupportedType(c_gauss, result.Type());
    RequireSameSize(c_gauss, "Result", result, "source", source);
    if (m_sigma > c_greatestSigma || std::isinf(m_sigma)) {
        throw CExBadParam(
            Impl::Here(c_gauss),
            CString("Sigma %1 is infinite or above 10000 pixels.", CString::ENC_UTF8).Arg(m_sigma, 0));
    }
    DispatchGreyType(c_gauss, source.Type(), [&]<class T>(std::type_identity<T>) {
        if (source.Size().PixelCount() == 0)
            return;
        const CImageView<const T> sourceView(source);
        const CImageView<float> resultView(result);
        if (!(m_sigma > 0.0))
            Impl::FilterLines<T, Impl::CSampledGauss>(sourceView, resultView, {}, Progress(), "Copy");
        else if (m_sigma < c_leastRecursiveSigma)
            Smooth(sourceView, resultView, Impl::CSampledGauss(m_sigma), Progress());
        else
            Smooth(sourceView, resultView, Impl::CRecursiveGauss(m_sigma), Progress());
    });
}

} // namespace ORVEN
