#include "PointwiseRelation.h"

#include "measurement/CompareImages.h"
#include "plugin/PluginContract.h"
#include "plugin/Windows.h"

#include <sorblib2core/UnwrapPointer.h>

#include <QString>

#include <algorithm>
#include <array>
#include <string>

namespace quillon {

using namespace ORVEN;

void CPointwiseRelationPlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

void CPointwiseRelationPlugin::Configure(void*, CValueMap&) { m_secondImage = nullptr; }

void CPointwiseRelationPlugin::Reset() {
    m_focusedDocument = nullptr;
    m_secondImage = nullptr;
}

bool CPointwiseRelationPlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage& image) {
        // Complex images are accepted here; the comparison then rejects them with an explanation.
        const std::array types{IMAGE_BINARY_FG, IMAGE_GREY_8, IMAGE_GREY_16,
                               IMAGE_GREY_32,   IMAGE_GREY_F, IMAGE_COMPLEX_F};
        return std::find(types.begin(), types.end(), image.Type()) != types.end();
    });
}

void CPointwiseRelationPlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_INPUT);
    if (tree.HasEntry("parameters/Image2"))
        m_secondImage = UnwrapPointer<CImage>(tree.Entry("parameters/Image2", true));
}

void CPointwiseRelationPlugin::GetData(CValueMap&) {
    const CImage* image = contract::ContentOf(m_focusedDocument);
    if (image == nullptr || m_secondImage == nullptr)
        return;
    std::string message;
    {
        const CWaitCursor cursor;
        message = CompareImages(*image, *m_secondImage);
    }
    // A window is only needed here, so images that cannot be compared are rejected by the comparison first.
    ShowBox("PointwiseRelation", EnBox::INFORMATION, nullptr, "PointwiseRelation",
            QString::fromStdString(message));
}

} // namespace quillon
