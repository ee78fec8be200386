#include "sorblib2core/CValueMap.h"

#include "sorblib2core/CString.h"

#include <algorithm>

namespace ORVEN {

template class CValuePointer<CValueMap>;
template class CValueOwnedPointer<CValueMap>;

CValueMap::CValueMap() = default;

CValueMap::CValueMap(const CValueMap& other)
    : CValueContainerBase(other)
    , IPluginObject(other) {
    for (const auto& [key, value] : other.m_entries)
        m_entries[key].reset(value->Clone(TF_NONE));
}

CValueMap::~CValueMap() = default;

CValueMap* CValueMap::NewObject() const { return new CValueMap; }

const CValue* CValueMap::_Deref(const const_iterator& position) const {
    return position.m_position->second.get();
}

void CValueMap::_IncDec(const_iterator& position, bool isForward) const {
    if (isForward)
        ++position.m_position;
    else
        --position.m_position;
}

CValue* CValueMap::Clone(EnTfOwnership strategy) const {
    std::unique_ptr<CValueMap> clone(NewObject());
    clone->Copy(*this, strategy, false);
    return clone.release();
}

CValue& CValueMap::Copy(const CValue& source, EnTfOwnership strategy, bool mergesMeta) {
    if (&source == this)
        return *this;
    RequireSameKind(source, "ORVEN::CValue::Copy");
    CValueMap staged;
    std::unique_ptr<CValueMap> meta;
    try {
        for (const auto& [key, value] : source.Map()->m_entries)
            staged.m_entries[key].reset(value->Clone(strategy)); // place first, so that no clone can leak
        meta = ClonedMeta(source, strategy);
    } catch (...) {
        GiveBack(staged, source);
        throw;
    }
    // The source may be one of the old entries, so these are destroyed last.
    m_entries.swap(staged.m_entries);
    TakeMeta(meta, mergesMeta);
    return *this;
}

void CValueMap::TakeEntries(CValueMap& fresh) noexcept {
    fresh.m_entries.merge(m_entries);
    m_entries.swap(fresh.m_entries);
}

bool CValueMap::Equal(const CValue& other) const {
    return CValue::Equal(other) && Size() == other.Map()->Size() && IsSubset(*other.Map());
}

bool CValueMap::EqualData(const CValue& other) const {
    return CValue::Equal(other) &&
           std::equal(m_entries.begin(), m_entries.end(), other.Map()->m_entries.begin(),
                      other.Map()->m_entries.end(), [](const auto& a, const auto& b) {
                          return a.first == b.first && a.second->EqualData(*b.second);
                      });
}

CValue::EnValType CValueMap::GenericType() const { return VAL_MAP; }

unsigned CValueMap::Size() const { return static_cast<unsigned>(m_entries.size()); }

template <class Matches>
CValue_Key CValueMap::FindIf(const CValue_Key& after, const Matches& matches) const {
    auto entry = after == CValue_Key() ? m_entries.begin() : m_entries.upper_bound(after);
    entry = std::find_if(entry, m_entries.end(),
                         [&](const auto& candidate) { return matches(*candidate.second); });
    return entry != m_entries.end() ? entry->first : CValue_Key();
}

CValue_Key CValueMap::Find(const char* text, const CValue_Key& after) const {
    return FindIf(after, [text](const CValue& value) {
        return value.GenericType() == VAL_STRING && value.String() == text;
    });
}

CValue_Key CValueMap::Find(const CValue& wanted, const CValue_Key& after) const {
    return FindIf(after, [&wanted](const CValue& value) { return value.Equal(wanted); });
}

bool CValueMap::TestInterface(const CString& name) {
    return name == "CValueMap" || IPluginObject::TestInterface(name);
}

bool CValueMap::IsEmpty() const { return m_entries.empty(); }

void CValueMap::Clear() { m_entries.clear(); }

std::list<CValue_Key> CValueMap::Keys() const {
    std::list<CValue_Key> keys;
    for (const auto& entry : m_entries)
        keys.push_back(entry.first);
    return keys;
}

bool CValueMap::IsSubset(const CValueMap& other) const {
    return std::all_of(m_entries.begin(), m_entries.end(), [&other](const auto& entry) {
        const auto found = other.m_entries.find(entry.first);
        return found != other.m_entries.end() && entry.second->Equal(*found->second);
    });
}

CValueMap::const_iterator CValueMap::begin() const { return {*this, m_entries.begin()}; }

CValueMap::const_iterator CValueMap::end() const { return {*this, m_entries.end()}; }

CValue* CValueMap::DirectEntry(std::string_view step) const {
    const auto entry = m_entries.find(CValue_Key(std::string(step)));
    return entry != m_entries.end() ? entry->second.get() : nullptr;
}

void CValueMap::SetDirectEntry(std::string_view step, std::unique_ptr<CValue> value) {
    m_entries[CValue_Key(std::string(step))] = std::move(value);
}

std::unique_ptr<CValue> CValueMap::DetachDirectEntry(std::string_view step) {
    auto node = m_entries.extract(CValue_Key(std::string(step)));
    return node ? std::move(node.mapped()) : nullptr;
}

} // namespace ORVEN
