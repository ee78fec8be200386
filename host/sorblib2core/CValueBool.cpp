#include "sorblib2core/CValueBool.h"

namespace ORVEN {

CValueBool::CValueBool(bool value)
    : m_value(value) {}

CValue* CValueBool::Clone(EnTfOwnership strategy) const {
    auto clone = std::make_unique<CValueBool>(m_value);
    clone->CopyMeta(*this, strategy, false);
    return clone.release();
}

CValue& CValueBool::Copy(const CValue& source, EnTfOwnership strategy, bool mergesMeta) {
    CValue::Copy(source, strategy, mergesMeta);
    m_value = source.Bool();
    return *this;
}

bool CValueBool::Equal(const CValue& other) const { return CValue::Equal(other) && m_value == other.Bool(); }

CValue::EnValType CValueBool::GenericType() const { return VAL_BOOL; }

} // namespace ORVEN
