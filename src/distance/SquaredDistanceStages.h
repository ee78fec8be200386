#pragma once

#include <QuillonBase/CProgressProxy.h>
#include <QuillonTransformation/CSkeletonCouprierZour.h>
#include <sorblib2image/CImage.h>

#include <memory>

namespace quillon {

/// Runs the two stages of the exact plug-ins: squared distances of the object first, then the algorithm of
/// class `Algorithm`, as `run(algorithm, progress, squaredDistance, result)`. Cancellation is left to them:
/// the result is delivered whatever they make of it.
template <class Algorithm, class Run>
std::unique_ptr<ORVEN::CImage> ComputeFromSquaredDistances(const ORVEN::CImage& object,
                                                           const ORVEN::IImage::CType& resultType,
                                                           const Run& run) {
    using namespace ORVEN;
    const CSize none(0, 0, 0);
    CImage squaredDistance(IMAGE_GREY_32, object.Size(), none);
    CSkeletonCouprierZour skeleton(nullptr, nullptr);
    auto& progress = static_cast<CProgressProxy&>(skeleton.Progress());
    skeleton.SquaredEdt(object, squaredDistance, progress);

    auto result = std::make_unique<CImage>(resultType, object.Size(), none);
    Algorithm algorithm(nullptr, nullptr);
    // From here on the sink of the first algorithm speaks for the second.
    progress = static_cast<const CProgressProxy&>(algorithm.Progress());
    run(algorithm, progress, squaredDistance, *result);
    return result;
}

} // namespace quillon
