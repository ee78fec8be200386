#include "QuillonFilterOrientations/CSubfieldFiberDirections.h"

#include "QuillonFilterOrientations/CDirectionSums.h"
#include "QuillonFilterOrientations/CForeground.h"
#include "QuillonFilterOrientations/CHessianOrientations.h"
#include "QuillonFilterOrientations/FiberMaps.h"
#include "QuillonFilterOrientations/StAxisAngles.h"
#include "QuillonFilterOrientations/StFiberScale.h"

#include <QuillonBase/AvailableMemory.h>
#include <QuillonBase/CWorkPace.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CStringTools.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/StoreEntry.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/GreyTypeDispatch.h>

#include <algorithm>
#include <cmath>

namespace ORVEN {

using namespace Impl;

const char* const CSubfieldFiberDirections::sFiberDirectionsId = "FiberDirections";
const char* const CSubfieldFiberDirections::sFieldFiberDirectionsId = "FieldFiberDirections";
const char* const CSubfieldFiberDirections::sSubfieldFiberDirectionsId = "SubfieldFiberDirections";
const char* const CSubfieldFiberDirections::sSubfieldProfiles = "SubfieldProfiles";

namespace {

const char* const c_site = "CSubfieldFiberDirections";
/// The value of a map of directions at pixels without a direction.
constexpr float c_noAngle = -1.0F;

[[noreturn]] void ThrowUnsupportedDimension(int dimension) {
    throw CException(
        c_site, CString("Image dimension %1 not supported.", CString::ENC_UTF8).Arg(dimension, 0), nullptr);
}

/// A sum and the entry of the result for each subfield.
void RequireMemoryForSubfields(const StPixelBox& area, const std::array<std::int64_t, 3>& subfieldSize) {
    constexpr std::int64_t bytesOfEntry = 3500; // at least
    const auto [x, y, z] = CDirectionSums::CountSubfields(area, subfieldSize);
    RequireMemory(c_site, "The table of subfields",
                  x * y * z * (std::int64_t{sizeof(StDirectionSum)} + bytesOfEntry));
}

/// All of it is filled, also if the pace is cancelled.
std::unique_ptr<CImage> MapWithoutDirections(const CSize& size, CWorkPace& pace) {
    auto map = std::make_unique<CImage>(IMAGE_GREY_F, size, CSize(0, 0, 0));
    const CImageView<float> view(*map);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            view.FillRow(y, z, c_noAngle);
            (void)pace.Add(view.nx);
        }
    }
    return map;
}

/// Looks at all of the map, also if the pace is cancelled.
void RecordMinMax(CImage& map, CWorkPace& pace) {
    const CImageView<const float> view(map);
    float least = *view.Row(0, 0);
    float greatest = least;
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            const float* const row = view.Row(y, z);
            const auto [low, high] = std::minmax_element(row, row + view.nx);
            least = std::min(least, *low);
            greatest = std::max(greatest, *high);
            (void)pace.Add(4 * view.nx);
        }
    }
    CQuillonHeaderTools::SetMinMax(map, least, greatest);
}

/// Writes the angles of rows into the maps of theta and, unless null, phi.
class CAngleWriter : public IDirectionReceiver {
public:
    CAngleWriter(const CImageView<float>& theta, const CImageView<float>* phi)
        : m_theta(theta)
        , m_phi(phi) {}

    void Add(const StDirectionRow& row) override {
        const std::size_t dimension = m_phi != nullptr ? 3 : 2;
        for (std::size_t i = 0; i < row.x.size(); ++i) {
            if (row.isEvaluated[i] == 0.0)
                continue;
            const StAxisAngles<float> angles({row.direction[0][i], row.direction[1][i], row.direction[2][i]},
                                             dimension);
            m_theta.Row(row.y, row.z)[row.x[i]] = angles.theta;
            if (m_phi != nullptr)
                m_phi->Row(row.y, row.z)[row.x[i]] = angles.phi;
        }
    }

private:
    const CImageView<float>& m_theta;
    const CImageView<float>* m_phi;
};

} // namespace

/// The data of a measurement that the maps of directions need.
struct CSubfieldFiberDirections::StMeasurement {
    bool Visit(const CAlgorithm& caller, double fiberRadius,
               const CHessianOrientations::MakeReceiver& makeReceiver) const {
        CHessianOrientations orientations(nullptr, &caller);
        orientations.SetProgress(CProgressProxy(&caller.Progress()));
        orientations.m_fFiberRadius = fiberRadius;
        return orientations.Visit(image, foreground, makeReceiver);
    }

    const IImage& image;
    StFiberScale scale;
    CForeground foreground;
};

CSubfieldFiberDirections::CSubfieldFiberDirections(double fiberRadius, double otsuFactor,
                                                   std::int64_t subfieldX, std::int64_t subfieldY,
                                                   std::int64_t subfieldZ)
    : CAlgorithm(nullptr, nullptr)
    , m_fiberRadius(fiberRadius)
    , m_otsuFactor(otsuFactor)
    , m_subfieldSize{subfieldX, subfieldY, subfieldZ} {}

CSubfieldFiberDirections::~CSubfieldFiberDirections() = default;

