#include "sorblib2image/CSize.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CString.h>

namespace ORVEN {

std::int64_t CSize::PixelCount() const {
    std::int64_t count = 1;
    bool isUsable = dim >= 1 && dim <= 3;
    for (int axis = 0; isUsable && axis < dim; ++axis) {
        const std::int64_t extent = (*this)[axis];
        isUsable = extent >= 0 && !__builtin_mul_overflow(count, extent, &count);
    }
    if (!isUsable) {
        throw CExBadParam(Impl::Here("ORVEN::CSize::PixelCount"),
                          CString("No image can have the size %1 in dimension %2.", CString::ENC_UTF8)
                              .Arg(ToString())
                              .Arg(dim, 0));
    }
    return count;
}

} // namespace ORVEN
