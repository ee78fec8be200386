#pragma once

#include "utils/PointOperationsImpl.h"

#include <sorblib2image/GreyTypeDispatch.h>

#include <type_traits>
#include <utility>

namespace ORVEN {

/// Calls `body(std::type_identity<T>())` with the given pixel type that matches the image type:
///
///     DispatchImageType<unsigned int, unsigned short, unsigned char>(
///         "Copy", input.Type(), [&]<class T>(std::type_identity<T>) {
///             visitors::CCopy<T> copy;
///             CPointOperations(nullptr, nullptr).Visit(copy, result, input);
///         });
///
/// `unsigned char` matches grey and foreground images. If no type matches, raises `CException` with "Image
/// type %1 not supported." in the name of `dispatcher`.
template <class T, class... Others, class Body>
decltype(auto) DispatchImageType(const char* dispatcher, const IImage::CType& type, Body&& body) {
    if (Impl::HoldsPixels<T>(type) && type != IMAGE_BINARY_BG)
        return body(std::type_identity<T>());
    if constexpr (sizeof...(Others) > 0)
        return DispatchImageType<Others...>(dispatcher, type, std::forward<Body>(body));
    else
        ThrowUnsupportedType(dispatcher, type);
}

} // namespace ORVEN
