#pragma once

#include "sorblib2core/CValueMap.h"
#include "sorblib2core/CValueVector.h"

#include <string>

namespace ORVEN {

/// Shows every leaf of a value to `visit(path, leaf)`, depth first, maps in the order of their keys and
/// vectors in that of their places. The path is that from the value to the leaf, its steps joined by "/"; it
/// is empty for a value that is a leaf itself. An empty container has no leaf, and an empty place of a vector
/// is the leaf null.
///
/// Titles and rows of a table are both written by this walk, so that they line up.
template <class Visit>
void ForEachLeaf(const CValue* value, const std::string& path, const Visit& visit) {
    const auto step = [&](const std::string& name, const CValue* child) {
        ForEachLeaf(child, path.empty() ? name : path + "/" + name, visit);
    };
    if (value != nullptr && value->Map() != nullptr) {
        const CValueMap& map = *value->Map();
        for (auto entry = map.begin(); entry != map.end(); ++entry)
            step(entry.Key().ToString(), entry.Value());
    } else if (value != nullptr && value->Vector() != nullptr) {
        const CValueVector& vector = *value->Vector();
        for (std::size_t place = 0; place < vector.size(); ++place)
            step(std::to_string(place), vector[place]);
    } else {
        visit(path, value);
    }
}

} // namespace ORVEN
