#include "topology/StSkeletonParameters.h"

#include "plugin/LookUpTablePath.h"
#include "plugin/PluginContract.h"

#include <QuillonTransformation/CSkeletonCouprierZour.h>

namespace quillon {

using namespace ORVEN;

void StSkeletonParameters::Configure(const CValueMap& settings) {
    TakePathOfExistingFile(settings, "malut", CSkeletonCouprierZour::MaLut());
    TakePathOfExistingFile(settings, "bslut", CSkeletonCouprierZour::BsLut());
}

void StSkeletonParameters::Update(const CValueMap& tree) {
    StLocalTopology::Update(tree);
    contract::ReadParameter(tree, "parameters/minRadius", minRadius);
    double angle = 0.0;
    if (contract::ReadParameter(tree, "parameters/minAngle", angle))
        minAngle = static_cast<float>(angle);
}

CString StSkeletonParameters::HistoryLine(const char* text) const {
    // The angle replaces the placeholder after "r=" and the radius the one after "a=". This is kept because
    // readers of histories expect these lines.
    return StLocalTopology::HistoryLine(text).Arg(static_cast<double>(minAngle), 0).Arg(minRadius, 0);
}

} // namespace quillon
