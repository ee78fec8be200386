#include "oracles/TopologyOracle.h"

#include <QuillonTransformation/thinning/CPixelSets.h>
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

/// Objects of many sizes, smaller and larger than the bundles of lines that share words.
std::vector<test::StObject> ObjectsOfManySizes(std::mt19937& random) {
    const auto isObject = [&random](const test::Vector&) { return random() % 2 == 0; };
    std::vector<test::StObject> objects{test::ObjectOf({9, 22, 1}, isObject),
                                        test::ObjectOf({3, 1, 16}, isObject)};
    for (int extent = 1; extent <= 16; ++extent)
        objects.push_back(test::ObjectOf({extent, extent + 1, 17 - extent}, isObject));
    return objects;
}

CPixelSets EmptySetsFor(const test::StObject& object) {
    return CPixelSets(object.size[0], object.size[1], object.size[2]);
}

/// Adds the pixels of the object to the set. All others are added, too, and removed again.
void Enter(const test::StObject& object, CPixelSets::EnSet set, CPixelSets& sets) {
    for (const test::Vector& p : object.Positions()) {
        sets.Toggle(set, sets.Place(p[0], p[1], p[2]));
        if (!object.Has(p))
            sets.Toggle(set, sets.Place(p[0], p[1], p[2]));
    }
}

TEST(PixelSets, GiveTheBlockAroundEachPixelUpToTheBorder) {
    std::mt19937 random(22);
    const std::vector<test::StObject> objects = ObjectsOfManySizes(random);
    const std::vector<test::StObject> others = ObjectsOfManySizes(random);
    for (std::size_t i = 0; i < objects.size(); ++i) {
        SCOPED_TRACE(i);
        CPixelSets sets = EmptySetsFor(objects[i]);
        Enter(objects[i], CPixelSets::FIRST, sets);
        Enter(others[i], CPixelSets::SECOND, sets);
        for (const test::Vector& p : objects[i].Positions()) {
            const std::uint64_t place = sets.Place(p[0], p[1], p[2]);
            ASSERT_LT(place, sets.PlaceCount());
            ASSERT_EQ(sets.Block(CPixelSets::FIRST, place), BlockOf(test::SurroundingsOf(objects[i], p)));
            ASSERT_EQ(sets.Block(CPixelSets::SECOND, place), BlockOf(test::SurroundingsOf(others[i], p)));
        }
    }
}

TEST(PixelSets, GiveThePlacesOfNeighborsInRasterOrder) {
    const std::int64_t extents[] = {3, 16, 13};
    const CPixelSets sets(extents[0], extents[1], extents[2]);
    for (std::int64_t z = 1; z + 1 < extents[2]; ++z) {
        for (std::int64_t y = 1; y + 1 < extents[1]; ++y) {
            for (std::int64_t i = 0; i < 27; ++i) {
                ASSERT_EQ(sets.Neighbor(sets.Place(1, y, z), static_cast<std::size_t>(i)),
                          sets.Place(i % 3, y + i / 3 % 3 - 1, z + i / 9 - 1));
            }
        }
    }
}

TEST(PixelSets, ListThePixelsOfEachBundle) {
    std::mt19937 random(23);
    for (const test::StObject& object : ObjectsOfManySizes(random)) {
        CPixelSets sets = EmptySetsFor(object);
        Enter(object, CPixelSets::SECOND, sets);
        std::vector<unsigned char> listed(object.pixels.size(), 0);
        std::int64_t lineCount = 0;
        for (std::int64_t bundleZ = 0; bundleZ < sets.BundleCountZ(); ++bundleZ) {
            for (std::int64_t bundleY = 0; bundleY < sets.BundleCountY(); ++bundleY) {
                sets.ForEachLine(bundleY, bundleZ, [&](std::int64_t, std::int64_t) { ++lineCount; });
                sets.ForEachPixel<CPixelSets::SECOND>(bundleY, bundleZ,
                                                      [&](std::int64_t x, std::int64_t y, std::int64_t z) {
                                                          ++listed[object.Index({x, y, z})];
                                                      });
            }
        }
        EXPECT_EQ(lineCount, object.size[1] * object.size[2]);
        EXPECT_EQ(listed, object.pixels);
    }
}

} // namespace
