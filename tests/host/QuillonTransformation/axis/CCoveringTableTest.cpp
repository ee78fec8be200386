#include "QuillonTransformation/axis/CCoveringTable.h"

#include "support/MemoryRefusal.h"

#include <QuillonBase/CProgressProxy.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace {

using namespace ORVEN;

constexpr std::int32_t c_greatest = 129 * 129; // not kept for the next image

TEST(CoveringTable, ATableOfTheDistancesThatOccurEqualsTheWholeOne) {
    CProgressProxy progress;
    CWorkPace pace(progress);
    std::vector<std::uint8_t> occurs(static_cast<std::size_t>(c_greatest) + 1, 0);
    for (std::int32_t root = 1; root <= 129; ++root)
        occurs[static_cast<std::size_t>(root) * static_cast<std::size_t>(root)] = 1;
    const auto whole = CCoveringTable::ForImage({}, c_greatest, pace);
    const auto part = CCoveringTable::ForImage({}, c_greatest, pace, occurs);
    ASSERT_NE(whole, nullptr);
    ASSERT_NE(part, nullptr);
    EXPECT_EQ(part->GreatestDistance(), c_greatest);
    for (std::int32_t distance = 1; distance <= c_greatest; ++distance) {
        for (std::size_t steps = 1; steps <= 3; ++steps)
            ASSERT_EQ(part->NearLimit(steps, distance), whole->NearLimit(steps, distance));
        if (occurs[static_cast<std::size_t>(distance)] != 0) {
            ASSERT_TRUE(std::ranges::equal(part->FarExcesses(distance), whole->FarExcesses(distance)));
        }
    }
}

TEST(CoveringTable, RefusesATableThatDoesNotFit) {
    CProgressProxy progress;
    CWorkPace pace(progress);
    test::ExpectRefusedForLackOfMemory("The table of the medial axis",
                                       [&] { (void)CCoveringTable::ForImage({}, 1 << 20, pace); });
}

TEST(CoveringTable, TheMemoryOfSphereVectorsIsKnownBeforehand) {
    for (const std::int32_t reach : {100, 3000, 50000}) {
        const CSphereVectors spheres(reach);
        const auto bytes = 2 * spheres.Starts().size_bytes() + spheres.All().size_bytes();
        const auto expected = static_cast<double>(CSphereVectors::BytesFor(reach));
        EXPECT_NEAR(expected, static_cast<double>(bytes), 0.05 * expected) << reach;
    }
}

TEST(CoveringTable, TablesOfModerateSizeAreShared) {
    CProgressProxy progress;
    CWorkPace pace(progress);
    EXPECT_TRUE(CCoveringTable::IsShared(128 * 128));
    EXPECT_FALSE(CCoveringTable::IsShared(128 * 128 + 1));
    const std::vector<std::uint8_t> none(101, 0);
    const auto first = CCoveringTable::ForImage({}, 100, pace, none);
    EXPECT_EQ(first, CCoveringTable::ForImage({}, 90, pace));
    EXPECT_FALSE(first->FarExcesses(100).empty());
}

} // namespace
