#include "segmentation/PixelSort.h"
#include "utils/PointOperations.h"
#include "utils/visitors/PointOperationCopy.h"

#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <benchmark/benchmark.h>

#include <iostream>
#include <memory>
#include <random>
#include <type_traits>

// Cost of a typed traversal: nanoseconds per pixel on 256^3 pixels, including the virtual progress step. The
// random images have 256 different values (few) or almost as many as pixels (many).

using namespace ORVEN;

namespace {

const CSize c_size(256, 256, 256);

/// Discards debugging output during its lifetime.
class SilentOutput {
public:
    SilentOutput()
        : m_before(std::cout.rdbuf(nullptr)) {}
    SilentOutput(const SilentOutput&) = delete;
    SilentOutput& operator=(const SilentOutput&) = delete;
    ~SilentOutput() {
        std::cout.rdbuf(m_before);
        std::cout.clear();
    }

private:
    std::streambuf* m_before;
};

template <class T>
const IImage::CType& TypeOf() {
    if constexpr (std::is_same_v<T, unsigned char>)
        return IMAGE_GREY_8;
    else if constexpr (std::is_same_v<T, unsigned short>)
        return IMAGE_GREY_16;
    else if constexpr (std::is_same_v<T, unsigned int>)
        return IMAGE_GREY_32;
    else
        return IMAGE_GREY_F;
}

template <class T>
std::unique_ptr<CImage> RandomImage(unsigned valueCount) {
    auto image = std::make_unique<CImage>(TypeOf<T>(), c_size, CSize(0, 0, 0));
    std::minstd_rand random(1);
    std::uniform_int_distribution<unsigned> value(0, valueCount - 1);
    const CImageView<T> view(*image);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x)
                view.Row(y, z)[x] = static_cast<T>(value(random));
        }
    }
    return image;
}

/// Runs `traverse` in a loop and reports the time per pixel.
template <class Traverse>
void Measure(benchmark::State& state, const Traverse& traverse) {
    const SilentOutput silence;
    for (auto _ : state)
        traverse();
    state.counters["time/pixel"] =
        benchmark::Counter(static_cast<double>(c_size.PixelCount()),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <class T>
void Copy(benchmark::State& state) {
    const auto source = RandomImage<T>(256);
    const auto target = RandomImage<T>(256);
    visitors::CCopy<T> copy;
    Measure(state, [&] { CPointOperations(nullptr, nullptr).Visit(copy, *target, *source); });
}

template <class T>
void MinMax(benchmark::State& state) {
    const auto image = RandomImage<T>(256);
    visitors::CAnalyzerMinMax<T> extrema;
    Measure(state, [&] { CPointOperations(nullptr, nullptr).Visit(extrema, *image); });
}

void Histogram(benchmark::State& state) {
    const auto image = RandomImage<unsigned char>(256);
    std::vector<std::size_t> bins;
    visitors::CAnalyzerHistogram<unsigned char, std::size_t> histogram(256, &bins);
    Measure(state, [&] { CPointOperations(nullptr, nullptr).Visit(histogram, *image); });
}

void CountValues(benchmark::State& state) { // with many values one run would take a minute
    const auto image = RandomImage<float>(static_cast<unsigned>(state.range(0)));
    visitors::CAnalyzerCountValues<float, std::size_t> values;
    Measure(state, [&] { CPointOperations(nullptr, nullptr).Visit(values, *image); });
}

template <class T>
void PixelSort(benchmark::State& state) {
    const auto image = RandomImage<T>(static_cast<unsigned>(state.range(0)));
    std::vector<std::uint16_t> x;
    std::vector<std::uint16_t> y;
    std::vector<std::uint16_t> z;
    std::vector<std::uint64_t> levelStarts;
    Measure(state, [&] { GetHistogramAndPixelSort<T, 3>(x, y, z, levelStarts, *image); });
}

constexpr int few = 256;
constexpr int many = 1 << 24;

BENCHMARK(Copy<unsigned char>)->Unit(benchmark::kMillisecond);
BENCHMARK(Copy<float>)->Unit(benchmark::kMillisecond);
BENCHMARK(MinMax<unsigned char>)->Unit(benchmark::kMillisecond);
BENCHMARK(MinMax<float>)->Unit(benchmark::kMillisecond);
BENCHMARK(Histogram)->Unit(benchmark::kMillisecond);
BENCHMARK(CountValues)->Arg(few)->Unit(benchmark::kMillisecond);
BENCHMARK(PixelSort<unsigned char>)->Arg(few)->Unit(benchmark::kMillisecond);
BENCHMARK(PixelSort<float>)->Arg(few)->Arg(many)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
