#pragma once

#include "sorblib2image/ImageChecks.h"

#include <type_traits>

namespace ORVEN {

/// Calls `body(std::type_identity<T>())` with the pixel type T of a grey image, so that loops contain no type
/// test: `DispatchGreyType("Binarize", image.Type(), [&]<class T>(std::type_identity<T>) { ... })`. Any other
/// type raises as `ThrowUnsupportedType` does.
template <class Body>
decltype(auto) DispatchGreyType(const char* function, const IImage::CType& type, Body&& body) {
    if (type == IMAGE_GREY_8)
        return body(std::type_identity<unsigned char>());
    if (type == IMAGE_GREY_16)
        return body(std::type_identity<unsigned short>());
    if (type == IMAGE_GREY_32)
        return body(std::type_identity<unsigned int>());
    if (type == IMAGE_GREY_F)
        return body(std::type_identity<float>());
    ThrowUnsupportedType(function, type);
}

} // namespace ORVEN
