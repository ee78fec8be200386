#include "QuillonTransformation/CExactBisector.h"

#include "QuillonTransformation/axis/BisectorKernel.h"

namespace ORVEN {

CExactBisector::CExactBisector(const char* name, const IObject* parent)
    : CAlgorithm(name, parent) {}

void CExactBisector::ExactBisector(IProgress& progress, const IImage& squaredDistance, const IImage& object,
                                   IImage& output, float angle, const std::string& table) {
    ComputeBisector(squaredDistance, object, output, angle, table.empty() ? Lut() : table, progress);
}

std::string& CExactBisector::Lut() {
    static std::string path;
    return path;
}

} // namespace ORVEN
