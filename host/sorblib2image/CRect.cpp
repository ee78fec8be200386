#include "sorblib2image/CRect.h"

namespace ORVEN {

CSize CRect::Size() const { return {last.x - first.x + 1, last.y - first.y + 1}; }

} // namespace ORVEN
