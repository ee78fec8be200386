#include "utils/visitors/CValueTable.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <random>

using ORVEN::visitors::CValueTable;

namespace {

using Entries = std::vector<std::pair<unsigned int, std::size_t>>;

constexpr float infinity = std::numeric_limits<float>::infinity();

template <class T>
std::vector<T> Values(const CValueTable<T, std::size_t>& table) {
    std::vector<T> values;
    for (const auto& [value, number] : table.Ascending())
        values.push_back(value);
    return values;
}

} // namespace

TEST(CValueTable, HoldsZeroForANewValue) {
    CValueTable<unsigned int, std::size_t> table;
    EXPECT_EQ(table.Size(), 0U);
    EXPECT_EQ(table[7], 0U);
    EXPECT_EQ(table.Size(), 1U);
    table[7] = 5;
    EXPECT_EQ(table[7], 5U);
}

TEST(CValueTable, OrdersFloatsOfAllMagnitudesAndGivesTheirBitsBack) {
    const std::vector<float> ascending{-infinity,
                                       std::numeric_limits<float>::lowest(),
                                       -1.0F,
                                       -std::numeric_limits<float>::min(),
                                       -std::numeric_limits<float>::denorm_min(),
                                       0.0F,
                                       std::numeric_limits<float>::denorm_min(),
                                       std::numeric_limits<float>::min(),
                                       1.0F,
                                       std::numeric_limits<float>::max(),
                                       infinity};
    CValueTable<float, std::size_t> table;
    for (auto value = ascending.rbegin(); value != ascending.rend(); ++value)
        table[*value] = 1;
    EXPECT_EQ(Values(table), ascending);
}

TEST(CValueTable, BothZerosAreOneValue) {
    CValueTable<float, std::size_t> table;
    ++table[-0.0F];
    ++table[0.0F];
    EXPECT_EQ(table.Size(), 1U);
    EXPECT_EQ(table[0.0F], 2U);
}

TEST(CValueTable, AllNaNAreOneValueAboveInfinity) {
    CValueTable<float, std::size_t> table;
    for (const std::uint32_t bits : {0x7FC00000U, 0xFFC00000U, 0x7F800001U, 0xFFFFFFFFU, 0x7FFFFFFFU})
        ++table[std::bit_cast<float>(bits)];
    ++table[infinity];
    const auto entries = table.Ascending();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].first, infinity);
    EXPECT_TRUE(std::isnan(entries[1].first));
    EXPECT_EQ(entries[1].second, 5U);
}

TEST(CValueTable, AgreesWithAnOrderedMapWhileItGrows) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const unsigned step = 1U << (seed % 20); // values with empty low bits, as small whole floats have
        CValueTable<unsigned int, std::size_t> table;
        std::map<unsigned int, std::size_t> expected;
        for (int i = 0; i < 20000; ++i) {
            const unsigned int value = step * static_cast<unsigned int>(random() % 15000);
            ++table[value];
            ++expected[value];
        }
        EXPECT_EQ(table.Ascending(), Entries(expected.begin(), expected.end()));
    }
}

TEST(CValueTable, ClearForgetsEverything) {
    CValueTable<unsigned int, std::size_t> table;
    for (unsigned int value = 0; value < 5000; ++value)
        table[value] = value;
    table.Clear();
    EXPECT_EQ(table.Size(), 0U);
    EXPECT_TRUE(table.Ascending().empty());
    EXPECT_EQ(table[4000], 0U);
}
