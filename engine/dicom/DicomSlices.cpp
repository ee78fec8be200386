#include "engine/dicom/DicomSlices.h"

#include "engine/files/FileErrors.h"
#include "engine/files/formats/HeaderChecks.h"

#include <gdcmImageHelper.h>
#include <gdcmReader.h>
#include <gdcmTag.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <utility>

namespace engine {

namespace {

using Vector = ORVEN::StImageGeometry::Vector;

const gdcm::Tag c_seriesTag(0x0020, 0x000e);
const gdcm::Tag c_positionTag(0x0020, 0x0032);
const gdcm::Tag c_orientationTag(0x0020, 0x0037);
const gdcm::Tag c_spacingTag(0x0028, 0x0030);
const gdcm::Tag c_rowsTag(0x0028, 0x0010);
const gdcm::Tag c_beforePixelsTag(0x7fe0, 0x000f);
const gdcm::Tag c_pixelsTag(0x7fe0, 0x0010);

/// The name of its file, quoted.
std::string NameOf(const StDicomSlice& slice) {
    return std::string("'").append(std::filesystem::path(slice.path).filename().string()).append("'");
}

[[noreturn]] void ThrowBadFile(const StDicomSlice& slice, const std::string& reason) {
    throw CFileReason("its file " + NameOf(slice) + " " + reason);
}

std::string TextOf(const gdcm::DataSet& data, const gdcm::Tag& tag) {
    const gdcm::ByteValue* const value =
        data.FindDataElement(tag) ? data.GetDataElement(tag).GetByteValue() : nullptr;
    if (value == nullptr)
        return {};
    std::string text(value->GetPointer(), value->GetLength());
    text.erase(std::find(text.begin(), text.end(), '\0'), text.end()); // filled up to an even length
    return std::string(Trimmed(text));
}

EnSampleType SampleOf(const StDicomSlice& slice, const gdcm::PixelFormat& format) {
    switch (gdcm::PixelFormat::ScalarType(format)) {
    case gdcm::PixelFormat::UINT8:
        return SAMPLE_UINT8;
    case gdcm::PixelFormat::INT8:
        return SAMPLE_INT8;
    case gdcm::PixelFormat::UINT16:
        return SAMPLE_UINT16;
    case gdcm::PixelFormat::INT16:
        return SAMPLE_INT16;
    case gdcm::PixelFormat::UINT32:
        return SAMPLE_UINT32;
    case gdcm::PixelFormat::INT32:
        return SAMPLE_INT32;
    default:
        ThrowBadFile(slice, std::string("has pixels of the type ") + format.GetScalarTypeAsString() +
                                ", which cannot be read");
    }
}

void ReadType(StDicomSlice& slice, const gdcm::File& file) {
    const gdcm::PixelFormat format = gdcm::ImageHelper::GetPixelFormatValue(file);
    if (format.GetSamplesPerPixel() != 1)
        ThrowBadFile(slice, "holds colours; only grey slices can be read");
    slice.sample = SampleOf(slice, format);
    const std::vector<double> scale = gdcm::ImageHelper::GetRescaleInterceptSlopeValue(file);
    if (scale.size() == 2 && std::isfinite(scale[0]) && std::isfinite(scale[1]) && scale[1] != 0)
        slice.scale = {scale[1], scale[0]};
}

void ReadPlace(StDicomSlice& slice, const gdcm::File& file) {
    const gdcm::DataSet& data = file.GetDataSet();
    for (const gdcm::Tag& tag : {c_positionTag, c_orientationTag}) {
        if (!data.FindDataElement(tag))
            ThrowBadFile(slice, "does not say where its slice lies");
    }
    if (!data.FindDataElement(c_spacingTag))
        ThrowBadFile(slice, "does not state the size of a pixel");
    const std::vector<double> spacing = gdcm::ImageHelper::GetSpacingValue(file);
    const std::vector<double> position = gdcm::ImageHelper::GetOriginValue(file);
    const std::vector<double> directions = gdcm::ImageHelper::GetDirectionCosinesValue(file);
    if (spacing.size() < 2 || position.size() < 3 || directions.size() < 6)
        ThrowBadFile(slice, "does not say where its slice lies");
    std::copy_n(spacing.begin(), 2, slice.spacing.begin());
    std::copy_n(position.begin(), 3, slice.position.begin());
    std::copy_n(directions.begin(), 3, slice.directions[0].begin());
    std::copy_n(directions.begin() + 3, 3, slice.directions[1].begin());
}

/// The slice in the file; nothing if it is not DICOM or has no pixels.
std::optional<StDicomSlice> SliceIn(const std::string& path) {
    gdcm::Reader reader;
    reader.SetFileName(path.c_str());
    // Stops in front of the pixels, and passes over them without reading.
    if (!reader.ReadUpToTag(c_beforePixelsTag, {c_pixelsTag}))
        return std::nullopt;
    const gdcm::File& file = reader.GetFile();
    if (!file.GetDataSet().FindDataElement(c_rowsTag))
        return std::nullopt; // a directory of the files, a report
    StDicomSlice slice;
    slice.path = path;
    // GDCM reads pixels as far as they are there. Where packed ones end is not known here.
    const bool isPacked = file.GetHeader().GetDataSetTransferSyntax().IsEncapsulated();
    if (!isPacked && std::cmp_greater(reader.GetStreamCurrentPosition(), FileSize(path)))
        ThrowBadFile(slice, "ends too early");
    slice.series = TextOf(file.GetDataSet(), c_seriesTag);
    const std::vector<unsigned> extents = gdcm::ImageHelper::GetDimensionsValue(file);
    slice.width = extents.at(0);
    slice.height = extents.at(1);
    if (extents.size() > 2 && extents[2] > 1)
        ThrowBadFile(slice, "holds " + std::to_string(extents[2]) +
                                " frames; only series with a slice a file can be read");
    ReadType(slice, file);
    ReadPlace(slice, file);
    return slice;
}

double Dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Vector Difference(const Vector& a, const Vector& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

Vector NormalOf(const StDicomSlice& slice) {
    const auto& [a, b] = slice.directions;
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

void RequireOneSeries(const std::vector<StDicomSlice>& slices) {
    std::map<std::string, int> counts;
    for (const StDicomSlice& slice : slices)
        ++counts[slice.series];
    if (counts.size() < 2)
        return;
    std::string list;
    int listed = 0;
    for (const auto& [series, count] : counts) {
        constexpr int most = 10;
        if (listed++ < most)
            list.append(list.empty() ? "" : ", ")
                .append(series)
                .append(" with ")
                .append(std::to_string(count));
    }
    throw CFileReason("it holds " + std::to_string(counts.size()) + " series (" + list +
                      (counts.size() > 10 ? ", ..." : "") +
                      "); put the files of the one you need into a folder of their own");
}

void RequireEqualSlices(const std::vector<StDicomSlice>& slices) {
    const StDicomSlice& first = slices.front();
    const auto require = [&](const StDicomSlice& slice, bool isEqual, const char* what) {
        if (!isEqual)
            throw CFileReason("its slices " + NameOf(first) + " and " + NameOf(slice) + " differ in " + what);
    };
    constexpr double rounding = 1e-4;
    for (const StDicomSlice& slice : slices) {
        require(slice, slice.width == first.width && slice.height == first.height, "size");
        require(slice, slice.sample == first.sample, "the type of their pixels");
        for (std::size_t i = 0; i < 2; ++i) {
            require(slice, std::abs(slice.spacing[i] - first.spacing[i]) <= rounding * first.spacing[i],
                    "the size of a pixel");
            const Vector turned = Difference(slice.directions[i], first.directions[i]);
            require(slice, Dot(turned, turned) <= rounding * rounding, "orientation");
        }
    }
}

/// A length to show: "2.5 mm".
std::string InMillimetres(double length) {
    constexpr double precision = 1e4;
    return ShortestText(std::round(length * precision) / precision) + " mm";
}

/// Raises unless each slice follows the one before at the usual distance.
void RequireEvenDistances(const std::vector<StDicomSlice>& slices, const Vector& normal) {
    std::vector<double> distances;
    for (std::size_t i = 1; i < slices.size(); ++i)
        distances.push_back(Dot(Difference(slices[i].position, slices[i - 1].position), normal));
    std::vector<double> sorted = distances;
    std::sort(sorted.begin(), sorted.end());
    const double usual = sorted[(sorted.size() - 1) / 2];
    constexpr double tolerance = 0.01; // positions are written with few digits
    for (std::size_t i = 0; i < distances.size(); ++i) {
        const std::string names = NameOf(slices[i]) + " and " + NameOf(slices[i + 1]);
        if (!(distances[i] > tolerance * usual) || usual <= 0)
            throw CFileReason("its slices " + names +
                              " lie at the same position; the folder may hold several time points");
        if (std::abs(distances[i] - usual) <= tolerance * usual)
            continue;
        throw CFileReason("its slices are not evenly spaced: " + InMillimetres(distances[i]) +
                          " lie between " + names + ", and " + InMillimetres(usual) +
                          (distances[i] > usual ? " between others; are files missing?" : " between others"));
    }
}

} // namespace

std::vector<StDicomSlice> SlicesIn(const std::string& folder) {
    std::vector<std::string> paths;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (entry.is_regular_file(error))
            paths.push_back(entry.path().string());
    }
    if (error)
        throw CFileReason(error.message());
    std::sort(paths.begin(), paths.end());
    std::vector<StDicomSlice> slices;
    for (const std::string& path : paths) {
        if (auto slice = SliceIn(path))
            slices.push_back(std::move(*slice));
    }
    if (slices.empty())
        throw CFileReason(
            "it is a folder without DICOM slices; name an image file, or a folder with a series");
    return slices;
}

std::array<Vector, 3> ArrangeSlices(std::vector<StDicomSlice>& slices) {
    RequireOneSeries(slices);
    RequireEqualSlices(slices);
    const Vector normal = NormalOf(slices.front());
    std::stable_sort(slices.begin(), slices.end(), [&normal](const auto& a, const auto& b) {
        return Dot(a.position, normal) < Dot(b.position, normal);
    });
    std::array<Vector, 3> steps = {slices.front().directions[0], slices.front().directions[1], Vector{}};
    for (std::size_t axis = 0; axis < 2; ++axis) {
        for (double& number : steps[axis])
            number *= slices.front().spacing[axis];
    }
    if (slices.size() == 1)
        return steps;
    RequireEvenDistances(slices, normal);
    // Not along the normal where the scanner was tilted.
    steps[2] = Difference(slices.back().position, slices.front().position);
    for (double& number : steps[2])
        number /= static_cast<double>(slices.size() - 1);
    return steps;
}

} // namespace engine
