#include "LabelMeasurements.h"

#include "measurement/FeretDiameter.h"
#include "measurement/LabelScan.h"
#include "measurement/LabelTable.h"
#include "measurement/PrincipalAxes.h"
#include "pixels/PixelLoops.h"
#include "plugin/PluginContract.h"

#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/StoreEntry.h>

#include <cmath>
#include <limits>

namespace quillon::basics {

using namespace ORVEN;

namespace {

/// A whole number, as a double if it exceeds the integers of the tree.
CValue* NewCount(std::int64_t count) {
    if (count > std::numeric_limits<std::int32_t>::max())
        return new CValueDouble(static_cast<double>(count));
    return new CValueLong(static_cast<std::int32_t>(count));
}

/// The covariance of the points of an object, in the unit of the spacing. A pixel counts as a box and not as
/// a point. Coordinates are relative to the bounding box, so that the result is the same to the last digit
/// wherever the object lies; whole numbers lose nothing.
Matrix CovarianceOf(const StLabelSums& sums, const Triple& spacing, int dimension) {
    const auto count = static_cast<double>(sums.voxels);
    Matrix covariance{};
    for (std::size_t i = 0; i < static_cast<std::size_t>(dimension); ++i) {
        for (std::size_t k = i; k < static_cast<std::size_t>(dimension); ++k) {
            const std::int64_t sumI = sums.sum[i] - sums.voxels * sums.first[i];
            const std::int64_t sumK = sums.sum[k] - sums.voxels * sums.first[k];
            const std::int64_t product =
                sums.products[i][k] - sums.first[i] * sums.sum[k] - sums.first[k] * sumI;
            const double mean = static_cast<double>(sumI) / count;
            const double moment = (static_cast<double>(product) - mean * static_cast<double>(sumK)) / count;
            covariance[i][k] = (moment + (i == k ? 1.0 / 12.0 : 0.0)) * spacing[i] * spacing[k];
            covariance[k][i] = covariance[i][k];
        }
    }
    return covariance;
}

/// The entry of one object.
class CObjectEntry {
public:
    CObjectEntry(const StLabelSums& sums, const Triple& spacing, int dimension)
        : m_sums(sums)
        , m_spacing(spacing)
        , m_dimension(dimension) {}

    std::unique_ptr<CValueMap> Fill(std::uint32_t label, double feret) {
        const std::string number = std::to_string(label);
        m_map->SetEntry("object", new CValueString(number.c_str(), number.size()));
        m_map->SetEntry("voxels", NewCount(m_sums.voxels));
        double pixel = 1.0;
        for (std::size_t axis = 0; axis < Axes(); ++axis)
            pixel *= m_spacing[axis];
        Set(m_dimension == 3   ? "volume"
            : m_dimension == 2 ? "area"
                               : "length",
            pixel * static_cast<double>(m_sums.voxels));
        SetPlace();
        SetAxes();
        Set("Feret diameter", feret);
        if (m_dimension > 1)
            Set(m_dimension == 3 ? "surface area" : "perimeter", m_sums.surface);
        SetGreyValues();
        return std::move(m_map);
    }

private:
    [[nodiscard]] std::size_t Axes() const { return static_cast<std::size_t>(m_dimension); }
    void Set(const std::string& path, double number) { m_map->SetEntry(path, new CValueDouble(number)); }

    void SetPlace() {
        for (std::size_t axis = 0; axis < Axes(); ++axis) {
            const double center = static_cast<double>(m_sums.sum[axis]) / static_cast<double>(m_sums.voxels);
            Set("centroid/" + Name(axis), center * m_spacing[axis]);
            m_map->SetEntry("bounding box/" + Name(axis) + "0", NewCount(m_sums.first[axis]));
            m_map->SetEntry("bounding box/" + Name(axis) + "1", NewCount(m_sums.last[axis]));
        }
    }

