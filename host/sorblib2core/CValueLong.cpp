#include "sorblib2core/CValueLong.h"

namespace ORVEN {

CValueLong::CValueLong(std::int32_t value)
    : m_value(value) {}

CValue* CValueLong::Clone(EnTfOwnership strategy) const {
    auto clone = std::make_unique<CValueLong>(m_value);
    clone->CopyMeta(*this, strategy, false);
    return clone.release();
}

CValue& CValueLong::Copy(const CValue& source, EnTfOwnership strategy, bool mergesMeta) {
    CValue::Copy(source, strategy, mergesMeta);
    m_value = source.Long();
    return *this;
}

bool CValueLong::Equal(const CValue& other) const { return CValue::Equal(other) && m_value == other.Long(); }

CValue::EnValType CValueLong::GenericType() const { return VAL_LONG; }

} // namespace ORVEN
