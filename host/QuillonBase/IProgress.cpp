#include "QuillonBase/IProgress.h"

namespace ORVEN {

IProgress::~IProgress() = default;

} // namespace ORVEN