    void SetAxes() {
        // The axes of the ellipsoid, the ellipse or the segment with the same variances.
        const double factor = 2.0 * std::sqrt(static_cast<double>(m_dimension) + 2.0);
        const auto axes = PrincipalAxes(CovarianceOf(m_sums, m_spacing, m_dimension));
        for (std::size_t place = 0; place < Axes(); ++place) {
            const std::string path = "axis " + std::to_string(place + 1) + "/";
            Set(path + "length", factor * std::sqrt(std::fmax(axes[place].variance, 0.0)));
            for (std::size_t axis = 0; axis < Axes(); ++axis)
                Set(path + Name(axis), axes[place].direction[axis]);
        }
    }

    void SetGreyValues() {
        if (m_sums.numbers == 0)
            return;
        const auto count = static_cast<double>(m_sums.numbers);
        const double mean = m_sums.greySum / count;
        Set("grey value/mean", m_sums.shift + mean);
        Set("grey value/SD", std::sqrt(std::fmax(m_sums.greySquares / count - mean * mean, 0.0)));
        Set("grey value/minimum", m_sums.least);
        Set("grey value/maximum", m_sums.greatest);
    }

    static std::string Name(std::size_t axis) { return std::string(1, "xyz"[axis]); }

    const StLabelSums& m_sums;
    const Triple& m_spacing;
    int m_dimension;
    std::unique_ptr<CValueMap> m_map = std::make_unique<CValueMap>();
};

/// "object 007": with as many digits as the greatest label, so that the entries are in the order of labels.
std::string KeyOf(std::uint32_t label, std::uint32_t greatest) {
    const std::string digits = std::to_string(label);
    return "object " + std::string(std::to_string(greatest).size() - digits.size(), '0') + digits;
}

} // namespace

bool CLabelMeasurementsPlugin::Accepts(const IImage::CType& type) const {
    return IsReal(type) && !(type == IMAGE_GREY_F);
}

void CLabelMeasurementsPlugin::ReadParameters(const CValueMap& tree) { m_image2 = ReadImage2(tree); }

StResult CLabelMeasurementsPlugin::Compute(const CImage&) { return {}; }

void CLabelMeasurementsPlugin::GetData(CValueMap& tree) {
    CImage* image = CheckedImage();
    if (image == nullptr)
        return;
    std::unique_ptr<CValueMap> measured = Measured(*image);
    if (measured == nullptr)
        return;
    StoreEntry(image->Attributes(), LabelMeasurementsPath(), std::move(measured));
    contract::RequestView(tree, *FocusedDocument());
}

std::unique_ptr<CValueMap> CLabelMeasurementsPlugin::Measured(const CImage& image) const {
    if (m_image2 != nullptr) {
        if (!IsReal(m_image2->Type()))
            ThrowUnsupportedType(Name(), m_image2->Type());
        RequireSameSize(image, *m_image2);
    }
    const int dimension = image.Size().Dim();
    const Triple spacing = SpacingOf(image);
    for (std::size_t axis = 0; axis < static_cast<std::size_t>(dimension); ++axis) {
        if (!(spacing[axis] > 0.0) || !std::isfinite(spacing[axis]))
            Refuse("the image has the spacing " + TextOf(spacing[axis]) +
                   " along an axis; it must be greater than 0.");
    }
    CProgressProxy progress = HostProgress();
    const auto objects = ScanLabels(image, m_image2, SurfaceDirections(dimension, spacing), progress);
    if (progress.IsCancelled())
        return nullptr;
    if (objects.empty())
        Refuse("the image has no labels other than 0.");

    auto result = std::make_unique<CValueMap>();
    const std::uint32_t greatest = objects.rbegin()->first;
    CWorkPace pace(progress);
    for (const auto& [label, sums] : objects) {
        const double feret = FeretDiameter(sums.rowEnds, spacing, pace);
        if (pace.Add(1000))
            return nullptr;
        result->SetEntry(KeyOf(label, greatest),
                         CObjectEntry(sums, spacing, dimension).Fill(label, feret).release());
    }
    if (greatest <= static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max()))
        result->SetEntry("maximum label", new CValueLong(static_cast<std::int32_t>(greatest)));
    return result;
}

} // namespace quillon::basics
