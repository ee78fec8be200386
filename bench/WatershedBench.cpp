#include "bench/ItkPeers.h"
#include "segmentation/floods/RunWatershed.h"

#include <QuillonBase/Neighborhoods.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// WatershedBench VOLUME SECONDS [--sizes]
//
// Watershed, compared with ITK on the same pixels in one process, one thread each, both with lines of label
// 0. VOLUME is a file of 256^3 bytes, x fastest; float images are its values with a small ramp added, so
// that almost all values differ. Our figure is the fastest of three runs, ITK's is a single run, because it
// takes minutes. The times for a crop of 128^3 are written to SECONDS, for the comparison with scikit-image.
// With --sizes only our own time is measured, from 128^3 to 512^3, without and with a minimum of 1000 pixels
// for a basin; the larger volumes are mirrored copies of the smaller ones.

using namespace ORVEN;

namespace {

constexpr std::int64_t c_edge = 256;

double Seconds(const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double QuickestOf3(const std::function<void()>& work) {
    return std::min({Seconds(work), Seconds(work), Seconds(work)});
}

/// An edge x edge x edge image of the volume; beyond 256 the volume continues mirrored.
template <class T>
std::unique_ptr<CImage> MakeImage(const IImage::CType& type, const std::vector<unsigned char>& volume,
                                  std::int64_t edge) {
    auto image = std::make_unique<CImage>(type, CSize(edge, edge, edge), CSize(0, 0, 0));
    const CImageView<T> view(*image);
    const auto mirrored = [](std::int64_t i) {
        return i / c_edge % 2 == 0 ? i % c_edge : c_edge - 1 - i % c_edge;
    };
    for (std::int64_t z = 0; z < edge; ++z) {
        for (std::int64_t y = 0; y < edge; ++y) {
            for (std::int64_t x = 0; x < edge; ++x) {
                const auto value = volume[static_cast<std::size_t>(
                    (mirrored(z) * c_edge + mirrored(y)) * c_edge + mirrored(x))];
                view.Row(y, z)[x] = static_cast<T>(value);
                if constexpr (std::is_same_v<T, float>)
                    view.Row(y, z)[x] +=
                        1e-5F * static_cast<float>((x * 7919 + y * 104729 + z * 1299709) % 65521);
            }
        }
    }
    return image;
}

/// A seed in the middle of each cube of 16 x 16 x 16 pixels, each with its own label.
std::unique_ptr<CImage> MakeSeeds(std::int64_t edge) {
    auto seeds = std::make_unique<CImage>(IMAGE_GREY_32, CSize(edge, edge, edge), CSize(0, 0, 0));
    const CImageView<unsigned int> view(*seeds);
    unsigned int label = 0;
    for (std::int64_t z = 8; z < edge; z += 16) {
        for (std::int64_t y = 8; y < edge; y += 16) {
            for (std::int64_t x = 8; x < edge; x += 16)
                view.Row(y, z)[x] = ++label;
        }
    }
    return seeds;
}

template <class N>
double OurSeconds(const CImage& image, const CImage* seeds, std::uint32_t minimumArea = 0) {
    CImage labels(IMAGE_GREY_32, image.Size(), CSize(0, 0, 0));
    const auto mode = minimumArea > 0 ? WATERSHED_NO_OF_VOXEL : WATERSHED_NORMAL;
    return QuickestOf3([&] { quillon::RunWatershed<N>({labels, image, seeds, mode, minimumArea}); });
}

template <class N>
void Compare(const std::string& name, const CImage& image, const CImage* seeds) {
    const double ours = OurSeconds<N>(image, seeds);
    const double peer = Seconds(bench::ItkWatershed(image, seeds, N::count == 26));
    const auto pixels = static_cast<double>(image.Size().PixelCount());
    std::printf("%-24s%9.3f%10.1f%9.2f%8.1f\n", name.c_str(), ours, ours / pixels * 1e9, peer, peer / ours);
    std::fflush(stdout);
}

template <class T>
void CompareType(const std::string& typeName, const IImage::CType& type,
                 const std::vector<unsigned char>& volume) {
    const auto image = MakeImage<T>(type, volume, c_edge);
    const auto seeds = MakeSeeds(c_edge);
    Compare<CNeighborhood3dDiffN6>("N6, " + typeName, *image, nullptr);
    Compare<CNeighborhood3dDiffN26>("N26, " + typeName, *image, nullptr);
    Compare<CNeighborhood3dDiffN6>("N6 markers, " + typeName, *image, seeds.get());
    Compare<CNeighborhood3dDiffN26>("N26 markers, " + typeName, *image, seeds.get());
}

void CompareSizes(const std::vector<unsigned char>& volume) {
    std::printf("%-24s%9s%10s\n", "size, 8 bit, N26", "ours s", "ns/voxel");
    for (const std::int64_t edge : {128, 256, 512}) {
        const auto image = MakeImage<unsigned char>(IMAGE_GREY_8, volume, edge);
        for (const std::uint32_t minimumArea : {0U, 1000U}) {
            const double ours = OurSeconds<CNeighborhood3dDiffN26>(*image, nullptr, minimumArea);
            const auto name = std::to_string(edge) + (minimumArea > 0 ? "^3 preflooded" : "^3");
            std::printf("%-24s%9.3f%10.1f\n", name.c_str(), ours,
                        ours / static_cast<double>(edge * edge * edge) * 1e9);
            std::fflush(stdout);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    std::vector<unsigned char> volume(static_cast<std::size_t>(c_edge * c_edge * c_edge));
    std::ifstream file(argc > 2 ? argv[1] : "", std::ios::binary);
    if (!file.read(reinterpret_cast<char*>(volume.data()), static_cast<std::streamsize>(volume.size()))) {
        std::cerr << "WatershedBench VOLUME SECONDS [--sizes]; VOLUME is a file of 256^3 bytes\n";
        return 1;
    }
    std::cout.rdbuf(nullptr); // a benchmark does not need the debugging output of the traversals
    if (argc > 3 && std::string_view(argv[3]) == "--sizes") {
        CompareSizes(volume);
        return 0;
    }
    {
        const auto crop = MakeImage<unsigned char>(IMAGE_GREY_8, volume, 128);
        std::ofstream seconds(argv[2]);
        seconds << "N6 " << OurSeconds<CNeighborhood3dDiffN6>(*crop, nullptr) << "\nN26 "
                << OurSeconds<CNeighborhood3dDiffN26>(*crop, nullptr) << "\n";
    }
    std::printf("%-24s%9s%10s%9s%8s\n", "256^3, one thread", "ours s", "ns/voxel", "ITK s", "ratio");
    CompareType<unsigned char>("8 bit", IMAGE_GREY_8, volume);
    CompareType<float>("float", IMAGE_GREY_F, volume);
}
