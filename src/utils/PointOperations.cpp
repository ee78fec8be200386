#include "utils/PointOperations.h"

#include <sorblib2image/CQuillonHeaderTools.h>

namespace ORVEN {

CPointOperations::~CPointOperations() = default;

visitors::CAnalyzerMinMax<float> StoreMinMax(IImage& image, const char* name, const IObject* parent) {
    visitors::CAnalyzerMinMax<float> extrema;
    CPointOperations(name, parent).Visit(extrema, image);
    CQuillonHeaderTools::SetMinMax(image, extrema.minimum, extrema.maximum);
    return extrema;
}

} // namespace ORVEN
