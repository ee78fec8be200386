#include "sorblib2core/CValueDouble.h"

namespace ORVEN {

CValueDouble::CValueDouble(double value)
    : m_value(value) {}

CValue* CValueDouble::Clone(EnTfOwnership strategy) const {
    auto clone = std::make_unique<CValueDouble>(m_value);
    clone->CopyMeta(*this, strategy, false);
    return clone.release();
}

CValue& CValueDouble::Copy(const CValue& source, EnTfOwnership strategy, bool mergesMeta) {
    CValue::Copy(source, strategy, mergesMeta);
    m_value = source.Double();
    return *this;
}

bool CValueDouble::Equal(const CValue& other) const {
    return CValue::Equal(other) && m_value == other.Double();
}

CValue::EnValType CValueDouble::GenericType() const { return VAL_DOUBLE; }

} // namespace ORVEN
