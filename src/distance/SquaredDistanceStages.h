#pragma once

#include <QuillonBase/CProgressProxy.h>
#include <QuillonTransformation/CSkeletonCouprierZour.h>
#include <sorblib2image/CImage.h>

#include <memory>

namespace quillon {

/// Runs the two stages of the exact plug-ins: first the squared distances of the object, then `run(algorithm,
/// progress, squaredDistance, result)` with an algorithm of class `Algorithm`. Cancellation is left to the
/// stages; the result is delivered in any case.
template <class Algorithm, class Run>
std::unique_ptr<ORVEN::CImage> ComputeFromSquaredDistances(const ORVEN::CImage& object,
                                                           const ORVEN::IImage::CType& resultType,
                                                           const Run& run) {
    using namespace ORVEN;
    const CSize none(0, 0, 0);
    CImage squaredDistance(IMAGE_GREY_32, object.Size(), none);
    CSkeletonCouprierZour skeleton(nullptr, nullptr);
    auto& progress = skeleton.ProgressProxy();
    skeleton.SquaredEdt(object, squaredDistance, progress);

    auto result = std::make_unique<CImage>(resultType, object.Size(), none);
    Algorithm algorithm(nullptr, nullptr);
    // From here on the progress proxy of the first algorithm reports for the second one.
    progress = algorithm.ProgressProxy();
    run(algorithm, progress, squaredDistance, *result);
    return result;
}

} // namespace quillon
