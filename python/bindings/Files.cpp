#include "engine/files/ImageFile.h"
#include "engine/files/OutputChecks.h"
#include "python/bindings/Bindings.h"
#include "python/bindings/CPythonImage.h"

namespace quillon_python {

namespace py = pybind11;

namespace {

/// `reading` is JSON as in a step of a chain: {"as": "grey8", "region": [[0, 9], [0, 9]]}.
CPythonImage Read(const std::string& path, const std::string& reading) {
    const py::gil_scoped_release unlocked;
    const engine::StInputReading options = engine::InputReadingOf(engine::CJson::ParseOrRaise(reading));
    engine::StInputFile file = engine::HashedImage(path, options);
    std::shared_ptr<ORVEN::CImage> image = engine::ReadInput(path, options);
    return CPythonImage(std::move(image), std::move(file));
}

/// The shape of the image in a file, in the order of an array, and how many channels and time points there
/// are.
py::tuple Outline(const std::string& path) {
    engine::StImageOutline outline;
    {
        const py::gil_scoped_release unlocked;
        outline = engine::ReadImageOutline(path);
    }
    return py::make_tuple(ShapeOf(outline.size), outline.channels, outline.times);
}

void Write(const std::string& path, const CPythonImage& image) {
    const py::gil_scoped_release unlocked;
    engine::RequireWritableImage(path);
    engine::WriteImage(image.Image(), path);
}

} // namespace

void AddFiles(py::module_& module) {
    module.def("read", &Read);
    module.def("outline", &Outline);
    module.def("write", &Write);
}

} // namespace quillon_python
