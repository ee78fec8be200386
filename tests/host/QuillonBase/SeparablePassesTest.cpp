#include "support/CRecordingProgress.h"
#include "support/CThreadCount.h"

#include <QuillonBase/SeparablePasses.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using namespace ORVEN;

namespace {

constexpr std::int64_t c_linesPerCall = 100;

/// Counts how often each pixel is visited along each axis, and checks the order of the axes.
class CVisits {
public:
    explicit CVisits(const StPassAxes& axes)
        : m_axes(axes)
        , m_next(static_cast<std::size_t>(axes.nx * axes.ny * axes.nz)) {}

    /// Runs the passes; the calls and their arguments are checked on the way.
    bool Run(IProgress& progress) {
        return CSeparablePasses(m_axes, c_linesPerCall, progress)
            .Run("visits", [this](int firstAxis, int lastAxis) {
                return [=, this](auto axis, std::int64_t other, std::int64_t first, std::int64_t end,
                                 CWorkPace& /*pace*/) {
                    const std::int64_t most = axis == 0 ? CSeparablePasses::c_rowsPerCall : c_linesPerCall;
                    if (axis < firstAxis || axis > lastAxis || first % most != 0 || end - first > most)
                        ++m_wrongCalls;
                    for (std::int64_t line = first; line < end; ++line)
                        VisitLine(axis, other, line);
                };
            });
    }

    [[nodiscard]] int WrongCalls() const { return m_wrongCalls; }
    /// Whether every pixel has been visited once along each wanted axis.
    [[nodiscard]] bool AreComplete() const {
        const int last = m_axes.hasZ ? 3 : m_axes.hasY ? 2 : 1;
        return std::all_of(m_next.begin(), m_next.end(), [=](const auto& next) { return next == last; });
    }

private:
    void VisitLine(int axis, std::int64_t other, std::int64_t line) {
        const std::int64_t length =
            std::array{m_axes.nx, m_axes.ny, m_axes.nz}[static_cast<std::size_t>(axis)];
        for (std::int64_t i = 0; i < length; ++i) {
            const auto [x, y, z] = axis == 0   ? std::tuple{i, line, other}
                                   : axis == 1 ? std::tuple{line, i, other}
                                               : std::tuple{line, other, i};
            std::atomic<int>& next = m_next[static_cast<std::size_t>((z * m_axes.ny + y) * m_axes.nx + x)];
            // A pass along z need not follow one along y.
            const bool isNext = next == axis || (axis == 2 && !m_axes.hasY && next == 1);
            if (!isNext)
                ++m_wrongCalls;
            next = axis + 1;
        }
    }

    StPassAxes m_axes;
    std::vector<std::atomic<int>> m_next; ///< the axis after the last one that a pixel was visited along
    std::atomic<int> m_wrongCalls = 0;
};

} // namespace

TEST(CSeparablePasses, VisitsEachLineOnceAndFinishesAnAxisBeforeTheNextThatCrossesIt) {
    for (const int threadCount : {1, 2, 5}) {
        const test::CThreadCount threads(threadCount);
        for (const auto& [nx, ny, nz] : std::vector<std::array<std::int64_t, 3>>{{1, 1, 1},
                                                                                 {230, 1, 1},
                                                                                 {230, 150, 1},
                                                                                 {3, 200, 3},
                                                                                 {230, 70, 4},
                                                                                 {101, 3, 40},
                                                                                 {5, 65, 17}}) {
            for (int axes = 0; axes < 4; ++axes) {
                SCOPED_TRACE(testing::Message() << nx << " x " << ny << " x " << nz << ", axes " << axes
                                                << ", threads " << threadCount);
                CVisits visits({nx, ny, nz, (axes & 1) != 0, (axes & 2) != 0});
                test::CRecordingProgress progress;
                EXPECT_TRUE(visits.Run(progress));
                EXPECT_EQ(visits.WrongCalls(), 0);
                EXPECT_TRUE(visits.AreComplete());
                EXPECT_EQ(progress.calls.front(), "Start " + std::to_string(progress.steps) + " visits");
                EXPECT_EQ(progress.calls.back(), "Finish");
            }
        }
    }
}

// A step is a plane or the z lines of a row where these suffice for all threads, else a block.
TEST(CSeparablePasses, DividesAFlatImageAndOneOfFewPlanesIntoBlocks) {
    const auto stepsOf = [](const StPassAxes& axes, int threadCount) {
        const test::CThreadCount threads(threadCount);
        CVisits visits(axes);
        test::CRecordingProgress progress;
        visits.Run(progress);
        return progress.steps;
    };
    EXPECT_EQ(stepsOf({230, 150, 1, true, false}, 1), 3U + 3U);
    EXPECT_EQ(stepsOf({230, 150, 4, true, true}, 2), 4U + 150U);
    EXPECT_EQ(stepsOf({230, 150, 4, true, true}, 3), 4U * 3U + 4U * 3U + 150U);
}

TEST(CSeparablePasses, StopsWhenCancelled) {
    const test::CThreadCount threads(1);
    CVisits visits({20, 20, 20, true, true});
    test::CRecordingProgress progress;
    progress.isCancelled = true;
    EXPECT_FALSE(visits.Run(progress));
    EXPECT_FALSE(visits.AreComplete());
    EXPECT_EQ(progress.calls.back(), "Finish");
}

TEST(VectorDispatch, CompilesForTheRequestedRegisters) {
    using Impl::EnVectors;
    const std::array<std::pair<EnVectors, std::size_t>, 3> widths{
        {{EnVectors::BASELINE, 16}, {EnVectors::AVX2, 32}, {EnVectors::AVX512, 64}}};
    for (const auto& [vectors, width] : widths) {
        if (vectors > Impl::BestVectors())
            continue;
        std::size_t bytes = 0;
        Impl::RunWithRegisters(vectors, [&](auto registerBytes) { bytes = registerBytes; });
        EXPECT_EQ(bytes, width);
        int calls = 0;
        Impl::RunFor(vectors, [&] { ++calls; });
        EXPECT_EQ(calls, 1);
    }
}
