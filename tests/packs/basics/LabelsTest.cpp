#include "BasicsTest.h"

#include "pixels/EnNeighborhood.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <set>

namespace {

using namespace ORVEN;
using quillon::basics::EnNeighborhood;
using test::Bytes;
using test::CBasicsRun;
using test::Extents;
using test::Floats;
using test::PixelsOf;

/// All neighbours of all pixels of a small image, from coordinates alone.
std::vector<std::vector<std::size_t>> NeighborsOf(const CSize& size, EnNeighborhood neighborhood) {
    const std::int64_t nx = size.x;
    const std::int64_t ny = size.Dim() > 1 ? size.y : 1;
    const std::int64_t nz = size.Dim() > 2 ? size.z : 1;
    const std::int64_t count = nx * ny * nz;
    std::vector<std::vector<std::size_t>> neighbors(static_cast<std::size_t>(count));
    for (std::int64_t a = 0; a < count; ++a) {
        for (std::int64_t b = 0; b < count; ++b) {
            const std::int64_t dx = std::abs(a % nx - b % nx);
            const std::int64_t dy = std::abs(a / nx % ny - b / nx % ny);
            const std::int64_t dz = std::abs(a / nx / ny - b / nx / ny);
            const bool isNear = neighborhood == EnNeighborhood::N6 ? dx + dy + dz == 1
                                                                   : a != b && std::max({dx, dy, dz}) == 1;
            if (isNear)
                neighbors[static_cast<std::size_t>(a)].push_back(static_cast<std::size_t>(b));
        }
    }
    return neighbors;
}

/// Labels of the components of the pixels for which `isInside` holds, in the order of their first pixels, by
/// spreading the least index until nothing changes.
std::vector<std::size_t> Components(const std::vector<std::vector<std::size_t>>& neighbors,
                                    const std::function<bool(std::size_t)>& isInside) {
    constexpr std::size_t none = std::numeric_limits<std::size_t>::max();
    std::vector<std::size_t> least(neighbors.size(), none);
    for (std::size_t i = 0; i < least.size(); ++i)
        least[i] = isInside(i) ? i : none;
    for (bool hasChanged = true; hasChanged;) {
        hasChanged = false;
        for (std::size_t i = 0; i < least.size(); ++i) {
            for (const std::size_t k : neighbors[i]) {
                if (isInside(i) && isInside(k) && least[k] < least[i]) {
                    least[i] = least[k];
                    hasChanged = true;
                }
            }
        }
    }
    return least;
}

const std::vector<std::vector<std::int64_t>> c_sizes{{17}, {9, 8}, {5, 6, 4}, {7, 1, 5}, {1, 1, 6}};

const char* Name(EnNeighborhood neighborhood) { return NameOf(neighborhood); }

TEST(ConnectedComponents, TheLargestObjectIsLabel1AndTheRestFollow) {
    const auto image = [] {
        return test::ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(7, 3), {1, 0, 1, 1, 0, 0, 1, //
                                                                           0, 0, 1, 0, 0, 1, 0, //
                                                                           1, 0, 0, 0, 0, 0, 0});
    };
    CBasicsRun all("ConnectedComponents", image());
    EXPECT_EQ(all.Run(), "connectedcomponents(N26)<4>");
    EXPECT_EQ(all.Result().Type(), IMAGE_GREY_8);
    EXPECT_EQ(PixelsOf<unsigned char>(all.Result()), (Bytes{3, 0, 1, 1, 0, 0, 2, //
                                                            0, 0, 1, 0, 0, 2, 0, //
                                                            4, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(test::AttributeOf(all.Result(), "number of labels"), 5.0);
    CBasicsRun faces("ConnectedComponents", image());
    EXPECT_EQ(faces.WithText("Neighborhood", "N6").WithWhole("minimumSize", 2).Run(),
              "connectedcomponents(N6,minimumSize=2)<1>");
    EXPECT_EQ(PixelsOf<unsigned char>(faces.Result()), (Bytes{0, 0, 1, 1, 0, 0, 0, //
                                                              0, 0, 1, 0, 0, 0, 0, //
                                                              0, 0, 0, 0, 0, 0, 0}));
}

TEST(ConnectedComponents, AreThoseOfTheDefinition) {
    std::mt19937 random(4);
    for (const auto& extents : c_sizes) {
        for (const auto neighborhood : {EnNeighborhood::N6, EnNeighborhood::N26}) {
            const CSize size = Extents(extents);
            auto image = test::RandomImage<unsigned char>(IMAGE_BINARY_FG, size, random, 0, 1.6);
            const Bytes pixels = PixelsOf<unsigned char>(*image);
            const auto least = Components(NeighborsOf(size, neighborhood),
                                          [&pixels](std::size_t i) { return pixels[i] != 0; });
            CBasicsRun run("ConnectedComponents", std::move(image));
            run.WithText("Neighborhood", Name(neighborhood)).Run();
            const Bytes labels = PixelsOf<unsigned char>(run.Result());
            std::map<std::size_t, int> sizes;
            std::map<int, std::size_t> firstOf;
            for (std::size_t i = 0; i < labels.size(); ++i) {
                EXPECT_EQ(labels[i] != 0, pixels[i] != 0);
                if (pixels[i] == 0)
                    continue;
                ++sizes[least[i]];
                EXPECT_EQ(firstOf.emplace(labels[i], least[i]).first->second, least[i]);
            }
            EXPECT_EQ(firstOf.size(), sizes.size());
            int before = std::numeric_limits<int>::max();
            for (const auto& [label, first] : firstOf) {
                EXPECT_LE(sizes[first], before);
                before = sizes[first];
            }
        }
    }
}

TEST(ConnectedComponents, MoreThan255LabelsGet16Bits) {
    Bytes pixels(600);
    for (std::size_t i = 0; i < pixels.size(); i += 2)
        pixels[i] = 1;
    CBasicsRun run("ConnectedComponents", test::ImageOf(IMAGE_BINARY_FG, Extents({600}), pixels));
    EXPECT_EQ(run.Run(), "connectedcomponents(N26)<300>");
    EXPECT_EQ(run.Result().Type(), IMAGE_GREY_16);
    EXPECT_EQ(PixelsOf<unsigned short>(run.Result())[598], 300);
}

TEST(ConnectedComponents, RefuseGreyImagesAndUnknownWords) {
    CBasicsRun run("ConnectedComponents", test::ImageOf<unsigned char>(IMAGE_BINARY_FG, Extents({1}), {1}));
    run.WithText("Neighborhood", "N18");
    EXPECT_EQ(run.Refusal(), "ConnectedComponents: Neighborhood = N18 must be N6 or N26.");
    run.WithText("Neighborhood", "N6").WithWhole("minimumSize", -1);
    EXPECT_EQ(run.Refusal(), "ConnectedComponents: minimumSize = -1 must be 0 or more pixels.");
    CBasicsRun grey("ConnectedComponents", test::ImageOf<unsigned char>(IMAGE_GREY_8, Extents({1}), {1}));
    EXPECT_EQ(grey.Refusal(), "ConnectedComponents: Image type IMAGE_GREY_8 not supported.");
}

TEST(FillHoles, TheNeighborhoodIsThatOfTheBackground) {
    const auto image = [] {
        return test::ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(5, 4), {0, 1, 1, 0, 0, //
                                                                           1, 0, 0, 1, 0, //
                                                                           0, 1, 0, 1, 0, //
                                                                           0, 0, 1, 0, 0});
    };
    CBasicsRun faces("FillHoles", image());
    EXPECT_EQ(faces.Run(), "fillholes(N6)");
    EXPECT_EQ(PixelsOf<unsigned char>(faces.Result()), (Bytes{0, 1, 1, 0, 0, //
                                                              1, 1, 1, 1, 0, //
                                                              0, 1, 1, 1, 0, //
                                                              0, 0, 1, 0, 0}));
    CBasicsRun around("FillHoles", image());
    EXPECT_EQ(around.WithText("Neighborhood", "N26").Run(), "fillholes(N26)");
    EXPECT_EQ(PixelsOf<unsigned char>(around.Result()), PixelsOf<unsigned char>(*image()));
}

TEST(FillHoles, AreThoseOfTheDefinition) {
    std::mt19937 random(6);
    for (const auto& extents : c_sizes) {
        for (const auto neighborhood : {EnNeighborhood::N6, EnNeighborhood::N26}) {
            const CSize size = Extents(extents);
            auto image = test::RandomImage<unsigned char>(IMAGE_BINARY_FG, size, random, 0, 4);
            Bytes pixels = PixelsOf<unsigned char>(*image);
            for (unsigned char& pixel : pixels)
                pixel = pixel != 0 ? 1 : 0;
            const auto least = Components(NeighborsOf(size, neighborhood),
                                          [&pixels](std::size_t i) { return pixels[i] == 0; });
            std::set<std::size_t> outside;
            for (std::size_t i = 0; i < pixels.size(); ++i) {
                auto rest = static_cast<std::int64_t>(i);
                bool isAtBorder = false;
                for (const std::int64_t extent : extents) {
                    isAtBorder = isAtBorder || rest % extent == 0 || rest % extent == extent - 1;
                    rest /= extent;
                }
                if (isAtBorder)
                    outside.insert(least[i]);
            }
            Bytes expected = pixels;
            for (std::size_t i = 0; i < pixels.size(); ++i)
                expected[i] = pixels[i] != 0 || !outside.contains(least[i]) ? 1 : 0;
            CBasicsRun run("FillHoles", test::ImageOf(IMAGE_BINARY_FG, size, pixels));
            run.WithText("Neighborhood", Name(neighborhood)).Run();
            EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), expected);
        }
    }
}

