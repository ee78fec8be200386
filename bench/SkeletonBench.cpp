#include <QuillonBase/Parallel.h>
#include <QuillonTransformation/CSkeletonCouprierZour.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <string>
#include <thread>

// SkeletonBench VOLUME SECONDS
//
// The stages of "EuclideanSkeleton" one by one, and "Skeleton" in one call, on a binary volume, a file of
// n^3 bytes, x fastest. Each figure is the fastest of three runs. The sum of the stages on one thread is
// written to SECONDS, one line with neighbourhood and time for each neighbourhood, for the comparison with
// scikit-image.

using namespace ORVEN;

namespace {

constexpr const char* c_ids[] = {"N6", "N14_1", "N26"};

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

/// Peak memory of the process in bytes.
double PeakBytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return 1024.0 * static_cast<double>(usage.ru_maxrss);
}

/// Prints the times of the stages, thinning last, and returns their sum.
double RunStages(const CImage& image, CImage& result, const std::string& id) {
    const CSize none(0, 0, 0);
    CImage squaredDistance(IMAGE_GREY_32, image.Size(), none);
    CImage medialAxis(IMAGE_BINARY_FG, image.Size(), none);
    CImage bisector(IMAGE_GREY_F, image.Size(), none);
    CImage constraintSet(IMAGE_BINARY_FG, image.Size(), none);
    CProgressProxy progress;
    CSkeletonCouprierZour algorithm(nullptr, nullptr);
    const std::array stages{
        QuickestOf3([&] { algorithm.SquaredEdt(image, squaredDistance, progress); }),
        QuickestOf3([&] { algorithm.MedialAxis(squaredDistance, medialAxis, 0, progress, false); }),
        QuickestOf3([&] { algorithm.Bisector(squaredDistance, medialAxis, bisector, progress, false); }),
        QuickestOf3([&] {
            algorithm.ConstrainedSet(medialAxis, squaredDistance, bisector, constraintSet, 0, 0.0F, progress);
        }),
        QuickestOf3(
            [&] { algorithm.EuclideanSkeleton(image, squaredDistance, medialAxis, result, id, progress); })};
    double sum = 0.0;
    std::printf("%-8s", id.c_str());
    for (const double stage : stages) {
        std::printf("%10.3f", stage);
        sum += stage;
    }
    std::printf("%10.3f", sum);
    return sum;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: SkeletonBench VOLUME SECONDS\n";
        return 2;
    }
    const CImage image = ReadVolume(argv[1]);
    std::ofstream seconds(argv[2]);
    CImage result(image.Type(), image.Size(), CSize(0, 0, 0));
    const auto pixels = static_cast<double>(image.Size().PixelCount());
    for (const int threadCount : {1, static_cast<int>(std::thread::hardware_concurrency())}) {
        SetThreadCount(threadCount);
        std::printf("%lld^3, seconds on %d thread(s)\n%-8s%10s%10s%10s%10s%10s%10s%10s\n",
                    static_cast<long long>(image.Size().x), threadCount, "", "distance", "axis", "bisector",
                    "set", "thinning", "sum", "one call");
        for (const char* id : c_ids) {
            const double sum = RunStages(image, result, id);
            CProgressProxy progress;
            CSkeletonCouprierZour algorithm(nullptr, nullptr);
            std::printf("%10.3f\n", QuickestOf3([&] {
                            algorithm.RunSkeletonCouprierZour(image, result, id, 2, 1.0F, progress, false);
                        }));
            if (threadCount == 1)
                seconds << id << ' ' << sum << '\n';
        }
    }
    std::printf("peak memory, including input and result: %.1f bytes per pixel\n", PeakBytes() / pixels);
}
