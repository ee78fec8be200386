#pragma once

#include "sorblib2image/GreyTypeDispatch.h"

#include <type_traits>

namespace ORVEN {

/// `DispatchGreyType` for images whose pixels are labels of objects: IMAGE_BINARY_FG, IMAGE_GREY_8,
/// IMAGE_GREY_16 and IMAGE_GREY_32. Any other type raises as `ThrowUnsupportedType` does.
template <class Body>
void DispatchLabelType(const char* function, const IImage::CType& type, const Body& body) {
    if (type == IMAGE_BINARY_FG)
        return body(std::type_identity<unsigned char>());
    return DispatchGreyType(function, type, [&]<class T>(std::type_identity<T> pixel) {
        if constexpr (std::is_same_v<T, float>)
            ThrowUnsupportedType(function, type);
        else
            body(pixel);
    });
}

} // namespace ORVEN
