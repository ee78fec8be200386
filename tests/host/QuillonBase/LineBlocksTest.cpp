#include "support/CRecordingProgress.h"

#include <QuillonBase/LineBlocks.h>
#include <sorblib2image/CImage.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

using namespace ORVEN;

namespace {

constexpr std::int64_t c_lanes = 16;

/// The number at a pixel; different for all pixels and exact in all types.
std::int64_t NumberAt(std::int64_t x, std::int64_t y, std::int64_t z) { return (z * 5 + y) * 40 + x; }

/// An image whose pixels are their numbers, with a border, so that rows are not adjacent.
template <class T>
CImage Numbered(const IImage::CType& type, const CSize& size) {
    CImage image(type, size, CSize(2, 1, 1));
    const CImageView<T> view(image);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x)
                view.Row(y, z)[x] = static_cast<T>(NumberAt(x, y, z));
        }
    }
    return image;
}

} // namespace

TEST(CLineBlock, HasAlignedRowsAndMargins) {
    CLineBlock<float, c_lanes> block(7, 2);
    block.Fill(3.0F);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block.Row(0)) % 64, 0U);
    EXPECT_EQ(block.Row(1), block.Row(0) + c_lanes);
    for (std::int64_t row = -2; row < 9; ++row) {
        for (std::int64_t lane = 0; lane < c_lanes; ++lane)
            EXPECT_EQ(block.Row(row)[lane], 3.0F);
    }
    const float* const first = block.Row(0);
    const CLineBlock<float, c_lanes> moved = std::move(block);
    EXPECT_EQ(moved.Row(0), first);
}

TEST(ForEachLineBlock, CoversAllLinesWithAConstantCountInFullBlocks) {
    test::CRecordingProgress progress;
    CWorkPace pace(progress);
    std::vector<std::pair<std::int64_t, std::int64_t>> blocks;
    ForEachLineBlock<c_lanes>(3, 40, pace, [&]<class Count>(std::int64_t first, Count count) {
        blocks.emplace_back(first, count);
        EXPECT_EQ((std::is_same_v<Count, std::int64_t>), count != c_lanes);
    });
    EXPECT_EQ(blocks, (std::vector<std::pair<std::int64_t, std::int64_t>>{{3, 16}, {19, 16}, {35, 5}}));
}

TEST(GatherLines, CopiesLinesAlongYAndZAndScattersThemBack) {
    CImage image = Numbered<float>(IMAGE_GREY_F, CSize(40, 5, 6));
    const CImageView<float> view(image);
    test::CRecordingProgress progress;
    CWorkPace pace(progress);
    for (const int axis : {1, 2}) {
        for (const std::int64_t count : {c_lanes, std::int64_t{3}}) {
            const std::int64_t other = 2;
            const std::int64_t x = 21;
            const CLines<float> lines(view, axis, other, x);
            ASSERT_EQ(lines.Length(), axis == 1 ? 5 : 6);
            const auto numberAt = [&](std::int64_t i, std::int64_t lane) {
                return axis == 1 ? NumberAt(x + lane, i, other) : NumberAt(x + lane, other, i);
            };
            CLineBlock<double, c_lanes> block(lines.Length());
            block.Fill(-1.0);
            EXPECT_TRUE(GatherLines<c_lanes>(lines, count, block.Row(0), pace,
                                             [](float pixel) { return 2.0 * static_cast<double>(pixel); }));
            for (std::int64_t i = 0; i < lines.Length(); ++i) {
                for (std::int64_t lane = 0; lane < c_lanes; ++lane)
                    EXPECT_EQ(block.Row(i)[lane],
                              lane < count ? 2.0 * static_cast<double>(numberAt(i, lane)) : -1.0);
            }
            std::vector<std::int64_t> finished;
            EXPECT_TRUE(ScatterLines<c_lanes>(
                block.Row(0), lines, count, pace,
                [](double value) { return static_cast<float>(value + 1.0); },
                [&](const float* row, std::int64_t pixels) {
                    EXPECT_EQ(pixels, count);
                    finished.push_back(static_cast<std::int64_t>(row[0]));
                }));
            for (std::int64_t i = 0; i < lines.Length(); ++i) {
                EXPECT_EQ(finished[static_cast<std::size_t>(i)], 2 * numberAt(i, 0) + 1);
                for (std::int64_t lane = -1; lane <= count; ++lane) {
                    const std::int64_t number = numberAt(i, lane);
                    const bool isMoved = lane >= 0 && lane < count;
                    EXPECT_EQ(lines.Row(i)[lane], static_cast<float>(isMoved ? 2 * number + 1 : number));
                }
            }
            ScatterLines<c_lanes>(block.Row(0), lines, count, pace,
                                  [](double value) { return static_cast<float>(value / 2.0); });
        }
    }
}

