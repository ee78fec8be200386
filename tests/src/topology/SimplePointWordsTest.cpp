#include "topology/SimplePointWords.h"
#include "src/topology/TopologyTools.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

namespace {

using namespace ORVEN;
using quillon::Unroll;
using quillon::WordCube;

/// Words as wide as the registers, so that all 2^26 surroundings of a pixel take little time.
using WideWord [[gnu::vector_size(16)]] = std::uint64_t;
constexpr std::uint32_t c_partCount = 2;
constexpr std::uint32_t c_bitsInWord = 64 * c_partCount;
constexpr std::uint32_t c_wordCount = (1U << 26) / c_bitsInWord;

std::int64_t CountBits(const WideWord& word) {
    std::int64_t count = 0;
    for (std::uint32_t part = 0; part < c_partCount; ++part)
        count += std::popcount(static_cast<std::uint64_t>(word[part]));
    return count;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool c_isInstrumented = true;
#else
constexpr bool c_isInstrumented = false;
#endif

/// As many surroundings as there are bits in a word, from number index times that many on. The lower six
/// neighbours alternate within 64 bits, the others are the same in all of them.
WordCube<WideWord> Surroundings(std::uint32_t index) {
    static constexpr std::array<std::uint64_t, 6> alternating{0xAAAAAAAAAAAAAAAA, 0xCCCCCCCCCCCCCCCC,
                                                              0xF0F0F0F0F0F0F0F0, 0xFF00FF00FF00FF00,
                                                              0xFFFF0000FFFF0000, 0xFFFFFFFF00000000};
    WordCube<WideWord> cube{};
    for (std::size_t bit = 0; bit < 26; ++bit) {
        for (std::uint32_t part = 0; part < c_partCount; ++part) {
            const std::uint32_t first = c_bitsInWord * index + 64 * part; // bits 6 and up are those of all 64
            const std::uint64_t all = (first >> bit & 1U) != 0 ? ~std::uint64_t{} : 0;
            cube[bit < 13 ? bit : bit + 1][part] = bit < 6 ? alternating[bit] : all;
        }
    }
    return cube;
}

template <class N, class Word>
Word KeepsEulerNumber(const WordCube<Word>& cube) {
    using Background = typename quillon::StAdjacency<N>::Background;
    if constexpr (quillon::StAdjacency<N>::eulerCode == 21) {
        WordCube<Word> complement{};
        for (std::size_t cell = 0; cell < 27; ++cell)
            complement[cell] = ~cube[cell];
        return quillon::KeepsEulerNumber<Background>(complement);
    } else {
        return quillon::KeepsEulerNumber<N>(cube);
    }
}

TEST(SimplePointWords, AreOfAKnownNumberAmongAllSurroundings) {
    if (c_isInstrumented)
        GTEST_SKIP() << "Logic on words without memory of its own takes a quarter of a minute here.";
    test::ForEachNeighborhood([]<class N>(std::type_identity<N>) {
        std::int64_t eulerCount = 0;
        std::int64_t markedCount = 0;
        for (std::uint32_t index = 0; index < c_wordCount; ++index) {
            const auto cube = Surroundings(index);
            eulerCount += CountBits(KeepsEulerNumber<N>(cube));
            markedCount += CountBits(quillon::IsMarkedPoint<N>(cube));
        }
        constexpr bool isOf14 = N::count == 14;
        EXPECT_EQ(eulerCount, isOf14 ? 31'145'984 : 26'890'744) << N::id;
        EXPECT_EQ(markedCount, isOf14 ? 27'192'732 : 21'929'249) << N::id;
    });
}

using Cells = std::vector<std::size_t>;

/// Whether cells of a set around the centre hang together, by flooding.
template <class N>
class CPieces {
public:
    /// Floods through `cells` and asks about those among them that are `required`.
    CPieces(const Cells& cells, Cells required)
        : m_required(std::move(required)) {
        for (const std::size_t cell : cells) {
            m_links.push_back({cell, {}});
            for (std::size_t n = 0; n < N::count; ++n) {
                const auto difference = N::dx[n] + 3 * N::dy[n] + 9 * N::dz[n];
                const auto at = static_cast<std::int64_t>(cell);
                const std::int64_t x = at % 3 + N::dx[n];
                const std::int64_t y = at / 3 % 3 + N::dy[n];
                const bool isInside = std::min(x, y) >= 0 && std::max(x, y) <= 2;
                if (isInside && std::ranges::count(cells, static_cast<std::size_t>(at + difference)) != 0)
                    m_links.back().second.push_back(static_cast<std::size_t>(at + difference));
            }
        }
    }

    /// Where all that are required and set hang together with the first of them; nowhere without any.
    [[nodiscard]] WideWord AreOne(const WordCube<WideWord>& set) const {
        WordCube<WideWord> reached{};
        WideWord any{};
        for (const std::size_t cell : m_required) {
            reached[cell] = set[cell] & ~any;
            any |= set[cell];
        }
        WideWord change = any;
        while (CountBits(change) != 0) {
            change = WideWord{};
            for (const auto& [cell, neighbors] : m_links)
                Flood(cell, neighbors, set, reached, change);
            for (auto link = m_links.rbegin(); link != m_links.rend(); ++link)
                Flood(link->first, link->second, set, reached, change);
        }
        WideWord isMissing{};
        for (const std::size_t cell : m_required)
            isMissing |= set[cell] & ~reached[cell];
        return any & ~isMissing;
    }

private:
    static void Flood(std::size_t cell, const Cells& neighbors, const WordCube<WideWord>& set,
                      WordCube<WideWord>& reached, WideWord& change) {
        WideWord isBeside{};
        for (const std::size_t neighbor : neighbors)
            isBeside |= reached[neighbor];
        const WideWord isNew = set[cell] & isBeside & ~reached[cell];
        reached[cell] |= isNew;
        change |= isNew;
    }

    Cells m_required;
    std::vector<std::pair<std::size_t, Cells>> m_links;
};

/// The cells around the centre whose offset has that many coordinates at most that are not 0.
Cells CellsWithin(int steps) {
    Cells cells;
    for (std::size_t cell = 0; cell < 27; ++cell) {
        const int distance = (cell % 3 != 1) + (cell / 3 % 3 != 1) + (cell / 9 != 1);
        if (distance >= 1 && distance <= steps)
            cells.push_back(cell);
    }
    return cells;
}

/// What has to hang together around a simple point in a set with neighbourhood N: of N26 all cells; of N6
/// those with a face in common with it, through those with an edge; of the others its neighbours.
template <class N>
CPieces<N> PiecesAroundCenter() {
    if constexpr (N::count == 26)
        return {CellsWithin(3), CellsWithin(3)};
    if constexpr (N::count == 6)
        return {CellsWithin(2), CellsWithin(1)};
    Cells neighbors;
    for (std::size_t n = 0; n < N::count; ++n)
        neighbors.push_back(static_cast<std::size_t>(13 + N::dx[n] + 3 * N::dy[n] + 9 * N::dz[n]));
    return {neighbors, neighbors};
}

TEST(SimplePointWords, AnswerForMostSimplePointsAndForFewOthers) {
    if (c_isInstrumented)
        GTEST_SKIP() << "Logic on words without memory of its own takes a quarter of a minute here.";
    // Simple is what has one piece of either set around it: G. Bertrand, G. Malandain, A new characterization
    // of three-dimensional simple points, 1994. The test described here is another one. The other two
    // neighbourhoods are a dual and a mirror image of these.
    const auto compare = []<class N>(std::type_identity<N>, std::int64_t expectedSimple) {
        const auto object = PiecesAroundCenter<N>();
        const auto background = PiecesAroundCenter<typename quillon::StAdjacency<N>::Background>();
        std::int64_t simpleCount = 0;
        std::int64_t markedCount = 0;
        std::int64_t bothCount = 0;
        for (std::uint32_t index = 0; index < c_wordCount; ++index) {
            const auto cube = Surroundings(index);
            WordCube<WideWord> complement{};
            for (std::size_t cell = 0; cell < 27; ++cell)
                complement[cell] = ~cube[cell];
            const WideWord isSimple = object.AreOne(cube) & background.AreOne(complement);
            const WideWord isMarked = quillon::IsMarkedPoint<N>(cube);
            simpleCount += CountBits(isSimple);
            markedCount += CountBits(isMarked);
            bothCount += CountBits(isSimple & isMarked);
        }
        EXPECT_EQ(simpleCount, expectedSimple) << N::id;
        EXPECT_GT(bothCount, markedCount / 100 * 97) << N::id;
        EXPECT_LT(bothCount, markedCount) << N::id;
        EXPECT_GT(bothCount, simpleCount / 100 * 82) << N::id;
        EXPECT_LT(bothCount, simpleCount) << N::id;
    };
    compare(std::type_identity<CNeighborhood3dDiffN6>(), 25'985'144);
    compare(std::type_identity<CNeighborhood3dDiffN14_1>(), 30'720'000);
}

/// The surroundings that a word of 64 is asked about.
using Batch = std::array<std::uint32_t, 64>;

WordCube<std::uint64_t> CubeOf(const Batch& batch) {
    WordCube<std::uint64_t> cube{};
    for (std::size_t pixel = 0; pixel < 64; ++pixel) {
        for (std::size_t bit = 0; bit < 26; ++bit)
            cube[bit < 13 ? bit : bit + 1] |= std::uint64_t{batch[pixel] >> bit & 1} << pixel;
    }
    return cube;
}

/// Holds a batch against the definition; false at the first that differs.
template <class N>
bool AgreesWithDefinition(test::CDefinition<N>& definition, const Batch& batch) {
    auto cube = CubeOf(batch);
    const std::uint64_t isConnected = quillon::IsCubeConnected<N>(cube);
    cube[quillon::c_cubeCenter] = 0x123456789ABCDEF0; // not looked at
    const std::uint64_t isMarked = quillon::IsMarkedPoint<N>(cube);
    for (std::size_t pixel = 0; pixel < 64; ++pixel) {
        const bool agrees = definition.IsMarkedPoint(batch[pixel]) == ((isMarked >> pixel & 1) != 0) &&
                            definition.IsCubeConnected(batch[pixel]) == ((isConnected >> pixel & 1) != 0);
        if (!agrees) {
            ADD_FAILURE() << N::id << " differs at " << batch[pixel];
            return false;
        }
    }
    return true;
}

/// A quarter, half or three quarters of the 26 bits.
std::uint32_t RandomSurroundings(std::mt19937& random) {
    const auto bits = [&] { return static_cast<std::uint32_t>(random()) & ((1U << 26) - 1); };
    switch (random() % 3) {
    case 0:
        return bits() & bits();
    case 1:
        return bits() | bits();
    default:
        return bits();
    }
}

TEST(SimplePointWords, AgreeWithTheDefinitionInRandomSurroundingsOfAnyDensity) {
    constexpr int batchCount = c_isInstrumented ? 700 : 1500;
    constexpr std::uint32_t seed = 20;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    test::ForEachNeighborhood([&]<class N>(std::type_identity<N>) {
        test::CDefinition<N> definition;
        for (int index = 0; index < batchCount; ++index) {
            Batch batch{};
            for (std::uint32_t& neighbors : batch)
                neighbors = RandomSurroundings(random);
            ASSERT_TRUE(AgreesWithDefinition<N>(definition, batch));
        }
    });
}

TEST(SimplePointWords, FloodAnyThirdSlabWithAnyGaps) {
    // A slab of third cells and of those among them that are behind a gap: nothing else can keep a cell from
    // being reached.
    test::ForEachNeighborhood([]<class N>(std::type_identity<N>) {
        test::CDefinition<N> definition;
        for (std::uint32_t slab = 1; slab < 512; ++slab) {
            for (std::uint32_t gaps = slab;; gaps = (gaps - 1) & slab) {
                WordCube<std::uint64_t> cube{};
                std::uint32_t neighbors = 0;
                for (std::uint32_t row = 0; row < 9; ++row) {
                    cube[3 * row] = gaps >> row & 1;
                    cube[3 * row + 2] = slab >> row & 1;
                    const auto bit = [](std::uint32_t cell) { return cell < 13 ? cell : cell - 1; };
                    neighbors |= (gaps >> row & 1) << bit(3 * row) | (slab >> row & 1) << bit(3 * row + 2);
                }
                ASSERT_EQ(quillon::IsCubeConnected<N>(cube) & 1,
                          definition.IsCubeConnected(neighbors) ? 1U : 0U)
                    << N::id << " slab " << slab << " gaps " << gaps;
                if (gaps == 0)
                    break;
            }
        }
    });
}

// Takes some minutes: --gtest_also_run_disabled_tests --gtest_filter=*DefinitionInAll*
TEST(SimplePointWords, DISABLED_AgreeWithTheDefinitionInAllSurroundings) {
    test::ForEachNeighborhood([]<class N>(std::type_identity<N>) {
        test::CDefinition<N> definition;
        for (std::uint32_t first = 0; first < 1U << 26; first += 64) {
            Batch batch{};
            for (std::uint32_t pixel = 0; pixel < 64; ++pixel)
                batch[pixel] = first + pixel;
            ASSERT_TRUE(AgreesWithDefinition<N>(definition, batch));
        }
    });
}

} // namespace
