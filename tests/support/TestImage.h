#pragma once

#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

/// Images of the tests' own, small enough to be told pixel by pixel.
namespace test {

/// An image from its pixels in raster order, x fastest.
template <class T>
std::unique_ptr<ORVEN::CImage> ImageOf(const ORVEN::IImage::CType& type, const ORVEN::CSize& size,
                                       const std::vector<T>& pixels) {
    auto image = std::make_unique<ORVEN::CImage>(type, size, ORVEN::CSize(0, 0, 0));
    const ORVEN::CImageView<T> view(*image);
    auto pixel = pixels.begin();
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx && pixel != pixels.end(); ++x)
                view.Row(y, z)[x] = *pixel++;
        }
    }
    return image;
}

/// The pixels of an image in raster order, x fastest.
template <class T>
std::vector<T> PixelsOf(const ORVEN::IImage& image) {
    const ORVEN::CImageView<const T> view(image);
    std::vector<T> pixels;
    pixels.reserve(static_cast<std::size_t>(view.PixelCount()));
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y)
            pixels.insert(pixels.end(), view.Row(y, z), view.Row(y, z) + view.nx);
    }
    return pixels;
}

/// An image of independent pixels, evenly distributed from `least` to `greatest`.
template <class T>
std::unique_ptr<ORVEN::CImage> RandomImage(const ORVEN::IImage::CType& type, const ORVEN::CSize& size,
                                           std::mt19937& random, double least, double greatest) {
    std::uniform_real_distribution<double> value(least, greatest);
    std::vector<T> pixels(static_cast<std::size_t>(size.PixelCount()));
    for (T& pixel : pixels)
        pixel = static_cast<T>(value(random));
    return ImageOf(type, size, pixels);
}

} // namespace test
