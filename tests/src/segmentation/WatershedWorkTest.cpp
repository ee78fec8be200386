#include "oracles/WatershedOracle.h"
#include "segmentation/WatershedImpl.h"
#include "src/segmentation/floods/WatershedTools.h"
#include "support/CRandomSeeds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

// How much a flood looks at, which must not grow faster than the image, whatever a criterion refuses.

namespace {

/// How often the neighbourhood of a pixel has been read.
std::int64_t g_visits = 0;

template <class N>
struct Counted : N {};

} // namespace

namespace ORVEN {

/// The labels of a flood, with every look at a neighbourhood counted.
template <class N>
class CFloodLabels<Counted<N>> : public CFloodLabels<N> {
    using Base = CFloodLabels<N>;

public:
    using Place = typename Base::Place;

    [[nodiscard]] bool HasFinalNeighbor(Place place) const {
        ++g_visits;
        return Base::HasFinalNeighbor(place);
    }

    bool Decide(Place place) {
        ++g_visits;
        return Base::Decide(place);
    }

    template <class Body>
    void ForEachOpenNeighbor(Place place, const Body& body) const {
        ++g_visits;
        Base::ForEachOpenNeighbor(place, body);
    }
};

} // namespace ORVEN

using namespace ORVEN;
using test::ImageOf;
using test::PixelsOf;

namespace {

/// How often a flood looks at a pixel's neighbourhood, on average.
template <class N, class T, class Criterion>
double VisitsPerPixel(const CImage& image, typename Criterion::StParameters record) {
    const test::CapturedOutput silence;
    CImage labels(IMAGE_GREY_32, image.Size(), CSize(0, 0, 0));
    CProgressProxy progress;
    g_visits = 0;
    CWatershedTemplate<Counted<N>>().template DoWatershed<T, Criterion>(labels, image, nullptr, &record,
                                                                        progress);
    return static_cast<double>(g_visits) / static_cast<double>(image.Size().PixelCount());
}

template <class T>
std::unique_ptr<CImage> Constant(const IImage::CType& type, const CSize& size, T value) {
    return ImageOf(type, size, std::vector<T>(static_cast<std::size_t>(size.PixelCount()), value));
}

/// Every pixel of a level of its own, each connected with those before it.
std::unique_ptr<CImage> Ramp(const CSize& size) {
    std::vector<unsigned int> pixels(static_cast<std::size_t>(size.PixelCount()));
    std::iota(pixels.begin(), pixels.end(), 0U);
    return ImageOf(IMAGE_GREY_32, size, pixels);
}

constexpr std::uint32_t c_tooMany = 1000000;

TEST(WatershedWork, AFlatBasinThatIsTooSmallIsVisitedOnceAndNotOncePerPixel) {
    const auto image = Constant<unsigned char>(IMAGE_GREY_8, CSize(12, 12, 12), 7);
    EXPECT_LE((VisitsPerPixel<CNeighborhood3dDiffN26, unsigned char, CWatershedCriterionArea>(
                  *image, {.minimum = c_tooMany})),
              3.0);
    EXPECT_LE((VisitsPerPixel<CNeighborhood3dDiffN6, unsigned char, CWatershedCriterionVolume>(
                  *image, {.minimum = 1e9})),
              3.0);
    EXPECT_LE((VisitsPerPixel<CNeighborhood3dDiffN6, unsigned char, CWatershedCriterionDepth>(
                  *image, {.minimum = c_tooMany})),
              3.0);
    EXPECT_LE((VisitsPerPixel<CNeighborhood3dDiffN6, unsigned char, CWatershedCriterionHeight>(
                  *image, {.minimum = c_tooMany})),
              3.0);
}

TEST(WatershedWork, ABasinThatGrowsLevelByLevelIsNotVisitedAgainOnEachLevel) {
    const auto image = Ramp(CSize(12, 12, 12));
    EXPECT_LE((VisitsPerPixel<CNeighborhood3dDiffN26, unsigned int, CWatershedCriterionArea>(
                  *image, {.minimum = c_tooMany})),
              3.0);
    // Taken when half of the image has gathered.
    EXPECT_LE((VisitsPerPixel<CNeighborhood3dDiffN6, unsigned int, CWatershedCriterionArea>(
                  *image, {.minimum = 12 * 12 * 12})),
              4.0);
}

// Once more only if a neighbour is open when the pixel is decided.
TEST(WatershedWork, APixelIsVisitedTwoOrThreeTimesIfNothingIsRejected) {
    std::mt19937 random(3);
    const auto image = test::RandomImage<unsigned char>(IMAGE_GREY_8, CSize(12, 12, 12), random, 0, 40);
    EXPECT_LE((VisitsPerPixel<CNeighborhood3dDiffN26, unsigned char, CWatershedCriterionNone>(*image, {})),
              3.0);
}

/// Random images of few levels, so that basins are flat, wait over several levels and grow together.
class Preflood : public testing::TestWithParam<test::StFlood> {};

INSTANTIATE_TEST_SUITE_P(AllNeighborhoods, Preflood, testing::ValuesIn(test::floods),
                         [](const auto& parameter) { return std::string(parameter.param.id); });

TEST_P(Preflood, LabelsAreThoseOfTheFloodThatTriesEveryPixelAnew) {
    const test::StFlood& flood = GetParam();
    const CSize size = flood.dimension == 3 ? CSize(9, 8, 7) : CSize(23, 21);
    int refusals = 0;
    for (const unsigned seed : test::CRandomSeeds(0, 100)) {
        std::mt19937 random(seed);
        const int levels = std::uniform_int_distribution<int>(1, 12)(random);
        const auto image = test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0, levels);
        const auto pixels = PixelsOf<unsigned char>(*image);
        test::StReferenceWatershedRun run;
        run.neighborhood = flood.id;
        run.size = {static_cast<int>(size.x), static_cast<int>(size.y),
                    size.Dim() == 3 ? static_cast<int>(size.z) : 1};
        run.grey.assign(pixels.begin(), pixels.end());
        run.mode = seed % 3 == 2 ? 4 : 1;
        run.minimum = std::uniform_int_distribution<std::uint32_t>(
            2, seed % 2 == 0 ? 40 : static_cast<std::uint32_t>(2 * size.PixelCount()))(random);
        const auto expected = test::ReferenceWatershed(run);
        const auto flooded =
            test::Flood(flood, *image, nullptr, static_cast<EnWatershedMode>(run.mode), run.minimum);
        ASSERT_EQ(flooded, (test::StFlooded{expected.labels, expected.regionCount}));
        refusals += flooded != test::Flood(flood, *image) ? 1 : 0;
    }
    EXPECT_GT(refusals, 70);
}

} // namespace
