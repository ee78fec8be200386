#pragma once

#include <sorblib2core/CValueMap.h>

#include <set>
#include <string>

namespace validate {

/// A map that notes which of its entries it is asked for. To whoever reads it, it is a plain map.
class CWatchedMap : public ORVEN::CValueMap {
public:
    /// Notes are paths with the prefix. `asked` must outlive the map.
    CWatchedMap(std::set<std::string>& asked, std::string prefix);

    ORVEN::CValue* Entry(const ORVEN::CValue_Key& key, bool followsLinks) const override;
    ORVEN::CValue* Entry(const ORVEN::CValue_Key& key, bool followsLinks) override;
    [[nodiscard]] const std::type_info& Type() const override;

protected:
    /// Who goes through all entries has asked for each.
    const ORVEN::CValue* _Deref(const const_iterator& position) const override;

private:
    std::set<std::string>& m_asked;
    std::string m_prefix;
};

/// Moves the entries of a map, and of the maps below it, into a watched one.
CWatchedMap* NewWatched(const ORVEN::CValueMap& map, std::set<std::string>& asked, const std::string& prefix);

} // namespace validate
