#include "QuillonGranulometry/CoverWithBalls.h"

#include "QuillonGranulometry/BoxKernels.h"
#include "QuillonGranulometry/FloorSqrt.h"

#include <QuillonBase/CWorkPace.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <utility>
#include <vector>

namespace ORVEN {

namespace {

/// A box and the balls that may be the largest for one of its pixels, in order of decreasing size. All tasks
/// together can need many times the number of balls, so that they hold indices.
struct StTask {
    StBox box{};
    std::vector<std::uint32_t> balls;
};

/// Divides boxes, down to a size at which their rows fill the registers.
class CBoxShape {
public:
    explicit CBoxShape(const CLayerView<float>& output)
        : m_smallest{8, output.ny > 1 ? 4 : 1, output.ny > 1 ? 4 : 16} {}

    [[nodiscard]] bool IsSmall(const StBox& box) const {
        return box.size[0] <= m_smallest[0] && box.size[1] <= m_smallest[1] && box.size[2] <= m_smallest[2];
    }

    /// Divides the axes that are longer than half of the longest one, as multiples of the smallest size.
    [[nodiscard]] BoxParts PartsOf(const StBox& box) const {
        const auto multiple = [&](std::size_t axis) {
            return (box.size[axis] + m_smallest[axis] - 1) / m_smallest[axis];
        };
        const std::int64_t greatest = std::max({multiple(0), multiple(1), multiple(2)});
        BoxParts parts;
        for (std::size_t part = 0; part < parts.size(); ++part) {
            parts[part] = box;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const bool isLong = 2 * multiple(axis) > greatest;
                const std::int64_t low =
                    isLong ? LowerSize(box.size[axis], m_smallest[axis]) : box.size[axis];
                const bool isUpper = (part >> axis & 1) != 0;
                parts[part].first[axis] += isUpper ? low : 0;
                parts[part].size[axis] = isUpper ? box.size[axis] - low : low;
            }
        }
        return parts;
    }

private:
    /// Half of the size, rounded up to a multiple of the smallest one.
    static std::int64_t LowerSize(std::int64_t size, std::int64_t smallest) {
        return size <= smallest ? size : (size / 2 + smallest - 1) / smallest * smallest;
    }

    std::array<std::int64_t, 3> m_smallest;
};

/// Distributes the balls of boxes over their parts.
class CDistributor {
public:
    explicit CDistributor(std::int32_t greatestDistance)
        : m_reach(FloorSqrt(greatestDistance) + 1) {}

    /// Whether floats are exact for a box: depths are multiples of a quarter, which must stay below 2^21.
    [[nodiscard]] bool AreFloatsExact(const StBox& box) const {
        const std::int64_t farthest = m_reach + box.Longest() * 3 / 2 + 1;
        return 3 * farthest * farthest < std::int64_t{1} << 21;
    }

    /// Finds the parts that need each ball, and the number of balls of each part. Meaningless if cancelled.
    void Find(const StBox& box, const BoxParts& parts, std::span<const StPlacedBall> balls, CWorkPace& pace) {
        m_parts.resize(std::max(m_parts.size(), balls.size()));
        m_counts.fill(0);
        m_ballCount = 0;
        if (AreFloatsExact(box))
            FindIn(CPartSearch<float>(parts), balls, pace);
        else
            FindIn(CPartSearch<double>(parts), balls, pace);
    }

    [[nodiscard]] std::size_t Count(std::size_t part) const { return m_counts[part]; }
    [[nodiscard]] std::size_t TotalCount() const {
        std::size_t total = 0;
        for (const std::size_t count : m_counts)
            total += count;
        return total;
    }

    /// Copies each ball to the lists of the parts that need it. A ball is one of `balls`, in the same order;
    /// it can be an index. Lists need a place more than they have balls.
    template <class Ball>
    void Distribute(std::span<const Ball> balls, std::array<Ball*, c_boxLanes> lists, CWorkPace& pace) const {
        (void)ForEachPiece(
            static_cast<std::int64_t>(m_ballCount), 8, pace, [&](std::int64_t first, std::int64_t end) {
                for (auto i = static_cast<std::size_t>(first); i < static_cast<std::size_t>(end); ++i) {
                    // Copies always, and keeps what is needed: branches would be hard to predict.
                    const Ball ball = balls[i];
                    const unsigned bits = m_parts[i];
                    for (std::size_t part = 0; part < c_boxLanes; ++part) {
                        *lists[part] = ball;
                        lists[part] += bits >> part & 1;
                    }
                }
            });
    }

private:
    static constexpr std::int64_t c_unitsPerBall = 32;
    static constexpr std::size_t c_ballsPerPiece = 64;

