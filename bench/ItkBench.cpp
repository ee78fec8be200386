#include "bench/ItkPeers.h"
#include "bench/RawVolume.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

// ItkBench VOLUME TYPE distance | erosion RADIUS | gauss SIGMA | derivative AXIS | watershed N6|N26 [SEEDS]
//
// Runs a filter of ITK on a volume, a file without a header, and prints the CPU seconds of the fastest of up
// to five runs, of which there is one only if it takes two seconds. SEEDS is a volume of 32-bit labels.

using namespace ORVEN;

namespace {

double CpuSeconds(const bench::Run& run) {
    const std::clock_t begin = std::clock();
    run();
    return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

double LeastCpuSeconds(const bench::Run& run) {
    double least = CpuSeconds(run);
    double total = least;
    for (int round = 1; round < 5 && total < 2.0; ++round) {
        const double seconds = CpuSeconds(run);
        total += seconds;
        least = std::min(least, seconds);
    }
    return least;
}

int Measure(const std::vector<std::string>& words) {
    const std::unique_ptr<CImage> image = bench::ReadRawVolume(words[0], words[1]);
    const std::string& filter = words[2];
    const auto argument = [&words](std::size_t i) { return i < words.size() ? words[i] : std::string(); };
    const std::unique_ptr<CImage> seeds =
        argument(4).empty() ? nullptr : bench::ReadRawVolume(argument(4), "grey32");
    bench::Run run;
    if (filter == "distance")
        run = bench::ItkDistanceMap(*image);
    else if (filter == "erosion")
        run = bench::ItkErosion(*image, std::stoul(argument(3)));
    else if (filter == "gauss")
        run = bench::ItkGauss(*image, std::stod(argument(3)));
    else if (filter == "derivative")
        run = bench::ItkDerivative(*image, static_cast<unsigned>(std::stoul(argument(3))), 1);
    else if (filter == "watershed")
        run = bench::ItkWatershed(*image, seeds.get(), argument(3) == "N26");
    else
        throw std::runtime_error("unknown filter " + filter);
    std::printf("%.6f\n", LeastCpuSeconds(run));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        std::cerr << "usage: ItkBench VOLUME TYPE FILTER [ARGUMENT ...]\n";
        return 2;
    }
    try {
        return Measure({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::cerr << "ItkBench: " << error.what() << '\n';
        return 1;
    }
}
