#pragma once

#include "QuillonTransformation/distance/CLowerEnvelope.h"

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

#include <memory>

namespace ORVEN {

/// The exact Euclidean distance map of a binary image of dimension 1, 2 or 3.
///
/// Input: IMAGE_BINARY_FG. Output: IMAGE_GREY_F or IMAGE_GREY_32 of the same size, 0 at the seeds and
/// elsewhere the distance to the nearest seed, from pixel centre to pixel centre. The seeds are the pixels of
/// the phase that is not measured: 0 when distances are computed on the foreground, else 1. An image without
/// any seed gives 0 everywhere.
///
/// Unit: that of the spacing. A float map is given the spacing of the binary image. An integer map is
/// measured in its own spacing, whose squares are rounded; distances are truncated to integers and limited to
/// 0xFFFFFFFE. Pixels beyond the border are ignored; with `embeddedEdge`, those just outside are seeds,
/// whatever the phase.
///
/// Squared distances up to 2^24 pixels are exact; beyond that, each axis adds a rounding error of floats.
/// With equal spacing s along all axes, the squares are whole numbers times float(s * s).
///
/// Time: linear in the number of pixels. Memory: about a hundred lines per thread. The result is the same for
/// any number of threads. Each extent must be below 65535.
///
/// The transform works axis by axis: T. Hirata, A unified linear-time algorithm for computing distance maps,
/// 1996; A. Meijster, J. Roerdink, W. Hesselink, A general algorithm for computing distance transforms in
/// linear time, 2000; C. Maurer, R. Qi, V. Raghavan, A linear time algorithm for computing exact Euclidean
/// distance transforms of binary images in arbitrary dimensions, 2003.
class CEdtVoronoi : public CAlgorithm {
public:
    CEdtVoronoi(const char* name, const IObject* parent);
    ~CEdtVoronoi() override;

    /// Fills all of `distance`, and sets its spacing (for floats), its minimum and maximum under
    /// `c_sMetaMinMax`, and its largest distance. Without `usesSpacing`, pixels have length 1. `squared`
    /// omits the square root. A cancelled run returns early, with 0 wherever the result was not computed.
    ///
    /// Raises `CException` as `CheckArguments` does.
    void CalculateDistanceMap(IImage& distance, const IImage& binary, bool usesSpacing, bool onForeground,
                              bool squared, bool embeddedEdge);

protected:
    /// Keeps an image open for `VoronoiEdt` during its lifetime, so that its lines can be accessed without
    /// reopening it for each. Only one can exist at a time; the image must outlive it and keep its size.
    class COpenImage {
    public:
        COpenImage(CEdtVoronoi& algorithm, IImage& image);
        COpenImage(const COpenImage&) = delete;
        COpenImage& operator=(const COpenImage&) = delete;
        ~COpenImage();

    private:
        CEdtVoronoi& m_algorithm;
    };

    /// Checks the conditions of a distance map, and gives a float map the spacing of the binary image (1
    /// where it has none) between these checks. Raises `CException`, in the name of `function`:
    ///
    ///     Distance image is not of type 'IMAGE_GREY_F' or 'IMAGE_GREY_32' but '%1'.
    ///     Binary image is not of type 'IMAGE_MONO_BINARY' but '%1'.
    ///     Binary image size and distance image size differ: %1 vs %2
    ///     Binary image exceeds size in direction '%1' with value '%2' (max is '%3').
    static void CheckArguments(const char* function, IImage& distance, const IImage& binary);

    /// Transforms the line of `distance` that starts at `start` and runs along `axis`, in place. The values 0
    /// at the seeds and the largest value of the pixel type (3.4028235e38, 0xFFFFFFFF) elsewhere become
    /// squared distances to the nearest seed. Any other values are squared distances that were computed along
    /// other axes. `spacing` is the pixel length along the line; for integers, its square is rounded. A line
    /// without a seed is left unchanged.
    ///
    /// Time: linear in the length of the line, without allocation for an image that a `COpenImage` keeps
    /// open. Must not be called from several threads for the same object. Raises `CException` for other pixel
    /// types and `CExBadParam` for a line that is not in the image.
    void VoronoiEdt(IImage& distance, unsigned long axis, double spacing, const CPos& start,
                    bool embeddedEdge);

private:
    struct StOpenImage;

    std::unique_ptr<StOpenImage> m_openImage;
    CLowerEnvelope m_envelope;
};

} // namespace ORVEN
