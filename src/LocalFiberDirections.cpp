#include "LocalFiberDirections.h"

#include "plugin/PluginContract.h"

#include <QuillonFilterOrientations/CSubfieldFiberDirections.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/StoreEntry.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <cmath>
#include <memory>
#include <string>

using namespace ORVEN;
namespace contract = quillon::contract;

namespace {

const char* const c_site = "CLocalFiberDirectionsPlugin";

/// Returns the value at a key that is required.
const CValue& Required(const CValueMap& parameters, const char* key) {
    const CValue* const value = parameters.Entry(key, true);
    if (value == nullptr) {
        throw CExBadParam(Impl::Here("CLocalFiberDirectionsPlugin::UpdateParameters"),
                          CString("Parameter '%1' is missing.", CString::ENC_UTF8).Arg(key));
    }
    return *value;
}

/// Stores the measurement, replacing an earlier one.
void StoreMeasurement(CImage& image, std::unique_ptr<CValueMap> measurement) {
    CValueMap& attributes = image.Attributes();
    const std::string& features = CQuillonHeaderTools::c_sTagFeatures;
    if (!attributes.HasEntry(features))
        attributes.SetEntry(features, new CValueMap);
    StoreEntry(attributes, features + "/" + CSubfieldFiberDirections::sFiberDirectionsId,
               std::move(measurement));
}

/// Takes ownership of a map of directions; null if there is none.
std::unique_ptr<CImage> TakeMap(const IImage* map) {
    return std::unique_ptr<CImage>(dynamic_cast<CImage*>(const_cast<IImage*>(map)));
}

/// Gives a map the attributes of the measured image and a line of history. These attributes replace the
/// minimum and maximum of the map, which are restored afterwards.
void CompleteMap(CImage& map, const CImage& image, const std::string& history) {
    const char* const key = CQuillonHeaderTools::c_sMetaMinMax.c_str();
    CValueVector minMax;
    CQuillonHeaderTools::GetMetaInfo(map, key, minMax);
    contract::Inherit(map, image, CString(history));
    CQuillonHeaderTools::SetMetaInfo(map, key, minMax);
}

} // namespace

void CLocalFiberDirectionsPlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

bool CLocalFiberDirectionsPlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage& image) {
        const int dimension = image.Size().Dim();
        return image.Type() == IMAGE_GREY_8 && (dimension == 2 || dimension == 3);
    });
}

void CLocalFiberDirectionsPlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::POINTER_TO_DOCUMENT);
    if (!tree.HasEntry("parameters", typeid(CValueMap)))
        return;
    const CValueMap& parameters = *tree.Entry("parameters", true)->Map();
    contract::ReadParameter(parameters, "featureViewPlugin", m_viewPlugin);
    UpdateSubfields(parameters);
    UpdateAdvanced(parameters);
    contract::ReadParameter(parameters, "fiber_radius", m_fiberRadius);
}

void CLocalFiberDirectionsPlugin::UpdateSubfields(const CValueMap& parameters) {
    bool usesSubfields = false;
    if (!contract::ReadParameter(parameters, "use_subfields", usesSubfields))
        return;
    const auto sizeOf = [&](const char* key) {
        return usesSubfields ? std::int64_t{Required(parameters, key).Long()} : -1;
    };
    m_subfieldX = sizeOf("subfield_x");
    m_subfieldY = sizeOf("subfield_y");
    m_subfieldZ = sizeOf("subfield_z");
}

void CLocalFiberDirectionsPlugin::UpdateAdvanced(const CValueMap& parameters) {
    m_isAdvanced = parameters.HasEntry("advanced");
    if (!m_isAdvanced) {
        m_wantsDirections = false;
        m_otsuFactor = CHessianOrientations::m_fDefaultOtsuFactor;
        m_usesOtsu = true;
        m_mask = nullptr;
        return;
    }
    m_wantsDirections = Required(parameters, "advanced/output_directions").Bool();
    m_otsuFactor = Required(parameters, "advanced/otsu_factor").Double();
    m_usesOtsu = Required(parameters, "advanced/use_otsu").Bool();
    (void)Required(parameters, "advanced/mask_image");
    m_mask = UnwrapPointer<CImage>(parameters.Entry("advanced/mask_image", true));
}

void CLocalFiberDirectionsPlugin::CheckParameters() const {
    const auto require = [](bool isFulfilled, const char* message) {
        if (!isFulfilled)
            throw CException(c_site, message, nullptr);
    };
    require(std::isfinite(m_fiberRadius), "Fiber radius must not be inf or nan.");
    require(m_fiberRadius > 0.0, "Fiber radius must be strictly positive.");
    // Checked even if the factor is not used.
    require(std::isfinite(m_otsuFactor), "Otsu factor must not be inf or nan.");
    require(!m_usesOtsu || m_otsuFactor > 0.0, "Otsu factor must be strictly positive.");
    require(m_usesOtsu || m_mask != nullptr, "No valid mask image.");
}

void CLocalFiberDirectionsPlugin::GetData(CValueMap& tree) {
    if (m_focusedDocument == nullptr)
        return;
    CheckParameters();
    CImage* const image = contract::ContentOf(m_focusedDocument);
    if (image == nullptr)
        return;
    std::string history = "FiberDirections(";
    CSubfieldFiberDirections directions(m_fiberRadius, m_otsuFactor, m_subfieldX, m_subfieldY, m_subfieldZ);
    // The mask is passed regardless of the switch for Otsu's method, and takes precedence.
    std::unique_ptr<CValueMap> measurement(directions.Compute(*image, history, m_mask, false));
    if (measurement == nullptr)
        return; // cancelled
    StoreMeasurement(*image, std::move(measurement));
    CSubfieldFiberDirections::RepackMeasuredFeaturesForQuillon(
        tree, m_viewPlugin, nullptr, m_focusedDocument->EntryString("label"), m_focusedDocument);
    if (!m_isAdvanced || !m_wantsDirections)
        return;

    const IImage* theta = nullptr;
    const IImage* phi = nullptr;
    if (image->Size().Dim() == 3)
        directions.GetDirections(theta, phi);
    else
        directions.GetDirections(theta);
    auto thetaMap = TakeMap(theta);
    auto phiMap = TakeMap(phi);
    // A label that is not a text counts as an empty one: the dash is omitted only if there is no label.
    const bool hasLabel = m_focusedDocument->HasEntry("label");
    const std::string label = hasLabel ? contract::LabelOf(*m_focusedDocument, "").Std() + " - " : "";
    // Both maps are completed before the first one is handed over, so that a failure leaves nothing in the
    // tree.
    if (phiMap != nullptr)
        CompleteMap(*phiMap, *image, history + "angle=phi)");
    CompleteMap(*thetaMap, *image, history + "angle=theta)");
    contract::HandOver(tree, contract::EnHandOver::NEW_LIST, std::move(thetaMap), CString(label + "Theta"));
    if (phiMap != nullptr) {
        contract::HandOver(tree, contract::EnHandOver::INTO_LIST, std::move(phiMap), CString(label + "Phi"),
                           1);
    }
}
