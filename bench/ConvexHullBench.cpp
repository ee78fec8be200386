#include "measurement/ConvexifyLabels.h"

#include <QuillonMeasurement/CExtractorLabelData.h>
#include <QuillonNumeric/CConvexHullComputer.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

// ConvexHullBench VOLUME HULLS SECONDS
//
// Convex hulls of all objects of a label image on one thread; each figure is the fastest of five runs.
// VOLUME is a file of 256^3 16-bit labels, x fastest. The result is written to HULLS and our times to
// SECONDS, for the comparison with scikit-image.

using namespace ORVEN;

namespace {

const CSize c_size(256, 256, 256);

double QuickestOf5(const std::function<void()>& work) {
    double quickest = 0.0;
    for (int round = 0; round < 5; ++round) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        quickest = round == 0 ? seconds : std::min(quickest, seconds);
    }
    return quickest;
}

std::unique_ptr<CImage> NewImage() { return std::make_unique<CImage>(IMAGE_GREY_16, c_size, CSize(0, 0, 0)); }

char* BytesOf(CImage& image) { return reinterpret_cast<char*>(CImageView<unsigned short>(image).Row(0, 0)); }

std::streamsize ByteCount() { return 2 * c_size.PixelCount(); }

/// Steps of the work, each timed over all objects.
struct StSteps {
    double measure = 0.0;
    double load = 0.0;
    double compute = 0.0;
    double paint = 0.0;

    [[nodiscard]] double Sum() const { return measure + load + compute + paint; }
};

class CStopwatch {
public:
    void AddTo(double& sum) {
        const auto now = std::chrono::steady_clock::now();
        sum += std::chrono::duration<double>(now - m_last).count();
        m_last = now;
    }

private:
    std::chrono::steady_clock::time_point m_last = std::chrono::steady_clock::now();
};

StSteps PaintHulls(const CImage& image, CImage& result) {
    StSteps steps;
    CStopwatch stopwatch;
    StLabelingData data;
    CExtractorLabelData(nullptr, nullptr).Extract(image, data);
    stopwatch.AddTo(steps.measure);
    for (std::size_t label = 1; label < data.LabelCount(); ++label) {
        const auto at = [label](const std::vector<std::int64_t>& numbers) {
            return static_cast<std::int32_t>(numbers[label]);
        };
        const CConvexHullComputer::CBox box{at(data.startX),
                                            at(data.startY),
                                            at(data.startZ),
                                            at(data.startX) + at(data.extentX),
                                            at(data.startY) + at(data.extentY),
                                            at(data.startZ) + at(data.extentZ)};
        CConvexHullComputer hull(3, nullptr, nullptr);
        hull.loadPointsFromImageBox(image, label, box.startX, box.startY, box.startZ, box.endX, box.endY,
                                    box.endZ);
        stopwatch.AddTo(steps.load);
        hull.compute();
        stopwatch.AddTo(steps.compute);
        hull.paintConvexHullToImage(result, box, label);
        stopwatch.AddTo(steps.paint);
    }
    return steps;
}

StSteps QuickestSteps(const CImage& image, CImage& result) {
    StSteps quickest = PaintHulls(image, result);
    for (int round = 1; round < 5; ++round) {
        const StSteps steps = PaintHulls(image, result);
        if (steps.Sum() < quickest.Sum())
            quickest = steps;
    }
    return quickest;
}

/// A ball that fills the image: the largest hull that is possible at this size.
std::unique_ptr<CImage> Ball() {
    auto image = NewImage();
    const CImageView<unsigned short> view(*image);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x) {
                const std::int64_t square =
                    (x - 127) * (x - 127) + (y - 127) * (y - 127) + (z - 127) * (z - 127);
                view.Row(y, z)[x] = square <= 127 * 127 ? 1 : 0;
            }
        }
    }
    return image;
}

void Print(const char* name, const StSteps& steps) {
    std::printf("%-26s%9.4f   measure %.4f, load %.4f, compute %.4f, paint %.4f\n", name, steps.Sum(),
                steps.measure, steps.load, steps.compute, steps.paint);
}

} // namespace

int main(int argc, char** argv) {
    const auto image = NewImage();
    std::ifstream file(argc > 3 ? argv[1] : "", std::ios::binary);
    if (!file.read(BytesOf(*image), ByteCount())) {
        std::cerr << "ConvexHullBench VOLUME HULLS SECONDS; VOLUME is a file of 256^3 16-bit labels\n";
        return 1;
    }
    const auto result = NewImage();
    std::memcpy(BytesOf(*result), BytesOf(*image), static_cast<std::size_t>(ByteCount()));
    const StSteps steps = QuickestSteps(*image, *result);
    std::ofstream(argv[2], std::ios::binary).write(BytesOf(*result), ByteCount());

    std::cout.setstate(std::ios::failbit); // the debugging lines of the traversals
    const double plugin = QuickestOf5([&] { quillon::ConvexifyLabels(*image, *result, CString()); });
    std::ofstream(argv[3]) << "hulls " << steps.Sum() << "\nplugin " << plugin << "\n";

    std::printf("%-26s%9s\n", "256^3, one thread", "s");
    Print("hulls of the objects", steps);
    std::printf("%-26s%9.4f\n", "whole plug-in", plugin);
    Print("a ball of radius 127", QuickestSteps(*Ball(), *result));
}
