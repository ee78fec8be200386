#pragma once

#include "sorblib2image/IImage.h"

#include <sorblib2core/CValueMap.h>

#include <memory>

namespace ORVEN {

/// An image in main memory. All pixels are in one allocation, x fastest, then y, then z, without gaps unless
/// there is a border.
///
/// A border of (bx, by, bz) pixels surrounds the image on both sides of each axis. It is part of the
/// allocation and visible only in the strides. Sizes and offsets are 64-bit throughout. All pixels of a new
/// image are 0. Large images touch memory only when a pixel is first read or written, so that creating one
/// takes no time per pixel.
class CImage : public IImage {
public:
    class CAccess;

    /// Raises `CExBadParam` for an invalid size or border, and `std::bad_alloc` if there is not enough
    /// memory.
    CImage(const CType& type, const CSize& size, const CSize& border);
    /// A deep copy of type, size, border and pixels. Attributes are not copied; use
    /// `CQuillonHeaderTools::SetAttributes`.
    CImage(const CImage& other);
    /// A view: an image over existing pixels, border included, without a copy. Pixels, attribute tree and
    /// access remain the property of the caller, who must keep them alive as long as the image. `attributes`
    /// and `access` can be null. Without `attributes` the image has an attribute tree of its own, initially
    /// empty. `access` is not used: the image always creates its accesses itself. After `Resize` the image
    /// owns its pixels. On failure nothing is freed.
    CImage(const CType& type, const CSize& size, unsigned char* data, CValueMap* attributes, CAccess* access,
           const CSize& border);
    ~CImage() override;

    const IAccess* CreateAccess(bool isReserved) const override;
    IAccess* CreateAccess(bool isReserved) override;
    const CValueMap& Attributes() const override;
    CValueMap& Attributes() override;
    [[nodiscard]] const CType& Type() const override;
    [[nodiscard]] const CSize& Size() const override;

    /// Changes size and border; all pixels are 0 afterwards. Open accesses become invalid. On failure the
    /// image stays unchanged.
    virtual CImage& Resize(const CSize& size, const CSize& border);

private:
    /// Frees memory from `Allocate`. The pixels of a view are not freed.
    struct StFreePixels {
        enum EnSource { VIEW, NEW, MAPPED };
        EnSource source;
        std::size_t byteCount;
        void operator()(unsigned char* memory) const;
    };
    using PixelMemory = std::unique_ptr<unsigned char, StFreePixels>;

    /// Strides in bytes along the axes of an image of that size and border; 0 beyond the dimension.
    static CPos Strides(const CType& type, const CSize& size, const CSize& border);
    static std::int64_t ByteCount(const CType& type, const CSize& size, const CSize& border);
    static PixelMemory Allocate(std::int64_t byteCount);
    [[nodiscard]] unsigned char* FirstPixel() const;

    CType m_type;
    CSize m_size;
    CSize m_border;
    std::int64_t m_byteCount;
    PixelMemory m_memory;
    std::unique_ptr<CValueMap> m_ownAttributes; // null if the caller's are used
    CValueMap* m_attributes;
};

/// The access that `CImage::CreateAccess` returns.
class CImage::CAccess : public IImage::IAccess {
public:
    /// `firstPixel` is the address of the pixel at the origin; `strides` are in bytes.
    CAccess(const CType& type, const CSize& imageSize, const CPos& strides, unsigned char* firstPixel,
            bool isWritable);

    void Lock(const CPos& first, const CPos& last, int mode) const override;
    void Unlock() const override;
    [[nodiscard]] bool IsLocked() const override;
    [[nodiscard]] const CPos& First() const override;
    [[nodiscard]] const CPos& Last() const override;
    [[nodiscard]] const CSize& Size() const override;
    [[nodiscard]] const CType& Type() const override;
    [[nodiscard]] CPos Strides() const override;
    [[nodiscard]] const void* ConstData() const override;
    [[nodiscard]] void* Data() override;

private:
    CType m_type;
    CSize m_imageSize;
    CPos m_strides;
    unsigned char* m_firstPixel;
    bool m_isWritable;
    // Mutable because locking changes the state of the access, not the pixels that its constness protects.
    mutable CPos m_first;
    mutable CPos m_last;
    mutable CSize m_lockedSize;
    mutable unsigned char* m_data = nullptr;
    mutable int m_mode = 0;
};

// Instantiated once, in this library: pointers to images cross the boundary between host and pack.
extern template class CValuePointer<CImage>;
extern template class CValueOwnedPointer<CImage>;

} // namespace ORVEN
