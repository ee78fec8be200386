#include "sorblib2core/CValue.h"

#include "sorblib2core/AreTypesEqual.h"
#include "sorblib2core/CExBadType.h"
#include "sorblib2core/CString.h"
#include "sorblib2core/CValueMap.h"

namespace ORVEN {

CValue::CValue() = default;

CValue::~CValue() = default;

CValue::CValue(const CValue& other)
    : m_meta(other.m_meta ? std::make_unique<CValueMap>(*other.m_meta) : nullptr) {}

bool& CValue::Bool() { throw CExBadType(Impl::Here("ORVEN::CValue::Bool"), this); }

bool CValue::Bool() const { throw CExBadType(Impl::Here("ORVEN::CValue::Bool"), this); }

std::int32_t CValue::Long() const { throw CExBadType(Impl::Here("ORVEN::CValue::Long"), this); }

std::int32_t& CValue::Long() { throw CExBadType(Impl::Here("ORVEN::CValue::Long"), this); }

double CValue::Double() const { throw CExBadType(Impl::Here("ORVEN::CValue::Double"), this); }

double& CValue::Double() { throw CExBadType(Impl::Here("ORVEN::CValue::Double"), this); }

const CString& CValue::String() const { throw CExBadType(Impl::Here("ORVEN::CValue::String"), this); }

CString& CValue::String() { throw CExBadType(Impl::Here("ORVEN::CValue::String"), this); }

const CValueMap* CValue::Map() const { return nullptr; }

CValueMap* CValue::Map() { return nullptr; }

const CValueVector* CValue::Vector() const { return nullptr; }

CValueVector* CValue::Vector() { return nullptr; }

const CValuePointerBase* CValue::Pointer() const { return nullptr; }

CValuePointerBase* CValue::Pointer() { return nullptr; }

CValue& CValue::Copy(const CValue& source, EnTfOwnership strategy, bool mergeMeta) {
    RequireSameKind(source, "ORVEN::CValue::Copy");
    return CopyMeta(source, strategy, mergeMeta);
}

CValue& CValue::Move(CValue& source) { return Copy(source, TF_MOVE, false); }

bool CValue::Equal(const CValue& other) const { return GenericType() == other.GenericType(); }

bool CValue::EqualData(const CValue& other) const { return Equal(other); }

const std::type_info& CValue::Type() const { return typeid(*this); }

CValue::EnValType CValue::GenericType() const { return VAL_NONE; }

const std::type_info& CValue::ElementType() const { return Type(); }

bool CValue::IsLink() const { return false; }

bool CValue::IsValid() const { return true; }

const CValueMap& CValue::Meta() const {
    static const CValueMap none;
    return m_meta ? *m_meta : none;
}

CValueMap& CValue::Meta() {
    if (!m_meta)
        m_meta = std::make_unique<CValueMap>();
    return *m_meta;
}

void CValue::SetString(const char* /*text*/, std::size_t /*length*/) {
    throw CExBadType(Impl::Here("ORVEN::CValue::SetString"), this);
}

const void* CValue::VoidPointer() const { return nullptr; }

void* CValue::VoidPointer() { return nullptr; }

CValue& CValue::CopyMeta(const CValue& source, EnTfOwnership strategy, bool mergeMeta) {
    if (&source == this)
        return *this;
    if (!mergeMeta)
        m_meta.reset();
    if (source.m_meta && !source.m_meta->IsEmpty()) {
        for (auto entry = source.m_meta->begin(); entry != source.m_meta->end(); ++entry)
            Meta().SetEntry(entry.Key(), entry.Value()->Clone(strategy));
    }
    return *this;
}

void CValue::RequireSameKind(const CValue& source, const char* function) const {
    if (GenericType() != source.GenericType() ||
        (GenericType() == VAL_POINTER && !AreTypesEqual(ElementType(), source.ElementType())))
        throw CExBadType(Impl::Here(function), &source);
}

} // namespace ORVEN
