#include <QuillonBase/Parallel.h>
#include <QuillonFilterOrientations/CHessianOrientations.h>
#include <QuillonFilterOrientations/CSubfieldFiberDirections.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

// FiberDirectionsBench VOLUME EDGE SECONDS
//
// Fibre directions of a volume of EDGE^3 bytes, x fastest; each figure is the fastest of three runs: with
// profiles, with subfields of 50 pixels, and with direction maps. SECONDS receives the radius, the time of a
// measurement on one thread, the main direction and the largest eigenvalue, for the comparison with another
// method.

using namespace ORVEN;

namespace {

using Measurement = std::unique_ptr<CValueMap>;

double QuickestOf3(const std::function<void()>& work) {
    double quickest = 0.0;
    for (int round = 0; round < 3; ++round) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        quickest = round == 0 ? seconds : std::min(quickest, seconds);
    }
    return quickest;
}

std::unique_ptr<CImage> ReadVolume(const char* path, std::int64_t edge) {
    auto image = std::make_unique<CImage>(IMAGE_GREY_8, CSize(edge, edge, edge), CSize(0, 0, 0));
    const CImageView<unsigned char> view(*image);
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(view.Row(0, 0)), view.PixelCount());
    return file ? std::move(image) : nullptr;
}

Measurement Measure(CImage& image, double radius, std::int64_t subfieldSize, bool wantsMaps) {
    CSubfieldFiberDirections directions(radius, CHessianOrientations::m_fDefaultOtsuFactor, subfieldSize,
                                        subfieldSize, subfieldSize);
    std::string history;
    Measurement measurement(directions.Compute(image, history, nullptr, false));
    if (wantsMaps) {
        const IImage* theta = nullptr;
        const IImage* phi = nullptr;
        directions.GetDirections(theta, phi);
        delete theta;
        delete phi;
    }
    return measurement;
}

double FieldNumber(const CValueMap& measurement, const std::string& key) {
    return measurement.Entry(CSubfieldFiberDirections::sFieldFiberDirectionsId + ("/" + key), true)->Double();
}

} // namespace

int main(int argc, char** argv) {
    const std::int64_t edge = argc == 4 ? std::atoll(argv[2]) : 0;
    const auto image = edge > 0 ? ReadVolume(argv[1], edge) : nullptr;
    if (image == nullptr) {
        std::cerr << "FiberDirectionsBench VOLUME EDGE SECONDS: VOLUME is a file of EDGE^3 bytes\n";
        return 1;
    }
    std::ofstream summary(argv[3]);
    const auto pixels = static_cast<double>(image->Size().PixelCount());
    std::printf("%-8s%-9s%-30s%9s%10s\n", "radius", "threads", "", "s", "ns/voxel");
    for (const double radius : {2.5, 5.0, 10.0}) {
        const auto report = [&](int threads, const char* what, const std::function<void()>& work) {
            SetThreadCount(threads);
            const double seconds = QuickestOf3(work);
            std::printf("%-8g%-9d%-30s%9.3f%10.2f\n", radius, threads, what, seconds, seconds / pixels * 1e9);
            std::fflush(stdout);
            return seconds;
        };
        Measurement measurement;
        const double seconds =
            report(1, "field and profiles", [&] { measurement = Measure(*image, radius, -1, false); });
        report(1, "with subfields of 50^3", [&] { Measure(*image, radius, 50, false); });
        report(1, "with maps of directions", [&] { Measure(*image, radius, -1, true); });
        const auto all = static_cast<int>(std::thread::hardware_concurrency());
        if (all > 1)
            report(all, "field and profiles", [&] { Measure(*image, radius, -1, false); });
        summary << radius << ' ' << seconds;
        for (const char* axis : {"x", "y", "z"})
            summary << ' ' << FieldNumber(*measurement, std::string("Main direction/") + axis);
        summary << ' ' << FieldNumber(*measurement, "Eigenvalues/l1") << '\n';
    }
}
