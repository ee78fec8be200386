#include "validate/drive/Images.h"

#include "engine/files/ImageWords.h"

#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <limits>

namespace validate {

using namespace ORVEN;

namespace {

/// Calls `visit(pixel, x, y, z)` for each pixel of an image of real numbers; does nothing with a complex one.
template <class Visit>
void ForEachPixel(CImage& image, const Visit& visit) {
    const auto walk = [&]<class T>(T) {
        const CImageView<T> view(image);
        for (std::int64_t z = 0; z < view.nz; ++z) {
            for (std::int64_t y = 0; y < view.ny; ++y) {
                for (std::int64_t x = 0; x < view.nx; ++x)
                    visit(view.Row(y, z)[x], x, y, z);
            }
        }
    };
    const IImage::CType& type = image.Type();
    if (type == IMAGE_GREY_8 || type.IsBinary())
        walk(std::uint8_t{});
    else if (type == IMAGE_GREY_16)
        walk(std::uint16_t{});
    else if (type == IMAGE_GREY_32)
        walk(std::uint32_t{});
    else if (type == IMAGE_GREY_F)
        walk(float{});
}

/// Blocks of 4 pixels apart from each other, the middle ones of unlike grey values.
void DrawPattern(CImage& image) {
    const bool isBinary = image.Type().IsBinary();
    const bool isFlat = image.Size().Dim() < 3 || image.Size().z < 3;
    const bool isLine = image.Size().Dim() < 2 || image.Size().y < 3;
    ForEachPixel(image, [=]<class T>(T& pixel, std::int64_t x, std::int64_t y, std::int64_t z) {
        const bool isObject = x % 5 != 0 && (isLine || y % 5 != 0) && (isFlat || z % 5 != 0);
        const std::int64_t greyValue = isObject ? 1 + (x * 3 + y * 5 + z * 7) % 40 : 0;
        pixel = static_cast<T>(isBinary ? std::int64_t{isObject} : greyValue);
    });
}

template <class T>
T PixelOf(double value, double greatest) {
    if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(value);
    else
        return static_cast<T>(std::clamp(value, 0.0, greatest));
}

} // namespace

CSize SizeOf(const std::vector<std::int64_t>& extents) {
    CSize size(0, 0, 0);
    size.SetDim(static_cast<int>(extents.size()));
    for (std::size_t axis = 0; axis < extents.size(); ++axis)
        size[static_cast<std::int64_t>(axis)] = extents[axis];
    return size;
}

CSize NormalSize(int dimension, std::int64_t minimumExtent) {
    std::vector<std::int64_t> extents{12, 11, 9};
    extents.resize(static_cast<std::size_t>(std::clamp(dimension, 1, 3)));
    for (std::int64_t& extent : extents)
        extent = std::max(extent, minimumExtent);
    return SizeOf(extents);
}

const std::vector<IImage::CType>& PixelTypes() {
    static const std::vector<IImage::CType> types{IMAGE_BINARY_FG, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32,
                                                  IMAGE_GREY_F};
    return types;
}

const std::vector<IImage::CType>& OtherPixelTypes() {
    static const std::vector<IImage::CType> types{IMAGE_COMPLEX_F, IMAGE_BINARY_BG};
    return types;
}

std::unique_ptr<CImage> PatternImage(const IImage::CType& type, const CSize& size, const CSize& border) {
    auto image = std::make_unique<CImage>(type, size, border);
    DrawPattern(*image);
    return image;
}

std::unique_ptr<CImage> PatternOver(std::vector<unsigned char>& memory, const IImage::CType& type,
                                    const CSize& size, std::int64_t border) {
    std::size_t byteCount = type.PixelSize();
    CSize borders(0, 0, 0);
    borders.SetDim(size.Dim());
    for (int axis = 0; axis < size.Dim(); ++axis) {
        borders[axis] = border;
        byteCount *= static_cast<std::size_t>(size[axis] + 2 * border);
    }
    constexpr unsigned char c_mark = 0x5C;
    memory.assign(byteCount, c_mark);
    auto image = std::make_unique<CImage>(type, size, memory.data(), nullptr, nullptr, borders);
    DrawPattern(*image);
    return image;
}

double GreatestOf(const IImage::CType& type) {
    if (type.IsBinary())
        return 1;
    if (type == IMAGE_GREY_8)
        return std::numeric_limits<std::uint8_t>::max();
    if (type == IMAGE_GREY_16)
        return std::numeric_limits<std::uint16_t>::max();
    if (type == IMAGE_GREY_32)
        return std::numeric_limits<std::uint32_t>::max();
    return std::numeric_limits<float>::max();
}

void Fill(CImage& image, double value) { SetSome(image, value, 1); }

void SetSome(CImage& image, double value, std::int64_t step) {
    std::int64_t index = 0;
    const double greatest = GreatestOf(image.Type());
    ForEachPixel(image, [&]<class T>(T& pixel, std::int64_t, std::int64_t, std::int64_t) {
        if (index++ % step == 0)
            pixel = PixelOf<T>(value, greatest);
    });
}

std::string PixelBytes(const CImage& image) {
    const CSize& size = image.Size();
    if (size.PixelCount() == 0)
        return {};
    const std::unique_ptr<const IImage::IAccess> access(image.CreateAccess(false));
    Impl::LockWhole(*access, size, IImage::LOCK_READ);
    const CPos strides = access->Strides();
    const auto* const first = static_cast<const char*>(access->ConstData());
    const std::int64_t rows = size.Dim() > 1 ? size.y : 1;
    const std::int64_t planes = size.Dim() > 2 ? size.z : 1;
    std::string bytes;
    for (std::int64_t z = 0; z < planes; ++z) {
        for (std::int64_t y = 0; y < rows; ++y) {
            bytes.append(first + y * strides.y + z * strides.z,
                         static_cast<std::size_t>(size.x * image.Type().PixelSize()));
        }
    }
    return bytes;
}

std::string OutlineOf(const IImage::CType& type, const CSize& size) {
    std::string text = engine::WordOfPixelType(type);
    for (int axis = 0; axis < size.Dim(); ++axis)
        text.append(axis == 0 ? " " : "x").append(std::to_string(size[axis]));
    return text;
}

std::string OutlineOf(const CImage& image) { return OutlineOf(image.Type(), image.Size()); }

} // namespace validate
