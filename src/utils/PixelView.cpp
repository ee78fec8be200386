#include "utils/PixelView.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/ImageView.h>

#include <memory>

namespace quillon {

using namespace ORVEN;

CImage PixelViewOf(CImage& image) {
    const CSize& size = image.Size();
    const std::unique_ptr<IImage::IAccess> access(image.CreateAccess(false));
    Impl::LockWhole(*access, size, IImage::LOCK_READ_WRITE);
    const CPos strides = access->Strides();
    auto* data = static_cast<unsigned char*>(access->Data());

    // An image does not report its border, but the border follows from the strides. The border along the last
    // axis does not, but it is not needed: a view without it covers the same pixels.
    CSize border(0, 0, 0);
    border.SetDim(size.Dim());
    bool isRegular = strides.x == image.Type().PixelSize();
    for (int axis = 0; axis + 1 < size.Dim() && strides[axis] != 0; ++axis) {
        const std::int64_t both = strides[axis + 1] / strides[axis] - size[axis];
        isRegular = isRegular && strides[axis + 1] % strides[axis] == 0 && both >= 0 && both % 2 == 0;
        border[axis] = both / 2;
        data -= border[axis] * strides[axis];
    }
    if (!isRegular) {
        throw CExBadParam(
            Impl::Here("quillon::PixelViewOf"),
            CString("The pixels of an image of size %1 do not stand side by side.", CString::ENC_UTF8)
                .Arg(size.ToString()));
    }
    return {image.Type(), size, data, nullptr, nullptr, border};
}

} // namespace quillon
