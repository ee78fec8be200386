#include "QuillonSegmentation/CWatershed.h"

namespace ORVEN {

CWatershed::~CWatershed() = default;

} // namespace ORVEN
