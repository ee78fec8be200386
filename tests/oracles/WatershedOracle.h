#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// A slow watershed by immersion, written from the description of the method and without any code of the
/// engine: the oracle of its tests.
namespace test {

/// One run. Pixels stand in raster order, x fastest.
struct StReferenceWatershedRun {
    std::string neighborhood = "N4"; // a short id: "N4" ... "N26"
    std::array<int, 3> size{1, 1, 1};
    std::vector<double> grey;    // every pixel type fits a double exactly
    bool isLevelTheValue = true; // 8 and 16 bit: the level is the grey value; otherwise the rank of the value
    std::vector<std::uint32_t> seeds; // empty: regions are born at minima
    int mode = 0;                     // none, area, height, depth, volume
    std::uint32_t minimum = 0;
};

struct StReferenceWatershedResult {
    std::vector<std::uint32_t> labels;
    std::uint32_t regionCount = 0;
};

StReferenceWatershedResult ReferenceWatershed(const StReferenceWatershedRun& run);

} // namespace test
