#pragma once

#include "sorblib2image/CPos.h"
#include "sorblib2image/CSize.h"

#include <string_view>

namespace ORVEN {

class CValueMap;

/// An image of dimension 1, 2 or 3: pixels of one type and a tree of attributes.
///
/// The attribute tree holds "spacing" and "offset" (maps of x, y, z), "history" (texts, oldest first), "meta"
/// and "features" (maps), "number of labels" and "max distance"; `CQuillonHeaderTools` reads and writes them.
/// The order of the virtual functions is part of the binary interface to packs already built.
class IImage {
public:
    /// A pixel type. Types are compared by name. The constants below are the only ones.
    class CType {
    public:
        constexpr CType(const char* name, unsigned pixelSize, bool isInterleaved, bool isBinary)
            : m_name(name)
            , m_pixelSize(pixelSize)
            , m_isInterleaved(isInterleaved)
            , m_isBinary(isBinary) {}

        /// The name of the constant, such as "IMAGE_GREY_8".
        [[nodiscard]] constexpr const char* ToString() const { return m_name; }
        /// Size of a pixel in bytes.
        [[nodiscard]] constexpr unsigned PixelSize() const { return m_pixelSize; }
        /// Whether a pixel is a tuple of adjacent values.
        [[nodiscard]] constexpr bool IsInterleaved() const { return m_isInterleaved; }
        /// Whether a pixel is either object or background.
        [[nodiscard]] constexpr bool IsBinary() const { return m_isBinary; }

        friend constexpr bool operator==(const CType& a, const CType& b) {
            return std::string_view(a.m_name) == b.m_name;
        }

    private:
        const char* m_name;
        unsigned m_pixelSize;
        bool m_isInterleaved;
        bool m_isBinary;
    };

    /// How a region is locked.
    enum EnLockMode { LOCK_READ = 1, LOCK_READ_WRITE = 3 };

    /// Access to the pixels of a region of an image.
    ///
    /// The caller of `CreateAccess` owns the access, and the image must outlive it. An access locks one
    /// region at a time; addresses are valid until `Unlock`, the next `Lock` or the end of the access. Any
    /// number of accesses to one image can exist at the same time; the callers have to coordinate their
    /// writing. A `const IAccess`, as returned by a const image, can lock and read but not write.
    class IAccess {
    public:
        IAccess() = default;
        IAccess(const IAccess&) = delete;
        IAccess& operator=(const IAccess&) = delete;
        virtual ~IAccess();

        /// Locks the box from `first` to `last`, both included. Raises `CExBadParam` for a box that is not
        /// inside the image, for an unknown mode, and for `LOCK_READ_WRITE` on an access to a const image. An
        /// empty image is locked with last = first - 1 on its empty axes.
        virtual void Lock(const CPos& first, const CPos& last, int mode) const = 0;
        virtual void Unlock() const = 0;
        [[nodiscard]] virtual bool IsLocked() const = 0;
        [[nodiscard]] virtual const CPos& First() const = 0;
        [[nodiscard]] virtual const CPos& Last() const = 0;
        /// The size of the locked region.
        [[nodiscard]] virtual const CSize& Size() const = 0;
        [[nodiscard]] virtual const CType& Type() const = 0;
        /// Distances in bytes to the next pixel (x), line (y) and plane (z); 0 beyond the dimension.
        [[nodiscard]] virtual CPos Strides() const = 0;
        /// Address of the first pixel of the region; null if nothing is locked.
        [[nodiscard]] virtual const void* ConstData() const = 0;
        /// The same address for writing. Raises `CExBadParam` unless locked with `LOCK_READ_WRITE`.
        [[nodiscard]] virtual void* Data() = 0;
    };

    IImage() = default;
    virtual ~IImage();
    IImage& operator=(const IImage&) = delete;

    /// Returns a new access, owned by the caller. `isReserved` is ignored; pass false.
    virtual const IAccess* CreateAccess(bool isReserved) const = 0;
    virtual IAccess* CreateAccess(bool isReserved) = 0;
    virtual const CValueMap& Attributes() const = 0;
    virtual CValueMap& Attributes() = 0;
    [[nodiscard]] virtual const CType& Type() const = 0;
    [[nodiscard]] virtual const CSize& Size() const = 0;

protected:
    IImage(const IImage&) = default;
};

/// Unsigned 8-, 16- and 32-bit integers and 32-bit floats.
inline constexpr IImage::CType IMAGE_GREY_8{"IMAGE_GREY_8", 1, false, false};
inline constexpr IImage::CType IMAGE_GREY_16{"IMAGE_GREY_16", 2, false, false};
inline constexpr IImage::CType IMAGE_GREY_32{"IMAGE_GREY_32", 4, false, false};
inline constexpr IImage::CType IMAGE_GREY_F{"IMAGE_GREY_F", 4, false, false};
/// Pairs of floats, real part first.
inline constexpr IImage::CType IMAGE_COMPLEX_F{"IMAGE_COMPLEX_F", 8, true, false};
/// One byte per pixel, 0 for background and 1 for objects. BG means that the background is the subject.
inline constexpr IImage::CType IMAGE_BINARY_FG{"IMAGE_BINARY_FG", 1, false, true};
inline constexpr IImage::CType IMAGE_BINARY_BG{"IMAGE_BINARY_BG", 1, false, true};

} // namespace ORVEN
