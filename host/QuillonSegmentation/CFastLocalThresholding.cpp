#include "QuillonSegmentation/CFastLocalThresholding.h"

namespace ORVEN {

CFastLocalThresholding::CFastLocalThresholding(const char* name, const IObject* parent)
    : CAlgorithm(name, parent) {}

void CFastLocalThresholding::Binarize(IImage&, const IImage&) {}

} // namespace ORVEN
