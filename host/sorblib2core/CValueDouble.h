#pragma once

#include "sorblib2core/CValue.h"

namespace ORVEN {

/// A floating-point number.
class CValueDouble : public CValue {
public:
    explicit CValueDouble(double value);

    double& Double() override { return m_value; }
    double Double() const override { return m_value; }
    CValue* Clone(EnTfOwnership strategy) const override;
    CValue& Copy(const CValue& source, EnTfOwnership strategy, bool mergesMeta) override;
    bool Equal(const CValue& other) const override;
    EnValType GenericType() const override;

private:
    double m_value;
};

} // namespace ORVEN