TEST(RegionalMaxima, OnALine) {
    const auto labels = [](double height) {
        CBasicsRun run("RegionalMaxima",
                       test::ImageOf<unsigned char>(IMAGE_GREY_8, Extents({9}), {0, 5, 5, 3, 9, 8, 9, 1, 4}));
        run.With("height", height).Run();
        return PixelsOf<unsigned char>(run.Result());
    };
    EXPECT_EQ(labels(0), (Bytes{0, 1, 1, 0, 2, 0, 3, 0, 4}));
    EXPECT_EQ(labels(1), (Bytes{0, 1, 1, 0, 2, 0, 3, 0, 4}));
    // The two nines rise 1 above the saddle between them; beyond that they are one summit.
    EXPECT_EQ(labels(1.5), (Bytes{0, 1, 1, 0, 2, 0, 2, 0, 3}));
    EXPECT_EQ(labels(2), (Bytes{0, 1, 1, 0, 2, 0, 2, 0, 3}));
    EXPECT_EQ(labels(3), (Bytes{0, 0, 0, 0, 1, 0, 1, 0, 2}));
    EXPECT_EQ(labels(9), (Bytes{0, 0, 0, 0, 1, 0, 1, 0, 0}));
    EXPECT_EQ(labels(9.5), (Bytes(9, 0)));
}

