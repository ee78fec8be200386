#include "support/CRandomSeeds.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <QuillonBase/Neighborhoods.h>
#include <QuillonTransformation/CSkeletonHelper.h>
#include <sorblib2core/CExBadParam.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <numeric>
#include <random>
#include <set>
#include <tuple>
#include <vector>

namespace {

using namespace ORVEN;

constexpr std::array c_codes{12, 15, 18, 21};

using Table = std::array<long long, 256>;

Table TableOf(int code, bool isOfBackground = false) {
    Table table{};
    CSkeletonHelper::_ecoeff(table.data(), code, isOfBackground);
    return table;
}

/// The check sum of the table's entries as little-endian integers of 64 bits, as zip files have it.
std::uint32_t Crc32(const Table& table) {
    std::uint32_t remainder = 0xFFFFFFFF;
    for (const long long entry : table) {
        for (unsigned shift = 0; shift < 64; shift += 8) {
            remainder ^= static_cast<std::uint32_t>(static_cast<std::uint64_t>(entry) >> shift & 0xFF);
            for (int bit = 0; bit < 8; ++bit)
                remainder = remainder >> 1 ^ ((remainder & 1) != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~remainder;
}

// --- tables
// ----------------------------------------------------------------------------------------------------------

TEST(EulerCoefficients, AreThoseOfTheComplexes) {
    struct StSums {
        int code;
        long long sum, sumOfAmounts, least, greatest, weightedSum;
        std::array<long long, 5> entries; // of the blocks 3, 6, 9, 24, 129
        std::uint32_t crc;
    };
    constexpr std::array sums{StSums{12, -136, 344, -6, 4, -26520, {0, 2, 2, 2, 2}, 0x8FFFCE99},
                              StSums{15, -256, 432, -8, 3, -32640, {0, 2, -2, 2, -6}, 0xFAC8541E},
                              StSums{18, -256, 432, -8, 3, -32640, {0, -2, 2, 2, 2}, 0x700472B4},
                              StSums{21, -136, 344, -6, 4, -8160, {0, -2, -2, -6, -6}, 0x5740C43B}};
    for (const StSums& expected : sums) {
        SCOPED_TRACE(expected.code);
        const Table table = TableOf(expected.code);
        long long sumOfAmounts = 0;
        long long weightedSum = 0;
        for (std::size_t block = 0; block < 256; ++block) {
            sumOfAmounts += std::abs(table[block]);
            weightedSum += static_cast<long long>(block) * table[block];
        }
        EXPECT_EQ(std::accumulate(table.begin(), table.end(), 0LL), expected.sum);
        EXPECT_EQ(sumOfAmounts, expected.sumOfAmounts);
        EXPECT_EQ(*std::ranges::min_element(table), expected.least);
        EXPECT_EQ(*std::ranges::max_element(table), expected.greatest);
        EXPECT_EQ(weightedSum, expected.weightedSum);
        EXPECT_EQ((std::array{table[3], table[6], table[9], table[24], table[129]}), expected.entries);
        EXPECT_EQ((std::array{table[0], table[255]}), (std::array{0LL, 0LL}));
        EXPECT_EQ((std::array{table[1], table[127], table[254]}), (std::array{1LL, 1LL, 1LL}));
        EXPECT_EQ(Crc32(table), expected.crc);
    }
}

TEST(EulerCoefficients, OfDualNeighbourhoodsAreThoseOfTheComplement) {
    for (std::size_t block = 0; block < 256; ++block) {
        EXPECT_EQ(TableOf(21)[block], TableOf(12)[255 - block]);
        EXPECT_EQ(TableOf(15)[block], TableOf(15)[255 - block]);
        EXPECT_EQ(TableOf(18)[block], TableOf(18)[255 - block]);
    }
}

TEST(EulerCoefficients, WithTheFlagAreReadAtTheComplement) {
    for (const int code : c_codes) {
        Table expected = TableOf(code);
        std::ranges::reverse(expected);
        EXPECT_EQ(TableOf(code, true), expected) << code;
    }
}

TEST(EulerCoefficients, OfAnUnknownCodeAreRefusedAndTheTableStays) {
    for (const int code : {-1, 0, 6, 13, 26, 120}) {
        Table table{};
        const auto raised =
            test::Raised<CExBadParam>([&] { CSkeletonHelper::_ecoeff(table.data(), code, false); });
        EXPECT_EQ(raised.Message(), "Unknown Euler code '" + std::to_string(code) + "'.");
        EXPECT_EQ(table, Table{});
    }
}

// --- cube
// ------------------------------------------------------------------------------------------------------------

using Pixel = std::array<int, 3>; // x, y, z

/// What the 27 cells stand for, x fastest.
std::vector<int> ValuesOf(const CSkeletonHelper& helper) {
    std::vector<int> values;
    for (std::size_t k = 1; k <= 3; ++k) {
        for (std::size_t j = 1; j <= 3; ++j) {
            for (std::size_t i = 1; i <= 3; ++i)
                values.push_back(helper.m_cube[i][j][k].value);
        }
    }
    return values;
}

/// Whether the cells that stand for no pixel are 0, and all flags are clear.
bool IsCleanAround(const CSkeletonHelper& helper) {
    bool isClean = true;
    const auto isOutside = [](std::size_t index) { return index < 1 || index > 3; };
    for (std::size_t i = 0; i < 6; ++i) {
        for (std::size_t j = 0; j < 6; ++j) {
            for (std::size_t k = 0; k < 6; ++k) {
                const auto& cell = helper.m_cube[i][j][k];
                const bool isFree = isOutside(i) || isOutside(j) || isOutside(k);
                isClean = isClean && !cell.isVisited && (!isFree || cell.value == 0);
            }
        }
    }
    return isClean;
}

TEST(SkeletonHelperCube, RepresentsThePixelsAroundAPosition) {
    // 5 x 4 x 3 pixels; foreground is where x + 2 y + 4 z divides by 3.
    std::vector<unsigned char> pixels;
    for (int z = 0; z < 3; ++z) {
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 5; ++x)
                pixels.push_back((x + 2 * y + 4 * z) % 3 == 0 ? 200 : 0);
        }
    }
    const auto image = test::ImageOf(IMAGE_BINARY_FG, CSize(5, 4, 3), pixels);
    CSkeletonHelper helper(*image);
    for (const int object : {1, 0}) {
        helper.createCube({2, 1, 1}, object, 0);
        std::vector<int> expected;
        for (int z = 0; z <= 2; ++z) {
            for (int y = 0; y <= 2; ++y) {
                for (int x = 1; x <= 3; ++x)
                    expected.push_back(((x + 2 * y + 4 * z) % 3 == 0) == (object == 1) ? 1 : 0);
            }
        }
        EXPECT_EQ(ValuesOf(helper), expected);
        EXPECT_TRUE(IsCleanAround(helper));
    }
}

TEST(SkeletonHelperCube, TreatsPixelsBeyondTheBorderAsBackgroundOrForegroundAsRequested) {
    const auto image = test::ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(1, 1, 1), {1});
    CSkeletonHelper helper(*image);
    const auto cube = [&](int object, int outside) {
        helper.createCube({0, 0, 0}, object, outside);
        EXPECT_TRUE(IsCleanAround(helper));
        return ValuesOf(helper);
    };
    std::vector<int> center(27, 0);
    center[13] = 1;
    std::vector<int> hollow(27, 1);
    hollow[13] = 0;
    EXPECT_EQ(cube(1, 0), center);
    EXPECT_EQ(cube(0, 0), hollow);
    EXPECT_EQ(cube(1, 1), std::vector<int>(27, 1));
    EXPECT_EQ(cube(0, 1), std::vector<int>(27, 0));
}

TEST(SkeletonHelperCube, AtEveryCornerHoldsTheEightPixelsInside) {
    const auto image = test::ImageOf(IMAGE_BINARY_FG, CSize(4, 4, 4), std::vector<unsigned char>(64, 1));
    CSkeletonHelper helper(*image);
    for (const int x : {0, 3}) {
        for (const int y : {0, 3}) {
            for (const int z : {0, 3}) {
                helper.createCube({x, y, z}, 1, 0);
                for (std::size_t index = 0; index < 27; ++index) {
                    const auto isInside = [](int position, std::size_t step) {
                        return position == 0 ? step >= 1 : step <= 1;
                    };
                    const bool isExpected =
                        isInside(x, index % 3) && isInside(y, index / 3 % 3) && isInside(z, index / 9);
                    EXPECT_EQ(ValuesOf(helper)[index], isExpected ? 1 : 0);
                }
            }
        }
    }
}

TEST(SkeletonHelperCube, OfA2dImageHasNothingBesideThePlane) {
    const auto image =
        test::ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(3, 3), {1, 1, 1, 1, 1, 1, 1, 1, 1});
    CSkeletonHelper helper(*image);
    helper.createCube({1, 1, 0}, 1, 0);
    std::vector<int> expected(27, 0);
    std::fill_n(expected.begin() + 9, 9, 1);
    EXPECT_EQ(ValuesOf(helper), expected);
}

