// How finely plug-ins divide their work among threads.

#include "src/contract/PluginTable.h"
#include "support/CThreadCount.h"
#include "support/QtTest.h"

#include <QuillonBase/CJobRecording.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

namespace {

using namespace ORVEN;
using test::StPluginRow;

constexpr int c_threadCount = 16;
/// Enough for a balance of the busiest thread and the mean, if items take about the same time.
constexpr std::size_t c_enoughItems = 2 * c_threadCount;

struct StJobs {
    const char* plugin;
    std::size_t divided; ///< jobs with enough items
    std::size_t small;   ///< jobs that there is too little to do for
};

/// The plug-ins whose work is divided; that of others stays on the thread of the caller.
constexpr std::array<StJobs, 13> c_jobs{{{"ConvexifyObjects", 1, 1}, // merges a single table
                                         {"CylinderMask", 1, 0},
                                         {"EuclideanSkeleton", 6, 0},
                                         {"ExactBisector", 4, 0},
                                         {"ExactMedialAxis", 3, 0},
                                         {"GaussFilter", 2, 0},
                                         {"Granulometry", 5, 3}, // distributes a few balls
                                         {"LocalFiberDirections", 2, 0},
                                         {"PartialDerivative", 2, 0},
                                         {"SegmNiblack", 1, 0},
                                         {"SegmSauvola", 1, 0},
                                         {"SphericalMorphology", 4, 0},
                                         {"VoronoiEdtPlugin", 2, 0}}};

StJobs JobsOf(const std::string& plugin) {
    // Both skeletons are the same but for a parameter.
    const std::string name = plugin == "Skeleton" ? "EuclideanSkeleton" : plugin;
    for (const StJobs& jobs : c_jobs) {
        if (jobs.plugin == name)
            return jobs;
    }
    return {plugin.c_str(), 0, 0};
}

class Division : public testing::TestWithParam<const StPluginRow*> {};

TEST_P(Division, JobsHaveItemsForManyThreads) {
    test::CPluginRun run(*GetParam(), GetParam()->types.front(), CSize(24, 256, 256));
    const test::CThreadCount threads(c_threadCount);
    const CJobRecording recording;
    run.Run();
    const auto isDivided = [](const CJobRecording::Job& job) { return job.size() >= c_enoughItems; };
    const auto divided = std::ranges::count_if(recording.Jobs(), isDivided);
    const StJobs expected = JobsOf(GetParam()->name);
    EXPECT_GE(static_cast<std::size_t>(divided), expected.divided);
    EXPECT_LE(recording.Jobs().size() - static_cast<std::size_t>(divided), expected.small);
    EXPECT_EQ(recording.Jobs().empty(), expected.divided == 0);
}

using Row = testing::TestParamInfo<const StPluginRow*>;
INSTANTIATE_TEST_SUITE_P(Pack, Division, testing::ValuesIn(test::PluginRowsWhere([](const StPluginRow& row) {
                             return std::ranges::count(row.dimensions, 3) != 0;
                         })),
                         test::PluginRowName<Row>);

} // namespace
