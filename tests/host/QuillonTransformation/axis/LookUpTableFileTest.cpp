#include "QuillonTransformation/axis/LookUpTableFile.h"

#include "QuillonTransformation/axis/BuiltInMedialAxisNeighborhood.h"
#include "QuillonTransformation/axis/FindMedialAxisNeighborhood.h"

#include "support/Raised.h"

#include <sorblib2core/CException.h>

#include <gtest/gtest.h>
#include <zlib.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <tuple>

namespace {

using namespace ORVEN;
using test::Raised;

std::string AxisBytes(const StMedialAxisNeighborhood& neighborhood) {
    std::ostringstream file;
    WriteMedialAxisNeighborhood(file, neighborhood);
    return file.str();
}

std::string SphereBytes(std::int32_t reach) {
    std::ostringstream file;
    WriteSphereVectors(file, CSphereVectors(reach));
    return file.str();
}

/// Puts a number into the bytes, least byte first.
void Put(std::string& bytes, std::size_t place, std::uint64_t value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i)
        bytes[place + i] = static_cast<char>(value >> (8 * i));
}

/// Makes the sums agree again, so that a test gets past them.
std::string Sealed(std::string bytes) {
    const auto sum = [&bytes](std::size_t begin, std::size_t size) {
        return crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data() + begin), size);
    };
    Put(bytes, 32, sum(40, bytes.size() - 40), 4);
    Put(bytes, 36, sum(0, 36), 4);
    return bytes;
}

class LookUpTableFile : public testing::Test {
protected:
    ~LookUpTableFile() override { std::filesystem::remove(m_path); }

    /// What is wrong with a file of these bytes.
    std::string FaultOf(const std::string& bytes, const std::function<void()>& read) const {
        std::ofstream(m_path, std::ios::binary) << bytes;
        const std::string message = Raised<CException>(read).Message();
        const std::string begin = "Look-up table '" + m_path + "' is not usable: ";
        EXPECT_EQ(message.substr(0, begin.size()), begin);
        return message.substr(begin.size());
    }
    [[nodiscard]] std::string FaultOf(const std::string& bytes) const {
        return FaultOf(bytes, [this] { (void)CheckLookUpTable(m_path); });
    }
    void Store(const std::string& bytes) const { std::ofstream(m_path, std::ios::binary) << bytes; }

    // The name is no text to fill in.
    const std::string m_path = testing::TempDir() + "table-%2-" + std::to_string(getpid()) + ".lut";
};

TEST_F(LookUpTableFile, ReadsBackANeighbourhood) {
    Store(AxisBytes(BuiltInMedialAxisNeighborhood()));
    const StMedialAxisNeighborhood read = ReadMedialAxisNeighborhood(m_path);
    EXPECT_EQ(read.reach, BuiltInMedialAxisNeighborhood().reach);
    EXPECT_EQ(read.generators, BuiltInMedialAxisNeighborhood().generators);
    const StLookUpTableSummary summary = CheckLookUpTable(m_path);
    EXPECT_EQ(summary.kind, EnLookUpTable::MEDIAL_AXIS);
    EXPECT_EQ(summary.reach, 16384U);
    EXPECT_EQ(summary.recordCount, 1289U);
}

TEST_F(LookUpTableFile, ReadsBackSpheres) {
    for (const std::int32_t reach : {1, 2, 7, 576}) {
        Store(SphereBytes(reach));
        const CSphereVectors read = ReadSphereVectors(m_path);
        const CSphereVectors expected(reach);
        EXPECT_EQ(read.Reach(), reach);
        EXPECT_TRUE(std::ranges::equal(read.Starts(), expected.Starts()));
        EXPECT_TRUE(std::ranges::equal(read.All(), expected.All()));
        EXPECT_EQ(CheckLookUpTable(m_path).kind, EnLookUpTable::SPHERES);
    }
}

