#include "QuillonNumeric/CConvexHullComputer.h"

#include "QuillonNumeric/CHullRows.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/ImageView.h>
#include <sorblib2image/LabelTypeDispatch.h>

#include <algorithm>
#include <limits>
#include <span>

namespace ORVEN {

namespace {

const char* const c_source = "CConvexHullComputer";

/// A box clipped to an image, from first (included) to end (excluded).
struct StCutBox {
    StCutBox(const CSize& size, const CConvexHullComputer::CBox& box)
        : first{std::max(box.startX, 0), std::max(box.startY, 0), std::max(box.startZ, 0)}
        , end{std::min<std::int64_t>(box.endX, size.x), std::min<std::int64_t>(box.endY, size.y),
              std::min<std::int64_t>(box.endZ, size.z)} {
        if (size.Dim() == 2) {
            first.z = 0;
            end.z = 1;
        }
    }

    StLatticePoint first;
    StLatticePoint end;
};

/// Number of pixels that are tested together without a branch, so that the compiler can vectorize the test.
constexpr std::int64_t c_blockLength = 32;

template <class T, class Test>
bool HasAny(const T* block, const Test& test) {
    T any = 0;
    for (std::int64_t i = 0; i < c_blockLength; ++i)
        any = static_cast<T>(any | static_cast<T>(test(block[i])));
    return any != 0;
}

/// The first pixel at or after `first` that passes the test; `end` if there is none.
template <class T, class Test>
std::int64_t FirstPixel(const T* row, std::int64_t first, std::int64_t end, const Test& test) {
    while (end - first >= c_blockLength && !HasAny(row + first, test))
        first += c_blockLength;
    while (first < end && !test(row[first]))
        ++first;
    return first;
}

/// The last pixel before `end` that passes the test. There must be one.
template <class T, class Test>
std::int64_t LastPixel(const T* row, std::int64_t first, std::int64_t end, const Test& test) {
    while (end - first >= c_blockLength && !HasAny(row + end - c_blockLength, test))
        end -= c_blockLength;
    while (!test(row[end - 1]))
        --end;
    return end - 1;
}

/// One side of the hull of a slice, from its first row to its last.
class CSliceSide {
public:
    /// `turn` is 1 for the side of greater x, which turns left with increasing y, and -1 for the other side.
    explicit CSliceSide(std::int64_t turn)
        : m_turn(turn) {}

    void Clear() { m_points.clear(); }

    /// Adds the end of the next row, and removes points that are no longer on the hull.
    void Add(const StLatticePoint& point) {
        while (m_points.size() >= 2) {
            const StLatticePoint& before = m_points[m_points.size() - 2];
            if (m_turn * Cross(m_points.back() - before, point - before).z > 0)
                break;
            m_points.pop_back();
        }
        m_points.push_back(point);
    }

