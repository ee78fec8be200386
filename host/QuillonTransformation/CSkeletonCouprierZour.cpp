#include "QuillonTransformation/CSkeletonCouprierZour.h"

#include "QuillonTransformation/axis/BisectorKernel.h"
#include "QuillonTransformation/axis/MedialAxisKernel.h"
#include "QuillonTransformation/distance/CSquaredDistanceView.h"
#include "QuillonTransformation/distance/SquaredDistances.h"
#include "QuillonTransformation/thinning/OrderedThinning.h"

#include <QuillonBase/CWorkPace.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/CSorbImageFactory.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <memory>
#include <optional>

namespace ORVEN {

namespace {

const char* const c_run = "CSkeletonCouprierZour::RunSkeletonCouprierZour";
const char* const c_constrainedSet = "CSkeletonCouprierZour::ConstrainedSet";

/// The radius is limited to a value whose square is far above every squared distance.
std::int64_t Squared(std::int64_t radius) {
    constexpr std::int64_t limit = std::int64_t{1} << 31;
    const std::int64_t cut = std::clamp(radius, -limit, limit);
    return cut * cut;
}

} // namespace

CSkeletonCouprierZour::CSkeletonCouprierZour(const char* name, const IObject* parent)
    : CAlgorithm(name, parent) {}

void CSkeletonCouprierZour::RunSkeletonCouprierZour(const IImage& input, IImage& output,
                                                    const std::string& neighborhood, std::int64_t radius,
                                                    float angle, CProgressProxy& progress,
                                                    bool /*isReserved*/) {
    RequireSkeletonNeighborhood(neighborhood); // checked before the lengthy stages
    const CSize& size = input.Size();
    const CSize none(0, 0, 0);
    CImage squaredDistance(IMAGE_GREY_32, size, none);
    const CSquaredDistanceView distances(c_run, squaredDistance,
                                         SquaredDistancesToBackground(input, squaredDistance, progress));
    // The output holds the medial axis and then what is kept of it, until it is replaced by the skeleton. The
    // thinning still needs the input, which then must be another image.
    std::optional<CImage> ownKept;
    IImage& kept = &input == &output ? ownKept.emplace(IMAGE_BINARY_FG, size, none) : output;
    const auto findKept = [&] {
        if (progress.IsCancelled())
            return;
        MarkMedialAxis(distances, kept, Squared(radius), MaLut(), progress);
        // No angle is below 0, so that the axis alone decides. A table for the bisector is read in any case,
        // to report one that is not usable.
        if ((angle <= 0.0F && BsLut().empty()) || progress.IsCancelled())
            return;
        CImage bisector(IMAGE_GREY_F, size, none);
        Bisector(squaredDistance, kept, bisector, progress, false);
        if (!progress.IsCancelled())
            ConstrainedSet(kept, squaredDistance, bisector, kept, radius, angle, progress);
    };
    findKept();
    if (progress.IsCancelled())
        CImageView<unsigned char>(output).Fill(0);
    else
        ThinByDistance(input, distances, kept, output, neighborhood, progress);
}

void CSkeletonCouprierZour::SquaredEdt(const IImage& input, IImage& output, CProgressProxy& progress) {
    SquaredDistancesToBackground(input, output, progress);
}

void CSkeletonCouprierZour::MedialAxis(const IImage& squaredDistance, IImage& output,
                                       std::int64_t squaredRadius, CProgressProxy& progress,
                                       bool /*isReserved*/) {
    MarkMedialAxis(squaredDistance, output, squaredRadius, MaLut(), progress);
}

void CSkeletonCouprierZour::Bisector(const IImage& squaredDistance, const IImage& medialAxis, IImage& output,
                                     CProgressProxy& progress, bool /*isReserved*/) {
    ComputeBisector(squaredDistance, medialAxis, output, 0.0F, BsLut(), progress);
}

void CSkeletonCouprierZour::ConstrainedSet(const IImage& medialAxis, const IImage& squaredDistance,
                                           const IImage& bisector, IImage& output, std::int64_t radius,
                                           float angle, CProgressProxy& progress) {
    const auto takenOver = CSorbImageFactory::TakeOver(bisector);
    RequireFitting(c_constrainedSet, squaredDistance, IMAGE_GREY_32, squaredDistance);
    RequireFitting(c_constrainedSet, medialAxis, IMAGE_BINARY_FG, squaredDistance);
    RequireFitting(c_constrainedSet, bisector, IMAGE_GREY_F, squaredDistance);
    RequireFitting(c_constrainedSet, output, IMAGE_BINARY_FG, squaredDistance);
    const CImageView<const unsigned char> axis(medialAxis);
    const CImageView<const std::uint32_t> distances(squaredDistance);
    const CImageView<const float> angles(bisector);
    const CImageView<unsigned char> kept(output);
    const std::int64_t squaredRadius = Squared(radius);

    const auto keep = [&](std::int64_t y, std::int64_t z) {
        const unsigned char* const axisRow = axis.Row(y, z);
        const std::uint32_t* const distanceRow = distances.Row(y, z);
        const float* const angleRow = angles.Row(y, z);
        unsigned char* const row = kept.Row(y, z);
        for (std::int64_t x = 0; x < kept.nx; ++x)
            row[x] = axisRow[x] != 0 && distanceRow[x] >= squaredRadius && angleRow[x] >= angle ? 1 : 0;
    };
    if (!ForEachRowInParallel(kept, 2, progress, "constraint set", keep))
        CImageView<unsigned char>(output).Fill(0);
}

void CSkeletonCouprierZour::EuclideanSkeleton(const IImage& input, const IImage& squaredDistance,
                                              const IImage& medialAxis, IImage& output,
                                              const std::string& neighborhood, CProgressProxy& progress) {
    const auto takenOver = CSorbImageFactory::TakeOver(medialAxis);
    ThinByDistance(input, squaredDistance, medialAxis, output, neighborhood, progress);
}

std::string& CSkeletonCouprierZour::MaLut() {
    static std::string path;
    return path;
}

std::string& CSkeletonCouprierZour::BsLut() {
    static std::string path;
    return path;
}

} // namespace ORVEN
