#pragma once

#include <string>

namespace ORVEN {

/// The name of an entry in a container, or a path to an entry further down: "output/documents/add/0".
///
/// Steps are separated by "/". A step names an entry of a map; a decimal step can also be the index in a
/// vector.
class CValue_Key {
public:
    CValue_Key() = default;
    /// Implicit, so that containers accept string literals as keys. Null counts as the empty key.
    CValue_Key(const char* path);
    CValue_Key(const std::string& path);
    /// The entry of a vector at `index`.
    CValue_Key(int index);

    [[nodiscard]] const char* ToString() const { return m_path.c_str(); }

    friend bool operator==(const CValue_Key& a, const CValue_Key& b) { return a.m_path == b.m_path; }
    friend bool operator<(const CValue_Key& a, const CValue_Key& b) { return a.m_path < b.m_path; }

private:
    std::string m_path;
};

} // namespace ORVEN
