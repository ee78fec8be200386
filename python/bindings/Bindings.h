#pragma once

#include <pybind11/pybind11.h>

/// The module `quillon._core`: what the Python package needs of the engine. One source per concern; the
/// interface for users is written in Python above it.
namespace quillon_python {

void AddErrors();
void AddImages(pybind11::module_& module);
void AddFiles(pybind11::module_& module);
void AddBlocks(pybind11::module_& module);
void AddCatalogues(pybind11::module_& module);
void AddMeasurements(pybind11::module_& module);
void AddRuns(pybind11::module_& module);

} // namespace quillon_python
