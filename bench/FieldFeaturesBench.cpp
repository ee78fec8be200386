#include <QuillonMeasurement/ConfigurationsHistograms.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <random>
#include <vector>

// FieldFeaturesBench VOLUME
//
// Block configurations of all 256 thresholds in one pass, compared with the plain method, which binarises
// the volume and counts the configurations once per threshold. VOLUME is a file of 256^3 bytes, x fastest. A
// volume of noise, where the pixels of a block almost always differ, is the worst case. One thread; each
// figure is the fastest of five runs.

using namespace ORVEN;

namespace {

constexpr std::int64_t c_edge = 256;

double QuickestOf5(const std::function<void()>& work) {
    double quickest = 1e9;
    for (int run = 0; run < 5; ++run) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        quickest = std::min(quickest,
                            std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    }
    return quickest;
}

using Counts = std::array<std::uint64_t, 256>;

/// One plain pass. A block's code slides along x, so a step reads four pixels instead of eight.
Counts CountAt(const CImage& image, unsigned char threshold, std::vector<unsigned char>& binary) {
    const CImageView<const unsigned char> pixels(image);
    const auto edge = static_cast<std::size_t>(c_edge);
    for (std::size_t z = 0; z < edge; ++z) {
        for (std::size_t y = 0; y < edge; ++y) {
            const unsigned char* const row =
                pixels.Row(static_cast<std::int64_t>(y), static_cast<std::int64_t>(z));
            for (std::size_t x = 0; x < edge; ++x)
                binary[(z * edge + y) * edge + x] = row[x] > threshold ? 1 : 0;
        }
    }
    Counts counts{};
    for (std::size_t z = 0; z + 1 < edge; ++z) {
        for (std::size_t y = 0; y + 1 < edge; ++y) {
            const unsigned char* const row = &binary[(z * edge + y) * edge];
            const auto column = [row, edge](std::size_t x) {
                return static_cast<unsigned>(row[x] | row[x + edge] << 2 | row[x + edge * edge] << 4 |
                                             row[x + edge * edge + edge] << 6);
            };
            unsigned left = column(0);
            for (std::size_t x = 1; x < edge; ++x) {
                const unsigned right = column(x);
                ++counts[left | right << 1];
                left = right;
            }
        }
    }
    return counts;
}

void Compare(const char* name, const CImage& image) {
    std::vector<unsigned char> binary(static_cast<std::size_t>(c_edge * c_edge * c_edge));
    ORVEN::StConfigurationsHistograms histograms;
    const double ours = QuickestOf5([&] { histograms = ORVEN::ConfigurationsHistograms(image); });
    Counts counts{};
    const double plain = QuickestOf5([&] { counts = CountAt(image, 100, binary); });
    const bool isEqual = std::equal(counts.begin(), counts.end(), histograms.counts.begin() + 100 * 256);
    std::printf(
        "%-8s all 256 thresholds %6.3f s (%4.1f ns/voxel)   one plain pass %6.3f s   = %4.1f passes   %s\n",
        name, ours, ours * 1e9 / static_cast<double>(c_edge * c_edge * c_edge), plain, ours / plain,
        isEqual ? "same counts" : "COUNTS DIFFER");
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fprintf(stderr, "FieldFeaturesBench VOLUME\n");
        return 2;
    }
    CImage image(IMAGE_GREY_8, CSize(c_edge, c_edge, c_edge), CSize(0, 0, 0));
    const CImageView<unsigned char> pixels(image);
    std::ifstream(arguments[1], std::ios::binary)
        .read(reinterpret_cast<char*>(pixels.Row(0, 0)), pixels.PixelCount());
    Compare("scan", image);
    std::mt19937 random(1);
    std::generate_n(pixels.Row(0, 0), pixels.PixelCount(),
                    [&random] { return static_cast<unsigned char>(random() >> 24); });
    Compare("noise", image);
}
