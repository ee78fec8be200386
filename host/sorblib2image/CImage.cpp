#include "sorblib2image/CImage.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/LargePages.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace ORVEN {

template class CValuePointer<CImage>;
template class CValueOwnedPointer<CImage>;

namespace {

/// The extents including the border on both sides of each axis.
CSize WithBorder(const CSize& size, const CSize& border) {
    CSize padded = size;
    for (int axis = 0; axis < size.Dim(); ++axis) {
        std::int64_t both = 0;
        if (border[axis] < 0 || __builtin_mul_overflow(border[axis], 2, &both) ||
            __builtin_add_overflow(padded[axis], both, &padded[axis])) {
            throw CExBadParam(Impl::Here("ORVEN::CImage::CImage"),
                              CString("No image of size %1 can have the border %2.", CString::ENC_UTF8)
                                  .Arg(size.ToString())
                                  .Arg(border.ToString()));
        }
    }
    return padded;
}

} // namespace

CPos CImage::Strides(const CType& type, const CSize& size, const CSize& border) {
    const CSize padded = WithBorder(size, border);
    CPos strides(0, 0, 0);
    strides.SetDim(size.Dim());
    std::int64_t step = type.PixelSize();
    for (int axis = 0; axis < size.Dim(); ++axis) {
        strides[axis] = step;
        step *= padded[axis];
    }
    return strides;
}

std::int64_t CImage::ByteCount(const CType& type, const CSize& size, const CSize& border) {
    (void)size.PixelCount(); // rejects invalid sizes before the border is added
    const CSize padded = WithBorder(size, border);
    // An empty axis counts as one pixel here, so that the strides of an empty image fit into 64 bits too.
    CSize stepped = padded;
    for (int axis = 0; axis < padded.Dim(); ++axis)
        stepped[axis] = std::max<std::int64_t>(1, padded[axis]);
    std::int64_t byteCount = 0;
    if (__builtin_mul_overflow(stepped.PixelCount(), std::int64_t{type.PixelSize()}, &byteCount))
        throw std::bad_alloc();
    return padded.PixelCount() == 0 ? 0 : byteCount;
}

CImage::PixelMemory CImage::Allocate(std::int64_t byteCount) {
    const auto size = static_cast<std::size_t>(byteCount);
#ifdef __linux__
    // Mapped memory is 0 and untouched. Large pages are faster to touch first and make traversals along y
    // and z cheaper.
    constexpr std::size_t worthMapping = std::size_t{1} << 22;
    if (size >= worthMapping) {
        void* mapped = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED)
            throw std::bad_alloc();
        PreferLargePages(mapped, size);
        return {static_cast<unsigned char*>(mapped), {StFreePixels::MAPPED, size}};
    }
#endif
    return {new unsigned char[size](), {StFreePixels::NEW, size}};
}

void CImage::StFreePixels::operator()(unsigned char* memory) const {
#ifdef __linux__
    if (source == MAPPED)
        munmap(memory, byteCount);
#endif
    if (source == NEW)
        delete[] memory;
}

CImage::CImage(const CType& type, const CSize& size, const CSize& border)
    : m_type(type)
    , m_size(size)
    , m_border(border)
    , m_byteCount(ByteCount(type, size, border))
    , m_memory(Allocate(m_byteCount))
    , m_ownAttributes(std::make_unique<CValueMap>())
    , m_attributes(m_ownAttributes.get()) {}

CImage::CImage(const CImage& other)
    : CImage(other.m_type, other.m_size, other.m_border) {
    std::memcpy(m_memory.get(), other.m_memory.get(), static_cast<std::size_t>(m_byteCount));
}

CImage::CImage(const CType& type, const CSize& size, unsigned char* data, CValueMap* attributes,
               CAccess* /*access*/, const CSize& border)
    : m_type(type)
    , m_size(size)
    , m_border(border)
    , m_byteCount(ByteCount(type, size, border))
    , m_memory(data, {StFreePixels::VIEW, 0})
    , m_ownAttributes(attributes == nullptr ? std::make_unique<CValueMap>() : nullptr)
    , m_attributes(attributes == nullptr ? m_ownAttributes.get() : attributes) {}

