#pragma once

#include "sorblib2core/AreTypesEqual.h"
#include "sorblib2core/CExBadParam.h"
#include "sorblib2core/CString.h"
#include "sorblib2core/CValuePointerBase.h"

namespace ORVEN {

namespace Impl {

template <class T>
void RequirePointerTo(const CValue& value) {
    if (value.GenericType() != CValue::VAL_POINTER || !AreTypesEqual(value.ElementType(), typeid(T))) {
        throw CExBadParam(
            Here("ORVEN::UnwrapPointer"),
            CString("Requested type ('%1') does not match actual type ('%2')!", CString::ENC_UTF8)
                .Arg(typeid(T).name())
                .Arg(value.ElementType().name()));
    }
}

} // namespace Impl

/// Returns the pointer held by a pointer value; null for null. Raises `CExBadParam` if the value is not a
/// pointer to T.
template <class T>
T* UnwrapPointer(CValue* value) {
    if (value == nullptr)
        return nullptr;
    Impl::RequirePointerTo<T>(*value);
    return static_cast<T*>(value->Pointer()->Void());
}

template <class T>
const T* UnwrapPointer(const CValue* value) {
    if (value == nullptr)
        return nullptr;
    Impl::RequirePointerTo<T>(*value);
    return static_cast<const T*>(value->Pointer()->Void());
}

} // namespace ORVEN
