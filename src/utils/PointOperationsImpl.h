#pragma once

#include "utils/visitors/Visitor.h"

#include <QuillonBase/ISummingProgress.h>
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

/// Connects images, whose pixel type is known only at run time, with loops over pixels of a C++ type.
///
/// `VisitorHelper<0>::VisitImageData(image, visitor, progress)` checks that the image holds the pixel type
/// that the visitor takes, and calls the visitor for each pixel. With two images it visits both in step, each
/// with its own strides. `VisitorHelper<2>` also passes the position. See `visitors::StVisitor` for how to
/// write a visitor, and `CPointOperations` for the usual way to run one.
namespace ORVEN::Impl {

/// Whether images of the given type hold pixels of type T.
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

/// What a traversal needs to know about one of its images.
struct StImageRecord {
    std::int64_t sizeX = 0; ///< extents beyond the dimension stay 0
    std::int64_t sizeY = 0;
    std::int64_t sizeZ = 0;
    std::uint8_t dimension = 0; ///< 255 stands for 255 and above
    bool isInterleaved = false;
    std::uint8_t isBinary = 0;
    const char* name = ""; ///< the name of the image in messages
    const std::type_info* pixelTypeInfo = nullptr;
    std::int32_t access = IImage::LOCK_READ;
};

/// The checks that come before a loop over the pixels of an image. All of them raise `CException`; the
/// template arguments only appear in the location. The class is instantiated for `CImage` and `IImage`, const
/// or not, and the four pixel types, const or not.
template <class ImageClass, class PixelType>
class CImageDataExtractor : public StImageRecord {
public:
    /// Records dimension, type flags, name and access without checking anything.
    CImageDataExtractor(const IImage& image, const char* imageName, IImage::EnLockMode imageAccess);

    /// Returns the record of an image after all checks that concern this image alone.
    static CImageDataExtractor Checked(const IImage& image, const char* imageName,
                                       IImage::EnLockMode imageAccess);

    /// Returns the extents of a size of dimension 1 to 3; extents beyond the dimension are 0.
    static std::array<std::int64_t, 3> InitSize(const CSize& size);
    void CheckImageValidy() const;
    void SetPixelTypeInfo(const IImage& image);
    void CheckPixelType() const;
    /// Checks that both images have the same dimension and extents.
    void CheckImagesAgainst(const StImageRecord& other) const;
};

/// Steps along a line of pixels without gaps, from the first to the last.
template <class Pixel>
class CPixelRow {
public:
    explicit CPixelRow(Pixel* firstPixel)
        : m_position(firstPixel) {}

    Pixel& operator*() const { return *m_position; }
    void Advance() { ++m_position; }
    /// The processor finds out by itself what comes next.
    static void Prefetch() {}

private:
    Pixel* m_position;
};

/// Steps along one line of pixels, from the first to the last.
template <class Pixel>
class CPixelLine {
    using Byte = std::conditional_t<std::is_const_v<Pixel>, const unsigned char, unsigned char>;

public:
    CPixelLine(Byte* firstPixel, std::int64_t stride)
        : m_position(firstPixel)
        , m_stride(stride) {}

    Pixel& operator*() const { return *reinterpret_cast<Pixel*>(m_position); }

    void Advance() { m_position += m_stride; }

    [[nodiscard]] bool IsContiguous() const { return m_stride == sizeof(Pixel); }
    [[nodiscard]] Pixel* Data() const { return reinterpret_cast<Pixel*>(m_position); }

    /// Prefetches the pixel six steps ahead, which may lie past the end of the image. It is used only once,
    /// so it is not meant to stay in the cache.
    void Prefetch() const {
        const auto ahead =
            reinterpret_cast<std::uintptr_t>(m_position) + static_cast<std::uintptr_t>(6 * m_stride);
        // A pointer past the end of the image must not be computed as a pointer.
        __builtin_prefetch(reinterpret_cast<const void*>(ahead), 0, 0); // NOLINT(performance-no-int-to-ptr)
    }

private:
    Byte* m_position;
    std::int64_t m_stride;
};

/// The pixels of an image during a traversal: locks a region, then provides the lines of one plane.
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

/// Writes to standard output which visitor is about to visit which image.
void WriteDebugLine(const char* accessName, IImage::EnLockMode access, const std::type_info& visitor,
                    const std::type_info& imageClass, const std::type_info& pixel);

/// Raises the error for an image whose dimension a traversal does not support.
[[noreturn]] void ThrowUnsupportedDimension(const char* function, const StImageRecord& record);

/// Visits images pixel by pixel, x fastest, then y, then z. With N = 0 the visitor is called with the pixels,
/// with N = 2 with the pixels and x, y, z.
///
/// Returns false if the traversal was cancelled, which is checked at each line and plane of a two- or
/// three-dimensional image; pixels visited before stay changed. Progress: the total is the number of lines +
/// 1, with one step per pixel; sinks tolerate the difference. Three-dimensional images are locked plane by
/// plane. Cost per pixel: one virtual call, or none if the sink sums up steps (`ISummingProgress`); no
/// allocation.
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

    /// Raises `CException` if the two images differ in size.
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

    struct StSink {
        IProgress& progress;
        bool needsSingleSteps;
    };

