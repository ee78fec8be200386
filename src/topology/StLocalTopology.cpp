#include "topology/StLocalTopology.h"

#include "plugin/PluginContract.h"

namespace quillon {

using namespace ORVEN;

bool StLocalTopology::Accepts(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(
        tree, [](const CImage& image) { return image.Type() == IMAGE_BINARY_FG && image.Size().Dim() == 3; });
}

void StLocalTopology::Update(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, focusedDocument, contract::EnFocusTest::ANY_ENTRY);
    contract::ReadParameter(tree, "parameters/Neighborhood", neighborhood);
}

const CImage* StLocalTopology::BinaryImage() const { return BinaryImageOf(focusedDocument); }

const CImage* BinaryImageOf(const CValueMap* document) {
    const CImage* image = contract::ImageContentOf(document);
    return image != nullptr && image->Type() == IMAGE_BINARY_FG ? image : nullptr;
}

CString StLocalTopology::HistoryLine(const char* text) const {
    return CString(text, CString::ENC_UTF8).Arg(neighborhood);
}

} // namespace quillon
