#include <QuillonBase/Parallel.h>
#include <QuillonSegmentation/CFastLocalThresholding.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

// Cost of local thresholds on the volume named by QUILLON_BENCH_VOLUME: 256^3 bytes, x fastest, written by
// script/bench. Other pixel types use its values, spread over their range.

using namespace ORVEN;

namespace {

const CSize c_size(256, 256, 256);
constexpr int c_niblack = 0;
constexpr int c_sauvola = 1;

std::vector<unsigned char> ReadVolume(const char* path) {
    std::vector<unsigned char> volume(static_cast<std::size_t>(c_size.PixelCount()));
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(volume.data()), static_cast<std::streamsize>(volume.size()));
    if (!file)
        volume.clear();
    return volume;
}

template <class T>
std::unique_ptr<CImage> MakeImage(const IImage::CType& type, const std::vector<unsigned char>& volume) {
    auto image = std::make_unique<CImage>(type, c_size, CSize(0, 0, 0));
    const CImageView<T> view(*image);
    const T factor =
        std::is_floating_point_v<T> ? T(1) : static_cast<T>(std::numeric_limits<T>::max() / T(255));
    auto value = volume.begin();
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x)
                view.Row(y, z)[x] = static_cast<T>(*value++ * factor);
        }
    }
    return image;
}

/// The memory of image and output is touched before the first round and reused in every round.
void Binarize(benchmark::State& state, const IImage& input, int method, int w, int threadCount) {
    CImage output(IMAGE_BINARY_FG, c_size, CSize(0, 0, 0));
    CFastLocalThresholding algorithm(nullptr, nullptr);
    algorithm.m_nWindowSize = w;
    algorithm.m_fCoefficient = method == c_niblack ? -0.2 : 0.2;
    algorithm.m_nMethod = method;
    SetThreadCount(threadCount);
    algorithm.Binarize(output, input);
    for (auto _ : state)
        algorithm.Binarize(output, input);
    SetThreadCount(0);
    const auto pixels = static_cast<double>(c_size.PixelCount());
    state.counters["time/voxel"] = benchmark::Counter(pixels, benchmark::Counter::kIsIterationInvariantRate |
                                                                  benchmark::Counter::kInvert);
    state.counters["MVox/s"] =
        benchmark::Counter(pixels / 1e6, benchmark::Counter::kIsIterationInvariantRate);
}

void Register(const std::string& typeName, const std::shared_ptr<CImage>& image) {
    std::vector<int> threadCounts{1};
    if (const auto all = static_cast<int>(std::thread::hardware_concurrency()); all > 1)
        threadCounts.push_back(all);
    for (const int method : {c_niblack, c_sauvola}) {
        for (const int w : {5, 25}) {
            for (const int threadCount : threadCounts) {
                const std::string name = std::string(method == c_niblack ? "Niblack" : "Sauvola") + "/" +
                                         typeName + "/w:" + std::to_string(w) +
                                         "/threads:" + std::to_string(threadCount);
                benchmark::RegisterBenchmark(
                    name.c_str(),
                    [=](benchmark::State& state) { Binarize(state, *image, method, w, threadCount); })
                    ->UseRealTime()
                    ->Unit(benchmark::kMillisecond);
            }
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    const char* const path = std::getenv("QUILLON_BENCH_VOLUME");
    const std::vector<unsigned char> volume =
        path != nullptr ? ReadVolume(path) : std::vector<unsigned char>();
    if (volume.empty()) {
        std::cerr << "QUILLON_BENCH_VOLUME does not name a file of 256^3 bytes\n";
        return 1;
    }
    Register("8 bit", MakeImage<unsigned char>(IMAGE_GREY_8, volume));
    Register("16 bit", MakeImage<unsigned short>(IMAGE_GREY_16, volume));
    Register("32 bit", MakeImage<unsigned int>(IMAGE_GREY_32, volume));
    Register("float", MakeImage<float>(IMAGE_GREY_F, volume));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
