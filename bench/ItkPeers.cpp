#include "bench/ItkPeers.h"

#include <sorblib2image/ImageView.h>

#include <itkBinaryBallStructuringElement.h>
#include <itkBinaryErodeImageFilter.h>
#include <itkDerivativeImageFilter.h>
#include <itkImportImageFilter.h>
#include <itkMorphologicalWatershedFromMarkersImageFilter.h>
#include <itkMorphologicalWatershedImageFilter.h>
#include <itkMultiThreaderBase.h>
#include <itkSignedMaurerDistanceMapImageFilter.h>
#include <itkSmoothingRecursiveGaussianImageFilter.h>

namespace bench {

using ORVEN::CImage;
using ORVEN::CImageView;

namespace {

template <class T>
using Image = itk::Image<T, 3>;

/// Wraps the pixels of one of our images, without copying.
template <class T>
typename Image<T>::Pointer Imported(const CImage& image,
                                    const std::array<double, 3>& spacing = {1.0, 1.0, 1.0}) {
    using Import = itk::ImportImageFilter<T, 3>;
    itk::MultiThreaderBase::SetGlobalDefaultNumberOfThreads(1);
    const CImageView<const T> view(image);
    const auto import = Import::New();
    typename Import::SizeType size;
    size[0] = static_cast<itk::SizeValueType>(view.nx);
    size[1] = static_cast<itk::SizeValueType>(view.ny);
    size[2] = static_cast<itk::SizeValueType>(view.nz);
    import->SetRegion(typename Import::RegionType(size));
    import->SetSpacing(spacing.data());
    import->SetImportPointer(const_cast<T*>(view.Row(0, 0)),
                             static_cast<itk::SizeValueType>(view.PixelCount()), false);
    import->Update();
    typename Image<T>::Pointer result = import->GetOutput();
    result->DisconnectPipeline();
    return result;
}

template <class FilterPointer>
Run RunOf(const FilterPointer& filter) {
    return [filter] {
        filter->Modified(); // otherwise, a second run would do nothing
        filter->Update();
    };
}

template <class T>
Run WatershedOf(const CImage& image, const CImage* seeds, bool isFullyConnected) {
    using Labels = Image<unsigned int>;
    if (seeds != nullptr) {
        const auto filter = itk::MorphologicalWatershedFromMarkersImageFilter<Image<T>, Labels>::New();
        filter->SetInput1(Imported<T>(image));
        filter->SetInput2(Imported<unsigned int>(*seeds));
        filter->SetMarkWatershedLine(true);
        filter->SetFullyConnected(isFullyConnected);
        return RunOf(filter);
    }
    const auto filter = itk::MorphologicalWatershedImageFilter<Image<T>, Labels>::New();
    filter->SetInput(Imported<T>(image));
    filter->SetLevel(0);
    filter->SetMarkWatershedLine(true);
    filter->SetFullyConnected(isFullyConnected);
    return RunOf(filter);
}

} // namespace

Run ItkDistanceMap(const CImage& binary, const std::array<double, 3>& spacing) {
    const auto filter = itk::SignedMaurerDistanceMapImageFilter<Image<unsigned char>, Image<float>>::New();
    filter->SetInput(Imported<unsigned char>(binary, spacing));
    filter->SetUseImageSpacing(true);
    filter->SetSquaredDistance(false);
    return RunOf(filter);
}

Run ItkErosion(const CImage& binary, unsigned long radius) {
    using Ball = itk::BinaryBallStructuringElement<unsigned char, 3>;
    Ball ball;
    ball.SetRadius(radius);
    ball.CreateStructuringElement();
    const auto filter = itk::BinaryErodeImageFilter<Image<unsigned char>, Image<unsigned char>, Ball>::New();
    filter->SetInput(Imported<unsigned char>(binary));
    filter->SetKernel(ball);
    filter->SetErodeValue(1);
    filter->SetBoundaryToForeground(false);
    return RunOf(filter);
}

Run ItkGauss(const CImage& image, double sigma) {
    const auto filter = itk::SmoothingRecursiveGaussianImageFilter<Image<float>, Image<float>>::New();
    filter->SetInput(Imported<float>(image));
    filter->SetSigma(sigma);
    return RunOf(filter);
}

Run ItkDerivative(const CImage& image, unsigned axis, unsigned order) {
    const auto filter = itk::DerivativeImageFilter<Image<float>, Image<float>>::New();
    filter->SetInput(Imported<float>(image));
    filter->SetDirection(axis);
    filter->SetOrder(order);
    return RunOf(filter);
}

Run ItkWatershed(const CImage& image, const CImage* seeds, bool isFullyConnected) {
    return image.Type() == ORVEN::IMAGE_GREY_F ? WatershedOf<float>(image, seeds, isFullyConnected)
                                               : WatershedOf<unsigned char>(image, seeds, isFullyConnected);
}

} // namespace bench
