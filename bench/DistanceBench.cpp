#include "bench/BooleanModel.h"
#include "bench/ItkPeers.h"

#include <QuillonBase/Parallel.h>
#include <QuillonTransformation/CEdtVoronoi.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

// DistanceBench EDGE VOLUME SECONDS
//
// Distance maps of Boolean models of spheres with EDGE^3 voxels, compared with ITK in the same process, one
// thread each, and with a plain copy of such a map, which is the limit set by memory. Our figure is the
// fastest of five runs, ITK's is a single run. The first model is written to VOLUME, one byte per voxel, and
// our times to SECONDS, one line with case and time for each measurement, for the comparison with SciPy.

using namespace ORVEN;

namespace {

struct StCase {
    const char* name;
    const char* title;
    std::int64_t leastRadius;
    std::int64_t greatestRadius;
    std::array<double, 3> spacing;
};

constexpr std::array<StCase, 3> c_cases{{{"cubes", "radii 6 to 20", 6, 20, {1.0, 1.0, 1.0}},
                                         {"boxes", "spacing 1, 1, 2.5", 6, 20, {1.0, 1.0, 2.5}},
                                         {"far", "radii 100 to 200", 100, 200, {1.0, 1.0, 1.0}}}};

void Transform(CImage& map, const CImage& image) {
    CEdtVoronoi(nullptr, nullptr).CalculateDistanceMap(map, image, true, true, false, false);
}

double CopySeconds(const CImage& map) {
    CImage copy(map.Type(), map.Size(), CSize(0, 0, 0));
    const CImageView<const float> from(map);
    const CImageView<float> to(copy);
    return bench::Quickest(5, [&] {
        std::memcpy(to.Row(0, 0), from.Row(0, 0),
                    static_cast<std::size_t>(from.PixelCount()) * sizeof(float));
    });
}

void WriteVolume(const CImage& image, const std::string& path) {
    const CImageView<const unsigned char> view(image);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(view.Row(0, 0)),
               static_cast<std::streamsize>(view.PixelCount()));
}

} // namespace

int main(int argc, char** argv) {
    const std::int64_t edge = argc == 4 ? std::atoll(argv[1]) : 0;
    if (edge < 1) {
        std::fputs("DistanceBench EDGE VOLUME SECONDS\n", stderr);
        return 1;
    }
    std::ofstream seconds(argv[3]);
    const std::string heading = std::to_string(edge) + "^3, one thread";
    std::printf("%-24s%9s%10s%9s%8s%11s%9s%14s\n", heading.c_str(), "ours s", "ns/voxel", "ITK s", "ratio",
                "2 threads", "copy s", "copy / ours");
    for (const StCase& current : c_cases) {
        const auto image = bench::BooleanModel(edge, current.leastRadius, current.greatestRadius);
        CQuillonHeaderTools::SetSpacing(*image, current.spacing[0], current.spacing[1], current.spacing[2]);
        if (&current == c_cases.data())
            WriteVolume(*image, argv[2]);
        CImage map(IMAGE_GREY_F, image->Size(), CSize(0, 0, 0));
        SetThreadCount(1);
        const double ours = bench::Quickest(5, [&] { Transform(map, *image); });
        const double copy = CopySeconds(map);
        SetThreadCount(2);
        const double oursOfTwo = bench::Quickest(5, [&] { Transform(map, *image); });
        const double peer = bench::Seconds(bench::ItkDistanceMap(*image, current.spacing));
        seconds << current.name << " " << ours << "\n";
        const auto voxels = static_cast<double>(image->Size().PixelCount());
        std::printf("%-24s%9.3f%10.2f%9.2f%8.1f%10.2fx%9.3f%14.2f\n", current.title, ours,
                    ours / voxels * 1e9, peer, peer / ours, ours / oursOfTwo, copy, copy / ours);
        std::fflush(stdout);
    }
}
