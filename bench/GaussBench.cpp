#include "bench/ItkPeers.h"

#include <QuillonBase/Parallel.h>
#include <QuillonFilter/CPartialDerivatives.h>
#include <QuillonFilter/CYoungVanVliet.h>
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

// GaussBench VOLUME SECONDS
//
// Gaussian filter and partial derivatives, compared with ITK on the same pixels in one process, one thread
// each unless stated otherwise; each figure is the fastest of five runs. VOLUME is a file of 256^3 bytes, x
// fastest. GB/s counts the minimum memory traffic: the image is read and written once for the walk along x
// and y and once for the walk along z. The last column is the time in units of a plain copy of the image.
// Our times are written to SECONDS, for the comparison with SciPy.

using namespace ORVEN;

namespace {

const CSize c_size(256, 256, 256);

double Seconds(const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double QuickestOf5(const std::function<void()>& work) {
    double quickest = Seconds(work);
    for (int round = 1; round < 5; ++round)
        quickest = std::min(quickest, Seconds(work));
    return quickest;
}

std::unique_ptr<CImage> NewImage(const IImage::CType& type) {
    return std::make_unique<CImage>(type, c_size, CSize(0, 0, 0));
}

template <class T>
std::unique_ptr<CImage> MakeImage(const IImage::CType& type, const std::vector<unsigned char>& volume) {
    auto image = NewImage(type);
    const CImageView<T> view(*image);
    std::copy(volume.begin(), volume.end(), view.Row(0, 0));
    return image;
}

std::size_t ByteCount() { return static_cast<std::size_t>(c_size.PixelCount()) * sizeof(float); }

bool HaveSameBytes(const CImage& a, const CImage& b) {
    return std::memcmp(CImageView<const float>(a).Row(0, 0), CImageView<const float>(b).Row(0, 0),
                       ByteCount()) == 0;
}

double CopySeconds(const CImage& from, CImage& to) {
    return QuickestOf5([&] {
        std::memcpy(CImageView<float>(to).Row(0, 0), CImageView<const float>(from).Row(0, 0), ByteCount());
    });
}

double GaussSeconds(const CImage& image, CImage& result, double sigma, int threadCount) {
    SetThreadCount(threadCount);
    const double seconds = QuickestOf5([&] { CYoungVanVliet(sigma, nullptr, nullptr).gauss(result, image); });
    SetThreadCount(1);
    return seconds;
}

/// Prints a table row. `moves` is how often the image is read and written at least; a peer time of 0 means no
/// peer.
void Print(const std::string& name, double seconds, double peerSeconds, int moves, double copySeconds) {
    const auto pixels = static_cast<double>(c_size.PixelCount());
    std::printf("%-26s%9.4f%10.2f%7.1f%8.1f", name.c_str(), seconds, seconds / pixels * 1e9,
                moves * 2.0 * sizeof(float) * pixels / seconds / 1e9, seconds / copySeconds);
    if (peerSeconds > 0.0)
        std::printf("%9.3f%8.1f", peerSeconds, peerSeconds / seconds);
    std::printf("\n");
    std::fflush(stdout);
}

void CompareGauss(const std::vector<unsigned char>& volume, std::ostream& seconds) {
    const auto image = MakeImage<float>(IMAGE_GREY_F, volume);
    const auto result = NewImage(IMAGE_GREY_F);
    const double copy = CopySeconds(*image, *result);
    Print("plain copy", copy, 0.0, 1, copy);
    for (const int sigma : {2, 10}) {
        const double ours = GaussSeconds(*image, *result, sigma, 1);
        Print("Gauss, sigma " + std::to_string(sigma), ours, QuickestOf5(bench::ItkGauss(*image, sigma)), 2,
              copy);
        seconds << "gauss" << sigma << " " << ours << "\n";
    }
    Print("Gauss, sigma 0.6, direct", GaussSeconds(*image, *result, 0.6, 1), 0.0, 2, copy);
    const auto ofType = [&]<class T>(std::type_identity<T>, const IImage::CType& type, const char* name) {
        Print(std::string("Gauss, sigma 2, ") + name,
              GaussSeconds(*MakeImage<T>(type, volume), *result, 2.0, 1), 0.0, 2, copy);
    };
    ofType(std::type_identity<unsigned char>(), IMAGE_GREY_8, "8 bit");
    ofType(std::type_identity<unsigned short>(), IMAGE_GREY_16, "16 bit");
    ofType(std::type_identity<unsigned int>(), IMAGE_GREY_32, "32 bit");

    const double one = GaussSeconds(*image, *result, 2.0, 1);
    const auto resultOfTwo = NewImage(IMAGE_GREY_F);
    const double two = GaussSeconds(*image, *resultOfTwo, 2.0, 2);
    Print("Gauss, sigma 2, 2 threads", two, 0.0, 2, copy);
    std::printf("2 threads are %.2f times as fast as one, with %s bytes\n", one / two,
                HaveSameBytes(*result, *resultOfTwo) ? "the same" : "OTHER");
}

void CompareDerivatives(const std::vector<unsigned char>& volume, std::ostream& seconds) {
    const auto image = MakeImage<float>(IMAGE_GREY_F, volume);
    const auto result = NewImage(IMAGE_GREY_F);
    const double copy = CopySeconds(*image, *result);
    // In place: each run differentiates the result of the previous one, which takes the same time.
    const auto ours = [&](int x, int y, int z) {
        return QuickestOf5([&] { CPartialDerivatives(nullptr, nullptr).Derivative(*result, x, y, z); });
    };
    const double alongX = ours(1, 0, 0);
    Print("derivative (1,0,0)", alongX, QuickestOf5(bench::ItkDerivative(*image, 0, 1)), 1, copy);
    seconds << "derivative " << alongX << "\n";
    Print("derivative (0,0,1)", ours(0, 0, 1), QuickestOf5(bench::ItkDerivative(*image, 2, 1)), 2, copy);
    Print("derivative (1,1,1)", ours(1, 1, 1), 0.0, 2, copy);
    Print("derivative (4,0,0)", ours(4, 0, 0), QuickestOf5(bench::ItkDerivative(*image, 0, 4)), 1, copy);
    Print("derivative (0,0,8)", ours(0, 0, 8), 0.0, 2, copy);
}

} // namespace

int main(int argc, char** argv) {
    std::vector<unsigned char> volume(static_cast<std::size_t>(c_size.PixelCount()));
    std::ifstream file(argc > 2 ? argv[1] : "", std::ios::binary);
    if (!file.read(reinterpret_cast<char*>(volume.data()), static_cast<std::streamsize>(volume.size()))) {
        std::cerr << "GaussBench VOLUME SECONDS; VOLUME is a file of 256^3 bytes\n";
        return 1;
    }
    std::ofstream seconds(argv[2]);
    SetThreadCount(1);
    std::printf("%-26s%9s%10s%7s%8s%9s%8s\n", "256^3 float, one thread", "ours s", "ns/voxel", "GB/s",
                "copies", "ITK s", "ratio");
    CompareGauss(volume, seconds);
    CompareDerivatives(volume, seconds);
}
