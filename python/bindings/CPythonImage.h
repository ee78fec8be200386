#pragma once

#include "engine/run/PluginRun.h"

#include <pybind11/numpy.h>
#include <sorblib2image/CImage.h>

#include <memory>
#include <string>

namespace quillon_python {

/// The extents in the order of an array.
pybind11::tuple ShapeOf(const ORVEN::CSize& size);

/// An image as Python holds it. Pixels belong to the image or, for one made of an array, to that array.
/// Arrays over the pixels keep this object alive.
class CPythonImage {
public:
    explicit CPythonImage(std::shared_ptr<ORVEN::CImage> image, engine::StInputFile file = {});
    /// An image over the memory of a contiguous array, which is kept alive. `type` is a word such as "grey8"
    /// whose pixels have the size of the array's items.
    CPythonImage(const pybind11::array& array, const std::string& type);

    /// Another image of the same pixels with a copy of the attributes. Pointers in attributes are left out,
    /// as they are in a file.
    [[nodiscard]] CPythonImage Shared() const;

    [[nodiscard]] ORVEN::CImage& Image() const { return *m_image; }
    [[nodiscard]] std::shared_ptr<ORVEN::CImage> Pointer() const { return m_image; }
    /// The file that it was read from; nameless for any other image.
    [[nodiscard]] const engine::StInputFile& File() const { return m_file; }

    /// The pixels as an array that keeps `self`, this object, alive.
    static pybind11::array Array(const pybind11::object& self);

    [[nodiscard]] std::string Type() const;
    [[nodiscard]] pybind11::tuple Shape() const;
    [[nodiscard]] std::string Attributes() const;
    void SetAttributes(const std::string& json);

private:
    std::shared_ptr<ORVEN::CImage> m_image;
    pybind11::object m_owner; // of the pixels, if they are not the image's
    engine::StInputFile m_file;
};

} // namespace quillon_python
