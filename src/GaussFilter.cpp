#include "GaussFilter.h"

#include "plugin/PluginContract.h"
#include "utils/PointOperations.h"

#include <QuillonFilter/CYoungVanVliet.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/CQuillonHeaderTools.h>

namespace quillon {

using namespace ORVEN;

void CGaussFilterPlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

bool CGaussFilterPlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage& image) {
        const IImage::CType& type = image.Type();
        return image.Size().Dim() == 3 && (type == IMAGE_GREY_8 || type == IMAGE_GREY_16 ||
                                           type == IMAGE_GREY_32 || type == IMAGE_GREY_F);
    });
}

void CGaussFilterPlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_ENTRY);
    contract::ReadParameter(tree, "parameters/sigma", m_sigma);
}

void CGaussFilterPlugin::GetData(CValueMap& tree) {
    const CImage* image = contract::ContentOf(m_focusedDocument);
    if (image == nullptr)
        return;
    const int dimension = image->Size().Dim();
    if (dimension != 3) {
        // "%1d" is contract wording: the dimension is followed by a "d".
        throw CException(
            "GaussFilterPlugin",
            CString("Gauss filter only supports 3d images, current image is %1d.", CString::ENC_UTF8)
                .Arg(dimension, 0),
            nullptr);
    }
    auto result = std::make_unique<CImage>(IMAGE_GREY_F, image->Size(), CSize(0, 0, 0));
    CYoungVanVliet(m_sigma, nullptr, nullptr).gauss(*result, *image);

    contract::Inherit(*result, *image, CString("gaussian(sigma=%1)", CString::ENC_UTF8).Arg(m_sigma, 0));
    // Stored again, so that the result has a spacing even if the input has none.
    double x = 1.0;
    double y = 1.0;
    double z = 1.0;
    CQuillonHeaderTools::GetSpacing(*image, x, y, z);
    CQuillonHeaderTools::SetSpacing(*result, x, y, z);
    StoreMinMax(*result);
    contract::HandOver(tree, contract::EnHandOver::NEW_DOCUMENTS, std::move(result),
                       contract::LabelOf(*m_focusedDocument, "unnamed"));
}

} // namespace quillon
