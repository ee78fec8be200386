#pragma once

#include "utils/visitors/Visitor.h"

#include <QuillonBase/IProgress.h>
#include <sorblib2image/CPos.h>
#include <sorblib2image/IImage.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace ORVEN {
class CImage;
}

/// The bridge from images, whose pixel type is known at run time only, to loops over pixels of a C type.
///
/// `VisitorHelper<0>::VisitImageData(image, visitor, progress)` proves that the image holds the pixels that
/// the visitor takes, and calls the visitor at each of them; with two images it walks both in lock step, each
/// with its own strides. `VisitorHelper<2>` passes the position along. How a visitor looks is told in
/// `visitors::StVisitor`; `CPointOperations` has the usual way to call.
namespace ORVEN::Impl {

/// Whether images of the type hold pixels of type T.
template <class T>
constexpr bool HoldsPixels(const IImage::CType& type) {
    if constexpr (std::is_same_v<T, unsigned char>)
        return type == IMAGE_GREY_8 || type == IMAGE_BINARY_FG || type == IMAGE_BINARY_BG;
    else if constexpr (std::is_same_v<T, unsigned short>)
        return type == IMAGE_GREY_16;
    else if constexpr (std::is_same_v<T, unsigned int>)
        return type == IMAGE_GREY_32;
    else
        return std::is_same_v<T, float> && type == IMAGE_GREY_F;
}

/// What a traversal knows of one of its images.
struct StImageRecord {
    std::int64_t sizeX = 0; ///< extents beyond the dimension stay 0
    std::int64_t sizeY = 0;
    std::int64_t sizeZ = 0;
    std::uint8_t dimension = 0; ///< 255 from 255 up
    bool isInterleaved = false;
    std::uint8_t isBinary = 0;
    const char* name = ""; ///< of the image in messages
    const std::type_info* pixelTypeInfo = nullptr;
    std::int32_t access = IImage::LOCK_READ;
};

/// The checks between an image and a loop over its pixels. All raise `CException`; the types of the template
/// tell the location only. Instances exist for `CImage` and `IImage`, const or not, and the four pixel types,
/// const or not.
template <class ImageClass, class PixelType>
class CImageDataExtractor : public StImageRecord {
public:
    /// Notes down dimension, type flags, name and access, and checks nothing.
    CImageDataExtractor(const IImage& image, const char* imageName, IImage::EnLockMode imageAccess);

    /// The record of an image that has passed all checks of its own.
    static CImageDataExtractor Checked(const IImage& image, const char* imageName,
                                       IImage::EnLockMode imageAccess);

    /// The extents of a size of dimension 1 to 3; those beyond it are 0.
    static std::array<std::int64_t, 3> InitSize(const CSize& size);
    void CheckImageValidy() const;
    void SetPixelTypeInfo(const IImage& image);
    void CheckPixelType() const;
    /// Same dimension and same extents.
    void CheckImagesAgainst(const StImageRecord& other) const;
};

/// One line of pixels, walked from its first to its last.
template <class Pixel>
class CPixelLine {
    using Byte = std::conditional_t<std::is_const_v<Pixel>, const unsigned char, unsigned char>;

public:
    CPixelLine(Byte* firstPixel, std::int64_t stride)
        : m_position(firstPixel)
        , m_stride(stride) {}

    Pixel& operator*() const { return *reinterpret_cast<Pixel*>(m_position); }

    void Advance() { m_position += m_stride; }

    /// Asks for the pixel six steps ahead, which may lie behind the image. It is used once only, hence
    /// without claim to the cache.
    void Prefetch() const {
        const auto ahead =
            reinterpret_cast<std::uintptr_t>(m_position) + static_cast<std::uintptr_t>(6 * m_stride);
        __builtin_prefetch(reinterpret_cast<const void*>(ahead), 0, 0);
    }

private:
    Byte* m_position;
    std::int64_t m_stride;
};

/// The pixels of an image as a traversal sees them: it locks a region, then takes the lines of one plane.
template <class Pixel>
class CLockedPixels {
    using Image = std::conditional_t<std::is_const_v<Pixel>, const IImage, IImage>;
    using Access = std::conditional_t<std::is_const_v<Pixel>, const IImage::IAccess, IImage::IAccess>;
    using Byte = std::conditional_t<std::is_const_v<Pixel>, const unsigned char, unsigned char>;

public:
    static constexpr IImage::EnLockMode mode =
        std::is_const_v<Pixel> ? IImage::LOCK_READ : IImage::LOCK_READ_WRITE;

