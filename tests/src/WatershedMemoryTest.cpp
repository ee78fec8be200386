#include "support/AllocationCount.h"
#include "support/PackHost.h"
#include "support/TestImage.h"
#include "support/TraversalTools.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <tuple>

// What a run takes beyond its input, with its result: at most 24 bytes per voxel, for each pixel type, each
// mode and images that make the most of each: the tables of the sort, the queue, the list of levels or that
// of basins.

namespace {

using namespace ORVEN;

// Labels of this size do not come from mapped memory, which is not counted. Tables of the sort that do not
// grow with the image take 3 of the 24 bytes.
const CSize c_size(96, 96, 60);

std::uint32_t Scrambled(std::int64_t x, std::int64_t y, std::int64_t z) {
    return static_cast<std::uint32_t>((z * c_size.y + y) * c_size.x + x) * 2654435761U;
}

bool IsEven(std::int64_t x, std::int64_t y, std::int64_t z) { return (x + y + z) % 2 == 0; }

struct StImageKind {
    const char* name;
    std::uint32_t (*pixel)(std::int64_t x, std::int64_t y, std::int64_t z);
    bool isFor32Bits;
    bool isForLess;
};

constexpr StImageKind c_kinds[] = {
    {"constant", [](std::int64_t, std::int64_t, std::int64_t) { return 7U; }, true, true},
    // All values differ, as far as the type allows.
    {"noise", Scrambled, true, true},
    // Many values that share the bin of one leading half.
    {"narrow noise", [](std::int64_t x, std::int64_t y, std::int64_t z) { return Scrambled(x, y, z) >> 16; },
     true, false},
    // Every second pixel is a minimum.
    {"checkerboard",
     [](std::int64_t x, std::int64_t y, std::int64_t z) { return IsEven(x, y, z) ? 10U : 200U; }, false,
     true},
    // The same with many values.
    {"rough checkerboard",
     [](std::int64_t x, std::int64_t y, std::int64_t z) {
         return Scrambled(x, y, z) >> 1 | (IsEven(x, y, z) ? 0U : 1U << 31);
     },
     true, false},
};

template <class T>
std::unique_ptr<CImage> MakeImage(const IImage::CType& type, const StImageKind& kind) {
    auto image = std::make_unique<CImage>(type, c_size, CSize(0, 0, 0));
    const CImageView<T> view(*image);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x)
                view.Row(y, z)[x] = static_cast<T>(kind.pixel(x, y, z));
        }
    }
    return image;
}

struct StPixelType {
    const char* name;
    std::unique_ptr<CImage> (*make)(const StImageKind&);

    friend void PrintTo(const StPixelType& type, std::ostream* stream) { *stream << type.name; }
};

constexpr StPixelType c_types[] = {
    {"Binary", [](const StImageKind& kind) { return MakeImage<unsigned char>(IMAGE_BINARY_FG, kind); }},
    {"Grey8", [](const StImageKind& kind) { return MakeImage<unsigned char>(IMAGE_GREY_8, kind); }},
    {"Grey16", [](const StImageKind& kind) { return MakeImage<unsigned short>(IMAGE_GREY_16, kind); }},
    {"Grey32", [](const StImageKind& kind) { return MakeImage<unsigned int>(IMAGE_GREY_32, kind); }},
    {"GreyF", [](const StImageKind& kind) { return MakeImage<float>(IMAGE_GREY_F, kind); }},
};

CValueString* Text(const char* text) { return new CValueString(CString(text)); }

/// A marker in each cube of 3 x 3 x 3 pixels. Around each, all others wait in the queue at once.
std::unique_ptr<CImage> Markers() {
    auto markers = std::make_unique<CImage>(IMAGE_GREY_32, c_size, CSize(0, 0, 0));
    const CImageView<unsigned int> view(*markers);
    unsigned int label = 0;
    for (std::int64_t z = 1; z < view.nz; z += 3) {
        for (std::int64_t y = 1; y < view.ny; y += 3) {
            for (std::int64_t x = 1; x < view.nx; x += 3)
                view.Row(y, z)[x] = ++label;
        }
    }
    return markers;
}

struct StMode {
    const char* name;
    void (*prepare)(test::CPackHost&, CImage& markers);

    friend void PrintTo(const StMode& mode, std::ostream* stream) { *stream << mode.name; }
};

constexpr StMode c_modes[] = {
    {"Normal", [](test::CPackHost&, CImage&) {}},
    {"Preflood", [](test::CPackHost& host,
                    CImage&) { host.Set("type", Text("preflood")).Set("nParameter", new CValueLong(1000)); }},
    {"Markers",
     [](test::CPackHost& host, CImage& markers) {
         host.Set("Neighborhood", Text("Neigh_26"));
         host.Set("type", Text("marker")).Set("markerimage", new CValuePointer<CImage>(&markers, 1));
     }},
};

using Case = std::tuple<StPixelType, StMode>;

class WatershedMemory : public testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(AllTypesAndModes, WatershedMemory,
                         testing::Combine(testing::ValuesIn(c_types), testing::ValuesIn(c_modes)),
                         [](const auto& parameter) {
                             return std::string(std::get<0>(parameter.param).name) +
                                    std::get<1>(parameter.param).name;
                         });

TEST_P(WatershedMemory, IsAtMost24BytesPerVoxelWhateverTheImage) {
    const auto& [type, mode] = GetParam();
    const auto plugin = test::CreatePlugin("Watershed");
    const auto markers = Markers();
    const auto voxels = static_cast<double>(c_size.PixelCount());
    for (const StImageKind& kind : c_kinds) {
        auto image = type.make(kind);
        if (!(image->Type().PixelSize() == 4 ? kind.isFor32Bits : kind.isForLess))
            continue;
        test::CPackHost host(std::move(image));
        host.Set("Neighborhood", Text("Neigh_6"));
        mode.prepare(host, *markers);
        const test::CapturedOutput silence;
        const test::CAllocationPeak peak;
        host.Run(*plugin);
        const double bytes = static_cast<double>(peak.Bytes()) / voxels;
        EXPECT_LE(bytes, 24.0) << kind.name;
        EXPECT_GE(bytes, 4.0 + 6.0) << kind.name << ": not all memory was counted";
    }
}

} // namespace
