#include "sorblib2core/CValue.h"

#include "sorblib2core/AreTypesEqual.h"
#include "sorblib2core/CExBadType.h"
#include "sorblib2core/CString.h"
#include "sorblib2core/CValueMap.h"
#include "sorblib2core/CValueVector.h"

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

CValue& CValue::Copy(const CValue& source, EnTfOwnership strategy, bool mergesMeta) {
    RequireSameKind(source, "ORVEN::CValue::Copy");
    return CopyMeta(source, strategy, mergesMeta);
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

CValue& CValue::CopyMeta(const CValue& source, EnTfOwnership strategy, bool mergesMeta) {
    if (&source != this) {
        auto fresh = ClonedMeta(source, strategy);
        TakeMeta(fresh, mergesMeta);
    }
    return *this;
}

std::unique_ptr<CValueMap> CValue::ClonedMeta(const CValue& source, EnTfOwnership strategy) {
    std::unique_ptr<CValueMap> clones;
    if (source.m_meta && !source.m_meta->IsEmpty()) {
        clones = std::make_unique<CValueMap>();
        clones->Copy(*source.m_meta, strategy, false);
    }
    return clones;
}

void CValue::TakeMeta(std::unique_ptr<CValueMap>& fresh, bool mergesMeta) noexcept {
    if (!mergesMeta || !m_meta)
        m_meta.swap(fresh);
    else if (fresh)
        m_meta->TakeEntries(*fresh);
}

void CValue::GiveBack(CValue& clone, const CValue& original) noexcept {
    if (clone.GenericType() != original.GenericType())
        return;
    if (const CValuePointerBase* pointer = original.Pointer()) {
        // The meta entries of a pointer are always cloned without ownership.
        if (clone.Pointer()->IsOwner()) {
            pointer->SetOwner(true);
            clone.Pointer()->SetOwner(false);
        }
        return;
    }
    if (clone.m_meta && original.m_meta)
        GiveBack(*clone.m_meta, *original.m_meta);
    if (const CValueMap* map = original.Map()) {
        auto from = map->begin();
        for (auto to = clone.Map()->begin(); to != clone.Map()->end(); ++to, ++from) {
            if (*to != nullptr)
                GiveBack(const_cast<CValue&>(**to), **from);
        }
    } else if (const CValueVector* vector = original.Vector()) {
        for (std::size_t i = 0; i < clone.Vector()->size(); ++i) {
            if ((*clone.Vector())[i] != nullptr)
                GiveBack(*(*clone.Vector())[i], *(*vector)[i]);
        }
    }
}

void CValue::RequireSameKind(const CValue& source, const char* function) const {
    if (GenericType() != source.GenericType() ||
        (GenericType() == VAL_POINTER && !AreTypesEqual(ElementType(), source.ElementType())))
        throw CExBadType(Impl::Here(function), &source);
}

} // namespace ORVEN
