#pragma once

#include "sorblib2image/IImage.h"

#include <sorblib2core/CValueMap.h>

#include <memory>

namespace ORVEN {

/// An image in main memory, all pixels in one allocation: x runs fastest, then y, then z, without gaps unless
/// there is a border.
///
/// A border of (bx, by, bz) pixels lies around the image on both sides of each axis. It belongs to the
/// allocation and shows in the strides only. Sizes and offsets are 64-bit throughout. A new image is all
/// zero; memory is touched when pixels are first written, so that making an image costs nothing per pixel.
class CImage : public IImage {
public:
    class CAccess;

    /// Raises `CExBadParam` for a size that no image can have and `std::bad_alloc` if memory does not
    /// suffice.
    CImage(const CType& type, const CSize& size, const CSize& border);
    /// A deep copy of type, size and pixels. Attributes stay behind; `CQuillonHeaderTools::SetAttributes`
    /// brings them.
    CImage(const CImage& other);
    /// A view: an image over pixels that exist already, border included, without a copy. Pixels, attribute
    /// tree and access stay the caller's, who keeps them alive as long as the image. Both of the last two can
    /// be null: the image then has an attribute tree of its own, empty at first, and it makes its accesses
    /// itself in any case. After `Resize` the pixels are the image's own. On failure nothing is freed.
    CImage(const CType& type, const CSize& size, unsigned char* data, CValueMap* attributes, CAccess* access,
           const CSize& border);
    ~CImage() override;

    const IAccess* CreateAccess(bool reserved) const override;
    IAccess* CreateAccess(bool reserved) override;
    const CValueMap& Attributes() const override;
    CValueMap& Attributes() override;
    [[nodiscard]] const CType& Type() const override;
    [[nodiscard]] const CSize& Size() const override;

    /// Gives the image another size and border; all pixels are zero afterwards. Open accesses become invalid.
    /// On failure the image stays as it was.
    virtual CImage& Resize(const CSize& size, const CSize& border);

private:
    /// Frees what `Allocate` made, and leaves the pixels of a view alone.
    struct StFreePixels {
        enum EnSource { VIEW, NEW, MAPPED };
        EnSource source;
        std::size_t byteCount;
        void operator()(unsigned char* memory) const;
    };
    using PixelMemory = std::unique_ptr<unsigned char, StFreePixels>;

    /// Byte steps along the axes of a size with its border; 0 beyond the dimension.
    static CPos Strides(const CType& type, const CSize& size, const CSize& border);
    static std::int64_t ByteCount(const CType& type, const CSize& size, const CSize& border);
    static PixelMemory Allocate(std::int64_t byteCount);
    [[nodiscard]] unsigned char* FirstPixel() const;

    CType m_type;
    CSize m_size;
    CSize m_border;
    std::int64_t m_byteCount;
    PixelMemory m_memory;
    std::unique_ptr<CValueMap> m_ownAttributes; // null where the caller's are used
    CValueMap* m_attributes;
};

/// The access that a `CImage` hands out.
class CImage::CAccess : public IImage::IAccess {
public:
    /// `firstPixel` is the pixel at the origin, `strides` are in bytes.
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
    // What is locked is a matter of the access, not of the pixels that its constness protects.
    mutable CPos m_first;
    mutable CPos m_last;
    mutable CSize m_lockedSize;
    mutable unsigned char* m_data = nullptr;
    mutable int m_mode = 0;
};

// Made once, in this library: pointers to images cross the border between host and pack.
extern template class CValuePointer<CImage>;
extern template class CValueOwnedPointer<CImage>;

} // namespace ORVEN
