#include "engine/errors/CEngineError.h"
#include "python/bindings/Bindings.h"

#include <sorblib2core/CException.h>

namespace quillon_python {

namespace py = pybind11;

namespace {

const char* NameOf(engine::EnFault fault) {
    switch (fault) {
    case engine::EnFault::CALLER:
        return "ArgumentError";
    case engine::EnFault::PLUGIN:
        return "PluginError";
    case engine::EnFault::FILE:
    case engine::EnFault::MACHINE:
        break;
    }
    return "FileError";
}

void Raise(const char* name, const std::string& message) {
    const py::object type = py::module_::import("quillon._errors").attr(name);
    PyErr_SetString(type.ptr(), message.c_str());
}

} // namespace

void AddErrors() {
    // NOLINTNEXTLINE(performance-unnecessary-value-param): pybind11 states the type.
    py::register_exception_translator([](std::exception_ptr raised) {
        try {
            if (raised)
                std::rethrow_exception(raised);
        } catch (const engine::CEngineError& error) {
            Raise(NameOf(error.Fault()), error.what());
        } catch (const ORVEN::CException& error) {
            Raise("Error", error.Message());
        }
    });
}

} // namespace quillon_python