CImage::~CImage() = default;

unsigned char* CImage::FirstPixel() const {
    const CPos strides = Strides(m_type, m_size, m_border);
    std::int64_t offset = 0;
    for (int axis = 0; axis < m_size.Dim(); ++axis)
        offset += m_border[axis] * strides[axis];
    return m_memory.get() + offset;
}

const IImage::IAccess* CImage::CreateAccess(bool /*isReserved*/) const {
    return new CAccess(m_type, m_size, Strides(m_type, m_size, m_border), FirstPixel(), false);
}

IImage::IAccess* CImage::CreateAccess(bool /*isReserved*/) {
    return new CAccess(m_type, m_size, Strides(m_type, m_size, m_border), FirstPixel(), true);
}

const CValueMap& CImage::Attributes() const { return *m_attributes; }

CValueMap& CImage::Attributes() { return *m_attributes; }

const IImage::CType& CImage::Type() const { return m_type; }

const CSize& CImage::Size() const { return m_size; }

CImage& CImage::Resize(const CSize& size, const CSize& border) {
    const std::int64_t byteCount = ByteCount(m_type, size, border);
    m_memory = Allocate(byteCount);
    m_byteCount = byteCount;
    m_size = size;
    m_border = border;
    return *this;
}

CImage::CAccess::CAccess(const CType& type, const CSize& imageSize, const CPos& strides,
                         unsigned char* firstPixel, bool isWritable)
    : m_type(type)
    , m_imageSize(imageSize)
    , m_strides(strides)
    , m_firstPixel(firstPixel)
    , m_isWritable(isWritable) {}

void CImage::CAccess::Lock(const CPos& first, const CPos& last, int mode) const {
    if ((mode != LOCK_READ && mode != LOCK_READ_WRITE) || (mode == LOCK_READ_WRITE && !m_isWritable)) {
        throw CExBadParam(
            Impl::Here("ORVEN::CImage::CAccess::Lock"),
            CString("The image cannot be locked with mode %1.", CString::ENC_UTF8).Arg(mode, 0));
    }
    CSize lockedSize(0, 0, 0);
    lockedSize.SetDim(m_imageSize.Dim());
    unsigned char* data = m_firstPixel;
    for (int axis = 0; axis < m_imageSize.Dim(); ++axis) {
        if (first[axis] < 0 || last[axis] >= m_imageSize[axis] || last[axis] < first[axis] - 1) {
            throw CExBadParam(
                Impl::Here("ORVEN::CImage::CAccess::Lock"),
                CString("The region from %1 to %2 leaves the image of size %3.", CString::ENC_UTF8)
                    .Arg(first.ToString())
                    .Arg(last.ToString())
                    .Arg(m_imageSize.ToString()));
        }
        lockedSize[axis] = last[axis] - first[axis] + 1;
        data += first[axis] * m_strides[axis];
    }
    m_first = first;
    m_last = last;
    m_lockedSize = lockedSize;
    m_data = data;
    m_mode = mode;
}

void CImage::CAccess::Unlock() const {
    m_data = nullptr;
    m_mode = 0;
}

bool CImage::CAccess::IsLocked() const { return m_mode != 0; }

const CPos& CImage::CAccess::First() const { return m_first; }

const CPos& CImage::CAccess::Last() const { return m_last; }

const CSize& CImage::CAccess::Size() const { return m_lockedSize; }

const IImage::CType& CImage::CAccess::Type() const { return m_type; }

CPos CImage::CAccess::Strides() const { return m_strides; }

const void* CImage::CAccess::ConstData() const { return m_data; }

void* CImage::CAccess::Data() {
    if (m_mode != LOCK_READ_WRITE) {
        throw CExBadParam(Impl::Here("ORVEN::CImage::CAccess::Data"),
                          "Writing requires the image to be locked with mode 3.");
    }
    return m_data;
}

} // namespace ORVEN
