#include "oracles/WatershedOracle.h"
#include "src/segmentation/floods/WatershedTools.h"
#include "support/CRandomSeeds.h"
#include "utils/ImageTypeDispatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <numeric>
#include <optional>
#include <random>
#include <type_traits>

// The flood against a slow twin that shares no code with it, on small random images.

using namespace ORVEN;
using test::Flood;
using test::floods;
using test::ImageOf;
using test::PixelsOf;
using test::ReferenceWatershed;
using test::StFlood;
using test::StFlooded;
using test::StReferenceWatershedRun;

namespace {

/// An integer from `least` to `greatest`.
int Draw(std::mt19937& random, int least, int greatest) {
    return std::uniform_int_distribution<int>(least, greatest)(random);
}

template <class T>
const T& OneOf(const std::vector<T>& choices, std::mt19937& random) {
    return choices[std::uniform_int_distribution<std::size_t>(0, choices.size() - 1)(random)];
}

/// Extents of 1 to 9, and now and then up to 40; at most 250 pixels, for the sake of the slow twin.
CSize RandomSize(int dimension, std::mt19937& random) {
    const auto extent = [&random] { return Draw(random, 1, Draw(random, 0, 9) == 0 ? 40 : 9); };
    for (;;) {
        const CSize size = dimension == 3 ? CSize(extent(), extent(), extent()) : CSize(extent(), extent());
        if (size.PixelCount() <= 250)
            return size;
    }
}

/// The values that an image of a type is made of: a few neighbours, a few from all over the range, or very
/// many.
template <class T>
std::vector<T> Palette(std::mt19937& random) {
    if constexpr (std::is_same_v<T, float>) {
        const std::vector<float> special{-0.0F,
                                         0.0F,
                                         -1.5F,
                                         2.25F,
                                         std::numeric_limits<float>::infinity(),
                                         1e-40F,
                                         -1e30F,
                                         7.0F,
                                         -std::numeric_limits<float>::infinity()};
        if (Draw(random, 0, 2) == 0) {
            std::vector<float> many;
            for (int i = 0; i < 100; ++i)
                many.push_back(std::uniform_real_distribution<float>(-4.0F, 4.0F)(random));
            return many;
        }
        std::vector<float> few{-0.0F, 0.0F};
        for (int count = Draw(random, 0, 4); count > 0; --count)
            few.push_back(OneOf(special, random));
        return few;
    } else {
        std::uniform_int_distribution<std::uint32_t> any(0, std::numeric_limits<T>::max());
        std::vector<T> values;
        switch (Draw(random, 0, 3)) {
        case 0:
            for (int i = 0; i < 100; ++i)
                values.push_back(static_cast<T>(any(random)));
            break;
        case 1:
            for (int i = Draw(random, 1, 5); i > 0; --i)
                values.push_back(static_cast<T>(any(random)));
            break;
        default: // low values, near to the numbers of regions, so that depth and volume have to do
            for (int i = Draw(random, 0, 7); i >= 0; --i)
                values.push_back(static_cast<T>(i));
        }
        return values;
    }
}

/// The image with its pixels moved into an allocation with a border, as often as not.
std::unique_ptr<CImage> PerhapsWithBorder(std::unique_ptr<CImage> image, std::mt19937& random) {
    if (Draw(random, 0, 1) == 0)
        return image;
    const CSize border = image->Size().Dim() == 3
                             ? CSize(Draw(random, 0, 2), Draw(random, 0, 2), Draw(random, 0, 2))
                             : CSize(Draw(random, 0, 2), Draw(random, 0, 2));
    auto bordered = std::make_unique<CImage>(image->Type(), image->Size(), border);
    DispatchImageType<unsigned char, unsigned short, unsigned int, float>(
        "PerhapsWithBorder", image->Type(), [&]<class T>(std::type_identity<T>) {
            const CImageView<const T> from(*image);
            const CImageView<T> to(*bordered);
            for (std::int64_t z = 0; z < from.nz; ++z) {
                for (std::int64_t y = 0; y < from.ny; ++y)
                    std::copy_n(from.Row(y, z), from.nx, to.Row(y, z));
            }
        });
    return bordered;
}

struct StRandomImage {
    std::unique_ptr<CImage> image;
    std::vector<double> pixels;
};

template <class T>
StRandomImage RandomImageOf(const IImage::CType& type, const CSize& size, const std::vector<T>& palette,
                            std::mt19937& random) {
    std::vector<T> pixels(static_cast<std::size_t>(size.PixelCount()));
    for (T& pixel : pixels)
        pixel = OneOf(palette, random);
    return {ImageOf(type, size, pixels), std::vector<double>(pixels.begin(), pixels.end())};
}

/// An image to be flooded, of any of the types.
StRandomImage RandomInput(const CSize& size, std::mt19937& random) {
    // 16 bits seldom: its 65536 levels take long, and no other path than 8 bits.
    switch (Draw(random, 0, 12)) {
    case 0:
        return RandomImageOf<unsigned short>(IMAGE_GREY_16, size, Palette<unsigned short>(random), random);
    case 1:
        return RandomImageOf<unsigned char>(IMAGE_BINARY_FG, size, Palette<unsigned char>(random), random);
    case 2:
    case 3:
    case 4:
    case 5:
        return RandomImageOf<unsigned char>(IMAGE_GREY_8, size, Palette<unsigned char>(random), random);
    case 6:
    case 7:
    case 8:
        return RandomImageOf<unsigned int>(IMAGE_GREY_32, size, Palette<unsigned int>(random), random);
    default:
        return RandomImageOf<float>(IMAGE_GREY_F, size, Palette<float>(random), random);
    }
}

/// Seeds of any type, in any density; few labels, so that equal ones meet.
StRandomImage RandomSeeds(const CSize& size, std::mt19937& random) {
    const auto make = [&]<class L>(std::type_identity<L>, const IImage::CType& type,
                                   const std::vector<L>& labels) {
        std::vector<L> palette(static_cast<std::size_t>(OneOf<int>({0, 1, 4, 12, 40}, random)), L{0});
        for (int i = 0; i < 4; ++i)
            palette.push_back(OneOf(labels, random));
        return RandomImageOf<L>(type, size, palette, random);
    };
    switch (Draw(random, 0, 4)) {
    case 0:
        return make(std::type_identity<unsigned char>(), IMAGE_BINARY_FG, {1});
    case 1:
        return make(std::type_identity<unsigned char>(), IMAGE_GREY_8, {1, 2, 3, 255});
    case 2:
        return make(std::type_identity<unsigned short>(), IMAGE_GREY_16, {1, 2, 300, 65533, 65535});
    case 3:
        return make(std::type_identity<unsigned int>(), IMAGE_GREY_32, {1, 2, 3, 70000, 0xFFFFFFFC});
    default:
        return make(std::type_identity<unsigned int>(), IMAGE_GREY_32,
                    {1, 2, 0xFFFFFFFC, LabelInQueue, LabelMask, LabelInit});
    }
}

std::uint32_t RandomMinimum(std::int64_t pixelCount, std::mt19937& random) {
    return OneOf<std::uint32_t>(
        {0, 1, 2, 3, 4, 5, 7, 10, 20, 50, 100, 3000, static_cast<std::uint32_t>(2 * pixelCount - 1),
         static_cast<std::uint32_t>(2 * pixelCount), 0xFFFFFFFD, 0xFFFFFFFE, 0xFFFFFFFF},
        random);
}

/// The flood into labels that hold rubbish, perhaps within a border.
StFlooded FloodIntoRubbish(const StFlood& flood, const CImage& image, const CImage* seeds, int mode,
                           std::uint32_t minimum, std::mt19937& random) {
    const test::CapturedOutput silence;
    const std::vector<std::uint32_t> rubbish(static_cast<std::size_t>(image.Size().PixelCount()), 3);
    const auto labels = PerhapsWithBorder(ImageOf(IMAGE_GREY_32, image.Size(), rubbish), random);
    const auto outcome = flood.run({*labels, image, seeds, static_cast<EnWatershedMode>(mode), minimum});
    return {PixelsOf<std::uint32_t>(*labels), outcome.regionCount};
}

class WatershedOracle : public testing::TestWithParam<StFlood> {
protected:
    /// One image, flooded by each criterion and from seeds.
    void CompareRandomRuns(unsigned seed) {
        std::mt19937 random(seed);
        const StFlood& flood = GetParam();
        const CSize size = RandomSize(flood.dimension, random);
        StRandomImage input = RandomInput(size, random);
        StReferenceWatershedRun run;
        run.neighborhood = flood.id;
        run.size = {static_cast<int>(size.x), static_cast<int>(size.y),
                    size.Dim() == 3 ? static_cast<int>(size.z) : 1};
        run.grey = input.pixels;
        run.isLevelTheValue = input.image->Type().PixelSize() < 4;
        const auto image = PerhapsWithBorder(std::move(input.image), random);

        for (run.mode = 0; run.mode <= 4; ++run.mode) {
            run.minimum = RandomMinimum(size.PixelCount(), random);
            Compare(run, *image, nullptr, random);
        }
        StRandomImage seeds = RandomSeeds(size, random);
        run.seeds.assign(seeds.pixels.begin(), seeds.pixels.end());
        run.mode = Draw(random, 0, 4);
        Compare(run, *image, PerhapsWithBorder(std::move(seeds.image), random).get(), random);
    }

private:
    static void Compare(const StReferenceWatershedRun& run, const CImage& image, const CImage* seeds,
                        std::mt19937& random) {
        SCOPED_TRACE("image " + std::string(image.Type().ToString()) + " " + image.Size().ToString() +
                     " mode " + std::to_string(run.mode) + " minimum " + std::to_string(run.minimum) +
                     (seeds != nullptr ? std::string(" seeds ") + seeds->Type().ToString() : ""));
        const auto expected = ReferenceWatershed(run);
        ASSERT_EQ(FloodIntoRubbish(GetParam(), image, seeds, run.mode, run.minimum, random),
                  (StFlooded{expected.labels, expected.regionCount}));
    }
};

INSTANTIATE_TEST_SUITE_P(AllNeighborhoods, WatershedOracle, testing::ValuesIn(floods),
                         [](const auto& parameter) { return std::string(parameter.param.id); });

TEST_P(WatershedOracle, AgreesToThePixelForAllTypesCriteriaAndSeeds) {
    for (const unsigned seed : test::CRandomSeeds(0, 400)) {
        CompareRandomRuns(seed);
        if (HasFatalFailure())
            return;
    }
}

// --- what holds for any image flooded from its minima
// ---------------------------------------------------------------

/// A volume of noise, averaged over a few pixels along each axis, so that its basins have some size.
std::unique_ptr<CImage> SmoothNoise(const CSize& size, std::mt19937& random) {
    auto image = test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0, 256);
    std::vector<unsigned char> pixels = PixelsOf<unsigned char>(*image);
    std::int64_t stride = 1;
    for (const std::int64_t extent : {size.x, size.y, size.z}) {
        const std::vector<unsigned char> before = pixels;
        for (std::int64_t i = 0; i < size.PixelCount(); ++i) {
            const std::int64_t position = i / stride % extent;
            int sum = 0;
            for (std::int64_t step = -2; step <= 2; ++step) {
                const std::int64_t from = std::clamp<std::int64_t>(position + step, 0, extent - 1);
                sum += before[static_cast<std::size_t>(i + (from - position) * stride)];
            }
            pixels[static_cast<std::size_t>(i)] = static_cast<unsigned char>(sum / 5);
        }
        stride *= extent;
    }
    return ImageOf(IMAGE_GREY_8, size, pixels);
}

