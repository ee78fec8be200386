#include "oracles/WatershedOracle.h"

#include <algorithm>
#include <deque>
#include <map>
#include <stdexcept>

namespace test {
namespace {

const std::uint32_t c_init = 0xFFFFFFFF;
const std::uint32_t c_mask = 0xFFFFFFFE;
const std::uint32_t c_inQueue = 0xFFFFFFFD;
const std::uint32_t c_watershed = 0;

bool IsFinal(std::uint32_t label) { return label <= 0xFFFFFFFC; }
bool IsPositive(std::uint32_t label) { return label >= 1 && label <= 0xFFFFFFFC; }

using Step = std::array<int, 3>;
using Position = std::array<int, 3>;

std::vector<Step> Planar(const std::vector<std::array<int, 2>>& steps) {
    std::vector<Step> spatial;
    for (const auto& step : steps)
        spatial.push_back({step[0], step[1], 0});
    return spatial;
}

std::vector<Step> AllOfTheBlock() {
    std::vector<Step> steps;
    for (int dz = -1; dz <= 1; ++dz) {
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx) {
                if (dx != 0 || dy != 0 || dz != 0)
                    steps.push_back({dx, dy, dz});
            }
        }
    }
    return steps;
}

std::vector<Step> StepsOf(const std::string& neighborhood) {
    static const std::map<std::string, std::vector<Step>> c_steps{
        {"N4", Planar({{0, -1}, {-1, 0}, {1, 0}, {0, 1}})},
        {"N6_1", Planar({{-1, -1}, {0, -1}, {-1, 0}, {1, 0}, {0, 1}, {1, 1}})},
        {"N6_2", Planar({{0, -1}, {1, -1}, {-1, 0}, {1, 0}, {-1, 1}, {0, 1}})},
        {"N8", Planar({{-1, -1}, {0, -1}, {1, -1}, {-1, 0}, {1, 0}, {-1, 1}, {0, 1}, {1, 1}})},
        {"N6", {{0, 0, -1}, {0, -1, 0}, {-1, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}},
        {"N14_1",
         {{-1, -1, -1},
          {0, -1, -1},
          {-1, 0, -1},
          {0, 0, -1},
          {-1, -1, 0},
          {0, -1, 0},
          {-1, 0, 0},
          {1, 0, 0},
          {0, 1, 0},
          {1, 1, 0},
          {0, 0, 1},
          {1, 0, 1},
          {0, 1, 1},
          {1, 1, 1}}},
        {"N14_2",
         {{0, -1, -1},
          {1, -1, -1},
          {0, 0, -1},
          {1, 0, -1},
          {0, -1, 0},
          {1, -1, 0},
          {-1, 0, 0},
          {1, 0, 0},
          {-1, 1, 0},
          {0, 1, 0},
          {-1, 0, 1},
          {0, 0, 1},
          {-1, 1, 1},
          {0, 1, 1}}},
        {"N26", AllOfTheBlock()}};
    return c_steps.at(neighborhood);
}

template <class T>
using Grid = std::vector<std::vector<std::vector<T>>>; // [z][y][x]

template <class T>
Grid<T> MakeGrid(const std::array<int, 3>& size, const T& value) {
    const auto extent = [&](int axis) {
        return static_cast<std::size_t>(size[static_cast<std::size_t>(axis)]);
    };
    return Grid<T>(extent(2), std::vector<std::vector<T>>(extent(1), std::vector<T>(extent(0), value)));
}

template <class T>
T& At(Grid<T>& grid, const Position& position) {
    return grid.at(static_cast<std::size_t>(position[2]))
        .at(static_cast<std::size_t>(position[1]))
        .at(static_cast<std::size_t>(position[0]));
}

std::vector<Position> RasterOrder(const std::array<int, 3>& size) {
    std::vector<Position> positions;
    for (int z = 0; z < size[2]; ++z) {
        for (int y = 0; y < size[1]; ++y) {
            for (int x = 0; x < size[0]; ++x)
                positions.push_back({x, y, z});
        }
    }
    return positions;
}

struct StLevel {
    std::uint32_t index;
    std::vector<Position> places;
};

/// The levels that hold pixels, lowest first; an empty level changes nothing.
std::vector<StLevel> LevelsOf(const StReferenceWatershedRun& run) {
    struct StPixel {
        double value;
        Position position;
    };
    const std::vector<Position> raster = RasterOrder(run.size);
    std::vector<StPixel> pixels;
    for (std::size_t i = 0; i < raster.size(); ++i) {
        if (run.seeds.empty() || run.seeds.at(i) == 0)
            pixels.push_back({run.grey.at(i), raster[i]});
    }
    std::stable_sort(pixels.begin(), pixels.end(),
                     [](const StPixel& a, const StPixel& b) { return a.value < b.value; });
    std::vector<StLevel> levels;
    double value = 0.0;
    for (const StPixel& pixel : pixels) {
        if (levels.empty() || value < pixel.value) {
            value = pixel.value;
            levels.push_back({run.isLevelTheValue ? static_cast<std::uint32_t>(value)
                                                  : static_cast<std::uint32_t>(levels.size()),
                              {}});
        }
        levels.back().places.push_back(pixel.position);
    }
    return levels;
}

class CReferenceFlood {
public:
    explicit CReferenceFlood(const StReferenceWatershedRun& run)
        : m_run(run)
        , m_steps(StepsOf(run.neighborhood))
        , m_labels(MakeGrid(run.size, c_init)) {}

    StReferenceWatershedResult Run() {
        const std::vector<Position> raster = RasterOrder(m_run.size);
        std::uint32_t highestSeed = 0;
        for (std::size_t i = 0; i < m_run.seeds.size(); ++i) {
            if (m_run.seeds[i] != 0)
                At(m_labels, raster.at(i)) = m_run.seeds[i];
            highestSeed = std::max(highestSeed, m_run.seeds[i]);
        }
        for (const StLevel& level : LevelsOf(m_run))
            FloodLevel(level);

        StReferenceWatershedResult result;
        result.regionCount = m_run.seeds.empty() ? m_currentLabel : highestSeed;
        for (const Position& position : raster)
            result.labels.push_back(At(m_labels, position));
        return result;
    }

private:
    void FloodLevel(const StLevel& level) {
        for (const Position& place : level.places) {
            At(m_labels, place) = c_mask;
            if (HasLabelledNeighbor(place)) {
                At(m_labels, place) = c_inQueue;
                m_queue.push_back(place);
            }
        }
        while (!m_queue.empty()) {
            const Position place = m_queue.front();
            m_queue.pop_front();
            DecideLabel(place);
        }
        if (!m_run.seeds.empty())
            return;
        for (const Position& place : level.places) {
            if (At(m_labels, place) != c_mask)
                continue;
            ++m_currentLabel;
            m_queue.push_back(place);
            At(m_labels, place) = m_currentLabel;
            if (!FloodNewRegion(level.index))
                --m_currentLabel;
        }
    }

    [[nodiscard]] bool IsInside(const Position& position) const {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (position[axis] < 0 || position[axis] >= m_run.size[axis])
                return false;
        }
        return true;
    }

    /// The neighbours inside the image, in the order of the table.
    [[nodiscard]] std::vector<Position> NeighborsOf(const Position& place) const {
        std::vector<Position> neighbors;
        for (const Step& step : m_steps) {
            const Position neighbor{place[0] + step[0], place[1] + step[1], place[2] + step[2]};
            if (IsInside(neighbor))
                neighbors.push_back(neighbor);
        }
        return neighbors;
    }

    bool HasLabelledNeighbor(const Position& place) {
        const std::vector<Position> neighbors = NeighborsOf(place);
        return std::any_of(neighbors.begin(), neighbors.end(),
                           [this](const Position& neighbor) { return IsFinal(At(m_labels, neighbor)); });
    }

    void DecideLabel(const Position& place) {
        bool isFlagged = false;
        for (const Position& neighbor : NeighborsOf(place)) {
            const std::uint32_t own = At(m_labels, place);
            const std::uint32_t label = At(m_labels, neighbor);
            if (IsPositive(label)) {
                if (own == c_inQueue || (own == c_watershed && isFlagged)) {
                    At(m_labels, place) = label;
                } else if (IsPositive(own) && own != label) {
                    At(m_labels, place) = c_watershed;
                    isFlagged = false;
                }
            } else if (label == c_watershed) {
                if (own == c_inQueue) {
                    At(m_labels, place) = c_watershed;
                    isFlagged = true;
                }
            } else if (label == c_mask) {
                At(m_labels, neighbor) = c_inQueue;
                m_queue.push_back(neighbor);
            }
        }
    }

    bool FloodNewRegion(std::uint32_t level) {
        if (m_run.mode == 0) {
            FloodPlainRegion();
            return true;
        }
        ResetCandidate();
        const Position first = m_queue.front();
        m_queue.pop_front();
        Add(first);
        m_recordLevel = level;
        if (m_run.mode == 2 && level <= m_run.minimum) {
            Undo();
            return false;
        }
        m_queue.push_back(first);
        ResetCandidate();
        while (!m_queue.empty()) {
            const Position place = m_queue.front();
            m_queue.pop_front();
            Add(place);
            for (const Position& neighbor : NeighborsOf(place)) {
                if (At(m_labels, neighbor) != c_mask)
                    continue;
                m_queue.push_back(neighbor);
                At(m_labels, neighbor) = m_currentLabel;
                Add(neighbor);
            }
        }
        if (IsConditionMet())
            return true;
        Undo();
        return false;
    }

    void FloodPlainRegion() {
        while (!m_queue.empty()) {
            const Position place = m_queue.front();
            m_queue.pop_front();
            for (const Position& neighbor : NeighborsOf(place)) {
                if (At(m_labels, neighbor) != c_mask)
                    continue;
                m_queue.push_back(neighbor);
                At(m_labels, neighbor) = m_currentLabel;
            }
        }
    }

    void ResetCandidate() {
        m_region.clear();
        m_count = 0;
        m_isReached = false;
        m_sum = 0.0;
    }

    void Add(const Position& place) {
        m_region.push_back(place);
        const std::uint32_t label = At(m_labels, place);
        switch (m_run.mode) {
        case 1:
            m_count += 1;
            break;
        case 3:
            if (m_recordLevel - label > m_run.minimum + 1U)
                m_isReached = true;
            break;
        case 4:
            m_sum += static_cast<double>(m_recordLevel - label + 1U);
            break;
        default:
            break;
        }
    }

    [[nodiscard]] bool IsConditionMet() const {
        switch (m_run.mode) {
        case 1:
            return m_count >= m_run.minimum;
        case 2:
            return true;
        case 3:
            return m_isReached;
        case 4:
            return m_sum >= static_cast<double>(m_run.minimum);
        default:
            throw std::logic_error("no such mode");
        }
    }

    void Undo() {
        while (!m_region.empty()) {
            At(m_labels, m_region.front()) = c_mask;
            m_region.pop_front();
        }
    }

    const StReferenceWatershedRun& m_run;
    std::vector<Step> m_steps;
    Grid<std::uint32_t> m_labels;
    std::deque<Position> m_queue;
    std::uint32_t m_currentLabel = 0;

    // The candidate in hand, and what its criterion keeps of it.
    std::deque<Position> m_region;
    std::uint32_t m_recordLevel = 0;
    std::uint32_t m_count = 0;
    bool m_isReached = false;
    double m_sum = 0.0;
};

} // namespace

StReferenceWatershedResult ReferenceWatershed(const StReferenceWatershedRun& run) {
    return CReferenceFlood(run).Run();
}

} // namespace test
