#include "sorblib2image/CBox.h"

namespace ORVEN {

CSize CBox::Size() const {
    CSize size(last.x - first.x + 1, last.y - first.y + 1, last.z - first.z + 1);
    size.SetDim(first.Dim());
    return size;
}

} // namespace ORVEN
