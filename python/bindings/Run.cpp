#include "python/bindings/Bindings.h"
#include "python/bindings/CPreparedRun.h"
#include "python/bindings/RunOutcome.h"

#include <pybind11/functional.h>
#include <pybind11/stl.h>

#include <functional>
#include <tuple>

namespace quillon_python {

namespace py = pybind11;
using namespace engine;

namespace {

using OnFindings = std::function<void(const std::vector<std::tuple<int, std::string, std::string>>&)>;

/// Runs a plug-in. `onFindings` takes what is questionable about the parameters, and may raise. The image is
/// given attributes if the plug-in measures it.
py::dict Run(const StRunRequest& request, const py::object& progress, const OnFindings& onFindings) {
    std::optional<CPreparedRun> run;
    std::vector<std::tuple<int, std::string, std::string>> findings;
    {
        const py::gil_scoped_release unlocked;
        run.emplace(request);
        for (const StFinding& finding : run->Findings())
            findings.emplace_back(finding.kind, finding.key, finding.message);
    }
    onFindings(findings);
    StPythonSide side{progress};
    std::optional<StRunRecord> record;
    std::string printed;
    {
        const py::gil_scoped_release unlocked;
        record = run->Perform(side, printed);
    }
    if (side.error)
        throw py::error_already_set(*side.error);
    py::dict result = OutcomeOf(*run, *record);
    result["printed"] = py::bytes(printed).attr("decode")("utf-8", "replace");
    return result;
}

} // namespace

void AddRuns(py::module_& module) {
    py::class_<StRunRequest>(module, "Request")
        .def(py::init([](std::string plugin, std::optional<std::string> pack, const CPythonImage& image) {
            return StRunRequest{std::move(plugin), std::move(pack), image};
        }))
        .def_readwrite("label", &StRunRequest::label)
        .def_readwrite("parameters", &StRunRequest::parameters)
        .def_readwrite("settings", &StRunRequest::settings)
        .def_readwrite("images", &StRunRequest::images)
        .def_readwrite("has_dialogs", &StRunRequest::hasDialogs)
        .def_readwrite("answers", &StRunRequest::answers)
        .def_readwrite("file", &StRunRequest::file)
        .def_readwrite("threads", &StRunRequest::threads);
    module.def("run", &Run);
}

} // namespace quillon_python
