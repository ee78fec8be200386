#pragma once

#include <QuillonBase/IProgress.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <itkImage.h>
#include <itkProcessObject.h>

#include <type_traits>

/// The only place where images and progress cross over to ITK.
namespace quillon::basics {

/// Every image is a volume for ITK; axes beyond its dimension have extent 1.
template <class T>
using CItkImage = itk::Image<T, 3>;

/// The pixels of an image as an ITK image, without a copy. `T` is const for reading. The view holds an access
/// to the image as long as it exists. The image must be packed (`IsPacked`).
template <class T>
class CItkView {
public:
    template <class Image>
    explicit CItkView(Image& image)
        : m_view(image)
        , m_image(CItkImage<Pixel>::New()) {
        typename CItkImage<Pixel>::SizeType size;
        size[0] = static_cast<itk::SizeValueType>(m_view.nx);
        size[1] = static_cast<itk::SizeValueType>(m_view.ny);
        size[2] = static_cast<itk::SizeValueType>(m_view.nz);
        m_image->SetRegions(size);
        // ITK has no images that can only be read; filters do not write to their input.
        m_image->GetPixelContainer()->SetImportPointer(const_cast<Pixel*>(m_view.Row(0, 0)),
                                                       static_cast<itk::SizeValueType>(m_view.PixelCount()),
                                                       false);
    }

    [[nodiscard]] CItkImage<std::remove_const_t<T>>* Image() const { return m_image; }

private:
    using Pixel = std::remove_const_t<T>;

    ORVEN::CImageView<T> m_view;
    typename CItkImage<Pixel>::Pointer m_image;
};

/// Runs a filter on as many threads as `ThreadCount` says, reports its progress, and aborts it when the run
/// is cancelled. Returns false if cancelled. An error of the filter is raised as `CException`.
///
/// Threads are started for this call and end with it, so that none is left when the pack is unloaded.
bool RunFilter(itk::ProcessObject& filter, ORVEN::IProgress& progress, const char* phase);

} // namespace quillon::basics
