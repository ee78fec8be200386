#include "sorblib2image/ImageChecks.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>

namespace ORVEN {

void ThrowUnsupportedType(const char* function, const IImage::CType& type) {
    throw CException(
        function, CString("Image type %1 not supported.", CString::ENC_UTF8).Arg(type.ToString()), nullptr);
}

void RequireSameSize(const char* function, const char* imageName, const IImage& image,
                     const char* referenceName, const IImage& reference) {
    if (image.Size() == reference.Size())
        return;
    throw CExBadParam(Impl::Here(function),
                      CString("%1 of size %2 does not fit the %3 of size %4.", CString::ENC_UTF8)
                          .Arg(imageName)
                          .Arg(image.Size().ToString())
                          .Arg(referenceName)
                          .Arg(reference.Size().ToString()));
}

} // namespace ORVEN
