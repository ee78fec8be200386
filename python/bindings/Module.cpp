#include "python/bindings/Bindings.h"
#include "python/bindings/CQuietStreams.h"

PYBIND11_MODULE(_core, module) {
    using namespace quillon_python;
    module.doc() = "The engine. Use the package quillon, not this module.";
    InstallQuietStreams();
    AddErrors();
    AddImages(module);
    AddFiles(module);
    AddCatalogues(module);
    AddMeasurements(module);
    AddRuns(module);
    AddBlocks(module);
}
