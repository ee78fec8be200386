#include "bench/BooleanModel.h"
#include "bench/ItkPeers.h"

#include <QuillonBase/Parallel.h>
#include <QuillonTransformation/CSphericalMorphology.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

// MorphologyBench EDGE PEEREDGE
//
// Morphology with balls on a Boolean model of spheres with EDGE^3 voxels, on one and two threads; each
// figure is the fastest of five runs. Then erosion with a ball, compared with ITK, one thread each, on a
// model of PEEREDGE^3 voxels. ITK is run once, because its time grows with the ball.

using namespace ORVEN;

namespace {

using Operation = void (CSphericalMorphology::*)(IImage& result, IImage& source, float radius);

double OurSeconds(Operation operation, CImage& image, float radius, int threadCount) {
    SetThreadCount(threadCount);
    CImage result(IMAGE_BINARY_FG, image.Size(), CSize(0, 0, 0));
    CSphericalMorphology algorithm(nullptr, nullptr);
    return bench::Quickest(5, [&] { (algorithm.*operation)(result, image, radius); });
}

} // namespace

int main(int argc, char** argv) {
    const std::int64_t edge = argc == 3 ? std::atoll(argv[1]) : 0;
    const std::int64_t peerEdge = argc == 3 ? std::atoll(argv[2]) : 0;
    if (edge < 1 || peerEdge < 1) {
        std::fputs("MorphologyBench EDGE PEEREDGE\n", stderr);
        return 1;
    }
    const auto image = bench::BooleanModel(edge, 6, 20);
    const auto voxels = static_cast<double>(image->Size().PixelCount());
    const std::string heading = std::to_string(edge) + "^3, ours";
    std::printf("%-20s%8s%9s%10s%11s%9s\n", heading.c_str(), "radius", "s", "ns/voxel", "2 threads",
                "closing");
    for (const float radius : {1.0F, 5.0F, 10.0F, 20.0F, 50.0F}) {
        const double one = OurSeconds(&CSphericalMorphology::Erode, *image, radius, 1);
        const double two = OurSeconds(&CSphericalMorphology::Erode, *image, radius, 2);
        const double closing = OurSeconds(&CSphericalMorphology::Closing, *image, radius, 1);
        std::printf("%-20s%8g%9.4f%10.2f%10.2fx%9.4f\n", "erosion", static_cast<double>(radius), one,
                    one / voxels * 1e9, one / two, closing);
        std::fflush(stdout);
    }
    const auto peerImage = bench::BooleanModel(peerEdge, 6, 20);
    const std::string peerHeading = std::to_string(peerEdge) + "^3, one thread";
    std::printf("%-20s%8s%9s%10s%9s\n", peerHeading.c_str(), "radius", "ours s", "ITK s", "ratio");
    for (const int radius : {1, 5, 20}) {
        const double ours =
            OurSeconds(&CSphericalMorphology::Erode, *peerImage, static_cast<float>(radius), 1);
        const double peer = bench::Seconds(bench::ItkErosion(*peerImage, static_cast<unsigned long>(radius)));
        std::printf("%-20s%8d%9.4f%10.2f%9.0f\n", "erosion", radius, ours, peer, peer / ours);
        std::fflush(stdout);
    }
}