/// The pixels of a volume, and who is beside whom.
template <class N>
class CVolume {
public:
    CVolume(const CSize& size, std::vector<std::uint32_t> pixels)
        : m_size(size)
        , m_pixels(std::move(pixels)) {}

    [[nodiscard]] std::size_t Count() const { return m_pixels.size(); }
    std::uint32_t operator[](std::size_t pixel) const { return m_pixels[pixel]; }

    template <class Visit>
    void ForEachNeighbor(std::size_t pixel, const Visit& visit) const {
        const auto index = static_cast<std::int64_t>(pixel);
        const std::int64_t x = index % m_size.x;
        const std::int64_t y = index / m_size.x % m_size.y;
        const std::int64_t z = index / m_size.x / m_size.y;
        for (std::size_t i = 0; i < N::count; ++i) {
            const CPos neighbor(x + N::dx[i], y + N::dy[i], z + N::dz[i]);
            if (neighbor.x >= 0 && neighbor.x < m_size.x && neighbor.y >= 0 && neighbor.y < m_size.y &&
                neighbor.z >= 0 && neighbor.z < m_size.z)
                visit(static_cast<std::size_t>((neighbor.z * m_size.y + neighbor.y) * m_size.x + neighbor.x));
        }
    }

    /// The connected sets of pixels of one value.
    [[nodiscard]] std::vector<std::vector<std::size_t>> Plateaus() const {
        std::vector<std::vector<std::size_t>> plateaus;
        std::vector<bool> isSeen(Count());
        for (std::size_t start = 0; start < Count(); ++start) {
            if (isSeen[start])
                continue;
            isSeen[start] = true;
            std::vector<std::size_t>& plateau = plateaus.emplace_back(1, start);
            for (std::size_t i = 0; i < plateau.size(); ++i) {
                ForEachNeighbor(plateau[i], [&](std::size_t neighbor) {
                    if (!isSeen[neighbor] && m_pixels[neighbor] == m_pixels[start]) {
                        isSeen[neighbor] = true;
                        plateau.push_back(neighbor);
                    }
                });
            }
        }
        return plateaus;
    }

private:
    CSize m_size;
    std::vector<std::uint32_t> m_pixels;
};

