#include "utils/PointOperations.h"

#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CQuillonHeaderTools.h>

namespace ORVEN {

CPointOperations::~CPointOperations() = default;

visitors::CAnalyzerMinMax<float> StoreMinMax(IImage& image, const char* name, const IObject* parent) {
    visitors::CAnalyzerMinMax<float> extrema;
    CPointOperations(name, parent).Visit(extrema, image);
    CValueVector values;
    values.PushBack(new CValueDouble(extrema.minimum));
    values.PushBack(new CValueDouble(extrema.maximum));
    CQuillonHeaderTools::SetMetaInfo(image, CQuillonHeaderTools::c_sMetaMinMax.c_str(), values);
    return extrema;
}

} // namespace ORVEN
