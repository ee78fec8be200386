#include "itk/SplineCoefficients.h"

#include "itk/ItkImages.h"
#include "pixels/CRowReader.h"

#include <itkBSplineDecompositionImageFilter.h>

#include <algorithm>

namespace quillon::basics {

using namespace ORVEN;

bool CSplineCoefficients::Compute(const CImage& image, IProgress& progress) {
    const CSize& size = image.Size();
    m_nx = size.x;
    m_ny = size.Dim() > 1 ? size.y : 1;
    const std::int64_t nz = size.Dim() > 2 ? size.z : 1;
    m_coefficients.resize(static_cast<std::size_t>(m_nx * m_ny * nz));
    const CRowReader pixels(image);
    for (std::int64_t row = 0; row < m_ny * nz; ++row)
        pixels.Read(row % m_ny, row / m_ny, m_coefficients.data() + row * m_nx);

    const auto input = CItkImage<double>::New();
    CItkImage<double>::SizeType extents;
    extents[0] = static_cast<itk::SizeValueType>(m_nx);
    extents[1] = static_cast<itk::SizeValueType>(m_ny);
    extents[2] = static_cast<itk::SizeValueType>(nz);
    input->SetRegions(extents);
    input->GetPixelContainer()->SetImportPointer(m_coefficients.data(), m_coefficients.size(), false);
    const auto filter = itk::BSplineDecompositionImageFilter<CItkImage<double>, CItkImage<double>>::New();
    filter->SetSplineOrder(3);
    filter->SetInput(input);
    if (!RunFilter(*filter, progress, "Fitting the spline..."))
        return false;
    std::copy_n(filter->GetOutput()->GetBufferPointer(), m_coefficients.size(), m_coefficients.begin());
    return true;
}

void CSplineCoefficients::Read(std::int64_t y, std::int64_t z, double* row) const {
    std::copy_n(m_coefficients.data() + (z * m_ny + y) * m_nx, m_nx, row);
}

} // namespace quillon::basics
