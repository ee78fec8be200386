#include "validate/drive/CWatchedMap.h"

#include <memory>
#include <utility>

namespace validate {

using namespace ORVEN;

CWatchedMap::CWatchedMap(std::set<std::string>& asked, std::string prefix)
    : m_asked(asked)
    , m_prefix(std::move(prefix)) {}

CValue* CWatchedMap::Entry(const CValue_Key& key, bool followsLinks) const {
    m_asked.insert(m_prefix + key.ToString());
    return CValueMap::Entry(key, followsLinks);
}

CValue* CWatchedMap::Entry(const CValue_Key& key, bool followsLinks) {
    m_asked.insert(m_prefix + key.ToString());
    return CValueMap::Entry(key, followsLinks);
}

const std::type_info& CWatchedMap::Type() const { return typeid(CValueMap); }

const CValue* CWatchedMap::_Deref(const const_iterator& position) const {
    m_asked.insert(m_prefix + position.Key().ToString());
    return CValueMap::_Deref(position);
}

CWatchedMap* NewWatched(const CValueMap& map, std::set<std::string>& asked, const std::string& prefix) {
    auto watched = std::make_unique<CWatchedMap>(asked, prefix);
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        const std::string key = entry.Key().ToString();
        const CValue* const value = entry.Value();
        if (const CValueMap* inner = value->Map())
            watched->SetEntry(key, NewWatched(*inner, asked, prefix + key + "/"));
        else
            watched->SetEntry(key, value->Clone(CValue::TF_KEEP));
    }
    return watched.release();
}

} // namespace validate