    [[nodiscard]] std::span<const StLatticePoint> Points() const { return m_points; }

private:
    std::int64_t m_turn;
    std::vector<StLatticePoint> m_points;
};

/// The corners of the hulls of all slices of an object, slice by slice, counter-clockwise.
template <class T, class Test>
std::vector<StLatticePoint> SliceCorners(const CImage& image, const StCutBox& box, const Test& test) {
    const CImageView<const T> view(image);
    std::vector<StLatticePoint> corners;
    CSliceSide upper(1);
    CSliceSide lower(-1);
    for (std::int64_t z = box.first.z; z < box.end.z; ++z) {
        upper.Clear();
        lower.Clear();
        for (std::int64_t y = box.first.y; y < box.end.y; ++y) {
            const T* const row = view.Row(y, z);
            const std::int64_t first = FirstPixel(row, box.first.x, box.end.x, test);
            if (first >= box.end.x)
                continue;
            lower.Add({first, y, z});
            upper.Add({LastPixel(row, first, box.end.x, test), y, z});
        }
        const std::size_t firstOfSlice = corners.size();
        corners.insert(corners.end(), upper.Points().begin(), upper.Points().end());
        corners.insert(corners.end(), lower.Points().rbegin(), lower.Points().rend());
        // If the first or last row has a single pixel, both sides contain it.
        corners.erase(std::unique(corners.begin() + static_cast<std::ptrdiff_t>(firstOfSlice), corners.end()),
                      corners.end());
        if (corners.size() > firstOfSlice + 1 && corners.back() == corners[firstOfSlice])
            corners.pop_back();
    }
    return corners;
}

} // namespace

CConvexHullComputer::CConvexHullComputer(std::size_t dimension, const char* name, const IObject* parent)
    : CAlgorithm(name, parent)
    , m_dimension(dimension) {
    if (dimension != 2 && dimension != 3) {
        throw CException(c_source,
                         CString("A convex hull has 2 or 3 dimensions, not %1.", CString::ENC_UTF8)
                             .Arg(static_cast<long long>(dimension), 0),
                         nullptr);
    }
}

CConvexHullComputer::~CConvexHullComputer() = default;

void CConvexHullComputer::loadPointsFromImageBox(const CImage& image, std::size_t label, int startX,
                                                 int startY, int startZ, int endX, int endY, int endZ) {
    RequireDimension(image);
    m_isComputed = false;
    m_points.clear();
    m_origin = {};
    const StCutBox box(image.Size(), {startX, startY, startZ, endX, endY, endZ});
    if (image.Type() == IMAGE_BINARY_FG && label == 1) {
        m_points = SliceCorners<unsigned char>(image, box, [](unsigned char pixel) { return pixel != 0; });
        return;
    }
    DispatchLabelType(c_source, image.Type(), [&]<class T>(std::type_identity<T>) {
        if (label > std::numeric_limits<T>::max())
            return;
        const auto wanted = static_cast<T>(label);
        m_points = SliceCorners<T>(image, box, [wanted](T pixel) { return pixel == wanted; });
    });
}

void CConvexHullComputer::compute() {
    m_isComputed = false;
    const std::vector<std::uint32_t> independent = AffinelyIndependentPoints(m_points);
    if (independent.size() <= m_dimension) {
        throw CException(
            c_source,
            CString("Convex hull needs %1 affinely independent points, found %2.", CString::ENC_UTF8)
                .Arg(static_cast<long long>(m_dimension + 1), 0)
                .Arg(static_cast<long long>(independent.size()), 0),
            nullptr);
    }
    MovePointsToOrigin();
    if (m_dimension == 3)
        m_facets = ConvexHull3d(m_points, std::span<const std::uint32_t, 4>(independent));
    m_isComputed = true;
}

void CConvexHullComputer::paintConvexHullToImage(CImage& image, CBox box, std::size_t label) const {
    RequireDimension(image);
    if (!m_isComputed)
        throw CException(c_source, "There is no convex hull to paint: it has not been computed.", nullptr);
    CHullRows rows(m_extent.y, m_extent.z);
    if (m_dimension == 3) {
        for (const StHullFacet& facet : m_facets)
            rows.AddFacet(facet);
    } else {
        for (std::size_t corner = 0; corner < m_points.size(); ++corner)
            rows.AddEdge(m_points[corner], m_points[(corner + 1) % m_points.size()]);
    }
    const StCutBox cut(image.Size(), box);
    DispatchLabelType(c_source, image.Type(), [&]<class T>(std::type_identity<T>) {
        const CImageView<T> view(image);
        const auto fill = static_cast<T>(label);
        const std::int64_t endZ = std::min(cut.end.z, m_origin.z + m_extent.z);
        const std::int64_t endY = std::min(cut.end.y, m_origin.y + m_extent.y);
        for (std::int64_t z = std::max(cut.first.z, m_origin.z); z < endZ; ++z) {
            for (std::int64_t y = std::max(cut.first.y, m_origin.y); y < endY; ++y) {
                const CHullRows::StRun& run = rows.Run(y - m_origin.y, z - m_origin.z);
                const std::int64_t first = std::max(cut.first.x, m_origin.x + run.first);
                const std::int64_t end = std::min(cut.end.x, m_origin.x + run.last + 1);
                if (first < end)
                    std::fill(view.Row(y, z) + first, view.Row(y, z) + end, fill);
            }
        }
    });
}

void CConvexHullComputer::RequireDimension(const CImage& image) const {
    if (static_cast<std::size_t>(image.Size().Dim()) != m_dimension) {
        throw CException(c_source,
                         CString("The convex hull has %1 dimensions and the image %2.", CString::ENC_UTF8)
                             .Arg(static_cast<long long>(m_dimension), 0)
                             .Arg(image.Size().Dim(), 0),
                         nullptr);
    }
}

void CConvexHullComputer::MovePointsToOrigin() {
    StLatticePoint least = m_points.front();
    StLatticePoint greatest = m_points.front();
    for (const StLatticePoint& point : m_points) {
        least = {std::min(least.x, point.x), std::min(least.y, point.y), std::min(least.z, point.z)};
        greatest = {std::max(greatest.x, point.x), std::max(greatest.y, point.y),
                    std::max(greatest.z, point.z)};
    }
    for (StLatticePoint& point : m_points)
        point = point - least;
    m_origin = m_origin + least;
    m_extent = greatest - least + StLatticePoint{1, 1, 1};
}

} // namespace ORVEN
