#include "oracles/TopologyOracle.h"

#include <QuillonTransformation/thinning/CFramedBits.h>
#include <QuillonTransformation/thinning/SimplePoints.h>

#include <gtest/gtest.h>

namespace {

using namespace ORVEN;

std::uint32_t BlockOf(const test::StObject& surroundings) {
    std::uint32_t block = 0;
    for (const test::Vector& p : surroundings.Positions()) {
        if (surroundings.Has(p))
            block |= std::uint32_t{1} << BlockBit(p[0] - 1, p[1] - 1, p[2] - 1);
    }
    return block;
}

template <class Neighborhood>
class SimplePoints : public testing::Test {};

using Neighborhoods = testing::Types<CNeighborhood3dDiffN6, CNeighborhood3dDiffN26, CNeighborhood3dDiffN14_1,
                                     CNeighborhood3dDiffN14_2>;

struct StNames {
    template <class Neighborhood>
    static std::string GetName(int /*index*/) {
        return Neighborhood::id;
    }
};
TYPED_TEST_SUITE(SimplePoints, Neighborhoods, StNames);

/// Calls `body` with all blocks that hold neighbours alone.
template <class Neighborhood, class Body>
void ForEachSetting(const Body& body) {
    for (std::uint32_t setting = 0; setting < std::uint32_t{1} << Neighborhood::count; ++setting) {
        std::uint32_t block = 0;
        for (std::size_t i = 0; i < Neighborhood::count; ++i) {
            if ((setting >> i & 1) != 0)
                block |= 1U << BlockBit(Neighborhood::dx[i], Neighborhood::dy[i], Neighborhood::dz[i]);
        }
        body(block);
    }
}

TYPED_TEST(SimplePoints, AreThoseOfTheDefinitionInRandomSurroundings) {
    constexpr unsigned seed = 20;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto& isSimple = CSimplePoints<TypeParam>::Obj();
    int simpleCount = 0;
    for (int round = 0; round < 20000; ++round) {
        const auto bits = [&random] { return static_cast<std::uint32_t>(random()); };
        const std::uint32_t dense[] = {bits(), bits() & bits(), bits() | bits(), bits() & bits() & bits()};
        const test::StObject surroundings = test::Surroundings(dense[round % 4], round % 3 == 0);
        const bool isExpected = test::IsSimpleByDefinition(TypeParam::id, surroundings);
        ASSERT_EQ(isSimple(BlockOf(surroundings)), isExpected) << BlockOf(surroundings);
        simpleCount += isExpected ? 1 : 0;
    }
    EXPECT_GT(simpleCount, 2000);
    EXPECT_LT(simpleCount, 18000);
}

TYPED_TEST(SimplePoints, DoNotDependOnThePixelItself) {
    constexpr std::uint32_t centre = 1U << BlockBit(0, 0, 0);
    std::mt19937 random(21);
    for (int round = 0; round < 1000; ++round) {
        const auto block = static_cast<std::uint32_t>(random() & 0x7FFFFFF);
        EXPECT_EQ(CSimplePoints<TypeParam>::Obj()(block | centre),
                  CSimplePoints<TypeParam>::Obj()(block & ~centre));
    }
}

TYPED_TEST(SimplePoints, AreAsManyAsThereAre) {
    // 2^26 settings for N6 and N26, 2^14 for the others.
    const auto& isSimple = CSimplePoints<TypeParam>::Obj();
    std::int64_t simpleCount = 0;
    if constexpr (TypeParam::count == 14) {
        ForEachSetting<TypeParam>([&](std::uint32_t block) { simpleCount += isSimple(block) ? 1 : 0; });
        EXPECT_EQ(simpleCount, 7500);
    } else {
        for (std::uint32_t upper = 0; upper < 1U << 13; ++upper) {
            for (std::uint32_t lower = 0; lower < 1U << 13; ++lower)
                simpleCount += isSimple(upper << 14 | lower) ? 1 : 0;
        }
        EXPECT_EQ(simpleCount, 25985144);
    }
}

template <class Neighborhood>
void ExpectAllSettingsAsDefined() {
    ForEachSetting<Neighborhood>([](std::uint32_t block) {
        const test::StObject surroundings = test::ObjectOf({3, 3, 3}, [block](const test::Vector& p) {
            return (block >> BlockBit(p[0] - 1, p[1] - 1, p[2] - 1) & 1) != 0;
        });
        ASSERT_EQ(CSimplePoints<Neighborhood>::Obj()(block),
                  test::IsSimpleByDefinition(Neighborhood::id, surroundings))
            << block;
    });
}

TEST(SimplePointsN14, AreThoseOfTheDefinitionInAllSurroundings) {
    ExpectAllSettingsAsDefined<CNeighborhood3dDiffN14_1>();
    ExpectAllSettingsAsDefined<CNeighborhood3dDiffN14_2>();
}

TEST(FramedBits, GiveTheBlockAroundEachPixelUpToTheBorder) {
    std::mt19937 random(22);
    for (std::int64_t extent = 1; extent <= 20; ++extent) {
        const test::StObject object =
            test::ObjectOf({extent, 4, 3}, [&](const test::Vector&) { return random() % 2 == 0; });
        CFramedBits bits(extent, 4, 3);
        for (const test::Vector& p : object.Positions()) {
            bits.Insert(bits.Place(p[0], p[1], p[2]));
            if (!object.Has(p))
                bits.Erase(bits.Place(p[0], p[1], p[2]));
        }
        for (const test::Vector& p : object.Positions()) {
            const std::uint64_t place = bits.Place(p[0], p[1], p[2]);
            ASSERT_LT(place, bits.PlaceCount());
            ASSERT_EQ(bits.Contains(place), object.Has(p));
            ASSERT_EQ(bits.Block(place), BlockOf(test::SurroundingsOf(object, p))) << extent;
        }
    }
}

} // namespace