TEST(SkeletonHelperCube, IsMadeAnewEachTime) {
    const auto image = test::ImageOf(IMAGE_BINARY_FG, CSize(3, 3, 3), std::vector<unsigned char>(27, 0));
    CSkeletonHelper helper(*image);
    for (auto& plane : helper.m_cube) {
        for (auto& row : plane)
            row.fill({7, true});
    }
    helper.createCube({1, 1, 1}, 1, 0);
    EXPECT_TRUE(IsCleanAround(helper));
    EXPECT_EQ(ValuesOf(helper), std::vector<int>(27, 0));
}

TEST(SkeletonHelperCube, IsRefusedForPixelsThatAreNotBytes) {
    const CImage image(IMAGE_GREY_16, CSize(3, 3, 3), CSize(0, 0, 0));
    EXPECT_THROW(CSkeletonHelper helper(image), CExBadParam);
}

// --- Euler number
// ----------------------------------------------------------------------------------------------------

/// A helper on an empty image, whose cube is set by hand.
class SkeletonHelperEulerNumber : public testing::Test {
protected:
    /// Pixels from 0 to 2 on each axis.
    int EulerNumberOf(int code, const std::set<Pixel>& pixels) {
        m_helper.createCube({1, 1, 1}, 1, 0);
        for (const auto& [x, y, z] : pixels)
            CellOf(x, y, z) = 1;
        m_helper._ecoeff(m_helper.m_eulerCoefficients.data(), code, false);
        return m_helper.EulerNumber();
    }

