#include "EuclideanSkeleton.h"

#include "plugin/PluginContract.h"

#include <QuillonTransformation/CSkeletonCouprierZour.h>
#include <sorblib2image/CSorbImageFactory.h>

#include <memory>

namespace quillon {

using namespace ORVEN;

namespace {

std::unique_ptr<IImage> Created(const IImage::CType& type, const CSize& size) {
    return std::unique_ptr<IImage>(CSorbImageFactory::Obj().Create(type, size));
}

/// Called after a stage: advances the progress and returns true unless the run was cancelled.
bool GoesOn(CProgressProxy& progress) {
    if (progress.IsCancelled())
        return false;
    progress.Step(1, 0);
    return true;
}

} // namespace

void CEuclideanSkeletonPlugin::GetPluginSetup(CValueMap& setup) {
    contract::DescribePlugin(setup, "CEuclideanSkeletonPlugin");
}

void CEuclideanSkeletonPlugin::Configure(void* /*context*/, CValueMap& settings) {
    StSkeletonParameters::Configure(settings);
}

void CEuclideanSkeletonPlugin::Reset() {}

bool CEuclideanSkeletonPlugin::TestParameters(const CValueMap& tree) {
    return StSkeletonParameters::Accepts(tree);
}

void CEuclideanSkeletonPlugin::UpdateParameters(const CValueMap& tree) { m_parameters.Update(tree); }

void CEuclideanSkeletonPlugin::GetData(CValueMap& tree) {
    const CImage* image = m_parameters.BinaryImage();
    if (image == nullptr)
        return;
    const CSize& size = image->Size();
    const std::int64_t radius = m_parameters.minRadius;
    const CString label = contract::LabelOf(*m_parameters.focusedDocument, "EuclideanSkeleton");

    // A cancelled run frees the images in reverse order when it leaves the scope: the newest first, the
    // result last.
    auto result = std::make_unique<CImage>(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
    CSkeletonCouprierZour algorithm(nullptr, nullptr);
    auto& progress = algorithm.ProgressProxy();
    const auto squaredDistance = Created(IMAGE_GREY_32, size);
    algorithm.SquaredEdt(*image, *squaredDistance, progress);
    if (!GoesOn(progress))
        return;
    auto medialAxis = Created(IMAGE_BINARY_FG, size);
    algorithm.MedialAxis(*squaredDistance, *medialAxis, radius * radius, progress, false);
    if (!GoesOn(progress))
        return;
    auto bisector = Created(IMAGE_GREY_F, size);
    algorithm.Bisector(*squaredDistance, *medialAxis, *bisector, progress, false);
    if (!GoesOn(progress))
        return;
    // The constraint set is discarded and the skeleton is constrained to the medial axis instead, so the
    // angle has no effect. This is deliberate: results have always been computed this way. `ConstrainedSet`
    // and `EuclideanSkeleton` take ownership of the image that is released to them.
    const auto constraintSet = Created(IMAGE_BINARY_FG, size);
    algorithm.ConstrainedSet(*medialAxis, *squaredDistance, *bisector.release(), *constraintSet, radius,
                             m_parameters.minAngle, progress);
    if (!GoesOn(progress))
        return;
    algorithm.EuclideanSkeleton(*image, *squaredDistance, *medialAxis.release(), *result,
                                m_parameters.neighborhood.Std(), progress);

    contract::Inherit(*result, *image, m_parameters.HistoryLine("skeleton(euclidean,%1,r=%2,a=%3)"));
    contract::HandOver(tree, contract::EnHandOver::INTO_LIST, std::move(result), label);
}

} // namespace quillon