template <class N>
class WatershedInvariants : public testing::Test {
protected:
    void SetUp() override {
        std::mt19937 random(20180604);
        const CSize size(40, 36, 32);
        const auto image = SmoothNoise(size, random);
        const std::vector<unsigned char> pixels = PixelsOf<unsigned char>(*image);
        m_grey.emplace(size, std::vector<std::uint32_t>(pixels.begin(), pixels.end()));
        const auto* const flood = std::ranges::find(floods, std::string(N::id), &StFlood::id);
        const StFlooded flooded = Flood(*flood, *image);
        m_regionCount = flooded.regionCount;
        m_labels.emplace(size, flooded.labels);
    }

    std::optional<CVolume<N>> m_grey;
    std::optional<CVolume<N>> m_labels;
    std::uint32_t m_regionCount = 0;
};

using ThreeDimensional = testing::Types<CNeighborhood3dDiffN6, CNeighborhood3dDiffN14_1,
                                        CNeighborhood3dDiffN14_2, CNeighborhood3dDiffN26>;
TYPED_TEST_SUITE(WatershedInvariants, ThreeDimensional);

TYPED_TEST(WatershedInvariants, ThereIsOneRegionForEachMinimumAndItHoldsAllOfIt) {
    std::vector<std::uint32_t> labelsOfMinima;
    for (const auto& plateau : this->m_grey->Plateaus()) {
        bool isMinimum = true;
        for (const std::size_t pixel : plateau) {
            this->m_grey->ForEachNeighbor(pixel, [&](std::size_t neighbor) {
                isMinimum = isMinimum && (*this->m_grey)[neighbor] >= (*this->m_grey)[pixel];
            });
        }
        if (!isMinimum)
            continue;
        labelsOfMinima.push_back((*this->m_labels)[plateau.front()]);
        for (const std::size_t pixel : plateau)
            ASSERT_EQ((*this->m_labels)[pixel], labelsOfMinima.back());
    }
    EXPECT_GT(this->m_regionCount, 20U);
    std::ranges::sort(labelsOfMinima);
    std::vector<std::uint32_t> all(this->m_regionCount);
    std::iota(all.begin(), all.end(), 1U);
    EXPECT_EQ(labelsOfMinima, all);
}

TYPED_TEST(WatershedInvariants, RegionsAreConnectedAndLinesKeepThemApart) {
    std::size_t regions = 0;
    for (const auto& plateau : this->m_labels->Plateaus())
        regions += (*this->m_labels)[plateau.front()] != LabelWatershed ? 1U : 0U;
    EXPECT_EQ(regions, this->m_regionCount);

    for (std::size_t pixel = 0; pixel < this->m_labels->Count(); ++pixel) {
        const std::uint32_t label = (*this->m_labels)[pixel];
        ASSERT_LE(label, this->m_regionCount);
        this->m_labels->ForEachNeighbor(pixel, [&](std::size_t neighbor) {
            const std::uint32_t other = (*this->m_labels)[neighbor];
            ASSERT_TRUE(label == other || label == LabelWatershed || other == LabelWatershed);
        });
    }
}

} // namespace