template <class T>
void ExpectTransposed(const IImage::CType& type) {
    CImage image = Numbered<T>(type, CSize(39, 30, 2));
    CImage copy(IMAGE_GREY_F, image.Size(), CSize(0, 0, 0));
    const CImageView<const T> view(image);
    const CImageView<float> result(copy);
    test::CRecordingProgress progress;
    CWorkPace pace(progress);
    // Counts with and without rows that do not fill a tile.
    for (const std::int64_t count : {1, 8, 11, 16}) {
        CLineBlock<double, c_lanes> block(view.nx);
        EXPECT_TRUE(GatherRows<c_lanes>(view, 7, 1, count, block.Row(0), pace));
        EXPECT_TRUE(ScatterRows<c_lanes>(block.Row(0), result, 7, 1, count, pace));
        for (std::int64_t lane = 0; lane < count; ++lane) {
            for (std::int64_t x = 0; x < view.nx; ++x) {
                ASSERT_EQ(block.Row(x)[lane], static_cast<double>(view.Row(7 + lane, 1)[x]));
                ASSERT_EQ(result.Row(7 + lane, 1)[x], static_cast<float>(view.Row(7 + lane, 1)[x]));
            }
        }
    }
}

TEST(GatherRows, TransposesRowsOfEveryTypeAndScattersThemBack) {
    ExpectTransposed<unsigned char>(IMAGE_GREY_8);
    ExpectTransposed<unsigned short>(IMAGE_GREY_16);
    ExpectTransposed<unsigned int>(IMAGE_GREY_32);
    ExpectTransposed<float>(IMAGE_GREY_F);
}

TEST(GatherRows, KeepsIntegersThatAFloatCannotRepresent) {
    CImage image(IMAGE_GREY_32, CSize(4, 4), CSize(0, 0, 0));
    const CImageView<unsigned> view(image);
    std::fill_n(view.Row(0, 0), 16, 0x01000001U);
    test::CRecordingProgress progress;
    CWorkPace pace(progress);
    CLineBlock<double, c_lanes> block(4);
    EXPECT_TRUE(GatherRows<c_lanes>(CImageView<const unsigned>(image), 0, 0, 4, block.Row(0), pace));
    EXPECT_EQ(block.Row(3)[3], 16777217.0);
}

TEST(CImageView, TakesTheRowsOfOnePlaneForPlanes) {
    CImage flat = Numbered<float>(IMAGE_GREY_F, CSize(40, 5));
    const auto planes = CImageView<float>(flat).WithRowsAsPlanes();
    EXPECT_EQ(planes.ny, 1);
    EXPECT_EQ(planes.nz, 5);
    EXPECT_EQ(planes.Row(0, 3)[7], static_cast<float>(NumberAt(7, 3, 0)));
    CImage deep = Numbered<float>(IMAGE_GREY_F, CSize(40, 5, 2));
    const auto same = CImageView<float>(deep).WithRowsAsPlanes();
    EXPECT_EQ(same.ny, 5);
    EXPECT_EQ(same.Row(3, 1)[7], static_cast<float>(NumberAt(7, 3, 1)));
}
