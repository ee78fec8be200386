#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

#include <cstdint>
#include <string>

namespace ORVEN {

/// Skeletons of 3-d binary objects: exact medial axis, filtered by radius and bisector angle, then thinning
/// that keeps the remaining pixels of the axis and the topology of the object. The stages can be run in one
/// call or separately.
///
/// Binary images are IMAGE_BINARY_FG, where every non-zero pixel is object. Distances are squared, in pixels,
/// as IMAGE_GREY_32; bisectors are IMAGE_GREY_F, in radians. All images of a call have the same size.
/// Everything outside an image is background, and spacing is ignored. Each operation fills all of its output.
/// A cancelled operation returns early, without an error; pixels that were not computed are 0. The bool
/// arguments are not used. Results do not depend on the number of threads; thinning uses one.
///
/// Raises `CException` for types, sizes and distances that do not fit, "Invalid neighborhood id '%1'." for a
/// neighbourhood other than "N6", "N14_1", "N14_2" and "N26", and "Look-up table '%1' is not usable: %2.".
///
/// M. Couprie, D. Coeurjolly, R. Zrour, Discrete bisector function and Euclidean skeleton in 2D and 3D, 2007.
/// For the method and cost of each stage, see `SquaredDistancesToBackground`, `MarkMedialAxis`,
/// `ComputeBisector` and `ThinByDistance`.
class CSkeletonCouprierZour : public CAlgorithm {
public:
    CSkeletonCouprierZour(const char* name, const IObject* parent);

    /// Runs all stages. Keeps the pixels of the medial axis with at least the given radius, in pixels, and
    /// the given angle. A component without such pixels still leaves one pixel, or whatever its topology
    /// requires. With an angle of 0 or less, the bisector is not computed, which takes two thirds of the time
    /// for thin objects. Memory in addition to input and output: at most 9 bytes per pixel, or 13 beyond
    /// about 1300^3, and one more if the output is the input.
    void RunSkeletonCouprierZour(const IImage& input, IImage& output, const std::string& neighborhood,
                                 std::int64_t radius, float angle, CProgressProxy& progress, bool isReserved);

    /// Computes the squared distance of each object pixel to the background.
    void SquaredEdt(const IImage& input, IImage& output, CProgressProxy& progress);

    /// Marks the centres of the maximal balls of at least the given squared radius.
    void MedialAxis(const IImage& squaredDistance, IImage& output, std::int64_t squaredRadius,
                    CProgressProxy& progress, bool isReserved);

    /// Computes the bisector angle of the pixels of the medial axis.
    void Bisector(const IImage& squaredDistance, const IImage& medialAxis, IImage& output,
                  CProgressProxy& progress, bool isReserved);

    /// Selects the pixels of the medial axis with at least the given radius, whose sign is ignored, and the
    /// given angle.
    ///
    /// Takes ownership of `bisector` if `CSorbImageFactory` created it, and frees it at the end, even when it
    /// raises an error. Any other image remains the caller's.
    void ConstrainedSet(const IImage& medialAxis, const IImage& squaredDistance, const IImage& bisector,
                        IImage& output, std::int64_t radius, float angle, CProgressProxy& progress);

    /// Thins the input in the order of the distances and keeps the pixels of the third image, which is the
    /// medial axis or a part of it.
    ///
    /// Takes ownership of `medialAxis` if `CSorbImageFactory` created it, and frees it at the end, even when
    /// it raises an error. Any other image remains the caller's.
    void EuclideanSkeleton(const IImage& input, const IImage& squaredDistance, const IImage& medialAxis,
                           IImage& output, const std::string& neighborhood, CProgressProxy& progress);

    /// The process-wide paths of the look-up tables of medial axis and bisector; empty for the built-in ones.
    /// They must not be changed while a skeleton is being computed.
    static std::string& MaLut();
    static std::string& BsLut();
};

} // namespace ORVEN
