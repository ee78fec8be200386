#pragma once

#include "sorblib2core/CValue.h"

namespace ORVEN {

/// A Boolean value.
class CValueBool : public CValue {
public:
    explicit CValueBool(bool value);

    bool& Bool() override { return m_value; }
    bool Bool() const override { return m_value; }
    CValue* Clone(EnTfOwnership strategy) const override;
    CValue& Copy(const CValue& source, EnTfOwnership strategy, bool mergesMeta) override;
    bool Equal(const CValue& other) const override;
    EnValType GenericType() const override;

private:
    bool m_value;
};

} // namespace ORVEN
