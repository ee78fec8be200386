#include "pixels/Geometry.h"

#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/StImageGeometry.h>

namespace quillon::basics {

using namespace ORVEN;

Triple SpacingOf(const CImage& image) {
    Triple spacing{1.0, 1.0, 1.0};
    CQuillonHeaderTools::GetSpacing(image, spacing[0], spacing[1], spacing[2]);
    return spacing;
}

void MoveFirstPixel(CImage& result, const Triple& firstPixel) {
    if (firstPixel == Triple{})
        return;
    StImageGeometry geometry = StImageGeometry::Of(result);
    geometry.origin = geometry.PositionOf(firstPixel);
    geometry.Store(result);
}

} // namespace quillon::basics
