#include "bench/BooleanModel.h"

#include <QuillonBase/Parallel.h>
#include <QuillonGranulometry/CGranulometry.h>
#include <QuillonTransformation/CEdtVoronoi.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <functional>
#include <iostream>
#include <limits>
#include <map>
#include <string>
#include <thread>

// GranulometryBench VOLUME SIZES SECONDS GREY
//
// Opening sizes and maximal balls of a binary volume, a file of n^3 bytes, x fastest. Each figure is the
// fastest of three runs. The sizes are written to SIZES as floats, and their time on one thread to SECONDS,
// for the comparison with the peer.
//
// Then the CPU time of opening sizes on one thread, as a multiple of that of the exact distance map of the
// same structure, for structures that grow with the volume, and for cement paste: GREY is a file of n^3 grey
// values, solid above 75.

using namespace ORVEN;

namespace {

double Seconds(const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double QuickestOf3(const std::function<void()>& work) {
    return std::min({Seconds(work), Seconds(work), Seconds(work)});
}

CImage ReadVolume(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const auto edge = static_cast<std::int64_t>(std::cbrt(static_cast<double>(file.tellg())) + 0.5);
    CImage image(IMAGE_BINARY_FG, CSize(edge, edge, edge), CSize(0, 0, 0));
    file.seekg(0);
    file.read(reinterpret_cast<char*>(CImageView<unsigned char>(image).Row(0, 0)), edge * edge * edge);
    return image;
}

double CpuSeconds(const std::function<void()>& work) {
    const std::clock_t begin = std::clock();
    work();
    return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

/// The fastest of five runs of each, which alternate: other programs then slow down both.
void CompareWithDistanceMap(const char* name, const CImage& image) {
    CImage output(IMAGE_GREY_F, image.Size(), CSize(0, 0, 0));
    std::map<float, std::uint64_t> histogram;
    constexpr int rounds = 5;
    double map = std::numeric_limits<double>::max();
    double sizes = map;
    for (int round = 0; round < rounds; ++round) {
        map = std::min(
            map, CpuSeconds([&] {
                CEdtVoronoi(nullptr, nullptr).CalculateDistanceMap(output, image, true, true, false, true);
            }));
        sizes = std::min(sizes, CpuSeconds([&] {
                             CGranulometry(nullptr, nullptr)
                                 .DoSphereGranulometryBinned(image, output, histogram, -1.0, false, true, 2);
                         }));
    }
    const double perPixel = 1e9 / static_cast<double>(image.Size().PixelCount());
    std::printf("%-8s%5lld^3%14.2f%18.1f%9.1f%15.1f\n", name, static_cast<long long>(image.Size().x),
                map * perPixel, sizes * perPixel, sizes / map, histogram.rbegin()->first / 2.0F);
}

CImage Solid(std::int64_t edge) {
    CImage image(IMAGE_BINARY_FG, CSize(edge, edge, edge), CSize(0, 0, 0));
    const CImageView<unsigned char> view(image);
    std::fill_n(view.Row(0, 0), view.PixelCount(), static_cast<unsigned char>(1));
    return image;
}

/// Peak memory of the process in bytes.
double PeakBytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return 1024.0 * static_cast<double>(usage.ru_maxrss);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::cerr << "usage: GranulometryBench VOLUME SIZES SECONDS GREY\n";
        return 2;
    }
    const CImage image = ReadVolume(argv[1]);
    CImage sizes(IMAGE_GREY_F, image.Size(), CSize(0, 0, 0));
    const CImageView<const float> pixels(sizes);
    std::map<float, std::uint64_t> histogram;
    const auto measure = [&](bool isFiltered) {
        CGranulometry(nullptr, nullptr)
            .DoSphereGranulometryBinned(image, sizes, histogram, -1.0, isFiltered, true, 2);
    };
    std::printf("%lld^3%20s%20s\n", static_cast<long long>(image.Size().x), "opening sizes s",
                "maximal balls s");
    for (const int threadCount : {1, static_cast<int>(std::thread::hardware_concurrency())}) {
        SetThreadCount(threadCount);
        const double balls = QuickestOf3([&] { measure(true); });
        const double openings = QuickestOf3([&] { measure(false); });
        std::printf("%d thread(s)%14.3f%20.3f\n", threadCount, openings, balls);
        if (threadCount == 1)
            std::ofstream(argv[3]) << openings << '\n';
    }
    std::ofstream(argv[2], std::ios::binary)
        .write(reinterpret_cast<const char*>(pixels.Row(0, 0)),
               pixels.PixelCount() * static_cast<std::int64_t>(sizeof(float)));
    std::printf("peak memory, including image and sizes: %.1f bytes per pixel\n",
                PeakBytes() / static_cast<double>(pixels.PixelCount()));

    SetThreadCount(1);
    std::printf("%-15s%14s%18s%9s%15s\n", "CPU time", "distances ns", "opening sizes ns", "ratio",
                "largest radius");
    for (const std::int64_t edge : {128, 256, 320, 512}) {
        CompareWithDistanceMap("foam", *bench::BooleanModel(edge, edge / 24, edge / 8));
        CompareWithDistanceMap("solid", Solid(edge));
    }
    CImage cement = ReadVolume(argv[4]);
    const CImageView<unsigned char> grey(cement);
    std::transform(grey.Row(0, 0), grey.Row(0, 0) + grey.PixelCount(), grey.Row(0, 0),
                   [](unsigned char value) { return static_cast<unsigned char>(value > 75 ? 1 : 0); });
    CompareWithDistanceMap("cement", cement);
}
