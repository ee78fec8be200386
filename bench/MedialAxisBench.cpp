#include <QuillonBase/CProgressProxy.h>
#include <QuillonBase/Parallel.h>
#include <QuillonTransformation/axis/BisectorKernel.h>
#include <QuillonTransformation/axis/MedialAxisKernel.h>
#include <QuillonTransformation/distance/SquaredDistances.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <random>

// Medial axis and bisector of objects of 256^3 pixels on one thread: time per pixel of the image. The foam
// is what remains when bubbles of radius 10 to 24 are cut out, half of the volume. The block fills the whole
// volume, with balls up to radius 128 and the longest vector lists.

using namespace ORVEN;

namespace {

constexpr std::int64_t c_edge = 256;
const CSize c_size(c_edge, c_edge, c_edge);

std::unique_ptr<CImage> NewImage(const IImage::CType& type) {
    return std::make_unique<CImage>(type, c_size, CSize(0, 0, 0));
}

std::unique_ptr<CImage> Block() {
    auto image = NewImage(IMAGE_BINARY_FG);
    const CImageView<unsigned char> view(*image);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y)
            std::fill_n(view.Row(y, z), view.nx, static_cast<unsigned char>(1));
    }
    return image;
}

/// Clears a ball and returns the number of pixels it cleared.
std::int64_t Blow(const CImageView<unsigned char>& view, const std::array<std::int64_t, 3>& centre,
                  std::int64_t radius) {
    std::int64_t cleared = 0;
    const auto [cx, cy, cz] = centre;
    for (std::int64_t z = std::max<std::int64_t>(cz - radius, 0); z <= std::min(cz + radius, c_edge - 1);
         ++z) {
        for (std::int64_t y = std::max<std::int64_t>(cy - radius, 0); y <= std::min(cy + radius, c_edge - 1);
             ++y) {
            for (std::int64_t x = std::max<std::int64_t>(cx - radius, 0);
                 x <= std::min(cx + radius, c_edge - 1); ++x) {
                const std::int64_t square = (x - cx) * (x - cx) + (y - cy) * (y - cy) + (z - cz) * (z - cz);
                unsigned char& pixel = view.Row(y, z)[x];
                if (square <= radius * radius) {
                    cleared += pixel;
                    pixel = 0;
                }
            }
        }
    }
    return cleared;
}

std::unique_ptr<CImage> Foam() {
    auto image = Block();
    const CImageView<unsigned char> view(*image);
    std::minstd_rand random(1);
    const auto below = [&random](unsigned limit) { return static_cast<std::int64_t>(random() % limit); };
    std::int64_t left = view.PixelCount();
    while (left > view.PixelCount() / 2)
        left -= Blow(view, {below(c_edge), below(c_edge), below(c_edge)}, 10 + below(15));
    return image;
}

/// An object with the inputs of the medial axis and the bisector.
struct StSubject {
    explicit StSubject(std::unique_ptr<CImage> binary)
        : object(std::move(binary)) {
        SetThreadCount(1);
        CProgressProxy progress;
        SquaredDistancesToBackground(*object, *distance, progress);
        MarkMedialAxis(*distance, *axis, 0, {}, progress);
    }

    std::unique_ptr<CImage> object;
    std::unique_ptr<CImage> distance = NewImage(IMAGE_GREY_32);
    std::unique_ptr<CImage> axis = NewImage(IMAGE_BINARY_FG);
};

/// Runs `compute` in a loop and reports the time per pixel.
template <class Compute>
void Measure(benchmark::State& state, const Compute& compute) {
    CProgressProxy progress;
    for (auto _ : state)
        compute(progress);
    state.counters["time/pixel"] =
        benchmark::Counter(static_cast<double>(c_size.PixelCount()),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void MedialAxis(benchmark::State& state, std::unique_ptr<CImage> (*makeObject)()) {
    const StSubject subject(makeObject());
    const auto output = NewImage(IMAGE_BINARY_FG);
    Measure(state, [&](IProgress& progress) { MarkMedialAxis(*subject.distance, *output, 0, {}, progress); });
}

void BisectorOfAxis(benchmark::State& state, std::unique_ptr<CImage> (*makeObject)()) {
    const StSubject subject(makeObject());
    const auto output = NewImage(IMAGE_GREY_F);
    Measure(state, [&](IProgress& progress) {
        ComputeBisector(*subject.distance, *subject.axis, *output, 0.0F, {}, progress);
    });
}

void BisectorOfObject(benchmark::State& state, std::unique_ptr<CImage> (*makeObject)()) {
    const StSubject subject(makeObject());
    const auto output = NewImage(IMAGE_GREY_F);
    Measure(state, [&](IProgress& progress) {
        ComputeBisector(*subject.distance, *subject.object, *output, 0.0F, {}, progress);
    });
}

BENCHMARK_CAPTURE(MedialAxis, foam, Foam)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BisectorOfAxis, foam, Foam)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BisectorOfObject, foam, Foam)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(MedialAxis, block, Block)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BisectorOfAxis, block, Block)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BisectorOfObject, block, Block)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
