#include "engine/measurements/NaturalOrder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace engine;

TEST(NaturalOrder, ComparesRunsOfDigitsAsNumbers) {
    std::vector<std::string> names = {"z10", "z9 y2", "z9 y10", "a", "z009 y1", "z9", "", "z100"};
    std::ranges::sort(names, NaturallyLess);
    EXPECT_EQ(names, (std::vector<std::string>{"", "a", "z9", "z009 y1", "z9 y2", "z9 y10", "z10", "z100"}));
}

TEST(NaturalOrder, IsStrictForEqualAndAlmostEqualNames) {
    EXPECT_FALSE(NaturallyLess("a1", "a1"));
    EXPECT_FALSE(NaturallyLess("", ""));
    EXPECT_NE(NaturallyLess("a01", "a1"), NaturallyLess("a1", "a01"));
}
