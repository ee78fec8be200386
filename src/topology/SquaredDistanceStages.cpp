#include "topology/SquaredDistanceStages.h"

#include "utils/PluginContract.h"

namespace quillon {

using namespace ORVEN;

const CImage* BinaryImageOf(const CValueMap* document) {
    const CImage* image = contract::ContentOf(document);
    return image != nullptr && image->Type() == IMAGE_BINARY_FG ? image : nullptr;
}

} // namespace quillon