TEST_F(LookUpTableFile, HoldsTheBytesThatItsHeaderAnnounces) {
    std::string expected("DTLUT\r\n\x1a", 8);
    const auto append = [&expected](std::uint64_t value, std::size_t size) {
        expected.resize(expected.size() + size);
        Put(expected, expected.size() - size, value, size);
    };
    for (const unsigned number : {1, 1, 3, 0})
        append(number, 2);
    append(27, 4); // reach
    append(1, 4);  // records
    append(16, 8); // bytes
    append(0, 8);  // sums
    for (const unsigned component : {2, 1, 1, 0})
        append(component, 2);
    append(9, 4);
    append(27, 4);
    EXPECT_EQ(AxisBytes({27, {{{2, 1, 1}, 9, 27}}}), Sealed(expected));
}

TEST_F(LookUpTableFile, EveryFlippedBitIsNoticed) {
    for (const std::string& bytes : {AxisBytes(FindMedialAxisNeighborhood(60)), SphereBytes(9)}) {
        for (std::size_t place = 0; place < bytes.size(); ++place) {
            std::string damaged(bytes);
            damaged[place] = static_cast<char>(damaged[place] ^ (1 << (place % 8)));
            ASSERT_NE(FaultOf(damaged), "") << place;
        }
    }
}

TEST_F(LookUpTableFile, EveryTruncationAndAnExtraByteAreNoticed) {
    for (const std::string& bytes : {AxisBytes(FindMedialAxisNeighborhood(60)), SphereBytes(9)}) {
        for (std::size_t size = 0; size < bytes.size(); ++size)
            ASSERT_EQ(FaultOf(bytes.substr(0, size)),
                      size < 8 ? "it is not a look-up table." : "it is cut short.");
        EXPECT_EQ(FaultOf(bytes + '\0'), "it continues after its end.");
    }
}

TEST_F(LookUpTableFile, AHeaderThatLiesIsFoundOutThoughItsSumsAgree) {
    const std::string axis = AxisBytes(FindMedialAxisNeighborhood(100));
    const std::string spheres = SphereBytes(20);
    const auto faultWith = [this](std::string bytes, std::size_t place, std::uint64_t value,
                                  std::size_t size) {
        Put(bytes, place, value, size);
        return FaultOf(Sealed(bytes));
    };
    EXPECT_EQ(faultWith(axis, 8, 2, 2), "its version is not known.");
    EXPECT_EQ(faultWith(axis, 10, 3, 2), "its kind is not known.");
    EXPECT_EQ(faultWith(axis, 12, 2, 2), "it is for other images.");
    EXPECT_EQ(faultWith(axis, 14, 1, 2), "it is for other images.");
    EXPECT_EQ(faultWith(axis, 16, 0, 4), "its reach is out of range.");
    EXPECT_EQ(faultWith(axis, 16, (1 << 20) + 1, 4), "its reach is out of range.");
    EXPECT_EQ(faultWith(axis, 16, 89, 4), "a record is out of range.");
    EXPECT_EQ(faultWith(axis, 20, 8, 4), "its sizes do not agree.");
    EXPECT_EQ(faultWith(axis, 20, 0xFFFFFFFF, 4), "it has too many records.");
    EXPECT_EQ(faultWith(axis, 24, 8, 8), "it continues after its end.");
    EXPECT_EQ(faultWith(axis, 24, ~std::uint64_t{0}, 8), "it is cut short.");
    EXPECT_EQ(faultWith(axis, 10, 2, 2), "its sizes do not agree."); // the other kind
    EXPECT_EQ(faultWith(spheres, 10, 1, 2), "its sizes do not agree.");
    EXPECT_EQ(faultWith(spheres, 16, 19, 4), "its sizes do not agree.");
    EXPECT_EQ(faultWith(spheres, 16, 1 << 20, 4), "its sizes do not agree.");
    EXPECT_EQ(faultWith(spheres, 20, 0xFFFFFFFF, 4), "its sizes do not agree.");
}

