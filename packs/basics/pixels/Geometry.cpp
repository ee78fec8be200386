#include "pixels/Geometry.h"

#include <sorblib2core/CValueDouble.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <string>

namespace quillon::basics {

using namespace ORVEN;

Triple SpacingOf(const CImage& image) {
    Triple spacing{1.0, 1.0, 1.0};
    CQuillonHeaderTools::GetSpacing(image, spacing[0], spacing[1], spacing[2]);
    return spacing;
}

void MoveFirstPixel(CImage& result, const Triple& firstPixel) {
    constexpr std::array axes{"x", "y", "z"};
    const Triple spacing = SpacingOf(result);
    for (std::size_t axis = 0; axis < axes.size(); ++axis) {
        const std::string key = std::string("origin/") + axes[axis];
        const CValue* origin = result.Attributes().Entry(key, true);
        if (origin == nullptr || origin->GenericType() != CValue::VAL_DOUBLE || firstPixel[axis] == 0.0)
            continue;
        // The axes of the image are those of the space: there are no directions among the attributes yet.
        const double moved = origin->Double() + firstPixel[axis] * spacing[axis];
        result.Attributes().SetEntry(key, new CValueDouble(moved));
    }
}

} // namespace quillon::basics
