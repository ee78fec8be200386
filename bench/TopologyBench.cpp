#include "LocalEulerNumber.h"
#include "MarkSimplePoints.h"
#include "topology/SimplePointScan.h"
#include "topology/SimplePointTest.h"
#include "utils/PointOperations.h"
#include "utils/visitors/PointOperationCopy.h"

#include <QuillonTransformation/CLocalEulerNumbers.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <iostream>
#include <limits>
#include <memory>
#include <random>
#include <string>

// Cost of simple points and local Euler numbers on 256^3 pixels, half of them foreground: noise, and a foam
// of smooth bubbles and walls. Figures are nanoseconds per pixel and, in brackets, the multiple of a plain
// traversal that copies the image and is timed in alternation with them. `scan` is the work on existing
// images; `plug-in` is the whole of `GetData`, including making the result, copying the input and the
// hand-over. Each figure is the smallest of several runs. The definitions themselves are timed last, pixel
// by pixel on a corner of the noise.

using namespace ORVEN;

namespace {

constexpr std::int64_t c_edge = 256;
constexpr int c_runs = 7;

double Seconds(const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

template <class IsForeground>
std::unique_ptr<CImage> Binary(std::int64_t edge, const IsForeground& isForeground) {
    auto image = std::make_unique<CImage>(IMAGE_BINARY_FG, CSize(edge, edge, edge), CSize(0, 0, 0));
    const CImageView<unsigned char> pixels(*image);
    for (std::int64_t z = 0; z < edge; ++z) {
        for (std::int64_t y = 0; y < edge; ++y) {
            for (std::int64_t x = 0; x < edge; ++x)
                pixels.Row(y, z)[x] = isForeground(x, y, z) ? 1 : 0;
        }
    }
    return image;
}

std::unique_ptr<CImage> Noise(std::int64_t edge) {
    std::mt19937 random(1);
    return Binary(edge, [&](auto...) { return random() % 2 != 0; });
}

/// A gyroid: channels about 15 pixels wide between smooth walls.
std::unique_ptr<CImage> Foam() {
    return Binary(c_edge, [](auto... position) {
        const auto [x, y, z] = std::array{0.2 * static_cast<double>(position)...};
        return std::sin(x) * std::cos(y) + std::sin(y) * std::cos(z) + std::sin(z) * std::cos(x) > 0;
    });
}

void Copy(CImage& target, const CImage& source) {
    visitors::CCopy<unsigned char> copy;
    CPointOperations(nullptr, nullptr).Visit(copy, target, source);
}

template <class Plugin>
void RunPlugin(CImage& image, const char* neighborhood) {
    CValueMap document;
    document.SetEntry("content", new CValuePointer<CImage>(&image, 1));
    CValueMap tree;
    tree.SetEntry("input/documents/focused", new CValuePointer<CValueMap>(&document, 1));
    tree.SetEntry("parameters/Neighborhood", new CValueString(CString(std::string(neighborhood))));
    Plugin plugin;
    plugin.UpdateParameters(tree);
    plugin.GetData(tree);
    const std::unique_ptr<CValueMap> result(
        UnwrapPointer<CValueMap>(tree.Entry("output/documents/add/0", true)));
}

struct StLeast {
    double value = std::numeric_limits<double>::infinity();
    void Take(double seconds) { value = std::min(value, seconds); }
};

template <class N>
void Measure(const char* name, CImage& image) {
    CImage marks(IMAGE_GREY_8, image.Size(), CSize(0, 0, 0));
    CImage figures(IMAGE_GREY_F, image.Size(), CSize(0, 0, 0));
    StLeast plain;
    std::array<StLeast, 4> times;
    for (int run = 0; run < c_runs; ++run) {
        plain.Take(Seconds([&] { Copy(marks, image); }));
        times[0].Take(Seconds([&] { quillon::MarkSimplePoints<N>(image, marks); }));
        times[1].Take(Seconds([&] { RunPlugin<quillon::CMarkSimplePointsPlugin>(image, N::id); }));
        times[2].Take(Seconds(
            [&] { (void)CLocalEulerNumbers(quillon::StAdjacency<N>::eulerCode).Calculate(figures, image); }));
        times[3].Take(Seconds([&] { RunPlugin<quillon::CLocalEulerNumberPlugin>(image, N::id); }));
    }
    const double nanosecondsPerPixel = 1e9 / static_cast<double>(image.Size().PixelCount());
    std::printf("%-6s %-6s %6.2f", name, N::id, plain.value * nanosecondsPerPixel);
    for (const StLeast& time : times)
        std::printf("   %6.2f (%4.1f)", time.value * nanosecondsPerPixel, time.value / plain.value);
    std::printf("\n");
}

template <class N>
void MeasureDefinition(const CImage& image) {
    CSkeletonHelper helper(image);
    helper._ecoeff(helper.m_eulerCoefficients.data(), quillon::StAdjacency<N>::eulerCode, false);
    const std::int64_t edge = image.Size().x;
    std::int64_t sum = 0;
    const auto visit = [&](const auto& figure) {
        for (std::int64_t index = 0; index < image.Size().PixelCount(); ++index)
            sum += figure(CTriple<long long>(index % edge, index / edge % edge, index / edge / edge));
    };
    const CImageView<const unsigned char> pixels(image);
    const double marks = Seconds([&] {
        visit([&](const auto& at) {
            return pixels.Row(at.y, at.z)[at.x] == 1 && quillon::IsMarkedPoint<N>(helper, at) ? 1 : 0;
        });
    });
    const double figures = Seconds([&] {
        visit([&](const auto& at) {
            helper.createCube(at, 1, 0);
            return helper.EulerNumber();
        });
    });
    const double nanosecondsPerPixel = 1e9 / static_cast<double>(image.Size().PixelCount());
    std::printf("by definition, %-6s simple points %6.0f, Euler numbers %6.0f   (sum %lld)\n", N::id,
                marks * nanosecondsPerPixel, figures * nanosecondsPerPixel, static_cast<long long>(sum));
}

template <class Work>
void ForEachNeighborhood(const Work& work) {
    work(std::type_identity<CNeighborhood3dDiffN6>());
    work(std::type_identity<CNeighborhood3dDiffN14_1>());
    work(std::type_identity<CNeighborhood3dDiffN14_2>());
    work(std::type_identity<CNeighborhood3dDiffN26>());
}

void MeasureAll(const char* name, CImage& image) {
    ForEachNeighborhood([&]<class N>(std::type_identity<N>) { Measure<N>(name, image); });
}

} // namespace

int main() {
    std::cout.rdbuf(nullptr); // the debugging lines of the traversals
    std::printf("ns per pixel     plain    simple points: scan, plug-in     Euler numbers: scan, plug-in\n");
    MeasureAll("noise", *Noise(c_edge));
    MeasureAll("foam", *Foam());
    const auto corner = Noise(64);
    ForEachNeighborhood([&]<class N>(std::type_identity<N>) { MeasureDefinition<N>(*corner); });
}
