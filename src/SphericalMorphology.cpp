#include "SphericalMorphology.h"

#include "distance/IsotropicPixels.h"
#include "plugin/PluginContract.h"
#include "utils/PixelView.h"

#include <QuillonTransformation/CSphericalMorphology.h>
#include <sorblib2core/CException.h>

#include <array>
#include <memory>

namespace quillon {

using namespace ORVEN;

namespace {

const char* const c_site = "SphericalMorphologyPlugin";

using Operation = void (CSphericalMorphology::*)(IImage& result, IImage& source, float radius);

struct StOperationRow {
    const char* name;
    Operation operation;
};

constexpr std::array<StOperationRow, 6> c_operations{{
    {"erosion", &CSphericalMorphology::Erode},
    {"dilation", &CSphericalMorphology::Dilate},
    {"opening", &CSphericalMorphology::Opening},
    {"closing", &CSphericalMorphology::Closing},
    {"erosionrefl", &CSphericalMorphology::ReflectedErosion},
    {"dilationrefl", &CSphericalMorphology::ReflectedDilation},
}};

Operation OperationOfName(const CString& name) {
    for (const StOperationRow& row : c_operations) {
        if (name == row.name)
            return row.operation;
    }
    throw CException(c_site,
                     CString("unknown spherical morphological operation '%1'.", CString::ENC_UTF8).Arg(name),
                     nullptr);
}

} // namespace

void CSphericalMorphologyPlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

bool CSphericalMorphologyPlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage& image) {
        const int dimension = image.Size().Dim();
        return image.Type() == IMAGE_BINARY_FG && (dimension == 2 || dimension == 3);
    });
}

void CSphericalMorphologyPlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_ENTRY);
    contract::ReadParameter(tree, "parameters/operation", m_operation);
    contract::ReadParameter(tree, "parameters/radius", m_radius);
}

void CSphericalMorphologyPlugin::GetData(CValueMap& tree) {
    CImage* image = contract::ContentOf(m_focusedDocument);
    if (image == nullptr)
        return;
    RequireIsotropicPixels(*image, c_site);
    CImage view = PixelViewOf(*image); // the operations take a non-const source
    auto result = std::make_unique<CImage>(image->Type(), image->Size(), CSize(0, 0, 0));
    const Operation operation = OperationOfName(m_operation);
    CSphericalMorphology morphology(nullptr, nullptr);
    (morphology.*operation)(*result, view, static_cast<float>(m_radius));
    contract::Inherit(
        *result, *image,
        CString("morph(spherical,op=%1,r=%2)", CString::ENC_UTF8).Arg(m_operation).Arg(m_radius, 0));
    contract::HandOver(tree, contract::EnHandOver::NEW_DOCUMENTS, std::move(result),
                       contract::LabelOf(*m_focusedDocument, "unnamed"));
}

} // namespace quillon
