#pragma once

#include "sorblib2core/CValueMap.h"
#include "sorblib2core/CValueVector.h"

#include <string>

namespace ORVEN {

/// Calls `visit(path, leaf)` for every leaf of a value, depth first: maps in key order, vectors in index
/// order. The path leads from the value to the leaf, with its steps joined by "/"; it is empty if the value
/// is itself a leaf. An empty container has no leaves. An empty place in a vector is a null leaf.
///
/// Titles and rows of a table are both written with this traversal, so that they match.
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
