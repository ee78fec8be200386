#pragma once

#include "sorblib2image/IImage.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CString.h>

#include <algorithm>
#include <memory>
#include <type_traits>
#include <utility>

namespace ORVEN {

namespace Impl {

/// Locks the whole image. Missing dimensions count as one pixel.
template <class Access>
void LockWhole(Access& access, const CSize& size, int mode) {
    CPos first(0, 0, 0);
    CPos last(size.x - 1, size.y - 1, size.z - 1);
    first.SetDim(size.Dim());
    last.SetDim(size.Dim());
    access.Lock(first, last, mode);
}

} // namespace Impl

/// The pixels of a whole image as T, for algorithms that have already checked the type: `view.Row(y, z)[x]`.
///
/// `T` is const for reading. The view holds an access to the image as long as it exists. Pixels of a row are
/// contiguous: an image where they are not, or whose pixels do not have the size of T, raises `CExBadParam`.
/// Axes beyond the dimension have extent 1.
template <class T>
class CImageView {
    using Image = std::conditional_t<std::is_const_v<T>, const IImage, IImage>;
    using Access = std::conditional_t<std::is_const_v<T>, const IImage::IAccess, IImage::IAccess>;
    using Byte = std::conditional_t<std::is_const_v<T>, const unsigned char, unsigned char>;

public:
    explicit CImageView(Image& image)
        : m_access(image.CreateAccess(false)) {
        const CSize& size = image.Size();
        nx = size.x;
        ny = size.Dim() > 1 ? size.y : 1;
        nz = size.Dim() > 2 ? size.z : 1;
        Impl::LockWhole(*m_access, size, std::is_const_v<T> ? IImage::LOCK_READ : IImage::LOCK_READ_WRITE);
        const CPos strides = m_access->Strides();
        if (image.Type().PixelSize() != sizeof(T) || strides.x != static_cast<std::int64_t>(sizeof(T))) {
            throw CExBadParam(
                Impl::Here("ORVEN::CImageView"),
                CString("Pixels of type %1 are not stored in rows of %2 bytes per pixel.", CString::ENC_UTF8)
                    .Arg(image.Type().ToString())
                    .Arg(static_cast<long long>(sizeof(T)), 0));
        }
        m_strideY = strides.y;
        m_strideZ = strides.z;
        if constexpr (std::is_const_v<T>)
            m_data = static_cast<Byte*>(m_access->ConstData());
        else
            m_data = static_cast<Byte*>(m_access->Data());
    }

    /// The `nx` pixels of a row.
    [[nodiscard]] T* Row(std::int64_t y, std::int64_t z) const {
        return reinterpret_cast<T*>(m_data + y * m_strideY + z * m_strideZ);
    }

    void FillRow(std::int64_t y, std::int64_t z, T pixel) const { std::fill_n(Row(y, z), nx, pixel); }

    /// Sets all pixels, on this thread.
    void Fill(T pixel) const {
        for (std::int64_t z = 0; z < nz; ++z) {
            for (std::int64_t y = 0; y < ny; ++y)
                FillRow(y, z, pixel);
        }
    }

    /// The distances in bytes to the next row and to the next plane.
    [[nodiscard]] std::int64_t StrideY() const { return m_strideY; }
    [[nodiscard]] std::int64_t StrideZ() const { return m_strideZ; }

    /// Takes the rows of a single plane for planes of one row each, and returns the view; other images are
    /// left as they are. For work that is divided into planes: with this, a flat image can be divided too.
    CImageView&& WithRowsAsPlanes() && {
        if (nz == 1) {
            std::swap(ny, nz);
            std::swap(m_strideY, m_strideZ);
        }
        return std::move(*this);
    }

    [[nodiscard]] std::int64_t PixelCount() const { return nx * ny * nz; }

    std::int64_t nx = 0;
    std::int64_t ny = 0;
    std::int64_t nz = 0;

private:
    std::unique_ptr<Access> m_access;
    Byte* m_data = nullptr;
    std::int64_t m_strideY = 0;
    std::int64_t m_strideZ = 0;
};

} // namespace ORVEN