CValueMap* CSubfieldFiberDirections::Compute(IImage& image, std::string& history, IImage* mask,
                                             bool isFieldOnly) {
    RequireMeasurable(image, mask);
    const StFiberScale scale(image, m_fiberRadius);
    if (scale.area.IsEmpty())
        throw CException(c_site, "Image is too small for this fiber radius.", nullptr);
    const std::array<std::int64_t, 3> subfieldSize =
        isFieldOnly ? std::array<std::int64_t, 3>{} : SubfieldSize(scale.dimension);
    RequireMemoryForSubfields(scale.area, subfieldSize);
    m_measurement.reset();
    auto foreground = mask != nullptr ? std::optional(CForeground(*mask))
                                      : CForeground::ByOtsu(image, m_otsuFactor, Progress());
    if (!foreground)
        return nullptr;
    const double threshold = foreground->Threshold();
    auto measurement =
        std::make_unique<const StMeasurement>(StMeasurement{image, scale, std::move(*foreground)});

    CDirectionSums sums(scale.area, subfieldSize);
    if (!measurement->Visit(*this, m_fiberRadius, [&] { return sums.MakeAdder(); }))
        return nullptr;

    CWorkPace pace(Progress());
    auto result = MapOfFibers(sums, scale, subfieldSize, isFieldOnly, pace);
    if (pace.IsCancelled())
        return nullptr;
    m_measurement = std::move(measurement);
    StoreFiberSettings(*result, scale, m_fiberRadius,
                       mask != nullptr ? std::nullopt : std::optional(StOtsu{m_otsuFactor, threshold}));

    history += CStringTools::Printf("radius=%g,", m_fiberRadius);
    history += mask != nullptr ? "mask," : CStringTools::Printf("otsu=%g,", m_otsuFactor);
    if (subfieldSize[0] > 0) {
        const auto& [x, y, z] = m_subfieldSize;
        history += CStringTools::Printf("subfield=(%lld,%lld,%lld),", static_cast<long long>(x),
                                        static_cast<long long>(y), static_cast<long long>(z));
    }
    return result.release();
}

void CSubfieldFiberDirections::GetDirections(const IImage*& theta) {
    const StMeasurement& measurement = Measured(2);
    CWorkPace pace(Progress());
    auto map = MapWithoutDirections(measurement.image.Size(), pace);
    {
        const CImageView<float> view(*map);
        measurement.Visit(*this, m_fiberRadius,
                          [&] { return std::make_unique<CAngleWriter>(view, nullptr); });
    }
    RecordMinMax(*map, pace);
    theta = map.release();
}

void CSubfieldFiberDirections::GetDirections(const IImage*& theta, const IImage*& phi) {
    const StMeasurement& measurement = Measured(3);
    CWorkPace pace(Progress());
    auto thetaMap = MapWithoutDirections(measurement.image.Size(), pace);
    auto phiMap = MapWithoutDirections(measurement.image.Size(), pace);
    {
        const CImageView<float> thetaView(*thetaMap);
        const CImageView<float> phiView(*phiMap);
        measurement.Visit(*this, m_fiberRadius,
                          [&] { return std::make_unique<CAngleWriter>(thetaView, &phiView); });
    }
    RecordMinMax(*thetaMap, pace);
    RecordMinMax(*phiMap, pace);
    theta = thetaMap.release();
    phi = phiMap.release();
}

void CSubfieldFiberDirections::RepackMeasuredFeaturesForQuillon(CValueMap& tree, const char* viewPlugin,
                                                                const CValue* extra, const char* label,
                                                                CValueMap* document) {
    const bool hasView = viewPlugin != nullptr && *viewPlugin != '\0';
    auto view = std::make_unique<CValueMap>();
    view->SetEntry("type", new CValueString(hasView ? viewPlugin : "ImageAttributesView", CString::NPOS));
    view->SetEntry("document", new CValuePointer<CValueMap>(document, 1));
    if (label != nullptr)
        view->SetEntry("label", new CValueString(label, CString::NPOS));
    if (extra != nullptr)
        view->SetEntry("extra", extra->Clone(CValue::TF_KEEP));
    auto views = std::make_unique<CValueVector>();
    views->PushBack(view.release());
    StoreEntry(tree, "output/views/create", std::move(views));
}

void CSubfieldFiberDirections::RequireMeasurable(const IImage& image, const IImage* mask) const {
    if (!(image.Type() == IMAGE_GREY_8))
        ThrowUnsupportedType(c_site, image.Type());
    const CSize& size = image.Size();
    if (size.Dim() != 2 && size.Dim() != 3)
        ThrowUnsupportedDimension(size.Dim());
    if (!(m_fiberRadius > 0.0) || !std::isfinite(m_fiberRadius)) {
        throw CExBadParam(
            Here("ORVEN::CSubfieldFiberDirections::Compute"),
            CString("Fiber radius %1 is not positive and finite.", CString::ENC_UTF8).Arg(m_fiberRadius, 0));
    }
    if (mask != nullptr)
        RequireSameSize("ORVEN::CSubfieldFiberDirections::Compute", "Mask image", *mask, "image", image);
}

/// All components are 0 if there are no subfields.
std::array<std::int64_t, 3> CSubfieldFiberDirections::SubfieldSize(std::size_t dimension) const {
    const std::array<std::int64_t, 3> size{m_subfieldSize[0], m_subfieldSize[1],
                                           dimension == 3 ? m_subfieldSize[2] : 1};
    return *std::min_element(size.begin(), size.end()) > 0 ? size : std::array<std::int64_t, 3>{};
}

const CSubfieldFiberDirections::StMeasurement& CSubfieldFiberDirections::Measured(int dimension) const {
    if (m_measurement == nullptr)
        throw CException(c_site, "The directions have not been computed.", nullptr);
    if (m_measurement->image.Size().Dim() != dimension)
        ThrowUnsupportedDimension(m_measurement->image.Size().Dim());
    return *m_measurement;
}

} // namespace ORVEN
