#include "sorblib2core/CValuePointerBase.h"

namespace ORVEN {

CValuePointerBase::CValuePointerBase(const std::type_info* valueType, std::size_t count,
                                     unsigned short elementSize)
    : m_valueType(valueType)
    , m_count(count)
    , m_elementSize(elementSize) {}

CValue::EnValType CValuePointerBase::GenericType() const { return VAL_POINTER; }

bool CValuePointerBase::IsValid() const { return Void() != nullptr; }

const void* CValuePointerBase::VoidPointer() const { return Void(); }

void* CValuePointerBase::VoidPointer() { return Void(); }

CValuePointerBase* CValuePointerBase::Release() {
    SetOwner(false);
    return this;
}

} // namespace ORVEN
