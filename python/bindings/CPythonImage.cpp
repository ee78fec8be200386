#include "python/bindings/CPythonImage.h"

#include "engine/errors/CEngineError.h"
#include "engine/files/ImageWords.h"
#include "engine/files/ValueJson.h"
#include "engine/pictures/StPicture.h"
#include "python/bindings/Bindings.h"

#include <pybind11/stl.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/ImageView.h>
#include <sorblib2image/StImageGeometry.h>

#include <utility>
#include <vector>

namespace quillon_python {

namespace py = pybind11;
using namespace ORVEN;

namespace {

CSize SizeOf(const py::array& array) {
    if (array.ndim() == 2)
        return {array.shape(1), array.shape(0)};
    return {array.shape(2), array.shape(1), array.shape(0)};
}

/// A view of the pixels of another image. One with a border is copied: a view cannot carry a position.
std::shared_ptr<CImage> ViewOf(const std::shared_ptr<CImage>& image) {
    const std::unique_ptr<IImage::IAccess> access(image->CreateAccess(false));
    Impl::LockWhole(*access, image->Size(), IImage::LOCK_READ_WRITE);
    const CPos strides = access->Strides();
    const std::int64_t bytes = image->Type().PixelSize();
    const bool isPlane = image->Size().Dim() < 3;
    if (strides.y != image->Size().x * bytes || (!isPlane && strides.z != image->Size().y * strides.y))
        return std::make_shared<CImage>(*image);
    const CSize border = isPlane ? CSize(0, 0) : CSize(0, 0, 0);
    auto* const view = new CImage(image->Type(), image->Size(), static_cast<unsigned char*>(access->Data()),
                                  nullptr, nullptr, border);
    return {view, [image](CImage* made) { delete made; }};
}

const char* DtypeOf(const IImage::CType& type) {
    if (type.IsBinary())
        return "?";
    if (type == IMAGE_GREY_F)
        return "f4";
    if (type == IMAGE_COMPLEX_F)
        return "c8";
    return type.PixelSize() == 1 ? "u1" : type.PixelSize() == 2 ? "u2" : "u4";
}

} // namespace

CPythonImage::CPythonImage(std::shared_ptr<CImage> image, engine::StInputFile file)
    : m_image(std::move(image))
    , m_file(std::move(file)) {}

CPythonImage::CPythonImage(const py::array& array, const std::string& type)
    : m_owner(array) {
    const auto known = engine::PixelTypeOfWord(type);
    if (!known || static_cast<py::ssize_t>(known->PixelSize()) != array.itemsize())
        throw engine::CCallerError("an array of this type is not an image of type '" + type + "'");
    // Plug-ins leave the pixels of their inputs as they are, so the array may be read-only.
    auto* const pixels = const_cast<unsigned char*>(static_cast<const unsigned char*>(array.data()));
    const CSize border = array.ndim() == 2 ? CSize(0, 0) : CSize(0, 0, 0);
    m_image = std::make_shared<CImage>(*known, SizeOf(array), pixels, nullptr, nullptr, border);
}

CPythonImage CPythonImage::Shared() const {
    CPythonImage shared(ViewOf(m_image), m_file);
    shared.m_owner = m_owner;
    shared.SetAttributes(Attributes());
    return shared;
}

py::array CPythonImage::Array(const py::object& self) {
    const CImage& image = self.cast<const CPythonImage&>().Image();
    const std::unique_ptr<const IImage::IAccess> access(image.CreateAccess(false));
    Impl::LockWhole(*access, image.Size(), IImage::LOCK_READ);
    const CPos steps = access->Strides();
    std::vector<py::ssize_t> shape{image.Size().y, image.Size().x};
    std::vector<py::ssize_t> strides{steps.y, steps.x};
    if (image.Size().Dim() > 2) {
        shape.insert(shape.begin(), image.Size().z);
        strides.insert(strides.begin(), steps.z);
    }
    return {py::dtype(DtypeOf(image.Type())), shape, strides, access->ConstData(), self};
}

std::string CPythonImage::Type() const { return engine::WordOfPixelType(m_image->Type()); }

py::tuple ShapeOf(const CSize& size) {
    return size.Dim() > 2 ? py::make_tuple(size.z, size.y, size.x) : py::make_tuple(size.y, size.x);
}

py::tuple CPythonImage::Shape() const { return ShapeOf(m_image->Size()); }

std::string CPythonImage::Attributes() const { return engine::ToJson(m_image->Attributes()).Text(); }

void CPythonImage::SetAttributes(const std::string& json) {
    const std::unique_ptr<CValue> values = engine::FromJson(engine::CJson::ParseOrRaise(json));
    m_image->Attributes().Clear();
    if (values != nullptr && values->Map() != nullptr)
        CQuillonHeaderTools::SetAttributes(*m_image, *values->Map());
}

namespace {

/// The middle plane as (width, height, pixels in red, green, blue).
py::tuple Picture(const CPythonImage& image) {
    const engine::StPicture picture = engine::MakePicture(image.Image(), {});
    return py::make_tuple(picture.width, picture.height,
                          py::bytes(reinterpret_cast<const char*>(picture.rgb.data()), picture.rgb.size()));
}

std::optional<std::vector<double>> Spacing(const CPythonImage& image) {
    const auto spacing = StImageGeometry::Of(image.Image()).spacing;
    return spacing ? std::optional(std::vector<double>(spacing->begin(), spacing->end())) : std::nullopt;
}

void SetSpacing(const CPythonImage& image, const std::optional<std::array<double, 3>>& spacing) {
    StImageGeometry geometry = StImageGeometry::Of(image.Image());
    geometry.spacing = spacing;
    geometry.Store(image.Image());
}

void SetUnit(const CPythonImage& image, const std::string& unit) {
    StImageGeometry geometry = StImageGeometry::Of(image.Image());
    geometry.unit = unit;
    geometry.Store(image.Image());
}

} // namespace

void AddImages(py::module_& module) {
    py::class_<CPythonImage>(module, "Image")
        .def(py::init<const py::array&, const std::string&>())
        .def("shared", &CPythonImage::Shared)
        .def("array", &CPythonImage::Array)
        .def("picture", &Picture)
        .def_property_readonly("type", &CPythonImage::Type)
        .def_property_readonly("shape", &CPythonImage::Shape)
        .def_property("attributes", &CPythonImage::Attributes, &CPythonImage::SetAttributes)
        .def_property("spacing", &Spacing, &SetSpacing)
        .def_property(
            "unit", [](const CPythonImage& image) { return StImageGeometry::Of(image.Image()).unit; },
            &SetUnit);
}

} // namespace quillon_python
