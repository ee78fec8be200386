#include "support/CMemoryLimit.h"
#include "support/CRandomSeeds.h"
#include "support/CRecordingProgress.h"
#include "support/CThreadCount.h"
#include "support/MemoryRefusal.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <QuillonMeasurement/CExtractorLabelData.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using test::ImageOf;
using Numbers = std::vector<std::int64_t>;

StLabelingData Measured(const CImage& image) {
    StLabelingData data;
    CExtractorLabelData(nullptr, nullptr).Extract(image, data);
    return data;
}

void SetOffset(CImage& image, double x, double y, double z) {
    image.Attributes().SetEntry("offset/x", new CValueDouble(x));
    image.Attributes().SetEntry("offset/y", new CValueDouble(y));
    image.Attributes().SetEntry("offset/z", new CValueDouble(z));
}

bool AreEqual(const StLabelingData& a, const StLabelingData& b) {
    return a.volume == b.volume && a.extentX == b.extentX && a.extentY == b.extentY &&
           a.extentZ == b.extentZ && a.startX == b.startX && a.startY == b.startY && a.startZ == b.startZ;
}

TEST(ExtractorLabelData, MeasuresVolumeAndBoxOfEachLabel) {
    // clang-format off
    const StLabelingData data = Measured(*ImageOf<unsigned char>(IMAGE_GREY_8, CSize(5, 3),
                                                                 {0, 2, 2, 0, 0,
                                                                  5, 0, 2, 0, 5,
                                                                  0, 0, 0, 5, 5}));
    // clang-format on
    EXPECT_EQ(data.LabelCount(), 6U);
    EXPECT_EQ(data.volume, (Numbers{8, 0, 3, 0, 0, 4}));
    EXPECT_EQ(data.startX, (Numbers{0, 0, 1, 0, 0, 0}));
    EXPECT_EQ(data.extentX, (Numbers{5, 0, 2, 0, 0, 5}));
    EXPECT_EQ(data.startY, (Numbers{0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(data.extentY, (Numbers{3, 0, 2, 0, 0, 2}));
    EXPECT_EQ(data.startZ, (Numbers{0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(data.extentZ, (Numbers{1, 0, 1, 0, 0, 1}));
}

TEST(ExtractorLabelData, ABinaryImageHasLabel1WhereverItIsNot0) {
    const StLabelingData data =
        Measured(*ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(4, 1, 1), {0, 1, 255, 0}));
    EXPECT_EQ(data.volume, (Numbers{2, 2}));
    EXPECT_EQ(data.startX[1], 1);
    EXPECT_EQ(data.extentX[1], 2);
    EXPECT_EQ(Measured(*ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(2, 2), {})).volume, Numbers{4});
}

TEST(ExtractorLabelData, TheOffsetOfTheHeaderIsAddedToTheStarts) {
    const auto image = ImageOf<unsigned short>(IMAGE_GREY_16, CSize(2, 2, 2), {0, 0, 0, 1, 0, 0, 0, 1});
    SetOffset(*image, 10, 200, 3000);
    const StLabelingData data = Measured(*image);
    EXPECT_EQ(data.startX, (Numbers{10, 11}));
    EXPECT_EQ(data.startY, (Numbers{200, 201}));
    EXPECT_EQ(data.startZ, (Numbers{3000, 3000}));
    EXPECT_EQ(data.extentZ, (Numbers{2, 2}));
}

template <class T>
StLabelingData SlowlyMeasured(const CImage& image) {
    const CImageView<const T> view(image);
    StLabelingData data;
    const auto pixels = test::PixelsOf<T>(image);
    const std::size_t count = pixels.empty() ? 0U : std::size_t{*std::ranges::max_element(pixels)} + 1U;
    for (auto* numbers : {&data.volume, &data.extentX, &data.extentY, &data.extentZ, &data.startX,
                          &data.startY, &data.startZ})
        numbers->assign(count, 0);
    for (std::size_t label = 0; label < count; ++label) {
        std::int64_t least[3] = {1000, 1000, 1000};
        std::int64_t greatest[3] = {-1, -1, -1};
        for (std::int64_t z = 0; z < view.nz; ++z) {
            for (std::int64_t y = 0; y < view.ny; ++y) {
                for (std::int64_t x = 0; x < view.nx; ++x) {
                    if (view.Row(y, z)[x] != label)
                        continue;
                    ++data.volume[label];
                    const std::int64_t place[3] = {x, y, z};
                    for (std::size_t axis = 0; axis < 3; ++axis) {
                        least[axis] = std::min(least[axis], place[axis]);
                        greatest[axis] = std::max(greatest[axis], place[axis]);
                    }
                }
            }
        }
        if (data.volume[label] == 0)
            continue;
        data.startX[label] = least[0];
        data.startY[label] = least[1];
        data.startZ[label] = least[2];
        data.extentX[label] = greatest[0] - least[0] + 1;
        data.extentY[label] = greatest[1] - least[1] + 1;
        data.extentZ[label] = greatest[2] - least[2] + 1;
    }
    return data;
}

TEST(ExtractorLabelData, EqualsBruteForceOnRandomImagesOfAllTypes) {
    for (const unsigned seed : test::CRandomSeeds(0, 150)) {
        std::mt19937 random(seed);
        const CSize size = seed % 4 == 0 ? CSize(1 + random() % 20, 1 + random() % 20)
                                         : CSize(1 + random() % 12, 1 + random() % 9, 1 + random() % 9);
        const double greatest = 1.0 + static_cast<double>(random() % 40);
        const auto bytes = test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0, greatest);
        ASSERT_TRUE(AreEqual(Measured(*bytes), SlowlyMeasured<unsigned char>(*bytes)));
        const auto shorts = test::RandomImage<unsigned short>(IMAGE_GREY_16, size, random, 250, 290);
        ASSERT_TRUE(AreEqual(Measured(*shorts), SlowlyMeasured<unsigned short>(*shorts)));
        const auto ints = test::RandomImage<unsigned int>(IMAGE_GREY_32, size, random, 0, greatest);
        ASSERT_TRUE(AreEqual(Measured(*ints), SlowlyMeasured<unsigned int>(*ints)));
        const auto binary = test::RandomImage<unsigned char>(IMAGE_BINARY_FG, size, random, 0, 2);
        ASSERT_TRUE(AreEqual(Measured(*binary), SlowlyMeasured<unsigned char>(*binary)));
    }
}

/// Runs of random labels, most of which occur in a single plane, as in a labelled image, up to `greatest`.
template <class T>
std::unique_ptr<CImage> LabelRuns(const IImage::CType& type, const CSize& size, std::mt19937& random,
                                  std::uint32_t greatest) {
    auto image = std::make_unique<CImage>(type, size, CSize(0, 0, 0));
    const CImageView<T> view(*image);
    const std::uint64_t ofPlane = greatest / static_cast<std::uint64_t>(view.nz);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            T* const row = view.Row(y, z);
            for (std::int64_t x = 0; x < view.nx;) {
                const std::uint64_t near = ofPlane * static_cast<std::uint64_t>(z) + random() % (ofPlane + 1);
                const std::uint64_t label = random() % 50 == 0 ? random() % (greatest + 1U) : near;
                for (const std::int64_t end = x + 1 + static_cast<std::int64_t>(random() % 20);
                     x < std::min(end, view.nx); ++x)
                    row[x] = static_cast<T>(label);
            }
        }
    }
    return image;
}

TEST(ExtractorLabelData, IsTheSameForAnyNumberOfThreads) {
    for (const unsigned seed : test::CRandomSeeds(0, 4)) {
        std::mt19937 random(seed);
        const auto one = static_cast<std::int64_t>(random() % 40);
        // Large enough for eight threads.
        const CSize size = seed % 2 == 0 ? CSize(90 + one, 80, 80) : CSize(600 + one, 1000);
        std::vector<std::unique_ptr<CImage>> images;
        images.push_back(LabelRuns<unsigned char>(IMAGE_BINARY_FG, size, random, 2));
        images.push_back(LabelRuns<unsigned char>(IMAGE_GREY_8, size, random, 200));
        images.push_back(LabelRuns<unsigned short>(IMAGE_GREY_16, size, random, 60000));
        images.push_back(LabelRuns<std::uint32_t>(IMAGE_GREY_32, size, random, 300000));
        for (const auto& image : images) {
            SetOffset(*image, 10, 200, 3000);
            StLabelingData expected;
            {
                const test::CThreadCount threads(1);
                expected = Measured(*image);
            }
            for (const int count : {2, 3, 8}) {
                const test::CThreadCount threads(count);
                ASSERT_TRUE(AreEqual(Measured(*image), expected)) << image->Type().ToString() << " " << count;
            }
        }
    }
}

TEST(ExtractorLabelData, ManyThreadsReportTheFirstExcessiveLabel) {
    const test::CThreadCount threads(8);
    CImage image(IMAGE_GREY_32, CSize(128, 128, 64), CSize(0, 0, 0));
    const CImageView<std::uint32_t> view(image);
    view.Row(3, 5)[7] = CExtractorLabelData::c_greatestLabel + 1;
    view.Row(3, 60)[7] = 4294967295U;
    StLabelingData data;
    const auto raised =
        test::Raised<CException>([&] { CExtractorLabelData(nullptr, nullptr).Extract(image, data); });
    EXPECT_STREQ(raised.Message(), "Label 67108864 cannot be measured: the greatest is 67108863.");
}

TEST(ExtractorLabelData, OneThreadMeasuresWhereTablesOfManyWouldBeTooLarge) {
    if (!test::CMemoryLimit::isEffective)
        GTEST_SKIP() << "the sanitizer needs the address space for itself";
    const test::CThreadCount threads(8);
    CImage image(IMAGE_GREY_32, CSize(128, 128, 64), CSize(0, 0, 0));
    // Twice the table and the numbers take 270 MB, eight tables would take 900 MB.
    CImageView<std::uint32_t>(image).Row(3, 5)[7] = 2000000;
    CImageView<std::uint32_t>(image).Row(3, 60)[7] = 2000000;
    const test::CMemoryLimit limit(std::int64_t{400} << 20);
    const StLabelingData data = Measured(image);
    EXPECT_EQ(data.volume.size(), 2000001U);
    EXPECT_EQ(data.volume.back(), 2);
    EXPECT_EQ(data.extentZ.back(), 56);
}

TEST(ExtractorLabelData, StopsManyThreadsWhenCancelled) {
    const test::CThreadCount threads(8);
    struct CImpatientProgress : test::CRecordingProgress {
        void Step(unsigned amount, int flag) override {
            CRecordingProgress::Step(amount, flag);
            isCancelled = true;
        }
    };
    const CImage image(IMAGE_GREY_8, CSize(256, 512, 512), CSize(0, 0, 0));
    CImpatientProgress progress;
    CExtractorLabelData extractor(nullptr, nullptr);
    extractor.SetProgress(CProgressProxy(&progress));
    StLabelingData data;
    extractor.Extract(image, data);
    EXPECT_TRUE(progress.isFromOneThread);
    EXPECT_EQ(progress.calls.front(), "Start 512 Measuring labels...");
    EXPECT_EQ(progress.calls.back(), "Finish");
    ASSERT_EQ(data.volume.size(), 1U);
    // What was read is counted: whole items, and a piece of each one that was left.
    EXPECT_GE(data.volume[0], static_cast<std::int64_t>(progress.steps));
}

TEST(ExtractorLabelData, AnImageWithoutPixelsHasNoLabels) {
    EXPECT_EQ(Measured(CImage(IMAGE_GREY_8, CSize(0, 3, 3), CSize(0, 0, 0))).LabelCount(), 0U);
}

TEST(ExtractorLabelData, RefusesOtherTypesAndExcessiveLabels) {
    const auto message = [](const CImage& image) {
        StLabelingData data;
        data.volume = {7};
        const auto raised =
            test::Raised<CException>([&] { CExtractorLabelData(nullptr, nullptr).Extract(image, data); });
        EXPECT_EQ(data.volume, Numbers{7});
        return std::string(raised.Source()) + ": " + raised.Message();
    };
    EXPECT_EQ(message(CImage(IMAGE_GREY_F, CSize(2, 2), CSize(0, 0, 0))),
              "CExtractorLabelData: Image type IMAGE_GREY_F not supported.");
    EXPECT_EQ(message(*ImageOf<unsigned int>(IMAGE_GREY_32, CSize(2, 1), {0, 4294967295U})),
              "CExtractorLabelData: Label 4294967295 cannot be measured: the greatest is 67108863.");
}

TEST(ExtractorLabelData, RefusesATableOfLabelsThatDoesNotFit) {
    CImage image(IMAGE_GREY_32, CSize(2, 2), CSize(0, 0, 0));
    CImageView<std::uint32_t>(image).Row(1, 0)[1] = CExtractorLabelData::c_greatestLabel;
    test::ExpectRefusedForLackOfMemory("The table of labels", [&] {
        StLabelingData data;
        CExtractorLabelData(nullptr, nullptr).Extract(image, data);
    });
}

TEST(ExtractorLabelData, ReportsPlanesAndStopsWhenCancelled) {
    struct CImpatientProgress : test::CRecordingProgress {
        void Step(unsigned amount, int flag) override {
            CRecordingProgress::Step(amount, flag);
            isCancelled = steps == cancelAt;
        }
        unsigned long cancelAt = 0;
    };
    const auto image =
        ImageOf<unsigned char>(IMAGE_GREY_8, CSize(2, 2, 5), std::vector<unsigned char>(20, 1));
    CImpatientProgress progress;
    CExtractorLabelData extractor(nullptr, nullptr);
    extractor.SetProgress(CProgressProxy(&progress));
    StLabelingData data;
    extractor.Extract(*image, data);
    EXPECT_EQ(progress.calls, (std::vector<std::string>{"Start 5 Measuring labels...", "Step 1 0", "Step 1 0",
                                                        "Step 1 0", "Step 1 0", "Step 1 0", "Finish"}));
    EXPECT_EQ(data.volume[1], 20);
    progress.cancelAt = 7;
    extractor.Extract(*image, data);
    EXPECT_EQ(data.volume[1], 8);
    EXPECT_EQ(data.extentZ[1], 2);
}

TEST(LabelingData, SurvivesConversionToAMapAndBack) {
    StLabelingData data;
    data.volume = {5, 0, 3000000000, 9007199254740992};
    data.extentX = {1, 2, 3, 4};
    data.extentY = {5, 6, 7, 8};
    data.extentZ = {9, 10, 11, 12};
    data.startX = {-1, 0, 2147483647, 2147483648};
    data.startY = {17, 18, 19, 20};
    data.startZ = {21, 22, 23, 24};
    const CValueMap map(data);
    EXPECT_EQ(map.Size(), 7U);
    EXPECT_EQ(map.Entry("extent y/2", true)->Long(), 7);
    StLabelingData loaded;
    loaded.volume = {1, 1, 1, 1, 1, 1};
    loaded.Set(map);
    EXPECT_TRUE(AreEqual(loaded, data));
    EXPECT_EQ(loaded.LabelCount(), 4U);
    loaded.Set(CValueMap(StLabelingData{}));
    EXPECT_EQ(loaded.LabelCount(), 0U);
}

TEST(LabelingData, CountsTheLabelsThatAllVectorsHave) {
    StLabelingData data;
    for (auto* numbers : {&data.volume, &data.extentX, &data.extentY, &data.extentZ, &data.startX,
                          &data.startY, &data.startZ})
        numbers->assign(9, 1);
    EXPECT_EQ(data.LabelCount(), 9U);
    data.startY.resize(4);
    StLabelingData loaded;
    loaded.Set(CValueMap(data));
    EXPECT_EQ(loaded.LabelCount(), 4U);
}

TEST(LabelingData, RefusesAnInvalidMapAndStaysUnchanged) {
    StLabelingData data;
    data.volume = {1, 2};
    const auto message = [&data](const CValueMap& map) {
        const auto raised = test::Raised<CException>([&] { data.Set(map); });
        EXPECT_EQ(data.volume, (Numbers{1, 2}));
        return std::string(raised.Source()) + ": " + raised.Message();
    };
    EXPECT_EQ(message(CValueMap()), "StLabelingData: Label data lack the numbers \"volume\".");
    CValueMap map{CValueMap(StLabelingData{})};
    map.SetEntry("start y", new CValueString(CString("3 4")));
    EXPECT_EQ(message(map), "StLabelingData: Label data lack the numbers \"start y\".");
    const std::string notWhole =
        "StLabelingData: Label data contain values other than whole numbers under \"start y\".";
    for (const double number : {0.5, 1e300, std::numeric_limits<double>::quiet_NaN()}) {
        auto row = std::make_unique<CValueVector>();
        row->PushBack(new CValueDouble(number));
        map.SetEntry("start y", row.release());
        EXPECT_EQ(message(map), notWhole);
    }
    auto row = std::make_unique<CValueVector>();
    row->PushBack(new CValueString(CString("3")));
    map.SetEntry("start y", row.release());
    EXPECT_EQ(message(map), notWhole);
    map.SetEntry("start y", new CValueVector(1));
    EXPECT_EQ(message(map), notWhole);
}

TEST(LabelingData, HasItsOwnKeyAmongTheFeatures) {
    EXPECT_STREQ(CExtractorLabelData::KeyToLabelData(), "LabelData");
}

} // namespace