    explicit CLockedPixels(Image& image)
        : m_access(image.CreateAccess(false)) {}

    void Lock(const CPos& first, const CPos& last) {
        m_access->Lock(first, last, mode);
        if constexpr (std::is_const_v<Pixel>)
            m_data = static_cast<Byte*>(m_access->ConstData());
        else
            m_data = static_cast<Byte*>(m_access->Data());
        const CPos strides = m_access->Strides();
        m_strideX = strides.x;
        m_strideY = strides.y;
    }

    void Unlock() { m_access->Unlock(); }

    [[nodiscard]] CPixelLine<Pixel> Line(std::int64_t y) const { return {m_data + y * m_strideY, m_strideX}; }

private:
    std::unique_ptr<Access> m_access;
    Byte* m_data = nullptr;
    std::int64_t m_strideX = 0;
    std::int64_t m_strideY = 0;
};

/// Writes which visitor is about to see which image to the standard output.
void WriteDebugLine(const char* accessName, IImage::EnLockMode access, const std::type_info& visitor,
                    const std::type_info& imageClass, const std::type_info& pixel);

/// Raises the error of a traversal that knows no way through the image.
[[noreturn]] void ThrowUnsupportedDimension(const char* function, const StImageRecord& record);

/// Walks images pixel by pixel, x fastest, then y, then z. N = 0 calls the visitor with the pixels, N = 2
/// with the pixels and x, y, z.
///
/// Returns false if the traversal was cancelled, which is asked at each line and plane of a two- or
/// three-dimensional image; what was visited up to then stays. Progress: a total of lines + 1, one step a
/// pixel; sinks tolerate the difference. Three-dimensional images are locked plane by plane. One virtual call
/// a pixel, no allocation.
template <int N>
class VisitorHelper {
    static_assert(N == 0 || N == 2);

public:
    template <class ImageClass, visitors::VisitorOf<1> Visitor>
    static bool VisitImageData(ImageClass& image, Visitor& visitor, IProgress& progress) {
        using Pixel = visitors::PixelOf<Visitor, 0>;
        const StImageRecord record =
            Checked<ImageClass, Pixel, std::remove_const_t<Pixel>>(image, "input image");
        WriteDebugLine<ImageClass, Pixel, Visitor>("access");
        CLockedPixels<Pixel> pixels(image);
        return Visit(record, visitor, progress, pixels);
    }

    /// Raises if the two images differ in size.
    template <class FirstClass, class SecondClass, visitors::VisitorOf<2> Visitor>
    static bool VisitImageData(FirstClass& first, SecondClass& second, Visitor& visitor,
                               IProgress& progress) {
        using FirstPixel = visitors::PixelOf<Visitor, 0>;
        using SecondPixel = visitors::PixelOf<Visitor, 1>;
        const auto firstRecord = Checked<FirstClass, FirstPixel, FirstPixel>(first, "first image");
        const auto secondRecord = Checked<SecondClass, SecondPixel, SecondPixel>(second, "second image");
        WriteDebugLine<FirstClass, FirstPixel, Visitor>("access0");
        WriteDebugLine<SecondClass, SecondPixel, Visitor>("access1");
        firstRecord.CheckImagesAgainst(secondRecord);
        CLockedPixels<FirstPixel> firstPixels(first);
        CLockedPixels<SecondPixel> secondPixels(second);
        return Visit(firstRecord, visitor, progress, firstPixels, secondPixels);
    }

private:
    static constexpr const char* functionName = N == 0 ? "ORVEN::Impl::VisitorHelper<0>::VisitImageData"
                                                       : "ORVEN::Impl::VisitorHelper<2>::VisitImageData";

    /// An image is const to a visitor that only reads it.
    template <class ImageClass, class Pixel>
    using Seen =
        std::conditional_t<std::is_const_v<Pixel>, const ImageClass, std::remove_const_t<ImageClass>>;

    template <class ImageClass, class Pixel, class NamedPixel>
    static auto Checked(ImageClass& image, const char* name) {
        using Class = std::remove_const_t<ImageClass>;
        static_assert(std::is_same_v<Class, IImage> || std::is_same_v<Class, CImage>, "Pass an IImage.");
        static_assert(std::is_const_v<Pixel> || !std::is_const_v<ImageClass>, "This visitor writes.");
        return CImageDataExtractor<Seen<ImageClass, Pixel>, NamedPixel>::Checked(image, name,
                                                                                 CLockedPixels<Pixel>::mode);
    }

