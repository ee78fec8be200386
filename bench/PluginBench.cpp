#include "bench/CPluginRun.h"

#include <QuillonBase/Parallel.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

// PluginBench WORD ...; for the words see `bench::CPluginRun`
//
// Runs a plug-in of the pack on one thread, and prints CPU seconds, peak memory in bytes and the longest time
// in ms between two questions whether the run is cancelled. Stretches are not measured on volumes from files,
// because the clock would cost time.

namespace {

int Measure(const std::vector<std::string>& words) {
    ORVEN::SetThreadCount(1);
    bench::CPluginRun run(words);
    const bool takesPauses = words[1] != "file";
    // The first run touches memory for the first time: its peak counts, its time does not. Pauses are
    // measured in runs of their own, because their clock takes time, too.
    bench::StFigures figures = run.Run(takesPauses);
    double total = 0.0;
    for (int round = 0; round < 5 && total < 2.0; ++round) {
        const double seconds = run.Run(false).seconds;
        total += seconds;
        figures.seconds = round == 0 ? seconds : std::min(figures.seconds, seconds);
    }
    if (takesPauses && figures.seconds < 2.0)
        figures.longestPause = std::min(figures.longestPause, run.Run(true).longestPause);
    std::printf("%.6f %.0f %.3f\n", figures.seconds, figures.peakBytes, 1e3 * figures.longestPause);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 7) {
        std::cerr
            << "usage: PluginBench PACK SCAN STRUCTURE EDGE TYPE PLUGIN [after=PLUGIN] [KEY=VALUE ...]\n";
        return 2;
    }
    try {
        return Measure({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::cerr << "PluginBench: " << error.what() << '\n';
        return 1;
    }
}
