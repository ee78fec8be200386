#include "FieldFeaturesGrayValueImage.h"

#include "plugin/PluginContract.h"

#include <QuillonMeasurement/FieldFeaturesOverGreyValues.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <memory>

namespace quillon {

using namespace ORVEN;

namespace {

bool IsMeasurable(const IImage::CType& type) {
    return type == IMAGE_BINARY_FG || type == IMAGE_GREY_8 || type == IMAGE_GREY_16;
}

std::unique_ptr<CValueMap> Measure(const CImage& image) {
    StFieldFeaturesParameter parameter;
    CQuillonHeaderTools::GetSpacing(image, parameter.spacingX, parameter.spacingY, parameter.spacingZ);
    return FieldFeaturesOverGreyValues(ConfigurationsHistograms(image), parameter);
}

} // namespace

void CFieldFeaturesGrayValueImagePlugin::GetPluginSetup(CValueMap& setup) {
    contract::DescribePlugin(setup, "FieldFeaturesGrayValueImagePlugin");
}

bool CFieldFeaturesGrayValueImagePlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage& image) {
        const int dimension = image.Size().Dim();
        return IsMeasurable(image.Type()) && (dimension == 2 || dimension == 3);
    });
}

void CFieldFeaturesGrayValueImagePlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_ENTRY);
}

void CFieldFeaturesGrayValueImagePlugin::GetData(CValueMap& tree) {
    CImage* image = contract::ImageContentOf(m_focusedDocument);
    if (image == nullptr || !IsMeasurable(image->Type()))
        return;
    CQuillonHeaderTools::SetFeatures(*image, "FieldFeaturesOverGrayvalue", *Measure(*image));
    contract::RequestView(tree, *m_focusedDocument);
}

} // namespace quillon
