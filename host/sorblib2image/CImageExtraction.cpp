#include "sorblib2image/CImageExtraction.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>

#include <cstring>

namespace ORVEN {

namespace {

void CopyRegion(const char* site, const CImage& source, CImage& target, const CPos& first, const CPos& last) {
    const CSize& size = source.Size();
    bool isInside = first.Dim() == size.Dim() && last.Dim() == size.Dim();
    for (int axis = 0; isInside && axis < size.Dim(); ++axis)
        isInside = first[axis] >= 0 && first[axis] <= last[axis] && last[axis] < size[axis];
    if (!isInside) {
        throw CException(site,
                         CString("The region from %1 to %2 leaves the image of size %3.", CString::ENC_UTF8)
                             .Arg(first.ToString())
                             .Arg(last.ToString())
                             .Arg(size.ToString()),
                         nullptr);
    }
    const CSize region = CBox(first, last).Size();
    if (!(target.Size() == region) || !(target.Type() == source.Type())) {
        throw CException(
            site,
            CString("A target of type %1 and size %2 cannot take a region of type %3 and size %4.",
                    CString::ENC_UTF8)
                .Arg(target.Type().ToString())
                .Arg(target.Size().ToString())
                .Arg(source.Type().ToString())
                .Arg(region.ToString()),
            nullptr);
    }
    const std::unique_ptr<const IImage::IAccess> from(source.CreateAccess(false));
    const std::unique_ptr<IImage::IAccess> to(target.CreateAccess(false));
    CPos targetFirst(0, 0, 0);
    CPos targetLast(region.x - 1, region.y - 1, region.z - 1);
    targetFirst.SetDim(size.Dim());
    targetLast.SetDim(size.Dim());
    from->Lock(first, last, IImage::LOCK_READ);
    to->Lock(targetFirst, targetLast, IImage::LOCK_READ_WRITE);
    const CPos fromStrides = from->Strides();
    const CPos toStrides = to->Strides();
    const auto* read = static_cast<const unsigned char*>(from->ConstData());
    auto* write = static_cast<unsigned char*>(to->Data());
    const std::int64_t rows = size.Dim() > 1 ? region.y : 1;
    const std::int64_t planes = size.Dim() > 2 ? region.z : 1;
    const auto rowBytes = static_cast<std::size_t>(region.x) * source.Type().PixelSize();
    for (std::int64_t z = 0; z < planes; ++z) {
        for (std::int64_t y = 0; y < rows; ++y) {
            std::memcpy(write + y * toStrides.y + z * toStrides.z,
                        read + y * fromStrides.y + z * fromStrides.z, rowBytes);
        }
    }
}

} // namespace

void CImageExtraction::Box(const CImage& source, CImage& target, const CBox& box) {
    CopyRegion("CImageExtraction::Box", source, target, box.first, box.last);
}

void CImageExtraction::Rect(CImage& target, const CImage& source, const CRect& rect) {
    CopyRegion("CImageExtraction::Rect", source, target, rect.first, rect.last);
}

} // namespace ORVEN
