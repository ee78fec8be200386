#include "distance/CLinearDistanceTransformation.h"

#include "utils/PointOperations.h"
#include "utils/visitors/PointOperationArithmetics.h"

#include <sorblib2image/CQuillonHeaderTools.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

namespace ORVEN {

namespace {

constexpr float c_noSeed = std::numeric_limits<float>::max();

/// Sets the seeds, that is the pixels of the phase that is not measured, to 0 and all others to the greatest
/// value.
template <class T>
struct CInitDistImage : visitors::StVisitor<T, const unsigned char> {
    explicit CInitDistImage(bool measuresForeground)
        : seed(measuresForeground ? 0 : 1) {}

    void operator()(T& distance, unsigned char binary) const {
        distance = binary == seed ? T{0} : std::numeric_limits<T>::max();
    }

    unsigned char seed;
};

/// Scales squared distances from pixels to the unit of the spacing; pixels without a seed become 0.
struct CorrectInitAndDoIsotropicScaling : visitors::CMultValue<float, float> {
    using CMultValue::CMultValue;

    void operator()(float& distance) const {
        if (distance == c_noSeed)
            distance = 0.0F;
        else
            CMultValue::operator()(distance);
    }
};

template <class T>
void InitializeDistances(IImage& distance, const IImage& binary, bool onForeground, const IObject* parent) {
    CInitDistImage<T> initialize(onForeground);
    CPointOperations("Initializing Distance Map", parent).Visit(initialize, distance, binary);
}

} // namespace

CLinearDistanceTransformation::~CLinearDistanceTransformation() = default;

void CLinearDistanceTransformation::CalculateDistanceMap(IImage& distance, const IImage& binary,
                                                         char direction, bool onForeground, bool squared,
                                                         bool embeddedEdge) {
    CheckArguments("ORVEN::CLinearDistanceTransformation::CalculateDistanceMap", distance, binary);
    if (distance.Type() == IMAGE_GREY_F)
        InitializeDistances<float>(distance, binary, onForeground, this);
    else
        InitializeDistances<unsigned int>(distance, binary, onForeground, this);

    // A line has a single pixel length, so it is transformed in pixels and the squares are scaled afterwards.
    double pixelLength = 1.0;
    const int axis = direction - 'x';
    if (axis >= 0 && axis < distance.Size().Dim()) {
        std::array spacing{1.0, 1.0, 1.0};
        CQuillonHeaderTools::GetSpacing(distance, spacing[0], spacing[1], spacing[2]);
        pixelLength = spacing[static_cast<std::size_t>(axis)];
        TransformLines(distance, axis, embeddedEdge);
    }
    // This visitor rejects an IMAGE_GREY_32.
    CorrectInitAndDoIsotropicScaling scale(static_cast<float>(pixelLength * pixelLength));
    CPointOperations(nullptr, nullptr).Visit(scale, distance);
    if (!squared) {
        visitors::CRoot<float, float> root;
        CPointOperations("Square Rooting Distance Map", this).Visit(root, distance);
    }
    const auto extrema = StoreMinMax(distance, "Finding extremal values", this);
    CQuillonHeaderTools::SetMaxDistance(distance, static_cast<double>(extrema.maximum));
}

void CLinearDistanceTransformation::TransformLines(IImage& distance, int axis, bool embeddedEdge) {
    CSize starts = distance.Size();
    for (int missing = starts.Dim(); missing < 3; ++missing)
        starts[missing] = 1;
    starts[axis] = std::min<std::int64_t>(starts[axis], 1); // an empty axis has no line
    const COpenImage open(*this, distance);
    for (std::int64_t z = 0; z < starts.z; ++z) {
        for (std::int64_t y = 0; y < starts.y; ++y) {
            for (std::int64_t x = 0; x < starts.x; ++x)
                VoronoiEdt(distance, static_cast<unsigned long>(axis), 1.0, CPos(x, y, z), embeddedEdge);
        }
    }
}

} // namespace ORVEN
