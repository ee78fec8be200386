#include <sorblib2core/LargePages.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

using namespace ORVEN;

namespace {

constexpr std::size_t c_large = std::size_t{1} << 25;

/// Whether the system notes a request for large pages ("hg") where this address is.
bool AreLargePagesRequested(const void* memory) {
    const auto address = reinterpret_cast<std::uintptr_t>(memory);
    std::ifstream file("/proc/self/smaps");
    bool isHere = false;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        char dash = '\0';
        if (words >> std::hex >> begin >> dash >> end && dash == '-')
            isHere = begin <= address && address < end;
        else if (isHere && line.starts_with("VmFlags:"))
            return line.find(" hg") != std::string::npos;
    }
    return false;
}

TEST(LargePages, AreRequestedForAllOfALargeArray) {
    if (!std::filesystem::exists("/sys/kernel/mm/transparent_hugepage"))
        GTEST_SKIP() << "this system has no large pages";
    const auto memory = std::make_unique_for_overwrite<char[]>(c_large);
    PreferLargePages(memory.get(), c_large);
    for (const std::size_t offset : {std::size_t{1} << 16, c_large / 2, c_large - (std::size_t{1} << 16)})
        EXPECT_TRUE(AreLargePagesRequested(memory.get() + offset)) << offset;
}

TEST(LargePages, LeaveTheContentsAsTheyAreWhateverTheRange) {
    std::vector<unsigned char> memory(c_large);
    std::iota(memory.begin(), memory.end(), static_cast<unsigned char>(0));
    const std::vector<unsigned char> before = memory;
    for (const std::size_t byteCount : {std::size_t{0}, std::size_t{1}, std::size_t{1} << 22, c_large - 3})
        PreferLargePages(memory.data() + 3, byteCount);
    PreferLargePages(nullptr, 0);
    EXPECT_TRUE(memory == before);
}

} // namespace
