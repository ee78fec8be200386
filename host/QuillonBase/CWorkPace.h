#pragma once

#include "QuillonBase/IProgress.h"
#include "QuillonBase/Parallel.h"

#include <algorithm>
#include <cstdint>

namespace ORVEN {

/// Decides how often a kernel asks whether it is cancelled. The kernel reports its work as it proceeds, and
/// once enough work has accumulated, the pace asks.
///
/// A unit of work is one step of a scalar loop, about a nanosecond. Vectorised loops report the same number
/// of units as scalar ones, so they ask slightly more often than necessary. Units need not be exact: a
/// question is asked at least every `c_workPerQuestion` units, well within the 20 ms after which a user would
/// notice a delay. A single report should not exceed a few million units.
class CWorkPace {
public:
    static constexpr std::int64_t c_workPerQuestion = 1 << 20;

    /// For work inside an item of a `ParallelFor`; use one pace per thread.
    explicit CWorkPace(CWorkerTurn& turn)
        : m_turn(&turn) {}
    /// For work on the thread that called the algorithm, outside of any `ParallelFor`.
    explicit CWorkPace(IProgress& progress)
        : m_progress(&progress) {}

    /// Counts work that has been done. Returns true once the job is cancelled, and on every later call. The
    /// caller then returns at once and discards its results.
    [[nodiscard]] bool Add(std::int64_t units) {
        m_work += units;
        return m_work < c_workPerQuestion ? m_isCancelled : Ask();
    }

    [[nodiscard]] bool IsCancelled() const { return m_isCancelled; }

private:
    bool Ask();

    CWorkerTurn* m_turn = nullptr;
    IProgress* m_progress = nullptr;
    std::int64_t m_work = 0;
    bool m_isCancelled = false;
};

/// Calls `body(first, end)` for consecutive pieces of the numbers from 0 to `count` - 1, and checks for
/// cancellation between them. Each number is `unitsEach` of work. Returns false if cancelled.
template <class Body>
bool ForEachPiece(std::int64_t count, std::int64_t unitsEach, CWorkPace& pace, const Body& body) {
    constexpr std::int64_t unitsOfPiece = CWorkPace::c_workPerQuestion / 4;
    const std::int64_t length =
        std::max<std::int64_t>(1, unitsOfPiece / std::max<std::int64_t>(1, unitsEach));
    for (std::int64_t first = 0; first < count; first += length) {
        const std::int64_t end = std::min(first + length, count);
        body(first, end);
        if (pace.Add((end - first) * unitsEach))
            return false;
    }
    return !pace.IsCancelled();
}

/// Calls `body(y, z, firstX, endX)` for pieces of all rows of an image view, on this thread, and checks for
/// cancellation between them. For images whose rows can be of any length. Each pixel is `unitsEach` of work.
/// Returns false if cancelled.
template <class View, class Body>
bool ForEachRowPiece(const View& view, std::int64_t unitsEach, CWorkPace& pace, const Body& body) {
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            const auto piece = [&](std::int64_t firstX, std::int64_t endX) { body(y, z, firstX, endX); };
            if (!ForEachPiece(view.nx, unitsEach, pace, piece))
                return false;
        }
    }
    return !pace.IsCancelled();
}

/// Calls `body(y, z)` for all rows of an image view, on this thread, and checks for cancellation between
/// them. Each pixel is `unitsEach` of work. Returns false if cancelled.
template <class View, class Body>
bool ForEachRow(const View& view, std::int64_t unitsEach, CWorkPace& pace, const Body& body) {
    constexpr std::int64_t unitsOfRow = 16;
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            body(y, z);
            if (pace.Add(view.nx * unitsEach + unitsOfRow))
                return false;
        }
    }
    return !pace.IsCancelled();
}

/// A `ParallelFor` whose items report their work: `makeWork()` returns the function that processes one item,
/// `work(item, pace)`. It is called once on each thread, so that scratch memory can live in the closure.
template <class MakeWork>
bool ParallelForAtPace(std::int64_t count, IProgress& progress, const MakeWork& makeWork) {
    return ParallelFor(count, progress, [&makeWork](CWorkerTurn& turn) {
        return [pace = CWorkPace(turn), work = makeWork()](std::int64_t item) mutable { work(item, pace); };
    });
}

/// Like `ForEachRow` on several threads, with one step of progress per plane. Rows must not depend on one
/// another.
template <class View, class Body>
bool ForEachRowInParallel(const View& view, std::int64_t unitsEach, IProgress& progress, const char* phase,
                          const Body& body) {
    constexpr std::int64_t unitsOfRow = 16;
    progress.Start(static_cast<unsigned>(view.nz), phase);
    const bool isDone = ParallelForAtPace(view.nz, progress, [&] {
        return [&](std::int64_t z, CWorkPace& pace) {
            for (std::int64_t y = 0; y < view.ny && !pace.IsCancelled(); ++y) {
                body(y, z);
                (void)pace.Add(view.nx * unitsEach + unitsOfRow);
            }
        };
    });
    progress.Finish();
    return isDone;
}

} // namespace ORVEN