    /// In the order of the codes.
    std::vector<int> EulerNumbersOf(const std::set<Pixel>& pixels) {
        std::vector<int> numbers;
        for (const int code : c_codes)
            numbers.push_back(EulerNumberOf(code, pixels));
        return numbers;
    }

    std::int32_t& CellOf(int x, int y, int z) {
        const auto index = [](int position) { return static_cast<std::size_t>(position + 1); };
        return m_helper.m_cube[index(x)][index(y)][index(z)].value;
    }

    const CImage m_image{IMAGE_BINARY_FG, CSize(3, 3, 3), CSize(0, 0, 0)};
    CSkeletonHelper m_helper{m_image};
};

std::set<Pixel> AllBut(const std::function<bool(const Pixel&)>& isLeftOut) {
    std::set<Pixel> pixels;
    for (int index = 0; index < 27; ++index) {
        const Pixel pixel{index % 3, index / 3 % 3, index / 9};
        if (!isLeftOut(pixel))
            pixels.insert(pixel);
    }
    return pixels;
}

TEST_F(SkeletonHelperEulerNumber, CountsPiecesLessTunnelsPlusCavities) {
    const auto isCenter = [](const Pixel& pixel) { return pixel == Pixel{1, 1, 1}; };
    const auto isNoRing = [](const Pixel& pixel) {
        return pixel[2] != 1 || (pixel[0] == 1 && pixel[1] == 1);
    };
    EXPECT_EQ(EulerNumbersOf({}), (std::vector{0, 0, 0, 0}));
    EXPECT_EQ(EulerNumbersOf({{1, 1, 1}}), (std::vector{1, 1, 1, 1}));
    EXPECT_EQ(EulerNumbersOf({{0, 2, 1}}), (std::vector{1, 1, 1, 1}));
    EXPECT_EQ(EulerNumbersOf(AllBut([](const Pixel&) { return false; })), (std::vector{1, 1, 1, 1}));
    EXPECT_EQ(EulerNumbersOf(AllBut(isCenter)), (std::vector{2, 2, 2, 2}));
    EXPECT_EQ(EulerNumbersOf(AllBut(isNoRing)), (std::vector{0, 0, 0, 0}));
}

