#include "ConvexifyObjects.h"

#include "measurement/ConvexifyLabels.h"
#include "plugin/PluginContract.h"

#include <sorblib2core/CStringTools.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <memory>
#include <utility>

using namespace ORVEN;
namespace contract = quillon::contract;

void CConvexifyObjectsPlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

bool CConvexifyObjectsPlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage& image) {
        const IImage::CType& type = image.Type();
        const int dimension = image.Size().Dim();
        return (type == IMAGE_BINARY_FG || type == IMAGE_GREY_8 || type == IMAGE_GREY_16 ||
                type == IMAGE_GREY_32) &&
               (dimension == 2 || dimension == 3);
    });
}

void CConvexifyObjectsPlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_ENTRY);
    contract::ReadParameter(tree, "parameters/method", m_method);
}

void CConvexifyObjectsPlugin::GetData(CValueMap& tree) {
    CImage* image = contract::ContentOf(m_focusedDocument);
    if (image == nullptr)
        return;
    auto result = std::make_unique<CImage>(image->Type(), image->Size(), CSize(0, 0, 0));
    const std::size_t count = quillon::ConvexifyLabels(*image, *result, m_method);
    contract::Inherit(
        *result, *image,
        CString("ConvexifyObjects<" + CStringTools::toString(count) + ">(" + m_method.Std() + ")"));
    CQuillonHeaderTools::SetNumberOfLabels(*result, count);
    contract::HandOver(tree, contract::EnHandOver::NEW_DOCUMENTS, std::move(result),
                       contract::LabelOf(*m_focusedDocument, ""));
}
