#include "engine/catalogue/BlockMargin.h"
#include "engine/errors/CEngineError.h"
#include "engine/files/ValueJson.h"
#include "python/bindings/Bindings.h"
#include "python/bindings/CPythonImage.h"

#include <QuillonBase/CThreadLimit.h>
#include <QuillonFilterOrientations/CFiberBlocks.h>
#include <QuillonMeasurement/FieldFeaturesOverGreyValues.h>
#include <QuillonTransformation/distance/CLowerEnvelope.h>
#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <cmath>
#include <map>

namespace quillon_python {

namespace py = pybind11;

namespace {

/// A margin of the catalogue in whole pixels.
std::int64_t BlockMargin(const std::string& expression, const std::map<std::string, double>& values) {
    const double margin = engine::EvaluateMargin(expression, [&values](const std::string& key) {
        const auto found = values.find(key);
        if (found == values.end())
            throw engine::CCallerError("the margin of a block depends on " + key + ", which is not given");
        return found->second;
    });
    constexpr double greatest = 1e9; // farther than any volume reaches
    return static_cast<std::int64_t>(std::ceil(std::fmin(std::fmax(margin, 0.0), greatest)));
}

using Lines = py::array_t<float, py::array::c_style>;

/// Transforms squared distances along the last axis of a contiguous array, in place: one pass of the distance
/// map, on lines whose other axes may have been cut anywhere. See `CLowerEnvelope`.
void DistancePass(Lines lines, double weight, bool isOutsideSeed) {
    const py::ssize_t dimension = lines.ndim();
    if (dimension < 1)
        throw engine::CCallerError("a distance pass needs lines");
    const std::int64_t length = lines.shape(dimension - 1);
    float* const first = lines.mutable_data();
    const std::int64_t count = length > 0 ? lines.size() / length : 0;
    const py::gil_scoped_release unlocked;
    ORVEN::CLowerEnvelope envelope;
    for (std::int64_t line = 0; line < count; ++line)
        envelope.Transform(first + line * length, length, sizeof(float), weight, isOutsideSeed);
}

template <class T>
py::array_t<T> ArrayOf(const std::vector<T>& numbers) {
    return py::array_t<T>(static_cast<py::ssize_t>(numbers.size()), numbers.data());
}

/// A row of 256 counts for each threshold.
py::array_t<std::uint64_t> ConfigurationCounts(const CPythonImage& image) {
    std::vector<std::uint64_t> counts;
    {
        const py::gil_scoped_release unlocked;
        counts = ORVEN::ConfigurationsHistograms(image.Image()).counts;
    }
    return ArrayOf(counts);
}

/// The spacing is that along x, y and z.
std::string FieldFeatures(const py::array_t<std::uint64_t, py::array::c_style>& counts,
                          const std::array<double, 3>& spacing) {
    ORVEN::StConfigurationsHistograms histograms;
    histograms.counts.assign(counts.data(), counts.data() + counts.size());
    histograms.greatestGreyValue =
        static_cast<std::uint32_t>(histograms.counts.size() / histograms.configurationCount) - 1;
    const py::gil_scoped_release unlocked;
    return engine::ToJson(
               *ORVEN::FieldFeaturesOverGreyValues(histograms, {spacing[0], spacing[1], spacing[2]}))
        .Text();
}

using Triple = std::array<std::int64_t, 3>;

/// The size is that along x, y and, in 3-d, z.
ORVEN::CFiberBlocks FiberBlocks(const std::vector<std::int64_t>& size, const std::array<double, 3>& spacing,
                                double radius, const Triple& subfieldSize) {
    const auto extent = size.size() == 2 ? ORVEN::CSize(size.at(0), size.at(1))
                                         : ORVEN::CSize(size.at(0), size.at(1), size.at(2));
    return {extent, spacing, radius, subfieldSize};
}

py::array_t<std::int64_t> FiberSums(const ORVEN::CFiberBlocks& blocks, const CPythonImage& block,
                                    const CPythonImage& mask, const Triple& start, const Triple& first,
                                    const Triple& end) {
    std::vector<std::int64_t> sums;
    {
        const py::gil_scoped_release unlocked;
        const ORVEN::CThreadLimit oneThread(1);
        sums = blocks.SumsOf(block.Image(), mask.Image(), start, first, end);
    }
    return ArrayOf(sums);
}

std::string FiberMeasurement(const ORVEN::CFiberBlocks& blocks,
                             const py::array_t<std::int64_t, py::array::c_style>& sums,
                             const std::optional<std::array<double, 2>>& otsu) {
    const std::span<const std::int64_t> numbers(sums.data(), static_cast<std::size_t>(sums.size()));
    const py::gil_scoped_release unlocked;
    return engine::ToJson(*blocks.Measurement(numbers, otsu)).Text();
}

} // namespace

void AddBlocks(py::module_& module) {
    py::class_<ORVEN::CFiberBlocks>(module, "FiberBlocks")
        .def(py::init(&FiberBlocks))
        .def_static("threshold_by_otsu", &ORVEN::CFiberBlocks::ThresholdByOtsu)
        .def("sums_of", &FiberSums)
        .def("measurement", &FiberMeasurement);
    module.def("configuration_counts", &ConfigurationCounts);
    module.def("field_features", &FieldFeatures);
    module.def("block_margin", &BlockMargin);
    module.def("distance_pass", &DistancePass, py::arg("lines").noconvert(), py::arg("weight"),
               py::arg("is_outside_seed"));
}

} // namespace quillon_python