TEST_F(SkeletonHelperEulerNumber, JoinsPixelsThatAreNeighbours) {
    EXPECT_EQ(EulerNumbersOf({{0, 0, 0}, {1, 1, 1}}), (std::vector{2, 1, 2, 1}));
    EXPECT_EQ(EulerNumbersOf({{1, 0, 0}, {0, 1, 1}}), (std::vector{2, 2, 1, 1}));
    EXPECT_EQ(EulerNumbersOf({{0, 0, 0}, {1, 1, 0}}), (std::vector{2, 1, 2, 1}));
    EXPECT_EQ(EulerNumbersOf({{1, 0, 0}, {0, 1, 0}}), (std::vector{2, 2, 1, 1}));
}

TEST_F(SkeletonHelperEulerNumber, CountsNothingButOnes) {
    EXPECT_EQ(EulerNumberOf(12, {{0, 0, 0}, {2, 2, 2}}), 2);
    CellOf(2, 2, 2) = 2;
    EXPECT_EQ(m_helper.EulerNumber(), 1);
    CellOf(0, 0, 0) = -1;
    EXPECT_EQ(m_helper.EulerNumber(), 0);
}

TEST_F(SkeletonHelperEulerNumber, FollowsTheTableThatIsThere) {
    EXPECT_EQ(EulerNumberOf(12, {{0, 0, 0}, {1, 1, 0}}), 2);
    m_helper._ecoeff(m_helper.m_eulerCoefficients.data(), 21, false);
    EXPECT_EQ(m_helper.EulerNumber(), 1);
    m_helper.m_eulerCoefficients.fill(0);
    EXPECT_EQ(m_helper.EulerNumber(), 0);
}

// --- Euler number against complexes that are written down cell by cell

/// Boxes of the grid, all of whose corners are pixels of the set.
int EulerNumberOfBoxes(const std::set<Pixel>& pixels) {
    int sum = 0;
    for (const auto& [x, y, z] : pixels) {
        for (int extent = 0; extent < 8; ++extent) {
            int corners = 0;
            int present = 0;
            for (int step = 0; step < 8; ++step) {
                if ((step & extent) != step)
                    continue;
                ++corners;
                present += pixels.contains({x + (step & 1), y + (step >> 1 & 1), z + (step >> 2)}) ? 1 : 0;
            }
            const bool isOdd = corners == 2 || corners == 8;
            if (present == corners)
                sum += isOdd ? -1 : 1;
        }
    }
    return sum;
}

/// The union of closed cubes around the pixels: a cell is named by twice the coordinates of its middle.
int EulerNumberOfUnion(const std::set<Pixel>& pixels) {
    std::set<Pixel> cells;
    for (const auto& [x, y, z] : pixels) {
        for (int index = 0; index < 27; ++index)
            cells.insert({2 * x + index % 3 - 1, 2 * y + index / 3 % 3 - 1, 2 * z + index / 9 - 1});
    }
    int sum = 0;
    for (const Pixel& cell : cells) {
        const auto evenCount =
            std::ranges::count_if(cell, [](int coordinate) { return coordinate % 2 == 0; });
        sum += evenCount % 2 == 0 ? 1 : -1;
    }
    return sum;
}

template <class N>
bool AreNeighbors(const Pixel& a, const Pixel& b) {
    for (std::size_t n = 0; n < N::count; ++n) {
        if (b[0] - a[0] == N::dx[n] && b[1] - a[1] == N::dy[n] && b[2] - a[2] == N::dz[n])
            return true;
    }
    return false;
}

/// Simplices: all sets of pixels that are neighbours of each other, the ones that begin with `simplex`.
template <class N>
int EulerNumberOfSimplices(const std::vector<Pixel>& pixels, std::vector<Pixel>& simplex, std::size_t next) {
    int sum = 0;
    for (std::size_t i = next; i < pixels.size(); ++i) {
        const auto isNeighbor = [&](const Pixel& corner) { return AreNeighbors<N>(corner, pixels[i]); };
        if (!std::ranges::all_of(simplex, isNeighbor))
            continue;
        simplex.push_back(pixels[i]);
        sum += 1 - EulerNumberOfSimplices<N>(pixels, simplex, i + 1);
        simplex.pop_back();
    }
    return sum;
}

