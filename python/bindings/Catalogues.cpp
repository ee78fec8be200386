#include "engine/catalogue/NearestWord.h"
#include "python/bindings/Bindings.h"
#include "python/bindings/CPackAccess.h"

#include <pybind11/stl.h>

namespace quillon_python {

namespace py = pybind11;

namespace {

std::vector<std::string> PluginNames() {
    const py::gil_scoped_release unlocked;
    return CPackAccess::Instance().With([](engine::CPackSet& packs) {
        std::vector<std::string> names;
        for (const engine::StCatalogueEntry* const entry : packs.Entries())
            names.push_back(entry->name);
        return names;
    });
}

/// The catalogue entry as JSON; nothing if no catalogue describes the plug-in. Raises if no pack has it.
std::optional<std::string> Entry(const std::string& plugin, const std::optional<std::string>& pack) {
    const py::gil_scoped_release unlocked;
    const engine::StFoundPlugin found = CPackAccess::Instance().Find(plugin, pack);
    return found.entry != nullptr ? std::optional(found.entry->source.Text()) : std::nullopt;
}

std::string Nearest(const std::string& word, const std::vector<std::string>& candidates) {
    return engine::NearestWord(word, candidates);
}

} // namespace

void AddCatalogues(py::module_& module) {
    module.def("plugin_names", &PluginNames);
    module.def("catalogue_entry", &Entry);
    module.def("nearest", &Nearest);
}

} // namespace quillon_python