    /// An image is const for a visitor that only reads it.
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
        const StSink sink{progress, NeedsSingleSteps(progress)};
        visitor.preprocess();
        switch (record.dimension) {
        case 1:
            Visit1d(record, visitor, sink, text.c_str(), pixels...);
            break;
        case 2:
            Visit2d(record, visitor, sink, text.c_str(), pixels...);
            break;
        case 3:
            Visit3d(record, visitor, sink, text.c_str(), pixels...);
            break;
        default:
            ThrowUnsupportedDimension(functionName, record);
        }
        visitor.postprocess();
        progress.Finish();
        return !progress.IsCancelled();
    }

    template <class Visitor, class... Pixel>
    static void Visit1d(const StImageRecord& record, Visitor& visitor, const StSink& sink, const char* text,
                        CLockedPixels<Pixel>&... pixels) {
        sink.progress.Start(2, text);
        const auto [first, last] = Corners(record);
        (pixels.Lock(first, last), ...);
        VisitLine(visitor, sink, record.sizeX, 0, 0, pixels.Line(0)...);
        (pixels.Unlock(), ...);
    }

    template <class Visitor, class... Pixel>
    static void Visit2d(const StImageRecord& record, Visitor& visitor, const StSink& sink, const char* text,
                        CLockedPixels<Pixel>&... pixels) {
        sink.progress.Start(static_cast<unsigned>(record.sizeY + 1), text);
        const auto [first, last] = Corners(record);
        (pixels.Lock(first, last), ...);
        VisitPlane(record, visitor, sink, 0, pixels...);
        (pixels.Unlock(), ...);
    }

    template <class Visitor, class... Pixel>
    static void Visit3d(const StImageRecord& record, Visitor& visitor, const StSink& sink, const char* text,
                        CLockedPixels<Pixel>&... pixels) {
        sink.progress.Start(static_cast<unsigned>(record.sizeY * record.sizeZ + 1), text);
        auto [first, last] = Corners(record);
        for (std::int64_t z = 0; z < record.sizeZ; ++z) {
            if (sink.progress.IsCancelled())
                return;
            first.z = z;
            last.z = z;
            (pixels.Lock(first, last), ...);
            VisitPlane(record, visitor, sink, z, pixels...);
            (pixels.Unlock(), ...);
        }
    }

    /// The first and the last pixel. On an empty axis the last position is one before the first.
    static std::pair<CPos, CPos> Corners(const StImageRecord& record) {
        CPos first(0, 0, 0);
        CPos last(record.sizeX - 1, record.sizeY - 1, record.sizeZ - 1);
        first.SetDim(record.dimension);
        last.SetDim(record.dimension);
        return {first, last};
    }

    template <class Visitor, class... Pixel>
    static void VisitPlane(const StImageRecord& record, Visitor& visitor, const StSink& sink, std::int64_t z,
                           const CLockedPixels<Pixel>&... pixels) {
        for (std::int64_t y = 0; y < record.sizeY; ++y) {
            if (sink.progress.IsCancelled())
                return;
            VisitLine(visitor, sink, record.sizeX, y, z, pixels.Line(y)...);
        }
    }

    template <class Visitor, class... Pixel>
    static void VisitLine(Visitor& visitor, const StSink& sink, std::int64_t sizeX, std::int64_t y,
                          std::int64_t z, CPixelLine<Pixel>... lines) {
        if (sink.needsSingleSteps) {
            VisitPixels(
                visitor, sizeX, y, z, [&sink] { sink.progress.Step(1, 0); }, lines...);
            return;
        }
        constexpr auto noStep = [] {};
        if (!(lines.IsContiguous() && ...))
            VisitPixels(visitor, sizeX, y, z, noStep, lines...);
        else if constexpr (N == 0 && requires { visitor.VisitRow(lines.Data()..., sizeX); })
            visitor.VisitRow(lines.Data()..., sizeX);
        else // with a stride that is known, the compiler can process several pixels at once
            VisitPixels(visitor, sizeX, y, z, noStep, CPixelRow<Pixel>(lines.Data())...);
        sink.progress.Step(static_cast<unsigned>(sizeX), 0);
    }

    // The lines are passed by value and their addresses do not escape, so they stay in registers across the
    // calls.
    template <class Visitor, class StepAfterPixel, class... Line>
    static void VisitPixels(Visitor& visitor, std::int64_t sizeX, std::int64_t y, std::int64_t z,
                            const StepAfterPixel& step, Line... lines) {
        for (std::int64_t x = 0; x < sizeX; ++x) {
            (PrefetchIfRead<sizeof...(Line)>(lines), ...);
            if constexpr (N == 0)
                visitor(*lines...);
            else
                visitor(*lines..., x, y, z);
            step();
            (lines.Advance(), ...);
        }
    }

    /// With two images, prefetching the one that is written does not pay off: it is rarely read as well.
    template <std::size_t imageCount, class Line>
    static void PrefetchIfRead(const Line& line) {
        using Pixel = std::remove_reference_t<decltype(*line)>;
        constexpr bool isRead = imageCount == 1 || std::is_const_v<Pixel>;
        if constexpr (isRead && std::is_same_v<std::remove_const_t<Pixel>, float>)
            line.Prefetch();
    }
};

} // namespace ORVEN::Impl
