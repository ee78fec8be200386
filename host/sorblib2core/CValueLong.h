#pragma once

#include "sorblib2core/CValue.h"

namespace ORVEN {

/// A 32-bit integer on every platform.
class CValueLong : public CValue {
public:
    explicit CValueLong(std::int32_t value);

    using CValue::Double; // there is no double to refer to: the non-const overload raises
    std::int32_t& Long() override { return m_value; }
    std::int32_t Long() const override { return m_value; }
    double Double() const override { return m_value; }
    CValue* Clone(EnTfOwnership strategy) const override;
    CValue& Copy(const CValue& source, EnTfOwnership strategy, bool mergesMeta) override;
    bool Equal(const CValue& other) const override;
    EnValType GenericType() const override;

private:
    std::int32_t m_value;
};

} // namespace ORVEN
