#include "sorblib2core/CValueString.h"

#include <utility>

namespace ORVEN {

CValueString::CValueString(const char* text, std::size_t length) { CValueString::SetString(text, length); }

CValueString::CValueString(const CString& text)
    : m_text(text) {}

void CValueString::SetString(const char* text, std::size_t length) {
    if (text == nullptr)
        m_text = CString();
    else
        m_text = CString(length == CString::NPOS ? std::string(text) : std::string(text, length));
}

CValue* CValueString::Clone(EnTfOwnership strategy) const {
    auto clone = std::make_unique<CValueString>(m_text);
    clone->CopyMeta(*this, strategy, false);
    return clone.release();
}

CValue& CValueString::Copy(const CValue& source, EnTfOwnership strategy, bool mergesMeta) {
    RequireSameKind(source, "ORVEN::CValue::Copy");
    CString text = source.String();
    CopyMeta(source, strategy, mergesMeta);
    m_text = std::move(text);
    return *this;
}

bool CValueString::Equal(const CValue& other) const {
    return CValue::Equal(other) && m_text == other.String();
}

CValue::EnValType CValueString::GenericType() const { return VAL_STRING; }

} // namespace ORVEN