    template <class ImageClass, class Pixel, class Visitor>
    static void WriteDebugLine(const char* accessName) {
        Impl::WriteDebugLine(accessName, CLockedPixels<Pixel>::mode,
                             typeid(typename visitors::StNamedVisitor<Visitor>::Type), typeid(ImageClass),
                             typeid(Pixel));
    }

    template <class Visitor, class... Pixel>
    static bool Visit(const StImageRecord& record, Visitor& visitor, IProgress& progress,
                      CLockedPixels<Pixel>&... pixels) {
        const std::string text = std::string(functionName) + " processing...";
        visitor.preprocess();
        switch (record.dimension) {
        case 1:
            Visit1d(record, visitor, progress, text.c_str(), pixels...);
            break;
        case 2:
            Visit2d(record, visitor, progress, text.c_str(), pixels...);
            break;
        case 3:
            Visit3d(record, visitor, progress, text.c_str(), pixels...);
            break;
        default:
            ThrowUnsupportedDimension(functionName, record);
        }
        visitor.postprocess();
        progress.Finish();
        return !progress.IsCancelled();
    }

    template <class Visitor, class... Pixel>
    static void Visit1d(const StImageRecord& record, Visitor& visitor, IProgress& progress, const char* text,
                        CLockedPixels<Pixel>&... pixels) {
        progress.Start(2, text);
        const auto [first, last] = Corners(record);
        (pixels.Lock(first, last), ...);
        VisitLine(visitor, progress, record.sizeX, 0, 0, pixels.Line(0)...);
        (pixels.Unlock(), ...);
    }

    template <class Visitor, class... Pixel>
    static void Visit2d(const StImageRecord& record, Visitor& visitor, IProgress& progress, const char* text,
                        CLockedPixels<Pixel>&... pixels) {
        progress.Start(static_cast<unsigned>(record.sizeY + 1), text);
        const auto [first, last] = Corners(record);
        (pixels.Lock(first, last), ...);
        VisitPlane(record, visitor, progress, 0, pixels...);
        (pixels.Unlock(), ...);
    }

    template <class Visitor, class... Pixel>
    static void Visit3d(const StImageRecord& record, Visitor& visitor, IProgress& progress, const char* text,
                        CLockedPixels<Pixel>&... pixels) {
        progress.Start(static_cast<unsigned>(record.sizeY * record.sizeZ + 1), text);
        auto [first, last] = Corners(record);
        for (std::int64_t z = 0; z < record.sizeZ; ++z) {
            if (progress.IsCancelled())
                return;
            first.z = z;
            last.z = z;
            (pixels.Lock(first, last), ...);
            VisitPlane(record, visitor, progress, z, pixels...);
            (pixels.Unlock(), ...);
        }
    }

    /// The first and the last pixel. An empty axis ends one before its start.
    static std::pair<CPos, CPos> Corners(const StImageRecord& record) {
        CPos first(0, 0, 0);
        CPos last(record.sizeX - 1, record.sizeY - 1, record.sizeZ - 1);
        first.SetDim(record.dimension);
        last.SetDim(record.dimension);
        return {first, last};
    }

    template <class Visitor, class... Pixel>
    static void VisitPlane(const StImageRecord& record, Visitor& visitor, IProgress& progress, std::int64_t z,
                           const CLockedPixels<Pixel>&... pixels) {
        for (std::int64_t y = 0; y < record.sizeY; ++y) {
            if (progress.IsCancelled())
                return;
            VisitLine(visitor, progress, record.sizeX, y, z, pixels.Line(y)...);
        }
    }

    // The lines are copies whose address nobody else has, so that they stay in registers across the calls.
    template <class Visitor, class... Pixel>
    static void VisitLine(Visitor& visitor, IProgress& progress, std::int64_t sizeX, std::int64_t y,
                          std::int64_t z, CPixelLine<Pixel>... lines) {
        for (std::int64_t x = 0; x < sizeX; ++x) {
            (PrefetchIfRead<sizeof...(Pixel)>(lines), ...);
            if constexpr (N == 0)
                visitor(*lines...);
            else
                visitor(*lines..., x, y, z);
            progress.Step(1, 0);
            (lines.Advance(), ...);
        }
    }

    /// Of two images one that is written is not worth it: it is seldom read as well.
    template <std::size_t imageCount, class Pixel>
    static void PrefetchIfRead(const CPixelLine<Pixel>& line) {
        constexpr bool isRead = imageCount == 1 || std::is_const_v<Pixel>;
        if constexpr (isRead && std::is_same_v<std::remove_const_t<Pixel>, float>)
            line.Prefetch();
    }
};

} // namespace ORVEN::Impl
