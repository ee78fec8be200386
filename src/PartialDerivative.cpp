#include "PartialDerivative.h"

#include "distance/IsotropicPixels.h"
#include "plugin/PluginContract.h"
#include "utils/ImageTypeDispatch.h"
#include "utils/PointOperations.h"
#include "utils/visitors/PointOperationCopy.h"

#include <QuillonFilter/CPartialDerivatives.h>
#include <sorblib2core/CString.h>

namespace quillon {

using namespace ORVEN;

namespace {

void Copy(CImage& target, const CImage& source) {
    DispatchImageType<float, unsigned int, unsigned short, unsigned char>(
        "Copy", source.Type(), [&]<class T>(std::type_identity<T>) {
            visitors::CCopy<T> copy;
            CPointOperations(nullptr, nullptr).Visit(copy, target, source);
        });
}

} // namespace

void CPartialDerivativePlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

bool CPartialDerivativePlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage& image) {
        const int dimension = image.Size().Dim();
        return image.Type() == IMAGE_GREY_F && (dimension == 2 || dimension == 3);
    });
}

void CPartialDerivativePlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_ENTRY);
    contract::ReadParameter(tree, "parameters/orderx", m_orderX);
    contract::ReadParameter(tree, "parameters/ordery", m_orderY);
    contract::ReadParameter(tree, "parameters/orderz", m_orderZ);
}

void CPartialDerivativePlugin::GetData(CValueMap& tree) {
    const CImage* image = contract::ContentOf(m_focusedDocument);
    if (image == nullptr)
        return;
    RequireIsotropicPixels(*image, "PartialDerivativePlugin");
    // The derivative is computed in place on a copy, so that the input is unchanged.
    auto result = std::make_unique<CImage>(image->Type(), image->Size(), CSize(0, 0, 0));
    Copy(*result, *image);
    CPartialDerivatives(nullptr, nullptr).Derivative(*result, m_orderX, m_orderY, m_orderZ);

    contract::Inherit(
        *result, *image,
        CString("partderiv(%1,%2,%3)", CString::ENC_UTF8).Arg(m_orderX, 0).Arg(m_orderY, 0).Arg(m_orderZ, 0));
    if (image->Type() == IMAGE_GREY_F)
        StoreMinMax(*result);
    contract::HandOver(tree, contract::EnHandOver::NEW_DOCUMENTS, std::move(result),
                       contract::LabelOf(*m_focusedDocument, "unnamed"));
}

} // namespace quillon