TEST_F(LookUpTableFile, RecordsThatLieAreFoundOutThoughTheSumsAgree) {
    const std::string axis = AxisBytes({100, {{{2, 1, 0}, 25, 50}, {{3, 1, 0}, 26, 66}}});
    const auto faultWith = [this](std::string bytes, std::size_t place, std::uint64_t value,
                                  std::size_t size) {
        Put(bytes, place, value, size);
        return FaultOf(Sealed(bytes));
    };
    EXPECT_EQ(faultWith(axis, 40, 0, 2), "a record is no sorted vector.");      // (0,1,0)
    EXPECT_EQ(faultWith(axis, 44, 0xFFFF, 2), "a record is no sorted vector."); // (2,1,-1)
    EXPECT_EQ(faultWith(axis, 44, 2, 2), "a record is no sorted vector.");      // (2,1,2)
    EXPECT_EQ(faultWith(axis, 46, 1, 2), "a record is no sorted vector.");
    EXPECT_EQ(faultWith(axis, 40, 32767, 2), "a record is out of range.");
    EXPECT_EQ(faultWith(axis, 48, 51, 4), "a record is out of range.");  // needed later than found
    EXPECT_EQ(faultWith(axis, 52, 5, 4), "a record is out of range.");   // not in the ball
    EXPECT_EQ(faultWith(axis, 52, 67, 4), "a record is out of range.");  // behind the next one
    EXPECT_EQ(faultWith(axis, 68, 101, 4), "a record is out of range."); // beyond the reach
    EXPECT_EQ(FaultOf(AxisBytes({100, {{{0, 0, 0}, 1, 1}}})), "a record is no sorted vector.");

    const std::string spheres =
        SphereBytes(4); // 5 + 1 starts from 40 on, then (0,0,0) (1,0,0) (1,1,0) (1,1,1) (2,0,0)
    EXPECT_EQ(faultWith(spheres, 40, 1, 4), "its index is out of order.");
    EXPECT_EQ(faultWith(spheres, 48, 9, 4), "its index is out of order.");
    EXPECT_EQ(faultWith(spheres, 60, 6, 4), "its index is out of order.");
    EXPECT_EQ(faultWith(spheres, 48, 1, 4), "a record is not at its place.");
    EXPECT_EQ(faultWith(spheres, 64 + 6, 2, 2), "a record is not at its place.");
    EXPECT_EQ(faultWith(spheres, 64 + 6, 0xFFFF, 2), "a record is not at its place.");
    // As many as there should be, but one twice.
    std::string twice = SphereBytes(9);
    const std::size_t last = twice.size() - 6;
    ASSERT_EQ(twice.substr(last, 6), std::string("\2\0\2\0\1\0", 6)); // behind (3,0,0)
    twice.replace(last - 6, 6, twice.substr(last, 6));
    EXPECT_EQ(FaultOf(Sealed(twice)), "a record is not at its place.");
    // One less, with sizes and index to match.
    std::string missing = SphereBytes(4).substr(0, spheres.size() - 6);
    Put(missing, 20, 4, 4);
    Put(missing, 24, missing.size() - 40, 8);
    Put(missing, 60, 4, 4);
    EXPECT_EQ(FaultOf(Sealed(missing)), "it is not complete.");
}

TEST_F(LookUpTableFile, TheOtherKindIsNotUsable) {
    const std::string axis = AxisBytes(FindMedialAxisNeighborhood(100));
    EXPECT_EQ(FaultOf(axis, [this] { (void)ReadSphereVectors(m_path); }), "it is not a table of spheres.");
    EXPECT_EQ(FaultOf(SphereBytes(5), [this] { (void)ReadMedialAxisNeighborhood(m_path); }),
              "it is not a table of the medial axis.");
}

TEST_F(LookUpTableFile, WhatIsNoFileIsNotUsable) {
    for (const std::string& path : {testing::TempDir(), m_path + ".missing", std::string("/dev/null")}) {
        EXPECT_EQ(Raised<CException>([&path] { (void)CheckLookUpTable(path); }).Message(),
                  "Look-up table '" + path + "' is not usable: it cannot be read.");
    }
}

