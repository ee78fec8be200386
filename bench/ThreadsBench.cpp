#include "bench/CPluginRun.h"

#include <QuillonBase/CJobRecording.h>
#include <QuillonBase/Parallel.h>

#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

// ThreadsBench WORD ...; for the words see `bench::CPluginRun`
//
// Prints what bench/threads.py needs to see how well the work of a plug-in divides, one line each:
//
//     wall THREADS SECONDS     a run on so many threads; runs on one and two threads take turns
//     run THREADS SECONDS      the processor time of a run on one thread, with its work divided for so many
//     job SECONDS ...          the items of each job of the last "run"

namespace {

constexpr int c_jobRounds = 3;
constexpr int c_wallRounds = 30;
/// Once the runs have taken this long, there are no further rounds.
constexpr double c_enoughSeconds = 12.0;

double PrintWallTime(bench::CPluginRun& run, int threadCount) {
    ORVEN::SetThreadCount(threadCount);
    const double seconds = run.Run(false).wallSeconds;
    std::printf("wall %d %.6f\n", threadCount, seconds);
    return seconds;
}

double PrintJobs(bench::CPluginRun& run, int threadCount) {
    ORVEN::SetThreadCount(threadCount);
    const ORVEN::CJobRecording recording;
    const double seconds = run.Run(false).seconds;
    std::printf("run %d %.6f\n", threadCount, seconds);
    for (const ORVEN::CJobRecording::Job& job : recording.Jobs()) {
        std::printf("job");
        for (const double item : job)
            std::printf(" %.7f", item);
        std::printf("\n");
    }
    return seconds;
}

void Measure(const std::vector<std::string>& words) {
    bench::CPluginRun run(words);
    double total = 0.0;
    for (int round = 0; round < c_jobRounds && total < c_enoughSeconds; ++round) {
        for (const int threadCount : {4, 8, 16})
            total += PrintJobs(run, threadCount);
    }
    // A short run needs many rounds, because threads wake up at different speeds.
    total = 0.0;
    for (int round = 0; round < c_wallRounds && total < c_enoughSeconds / 4; ++round) {
        for (const int threadCount : {1, 2})
            total += PrintWallTime(run, threadCount);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 7) {
        std::cerr
            << "usage: ThreadsBench PACK SCAN STRUCTURE EDGE TYPE PLUGIN [after=PLUGIN] [KEY=VALUE ...]\n";
        return 2;
    }
    try {
        Measure({argv + 1, argv + argc});
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "ThreadsBench: " << error.what() << '\n';
        return 1;
    }
}