TEST(RegionalMaxima, HistoryAndNumberOfLabels) {
    CBasicsRun run("RegionalMaxima", test::ImageOf<unsigned char>(IMAGE_GREY_8, Extents({3}), {2, 0, 1}));
    EXPECT_EQ(run.Run(), "regionalmaxima(N26)<2>");
    EXPECT_EQ(run.WithText("Neighborhood", "N6").With("height", 2).Run(), "regionalmaxima(N6,height=2)<1>");
    EXPECT_EQ(test::AttributeOf(run.Result(), "number of labels"), 2.0);
}

TEST(RegionalMaxima, NanLiesBelowAllNumbersAndAConstantHasNone) {
    CBasicsRun nan("RegionalMaxima",
                   test::ImageOf<float>(IMAGE_GREY_F, Extents({4}), {1.0F, NAN, -3.0F, -4.0F}));
    nan.With("height", 100).Run();
    EXPECT_EQ(PixelsOf<unsigned char>(nan.Result()), (Bytes{1, 0, 2, 0}));
    CBasicsRun constant("RegionalMaxima", test::ImageOf<float>(IMAGE_GREY_F, Extents({2}), {3.0F, 3.0F}));
    EXPECT_EQ(constant.Run(), "regionalmaxima(N26)<0>");
}

