#include "engine/run/MemoryEstimate.h"

#include "engine/run/CPeakMemory.h"
#include "support/CommandLine.h"
#include "support/TestImage.h"

#include <gtest/gtest.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <cstring>
#include <limits>
#include <vector>

using namespace engine;
using namespace ORVEN;

namespace {

StImageOutline OutlineOf(const IImage::CType& type, const CSize& size) {
    StImageOutline outline;
    outline.type = type;
    outline.size = size;
    outline.spacing = {0.5, 0.5, 2};
    return outline;
}

const StImageOutline g_volume = OutlineOf(IMAGE_GREY_16, CSize(100, 50, 20));

} // namespace

TEST(MemoryEstimate, CountsTheImageAndThePluginsBytes) {
    StCatalogueEntry entry;
    entry.bytesPerVoxel = {{"", 1.5}};
    const StMemoryEstimate estimate = EstimateMemory(&entry, g_volume, {}, 7);
    EXPECT_EQ(estimate.images, 200007);
    EXPECT_EQ(estimate.plugin, 150000);
    EXPECT_EQ(estimate.Needed(), 350007);
    ASSERT_TRUE(estimate.available);
    EXPECT_GT(*estimate.available, 0);
    EXPECT_FALSE(estimate.IsTooLarge());
}

TEST(MemoryEstimate, CountsBytesByPixelType) {
    StCatalogueEntry entry;
    entry.bytesPerVoxel = {{"grey8", 1}, {"grey16", 6}};
    EXPECT_EQ(EstimateMemory(&entry, g_volume, {}).plugin, 600000);
    EXPECT_EQ(EstimateMemory(&entry, OutlineOf(IMAGE_GREY_F, CSize(2, 2)), {}).plugin, std::nullopt);
    entry.fixedBytes = {{"grey16", 1000}};
    EXPECT_EQ(EstimateMemory(&entry, g_volume, {}).plugin, 601000);
}

TEST(MemoryEstimate, KnowsTheImageAloneWithoutTheCatalogue) {
    const StMemoryEstimate estimate = EstimateMemory(nullptr, g_volume, {});
    EXPECT_EQ(estimate.plugin, std::nullopt);
    EXPECT_EQ(estimate.Needed(), 200000);
}

TEST(MemoryEstimate, CountsTheResultWhereItHasMorePixels) {
    StCatalogueEntry entry;
    entry.bytesPerVoxel = {{"", 1}};
    entry.scaleFactor = "factor";
    entry.scaleLength = "edge";
    CValueMap parameters;
    parameters.SetEntry("factor", new CValueDouble(2));
    EXPECT_EQ(EstimateMemory(&entry, g_volume, parameters).plugin, 800000);
    parameters.SetEntry("factor", new CValueDouble(0.5)); // the input has more pixels
    EXPECT_EQ(EstimateMemory(&entry, g_volume, parameters).plugin, 100000);
    parameters.SetEntry("factor", new CValueDouble(1e9)); // more than a number of bytes can hold
    EXPECT_TRUE(EstimateMemory(&entry, g_volume, parameters).IsTooLarge());
    CValueMap lengths;
    lengths.SetEntry("edge", new CValueDouble(0.25));
    EXPECT_EQ(EstimateMemory(&entry, g_volume, lengths).plugin, 200 * 100 * 160);
}

TEST(MemoryEstimate, ReadsTheOutlineOfAFileOnly) {
    const test::CTestFolder folder;
    const auto image = test::ImageOf<std::uint16_t>(IMAGE_GREY_16, {3, 2}, {0, 1, 2, 3, 4, 5});
    CQuillonHeaderTools::SetSpacing(*image, 0.5, 0.25, 1);
    for (const char* name : {"a.nrrd", "a.mha", "a.tif"}) {
        WriteImage(*image, folder / name);
        const StImageOutline outline = ReadImageOutline(folder / name);
        EXPECT_EQ(outline.type, IMAGE_GREY_16) << name;
        EXPECT_TRUE(outline.isTypeCertain);
        EXPECT_EQ(outline.size, CSize(3, 2)) << name;
        EXPECT_EQ(outline.spacing[1], 0.25) << name;
        StReadOptions options;
        options.as = IMAGE_GREY_F;
        EXPECT_EQ(ReadImageOutline(folder / name, options).type, IMAGE_GREY_F);
    }
}

TEST(PeakMemory, CountsWhatWasTouchedAndFreed) {
    const CPeakMemory memory;
    constexpr std::size_t bytes = std::size_t{64} << 20;
    {
        std::vector<char> touched(bytes, 'x');
        ASSERT_EQ(touched[bytes / 2], 'x');
    }
    const auto peak = memory.Bytes();
    if (!peak)
        GTEST_SKIP() << "this system does not let a process reset its peak";
    EXPECT_GE(*peak, std::int64_t{bytes} * 9 / 10);
#ifndef __SANITIZE_THREAD__ // which stores several bytes for each that is touched
    EXPECT_LE(*peak, std::int64_t{bytes} * 3 / 2);
#endif
}