    template <class Search>
    void FindIn(Search&& search, std::span<const StPlacedBall> balls, CWorkPace& pace) {
        while (m_ballCount < balls.size() && search.IsOpen()) {
            const auto piece =
                balls.subspan(m_ballCount, std::min(c_ballsPerPiece, balls.size() - m_ballCount));
            std::uint8_t* const bits = m_parts.data() + m_ballCount;
            Impl::RunFor(m_vectors, [&] { search.Find(piece, bits); });
            m_ballCount += piece.size();
            if (pace.Add(static_cast<std::int64_t>(piece.size()) * c_unitsPerBall))
                return;
        }
        for (std::size_t part = 0; part < c_boxLanes; ++part)
            m_counts[part] = search.Count(part);
    }

    Impl::EnVectors m_vectors = Impl::BestVectors();
    std::int64_t m_reach;
    std::vector<std::uint8_t> m_parts;
    std::size_t m_ballCount = 0; ///< the first balls of the box, beyond which no part needs any
    std::array<std::size_t, c_boxLanes> m_counts{};
};

/// Finishes the pixels of boxes, dividing them until few balls are left for each.
class CBoxCover {
public:
    CBoxCover(const CLayerView<float>& output, const CBoxShape& shape, std::int32_t greatestDistance)
        : m_output(output)
        , m_shape(shape)
        , m_distributor(greatestDistance) {}

    void Cover(const StBox& box, std::span<const StPlacedBall> balls, CWorkPace& pace) {
        Cover(box, balls, 0, pace);
    }

private:
    static constexpr std::size_t c_few = 6;

    void Cover(const StBox& box, std::span<const StPlacedBall> balls, std::size_t depth, CWorkPace& pace) {
        if (pace.IsCancelled() || box.PixelCount() == 0 || balls.empty())
            return;
        if (balls.size() <= c_few || m_shape.IsSmall(box))
            return Write(box, balls, pace);
        const BoxParts parts = m_shape.PartsOf(box);
        m_distributor.Find(box, parts, balls, pace);
        if (pace.IsCancelled())
            return;
        while (m_lists.size() <= depth)
            m_lists.emplace_back();
        std::vector<StPlacedBall>& lists = m_lists[depth];
        lists.resize(std::max(lists.size(), m_distributor.TotalCount() + c_boxLanes));
        std::array<StPlacedBall*, c_boxLanes> ends{};
        std::array<std::span<const StPlacedBall>, c_boxLanes> ballsOfParts;
        std::size_t place = 0;
        for (std::size_t part = 0; part < c_boxLanes; ++part) {
            const std::size_t count = m_distributor.Count(part);
            ends[part] = lists.data() + place;
            ballsOfParts[part] = {lists.data() + place, count};
            place += count + 1;
        }
        m_distributor.Distribute(balls, ends, pace);
        for (std::size_t part = 0; part < c_boxLanes; ++part)
            Cover(parts[part], ballsOfParts[part], depth + 1, pace);
    }

    void Write(const StBox& box, std::span<const StPlacedBall> balls, CWorkPace& pace) const {
        const bool areFloatsExact = m_distributor.AreFloatsExact(box);
        const std::int64_t rowCount = box.size[1] * box.size[2];
        std::int64_t nextY = box.first[1];
        std::int64_t nextZ = box.first[2];
        for (std::int64_t first = 0; first < rowCount; first += c_boxLanes) {
            const auto count = static_cast<std::size_t>(std::min<std::int64_t>(rowCount - first, c_boxLanes));
            std::array<std::int32_t*, c_boxLanes> rows{};
            std::array<std::int64_t, c_boxLanes> y{};
            std::array<std::int64_t, c_boxLanes> z{};
            for (std::size_t row = 0; row < count; ++row) {
                y[row] = nextY;
                z[row] = nextZ;
                rows[row] = reinterpret_cast<std::int32_t*>(m_output.Row(y[row], z[row])) + box.first[0];
                if (++nextY == box.first[1] + box.size[1]) {
                    nextY = box.first[1];
                    ++nextZ;
                }
            }
            const auto write = [&](const auto& group) {
                Impl::RunFor(m_vectors, [&] { group.Write(balls, box.first[0], box.size[0]); });
            };
            if (areFloatsExact)
                write(CRowsOfBox<float>(rows, y, z, count));
            else
                write(CRowsOfBox<double>(rows, y, z, count));
            if (pace.Add(8 * static_cast<std::int64_t>(balls.size() + 2) * box.size[0]))
                return;
        }
    }