/// The height of each plateau of maxima by its definition: the value minus the highest level from which the
/// plateau is connected with something higher.
double HeightOf(const Floats& pixels, const std::vector<std::vector<std::size_t>>& neighbors,
                std::size_t pixel) {
    const float value = pixels[pixel];
    std::set<float, std::greater<>> levels(pixels.begin(), pixels.end());
    for (const float level : levels) {
        if (level > value)
            continue;
        const auto least = Components(neighbors, [&](std::size_t i) { return pixels[i] >= level; });
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            if (least[i] == least[pixel] && pixels[i] > value)
                return static_cast<double>(value) - static_cast<double>(level);
        }
    }
    return static_cast<double>(value) - static_cast<double>(*levels.rbegin());
}

TEST(RegionalMaxima, AreThoseOfTheDefinition) {
    std::mt19937 random(2);
    for (const auto& extents : c_sizes) {
        for (const auto neighborhood : {EnNeighborhood::N6, EnNeighborhood::N26}) {
            const CSize size = Extents(extents);
            const auto neighbors = NeighborsOf(size, neighborhood);
            auto image = test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0, 9);
            const Bytes bytes = PixelsOf<unsigned char>(*image);
            const Floats pixels(bytes.begin(), bytes.end());
            for (const double height : {0.0, 1.0, 2.0, 3.0, 5.0}) {
                CBasicsRun run("RegionalMaxima", test::ImageOf(IMAGE_GREY_F, size, pixels));
                run.WithText("Neighborhood", Name(neighborhood)).With("height", height).Run();
                const Bytes labels = PixelsOf<unsigned char>(run.Result());
                // Summits of one value are one object if no saddle between them is as low as the height.
                std::map<std::size_t, int> labelOf;
                for (std::size_t i = 0; i < pixels.size(); ++i) {
                    const double rise = HeightOf(pixels, neighbors, i);
                    const bool isSummit = rise > 0.0 && rise >= height;
                    EXPECT_EQ(labels[i] != 0, isSummit) << i << " rises " << rise << " of " << height;
                    if (!isSummit)
                        continue;
                    // Those that are connected above value - height, or on the plateau without a height.
                    const auto least = Components(neighbors, [&](std::size_t k) {
                        return height > 0.0 ? pixels[i] - pixels[k] < static_cast<float>(height)
                                            : pixels[k] >= pixels[i];
                    });
                    for (std::size_t k = 0; k < i; ++k) {
                        if (labels[k] != 0 && pixels[k] == pixels[i]) {
                            EXPECT_EQ(labels[k] == labels[i], least[k] == least[i]) << k << " " << i;
                        }
                    }
                }
            }
        }
    }
}

TEST(RegionalMaxima, RefuseANegativeHeight) {
    CBasicsRun run("RegionalMaxima", test::ImageOf<unsigned char>(IMAGE_GREY_8, Extents({1}), {2}));
    run.With("height", -1);
    EXPECT_EQ(run.Refusal(), "RegionalMaxima: height = -1 must be 0 or more.");
    run.With("height", 0).WithText("Neighborhood", "N8");
    EXPECT_EQ(run.Refusal(), "RegionalMaxima: Neighborhood = N8 must be N6 or N26.");
}

} // namespace
