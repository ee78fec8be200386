#include "plugin/PluginFactory.h"

#include <algorithm>

namespace quillon::factory {

void* CreateByName(std::span<const StRow> rows, const char* name) {
    if (name == nullptr)
        return nullptr;
    const auto row = std::ranges::find(rows, std::string_view(name), &StRow::name);
    return row != rows.end() ? row->create() : nullptr;
}

} // namespace quillon::factory