TEST(SphereVectors, AreAllSortedVectorsByLength) {
    const CSphereVectors spheres(300);
    std::set<std::tuple<int, int, int>> expected;
    for (int a = 0; a <= 17; ++a) {
        for (int b = 0; b <= a; ++b) {
            for (int c = 0; c <= b; ++c) {
                if (a * a + b * b + c * c <= 300)
                    expected.insert({a, b, c});
            }
        }
    }
    std::set<std::tuple<int, int, int>> found;
    for (std::int32_t length = 0; length <= 300; ++length) {
        for (const StSortedVector& vector : spheres.OfLength(length)) {
            EXPECT_EQ(vector.SquaredLength(), length);
            EXPECT_TRUE(found.insert({vector.a, vector.b, vector.c}).second);
        }
    }
    EXPECT_EQ(found, expected);
    EXPECT_TRUE(spheres.OfLength(7).empty());
    EXPECT_EQ(spheres.OfLength(9).size(), 2U);
}

TEST(SphereVectors, EachImageOfAVectorIsVisitedOnce) {
    const CSphereVectors spheres(50);
    for (const StSortedVector& vector : spheres.All()) {
        std::set<std::tuple<int, int, int>> expected;
        std::array<int, 3> components{vector.c, vector.b, vector.a};
        do {
            for (int signs = 0; signs < 8; ++signs) {
                const auto with = [signs](int component, int bit) {
                    return (signs & bit) != 0 ? -component : component;
                };
                expected.insert({with(components[0], 1), with(components[1], 2), with(components[2], 4)});
            }
        } while (std::ranges::next_permutation(components).found);
        std::set<std::tuple<int, int, int>> visited;
        EXPECT_TRUE(ForEachImage(vector, [&visited](int x, int y, int z) {
            return visited.insert({x, y, z}).second; // ends at a second visit
        }));
        EXPECT_EQ(visited, expected);
    }
    int visits = 0;
    EXPECT_FALSE(ForEachImage({3, 2, 1}, [&visits](int, int, int) { return ++visits < 20; }));
    EXPECT_EQ(visits, 20);
}

TEST(MedialAxisNeighborhood, TheBuiltInListBeginsWithWhatIsFoundUpTo24) {
    const StMedialAxisNeighborhood found = FindMedialAxisNeighborhood(24 * 24);
    EXPECT_EQ(found.reach, 576U);
    ASSERT_EQ(found.generators.size(), 45U);
    const auto& builtIn = BuiltInMedialAxisNeighborhood().generators;
    EXPECT_TRUE(std::equal(found.generators.begin(), found.generators.end(), builtIn.begin()));
    EXPECT_GT(builtIn[45].foundAt, 576U);
}

TEST(MedialAxisNeighborhood, TheListOfAReachIsTheBeginOfAnyLongerOne) {
    const auto longer = FindMedialAxisNeighborhood(400).generators;
    for (const auto& [radius, count] : {std::pair(10, 9U), std::pair(16, 20U), std::pair(20, 31U)}) {
        const auto shorter = FindMedialAxisNeighborhood(radius * radius).generators;
        EXPECT_EQ(shorter.size(), count);
        EXPECT_TRUE(std::equal(shorter.begin(), shorter.end(), longer.begin()));
    }
}

TEST(MedialAxisNeighborhood, BeginsWithTheNearestNeighbours) {
    const std::vector<StMedialAxisGenerator> expected{
        {{1, 0, 0}, 1, 2},   {{1, 1, 0}, 1, 3},   {{1, 1, 1}, 1, 4},
        {{2, 1, 1}, 9, 27},  {{2, 1, 0}, 25, 50}, {{3, 1, 0}, 26, 66},
        {{3, 1, 1}, 26, 68}, {{2, 2, 1}, 41, 84}, {{3, 2, 1}, 34, 90}};
    EXPECT_EQ(FindMedialAxisNeighborhood(100).generators, expected);
}

TEST(MedialAxisNeighborhood, OfNoReachIsEmpty) {
    EXPECT_TRUE(FindMedialAxisNeighborhood(0).generators.empty());
    EXPECT_TRUE(FindMedialAxisNeighborhood(1).generators.empty());
}

TEST(MedialAxisNeighborhood, ACancelledSearchIsCompleteAsFarAsItWent) {
    const auto found = FindMedialAxisNeighborhood(400, [](std::int32_t radius) { return radius == 101; });
    EXPECT_EQ(found.reach, 100U);
    EXPECT_EQ(found.generators, FindMedialAxisNeighborhood(100).generators);
}

} // namespace