template <class N>
int EulerNumberOfSimplices(const std::set<Pixel>& pixels) {
    std::vector<Pixel> simplex;
    return EulerNumberOfSimplices<N>(std::vector<Pixel>(pixels.begin(), pixels.end()), simplex, 0);
}

std::set<Pixel> RandomPixels(std::mt19937& random) {
    const std::uint32_t density = random() % 8;
    return AllBut([&](const Pixel&) { return random() % 8 < density; });
}

TEST_F(SkeletonHelperEulerNumber, IsThatOfTheComplexWhoseCellsAreCounted) {
    for (const unsigned seed : test::CRandomSeeds(0, 400)) {
        std::mt19937 random(seed);
        const std::set<Pixel> pixels = RandomPixels(random);
        const std::vector expected{
            EulerNumberOfBoxes(pixels), EulerNumberOfSimplices<CNeighborhood3dDiffN14_1>(pixels),
            EulerNumberOfSimplices<CNeighborhood3dDiffN14_2>(pixels), EulerNumberOfUnion(pixels)};
        ASSERT_EQ(EulerNumbersOf(pixels), expected);
    }
}

/// How many pieces of pixels there are.
template <class N>
int CountComponents(std::set<Pixel> pixels) {
    int count = 0;
    while (!pixels.empty()) {
        std::vector<Pixel> piece{*pixels.begin()};
        pixels.erase(pixels.begin());
        for (std::size_t done = 0; done < piece.size(); ++done) {
            for (std::size_t n = 0; n < N::count; ++n) {
                const Pixel next{piece[done][0] + static_cast<int>(N::dx[n]),
                                 piece[done][1] + static_cast<int>(N::dy[n]),
                                 piece[done][2] + static_cast<int>(N::dz[n])};
                if (pixels.erase(next) != 0)
                    piece.push_back(next);
            }
        }
        ++count;
    }
    return count;
}

/// The pixels of the cube and of a layer around it that are not in the set.
std::set<Pixel> PaddedComplement(const std::set<Pixel>& pixels) {
    std::set<Pixel> complement;
    for (int index = 0; index < 125; ++index) {
        const Pixel pixel{index % 5 - 1, index / 5 % 5 - 1, index / 25 - 1};
        if (!pixels.contains(pixel))
            complement.insert(pixel);
    }
    return complement;
}

/// Pieces + cavities - Euler number.
template <class N, class Background>
int CountTunnels(int eulerNumber, const std::set<Pixel>& pixels) {
    return CountComponents<N>(pixels) + CountComponents<Background>(PaddedComplement(pixels)) - 1 -
           eulerNumber;
}

/// In the order of the codes.
std::vector<int> TunnelsOf(const std::vector<int>& eulerNumbers, const std::set<Pixel>& pixels) {
    using N6 = CNeighborhood3dDiffN6;
    using N26 = CNeighborhood3dDiffN26;
    using N14_1 = CNeighborhood3dDiffN14_1;
    using N14_2 = CNeighborhood3dDiffN14_2;
    return {
        CountTunnels<N6, N26>(eulerNumbers[0], pixels), CountTunnels<N14_1, N14_1>(eulerNumbers[1], pixels),
        CountTunnels<N14_2, N14_2>(eulerNumbers[2], pixels), CountTunnels<N26, N6>(eulerNumbers[3], pixels)};
}

TEST_F(SkeletonHelperEulerNumber, NeverExceedsThePiecesAndCavitiesThatAreCounted) {
    for (const unsigned seed : test::CRandomSeeds(0, 1000)) {
        std::mt19937 random(seed);
        const std::set<Pixel> pixels = RandomPixels(random);
        ASSERT_GE(std::ranges::min(TunnelsOf(EulerNumbersOf(pixels), pixels)), 0);
    }
}

TEST_F(SkeletonHelperEulerNumber, OfTwoPixelsIsTheirNumberOfPieces) {
    for (int first = 0; first < 27; ++first) {
        for (int second = 0; second < first; ++second) {
            const std::set<Pixel> pair{{first % 3, first / 3 % 3, first / 9},
                                       {second % 3, second / 3 % 3, second / 9}};
            EXPECT_EQ(TunnelsOf(EulerNumbersOf(pair), pair), (std::vector{0, 0, 0, 0}));
        }
    }
}

} // namespace
