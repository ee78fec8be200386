#pragma once

#include "sorblib2core/CString.h"
#include "sorblib2core/CValue.h"

namespace ORVEN {

/// A text value.
class CValueString : public CValue {
public:
    /// Takes the first `length` bytes of `text`, or all of it for `CString::NPOS`. Null counts as empty.
    CValueString(const char* text, std::size_t length);
    explicit CValueString(const CString& text);

    const CString& String() const override { return m_text; }
    CString& String() override { return m_text; }
    void SetString(const char* text, std::size_t length) override;
    CValue* Clone(EnTfOwnership strategy) const override;
    CValue& Copy(const CValue& source, EnTfOwnership strategy, bool mergesMeta) override;
    bool Equal(const CValue& other) const override;
    EnValType GenericType() const override;

private:
    CString m_text;
};

} // namespace ORVEN
