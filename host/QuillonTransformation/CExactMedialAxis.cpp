#include "QuillonTransformation/CExactMedialAxis.h"

#include "QuillonTransformation/axis/MedialAxisKernel.h"

#include <algorithm>
#include <limits>

namespace ORVEN {

CExactMedialAxis::CExactMedialAxis(const char* name, const IObject* parent)
    : CAlgorithm(name, parent) {}

void CExactMedialAxis::ExactMedialAxis(IProgress& progress, const IImage& squaredDistance, IImage& output,
                                       std::uint64_t squaredRadius, const std::string& table) {
    // No distance approaches the limit.
    constexpr std::uint64_t limit = std::numeric_limits<std::int64_t>::max();
    MarkMedialAxis(squaredDistance, output, static_cast<std::int64_t>(std::min(squaredRadius, limit)),
                   table.empty() ? Lut() : table, progress);
}

std::string& CExactMedialAxis::Lut() {
    static std::string path;
    return path;
}

} // namespace ORVEN