    const CLayerView<float>& m_output;
    const CBoxShape& m_shape;
    CDistributor m_distributor;
    Impl::EnVectors m_vectors = Impl::BestVectors();
    std::vector<std::vector<StPlacedBall>> m_lists; ///< of the parts, by depth of recursion
};

/// The balls of a task, copied from the list of all balls.
class CTaskBalls {
public:
    explicit CTaskBalls(std::span<const StPlacedBall> all)
        : m_all(all) {}

    /// Valid until the next call. Meaningless if cancelled.
    [[nodiscard]] std::span<const StPlacedBall> Of(const StTask& task, CWorkPace& pace) {
        m_balls.resize(std::max(m_balls.size(), task.balls.size()));
        ForEachPiece(std::ssize(task.balls), 4, pace, [&](std::int64_t first, std::int64_t end) {
            for (auto i = static_cast<std::size_t>(first); i < static_cast<std::size_t>(end); ++i)
                m_balls[i] = m_all[task.balls[i]];
        });
        return std::span(m_balls).first(task.balls.size());
    }

private:
    std::span<const StPlacedBall> m_all;
    std::vector<StPlacedBall> m_balls;
};

/// Divides a task among tasks for the parts of its box.
void Divide(const StTask& task, std::span<const StPlacedBall> balls, const CBoxShape& shape,
            CDistributor& distributor, std::span<StTask, c_boxLanes> tasks, CWorkPace& pace) {
    const BoxParts parts = shape.PartsOf(task.box);
    distributor.Find(task.box, parts, balls, pace);
    std::array<std::uint32_t*, c_boxLanes> ends{};
    for (std::size_t part = 0; part < c_boxLanes && !pace.IsCancelled(); ++part) {
        tasks[part].box = parts[part];
        tasks[part].balls.resize(distributor.Count(part) + 1);
        ends[part] = tasks[part].balls.data();
    }
    if (!pace.IsCancelled())
        distributor.Distribute(std::span<const std::uint32_t>(task.balls), ends, pace);
    for (StTask& part : tasks) {
        if (!part.balls.empty())
            part.balls.pop_back();
    }
}

/// Runs `body(task, balls, pace)` for all tasks, in parallel, with a copy of `body` on each thread. Frees the
/// indices of finished tasks. Returns false if cancelled.
template <class Body>
bool ForEachTask(std::vector<StTask>& tasks, std::span<const StPlacedBall> balls, IProgress& progress,
                 const Body& body) {
    progress.Start(static_cast<unsigned>(tasks.size()), "opening sizes");
    const bool isDone = ParallelForAtPace(std::ssize(tasks), progress, [&] {
        return
            [&tasks, work = body, taskBalls = CTaskBalls(balls)](std::int64_t item, CWorkPace& pace) mutable {
                StTask& task = tasks[static_cast<std::size_t>(item)];
                const std::span<const StPlacedBall> ballsOfTask = taskBalls.Of(task, pace);
                if (!pace.IsCancelled())
                    work(task, ballsOfTask, pace);
                task.balls = {};
            };
    });
    progress.Finish();
    return isDone;
}

/// The number of pieces of the balls of each task that keep all threads busy.
std::size_t PieceCount(std::size_t taskCount, std::size_t ballCount) {
    constexpr std::size_t itemsOfThread = 4;
    constexpr std::size_t leastBalls = 1 << 10;
    const auto threadCount = static_cast<std::size_t>(ThreadCount());
    if (threadCount == 1)
        return 1;
    const std::size_t wanted = (itemsOfThread * threadCount + taskCount - 1) / taskCount;
    return std::clamp<std::size_t>(ballCount / (taskCount * leastBalls), 1, wanted);
}

/// Replaces each task by several with the same box, each with a piece of its balls.
std::vector<StTask> Split(std::vector<StTask> tasks, std::size_t pieceCount) {
    if (pieceCount == 1)
        return tasks;
    std::vector<StTask> pieces;
    for (StTask& task : tasks) {
        const auto end = [&](std::size_t piece) {
            return task.balls.begin() + static_cast<std::ptrdiff_t>(piece * task.balls.size() / pieceCount);
        };
        for (std::size_t piece = 0; piece < pieceCount; ++piece)
            pieces.push_back({task.box, {end(piece), end(piece + 1)}});
        task.balls = {};
    }
    return pieces;
}

/// Unites the parts of the boxes of split tasks again: those of each piece follow each other. Returns false
/// if cancelled.
bool Join(std::vector<StTask>& parts, std::size_t pieceCount, IProgress& progress) {
    if (pieceCount == 1)
        return true;
    std::vector<StTask> joined(parts.size() / pieceCount);
    progress.Start(static_cast<unsigned>(joined.size()), "opening sizes");
    const bool isDone = ParallelForAtPace(std::ssize(joined), progress, [&] {
        return [&](std::int64_t item, CWorkPace& pace) {
            const auto place = static_cast<std::size_t>(item);
            const std::size_t first = place / c_boxLanes * c_boxLanes * pieceCount + place % c_boxLanes;
            const auto forEachPiece = [&](const auto& body) {
                for (std::size_t piece = 0; piece < pieceCount; ++piece)
                    body(parts[first + piece * c_boxLanes]);
            };
            std::vector<std::uint32_t>& balls = joined[place].balls;
            std::size_t count = 0;
            forEachPiece([&](const StTask& part) { count += part.balls.size(); });
            balls.reserve(count);
            forEachPiece([&](StTask& part) {
                ForEachPiece(std::ssize(part.balls), 1, pace, [&](std::int64_t begin, std::int64_t end) {
                    balls.insert(balls.end(), part.balls.begin() + begin, part.balls.begin() + end);
                });
                part.balls = {};
            });
            joined[place].box = parts[first].box;
        };
    });
    progress.Finish();
    parts = std::move(joined);
    return isDone;
}

StTask WholeTask(const CLayerView<float>& output, std::size_t ballCount) {
    if (ballCount > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("too many balls for 32-bit indices");
    StTask task{{{0, 0, 0}, {output.nx, output.ny, output.nz}}, std::vector<std::uint32_t>(ballCount)};
    std::iota(task.balls.begin(), task.balls.end(), 0U);
    return task;
}

} // namespace

bool CoverWithBalls(std::span<const StPlacedBall> balls, const CLayerView<float>& output,
                    IProgress& progress) {
    const std::int32_t greatest = balls.empty() ? 0 : balls.front().squaredRadius;
    const CBoxShape shape(output);
    std::vector<StTask> tasks{WholeTask(output, balls.size())};
    // Enough boxes for many threads. More would take more memory for indices.
    const std::int64_t pixelsOfTask =
        std::clamp<std::int64_t>(tasks.front().box.PixelCount() >> 7, 1 << 13, 1 << 19);
    while (tasks.front().box.PixelCount() > pixelsOfTask) {
        const std::size_t pieceCount = PieceCount(tasks.size(), balls.size());
        tasks = Split(std::move(tasks), pieceCount);
        std::vector<StTask> next(tasks.size() * c_boxLanes);
        const auto divide = [&, distributor = CDistributor(greatest)](
                                const StTask& task, std::span<const StPlacedBall> ballsOfTask,
                                CWorkPace& pace) mutable {
            const auto place = static_cast<std::size_t>(&task - tasks.data()) * c_boxLanes;
            Divide(task, ballsOfTask, shape, distributor, std::span(next).subspan(place).first<c_boxLanes>(),
                   pace);
        };
        if (!ForEachTask(tasks, balls, progress, divide) || !Join(next, pieceCount, progress))
            return false;
        std::erase_if(next, [](const StTask& task) { return task.box.PixelCount() == 0; });
        tasks = std::move(next);
    }
    const auto cover = [cover = CBoxCover(output, shape, greatest)](
                           const StTask& task, std::span<const StPlacedBall> ballsOfTask,
                           CWorkPace& pace) mutable { cover.Cover(task.box, ballsOfTask, pace); };
    return ForEachTask(tasks, balls, progress, cover);
}

} // namespace ORVEN
