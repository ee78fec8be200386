#include "labels/CSummits.h"

#include "pixels/Percentiles.h"
#include "pixels/PixelLoops.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <span>
#include <utility>

namespace quillon::basics {

using namespace ORVEN;

namespace {

using Index = std::uint32_t;
constexpr Index c_none = 0xFFFFFFFF;

/// A forest over pixels in which each root stands for a set.
class CForest {
public:
    explicit CForest(std::span<Index> parents)
        : m_parents(parents) {}

    [[nodiscard]] bool Contains(Index pixel) const { return m_parents[pixel] != c_none; }
    void SetParent(Index pixel, Index parent) { m_parents[pixel] = parent; }

    /// Shortens the path on its way, by halves.
    Index RootOf(Index pixel) {
        while (m_parents[pixel] != pixel) {
            m_parents[pixel] = m_parents[m_parents[pixel]];
            pixel = m_parents[pixel];
        }
        return pixel;
    }

private:
    std::span<Index> m_parents;
};

/// One step to a neighbour.
struct StStep {
    int dx;
    int dy;
    int dz;
};

std::vector<StStep> StepsOf(EnNeighborhood neighborhood) {
    std::vector<StStep> steps;
    for (int dz = -1; dz <= 1; ++dz) {
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx) {
                const int length = dx * dx + dy * dy + dz * dz;
                if (length == 1 || (length > 1 && neighborhood == EnNeighborhood::N26))
                    steps.push_back({dx, dy, dz});
            }
        }
    }
    return steps;
}

/// Sorts pixels by 16 bits of their keys, the greatest first; equal ones keep their order. Returns false if
/// cancelled.
template <class KeyOf>
bool SortByHalf(std::span<const Index> pixels, std::span<Index> sorted, int shift, const KeyOf& keyOf,
                CWorkPace& pace) {
    constexpr Index halves = 65536;
    std::vector<Index> ends(halves + 1, 0);
    const auto binOf = [&](Index pixel) { return halves - 1 - ((keyOf(pixel) >> shift) & 0xFFFFU); };
    const auto count = static_cast<std::int64_t>(pixels.size());
    const auto forEach = [&](const auto& visit) {
        return ForEachPiece(count, 4, pace, [&](std::int64_t first, std::int64_t end) {
            for (std::int64_t i = first; i < end; ++i)
                visit(pixels[static_cast<std::size_t>(i)]);
        });
    };
    if (!forEach([&](Index pixel) { ++ends[binOf(pixel) + 1]; }))
        return false;
    for (Index bin = 0; bin < halves; ++bin)
        ends[bin + 1] += ends[bin];
    return forEach([&](Index pixel) { sorted[ends[binOf(pixel)]++] = pixel; });
}

/// The flood over an image of pixels T.
template <class T>
class CFlood {
public:
    CFlood(const CImage& image, EnNeighborhood neighborhood, double height, CWorkPace& pace)
        : m_view(image)
        , m_pixels(m_view.Row(0, 0))
        , m_steps(StepsOf(neighborhood))
        , m_height(height)
        , m_pace(pace) {}

    /// Fills `labels`, and counts them. Returns false if cancelled.
    bool Run(std::span<Index> labels, std::uint32_t& count) {
        const auto pixelCount = static_cast<std::size_t>(m_view.PixelCount());
        std::vector<Index> order(pixelCount);
        if (!Sort(order, labels))
            return false;
        std::vector<Index> parents(pixelCount, c_none);
        std::fill(labels.begin(), labels.end(), c_none);
        m_rises.assign(pixelCount, false);
        CForest domes(parents);
        CForest summits(labels); // the label image holds the second forest until the labels are known
        const bool isFlooded =
            ForEachPiece(static_cast<std::int64_t>(pixelCount), static_cast<std::int64_t>(m_steps.size()) * 4,
                         m_pace, [&](std::int64_t first, std::int64_t end) {
                             for (std::int64_t i = first; i < end; ++i)
                                 Add(order[static_cast<std::size_t>(i)], domes, summits);
                         });
        if (!isFlooded)
            return false;
        const Index highest = domes.RootOf(order.front());
        m_rises[highest] = Rises(ValueOf(highest) - ValueOf(order.back()));
        return Number(parents, labels, summits, count);
    }

private:
    [[nodiscard]] std::uint32_t KeyOf(Index pixel) const { return OrderedKey(m_pixels[pixel]); }
    /// The number that a key stands for; NaN counts as minus infinity.
    [[nodiscard]] static double NumberOf(std::uint32_t key) {
        const auto value = static_cast<double>(OfOrderedKey<T>(key));
        return value == value ? value : -std::numeric_limits<double>::infinity();
    }
    [[nodiscard]] double ValueOf(Index pixel) const { return NumberOf(KeyOf(pixel)); }
    [[nodiscard]] bool Rises(double height) const { return height > 0.0 && height >= m_height; }

