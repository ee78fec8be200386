#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

#include <cstdint>
#include <string>

namespace ORVEN {

/// Skeletons of 3-d binary objects: exact medial axis, filtered by radius and bisector angle, then thinning
/// that keeps what was left of the axis and the topology of the object. All stages in one call, or each by
/// itself.
///
/// Binary images are IMAGE_BINARY_FG, where all that is not 0 is object; distances are squared, in pixels, as
/// IMAGE_GREY_32; bisectors are IMAGE_GREY_F, in radians. Images of one call have one size. What lies outside
/// an image is background, and spacing plays no part. Each operation fills all of its output. A cancelled one
/// leaves early, without an error; what it had not computed by then is 0. The bool arguments are not used.
/// Results do not depend on the number of threads; thinning uses one.
///
/// Raises `CException` for types, sizes and distances that do not fit, "Invalid neighborhood id '%1'." for
/// another neighbourhood than "N6", "N14_1", "N14_2" and "N26", and "Look-up table '%1' is not usable: %2.".
///
/// M. Couprie, D. Coeurjolly, R. Zrour, Discrete bisector function and Euclidean skeleton in 2D and 3D, 2007.
/// How each stage works, and at what cost: `SquaredDistancesToBackground`, `MarkMedialAxis`,
/// `ComputeBisector`, `ThinByDistance`.
class CSkeletonCouprierZour : public CAlgorithm {
public:
    CSkeletonCouprierZour(const char* name, const IObject* parent);

    /// Runs all stages. Kept are the pixels of the medial axis with at least the radius, in pixels, and the
    /// angle; a component without any still leaves a pixel, or what its topology asks for. Beside input and
    /// output: at most 10 bytes a pixel, or 14 beyond about 1100^3.
    void RunSkeletonCouprierZour(const IImage& input, IImage& output, const std::string& neighborhood,
                                 std::int64_t radius, float angle, CProgressProxy& progress, bool reserved);

    /// The squared distance of each object pixel to the background.
    void SquaredEdt(const IImage& input, IImage& output, CProgressProxy& progress);

    /// The centres of the maximal balls of at least the squared radius.
    void MedialAxis(const IImage& squaredDistance, IImage& output, std::int64_t squaredRadius,
                    CProgressProxy& progress, bool reserved);

    /// The bisector angle of the pixels of the medial axis.
    void Bisector(const IImage& squaredDistance, const IImage& medialAxis, IImage& output,
                  CProgressProxy& progress, bool reserved);

    /// The pixels of the medial axis with at least the radius, of which the sign does not matter, and the
    /// angle.
    ///
    /// Takes `bisector` over and frees it at the end, also when it raises, if `CSorbImageFactory` made it; an
    /// image of the caller's own is left alone.
    void ConstrainedSet(const IImage& medialAxis, const IImage& squaredDistance, const IImage& bisector,
                        IImage& output, std::int64_t radius, float angle, CProgressProxy& progress);

    /// Thins the input in the order of the distances and keeps the pixels of the third image, which is the
    /// medial axis or a part of it.
    ///
    /// Takes `medialAxis` over and frees it at the end, also when it raises, if `CSorbImageFactory` made it;
    /// an image of the caller's own is left alone.
    void EuclideanSkeleton(const IImage& input, const IImage& squaredDistance, const IImage& medialAxis,
                           IImage& output, const std::string& neighborhood, CProgressProxy& progress);

    /// The paths of the look-up tables of medial axis and bisector for the whole process; empty for those
    /// that are built in. They must not be changed while a skeleton is computed.
    static std::string& MaLut();
    static std::string& BsLut();
};

} // namespace ORVEN
