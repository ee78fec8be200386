#include "QuillonIo/CCsvOStreamColumnTable.h"

#include <sorblib2core/CValueMap.h>

#include <charconv>
#include <string_view>

namespace ORVEN {

namespace {

bool IsNumber(std::string_view text) {
    double number = 0.0;
    const std::from_chars_result end = std::from_chars(text.begin(), text.end(), number);
    return !text.empty() && end.ec == std::errc() && end.ptr == text.end();
}

} // namespace

void CCsvOStreamColumnTable::BeginLine(bool& isFirst) {
    if (!isFirst)
        EndLine(std::endl);
    isFirst = false;
}

CCsvOStreamColumnTable& CCsvOStreamColumnTable::operator<<(const BindValueMap& table) {
    bool isFirst = true;
    if (table.hasTitles) {
        BeginLine(isFirst);
        WriteText(table.keyTitle);
        WriteText(table.valueTitle);
    }
    if (table.map == nullptr)
        return *this;
    for (auto entry = table.map->begin(); entry != table.map->end(); ++entry) {
        const CValue* value = entry.Value();
        if (value->Map() != nullptr || value->Vector() != nullptr)
            continue;
        BeginLine(isFirst);
        const std::string_view key = entry.Key().ToString();
        WriteText(key, !table.hasPlainNumbers || !IsNumber(key));
        WriteLeaf(value);
    }
    return *this;
}

} // namespace ORVEN