    /// `scratch` has the length of `order`.
    bool Sort(std::vector<Index>& order, std::span<Index> scratch) {
        const auto keyOf = [this](Index pixel) { return KeyOf(pixel); };
        if constexpr (sizeof(T) <= 2) {
            std::iota(scratch.begin(), scratch.end(), 0U);
            return SortByHalf(scratch, order, 0, keyOf, m_pace);
        } else {
            std::iota(order.begin(), order.end(), 0U);
            return SortByHalf(order, scratch, 0, keyOf, m_pace) &&
                   SortByHalf(scratch, order, 16, keyOf, m_pace);
        }
    }

    void Add(Index pixel, CForest& domes, CForest& summits) {
        const std::int64_t x = pixel % m_view.nx;
        const std::int64_t y = pixel / m_view.nx % m_view.ny;
        const std::int64_t z = pixel / m_view.nx / m_view.ny;
        const bool isInside =
            x > 0 && x + 1 < m_view.nx && y > 0 && y + 1 < m_view.ny && z > 0 && z + 1 < m_view.nz;
        const std::uint32_t key = KeyOf(pixel);
        domes.SetParent(pixel, pixel);
        summits.SetParent(pixel, pixel);
        Index root = pixel;
        for (const StStep& step : m_steps) {
            if (!isInside && !IsInImage(x + step.dx, y + step.dy, z + step.dz))
                continue;
            const auto neighbor =
                static_cast<Index>(pixel + (step.dz * m_view.ny + step.dy) * m_view.nx + step.dx);
            if (!domes.Contains(neighbor))
                continue;
            const Index other = domes.RootOf(neighbor);
            if (other != root)
                root = Meet(root, other, key, domes, summits);
        }
        // Below its summit, a pixel belongs to no summit.
        if (KeyOf(root) != key)
            summits.SetParent(pixel, c_none);
    }

    [[nodiscard]] bool IsInImage(std::int64_t x, std::int64_t y, std::int64_t z) const {
        return x >= 0 && x < m_view.nx && y >= 0 && y < m_view.ny && z >= 0 && z < m_view.nz;
    }

    /// Two domes meet at a level. The lower one's summit is finished. Returns the root of both.
    Index Meet(Index a, Index b, std::uint32_t level, CForest& domes, CForest& summits) {
        if (KeyOf(a) > KeyOf(b) || (KeyOf(a) == KeyOf(b) && a < b))
            std::swap(a, b);
        domes.SetParent(a, b);
        const double rise = ValueOf(a) - NumberOf(level);
        if (Rises(rise))
            m_rises[a] = true;
        else if (KeyOf(a) == KeyOf(b))
            summits.SetParent(summits.RootOf(a), summits.RootOf(b));
        return b;
    }

    /// `parents` is free by now and takes the labels by pixel.
    bool Number(std::vector<Index>& parents, std::span<Index> labels, CForest& summits,
                std::uint32_t& count) {
        std::fill(parents.begin(), parents.end(), 0U);
        count = 0;
        const bool isDone = ForEachPiece(
            static_cast<std::int64_t>(parents.size()), 4, m_pace, [&](std::int64_t first, std::int64_t end) {
                for (auto pixel = static_cast<Index>(first); pixel < end; ++pixel) {
                    if (!summits.Contains(pixel))
                        continue;
                    const Index summit = summits.RootOf(pixel);
                    if (!m_rises[summit])
                        continue;
                    if (parents[summit] == 0)
                        parents[summit] = ++count;
                    parents[pixel] = parents[summit];
                }
            });
        std::copy(parents.begin(), parents.end(), labels.begin());
        return isDone;
    }

    CImageView<const T> m_view;
    const T* m_pixels; // contiguous
    std::vector<StStep> m_steps;
    double m_height;
    CWorkPace& m_pace;
    std::vector<bool> m_rises; // of roots: whether the summit rises high enough
};

} // namespace

CSummits::CSummits(const CImage& image, EnNeighborhood neighborhood, double height)
    : m_image(image)
    , m_neighborhood(neighborhood)
    , m_height(height)
    , m_labels(NewImage(IMAGE_GREY_32, image.Size())) {}

bool CSummits::Find(IProgress& progress) {
    CWorkPace pace(progress);
    progress.Start(1, "Flooding from above...");
    const CImageView<Index> labels(*m_labels);
    const bool isDone = DispatchRealType("CSummits", m_image.Type(), [&]<class T>(std::type_identity<T>) {
        return CFlood<T>(m_image, m_neighborhood, m_height, pace)
            .Run({labels.Row(0, 0), static_cast<std::size_t>(labels.PixelCount())}, m_count);
    });
    progress.Step(1, 0);
    progress.Finish();
    return isDone;
}

} // namespace quillon::basics
