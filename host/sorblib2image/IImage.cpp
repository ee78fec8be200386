#include "sorblib2image/IImage.h"

namespace ORVEN {

IImage::~IImage() = default;

IImage::IAccess::~IAccess() = default;

} // namespace ORVEN
