#include "utils/PointOperationsImpl.h"

#include "support/CRandomSeeds.h"
#include "support/CSummingSink.h"
#include "support/Raised.h"
#include "support/TestImage.h"
#include "support/TraversalTools.h"
#include "utils/visitors/Analyzers.h"
#include "utils/visitors/PointOperationCopy.h"

#include <sorblib2core/CException.h>
#include <sorblib2image/CImage.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <tuple>

using namespace ORVEN;
using test::CapturedOutput;
using test::FakeImage;
using test::Log;
using test::Raised;
using test::RecordingProgress;
using test::SizeOf;
using test::Traverse;
using test::TraverseWith;

namespace {

using ByteRecord = Impl::CImageDataExtractor<const IImage, unsigned char>;

template <class T>
struct Collector : visitors::StVisitor<const T> {
    void operator()(T pixel) { seen.push_back(pixel); }
    std::vector<T> seen;
};

/// Writes down value and position of each pixel, and that it was called at the two ends.
struct Tracker : visitors::StVisitor<const unsigned char> {
    void preprocess() { ++started; }
    void operator()(unsigned char pixel, std::int64_t x, std::int64_t y, std::int64_t z) {
        seen.emplace_back(pixel, x, y, z);
    }
    void postprocess() { ++ended; }

    std::vector<std::tuple<unsigned char, std::int64_t, std::int64_t, std::int64_t>> seen;
    int started = 0;
    int ended = 0;
};

/// Adds one to each pixel, and knows how many there were.
struct Increment : visitors::StVisitor<unsigned char> {
    void preprocess() { ++started; }
    void operator()(unsigned char& pixel) {
        ++pixel;
        ++visited;
    }
    void postprocess() { ++ended; }

    std::int64_t visited = 0;
    int started = 0;
    int ended = 0;
};

/// Writes the second image and reads the first.
struct CopyBack : visitors::StVisitor<const unsigned short, float> {
    void operator()(unsigned short source, float& target) const { target = source; }
};

/// Writes into the same log as images and progress, and raises where it is asked to.
struct Logged : visitors::StVisitor<unsigned char, const unsigned char> {
    explicit Logged(Log& target)
        : log(target) {}

    void preprocess() { Say("preprocess"); }
    void operator()(unsigned char& /*first*/, unsigned char /*second*/) { Say("pixel"); }
    void postprocess() { Say("postprocess"); }

    void Say(const std::string& what) {
        log.push_back(what);
        if (what == raisesAt)
            throw std::runtime_error(what);
    }

    Log& log;
    std::string raisesAt;
};

struct LoggedPair {
    LoggedPair()
        : first(IMAGE_GREY_8, CSize(2, 1), CPos(1, 2), 2, 0)
        , second(IMAGE_GREY_8, CSize(2, 1), CPos(1, 2), 2, 0)
        , visitor(log) {
        first.name = "first";
        second.name = "second";
        first.log = &log;
        second.log = &log;
        progress.log = &log;
    }

    bool Visit() {
        const CapturedOutput silence;
        return TraverseWith(progress, visitor, first, second);
    }

    Log log;
    FakeImage first;
    FakeImage second;
    Logged visitor;
    RecordingProgress progress;
};

FakeImage Compact8(const CSize& size) {
    return {IMAGE_GREY_8, size, CPos(1, size.x, size.x * size.y), size.x * size.y * size.z, 0};
}

template <class Body>
std::string MessageOf(Body&& body) {
    return Raised<CException>(body).Message();
}

} // namespace

// Checks of one image.

TEST(CImageDataExtractor, FourDimensionalImageRaisesInInitSizeBeforeAnyOtherCheck) {
    const FakeImage image(IMAGE_COMPLEX_F, SizeOf(4, 2, 2, 2)); // its type would be refused too
    Collector<float> visitor;
    RecordingProgress progress;
    const CapturedOutput output;
    const auto raised = Raised<CException>([&] { TraverseWith(progress, visitor, image); });
    EXPECT_STREQ(raised.Message(), "Dim = 4 can not be handle by CImageDataExtractor.");
    EXPECT_STREQ(raised.Source(),
                 "ORVEN::Impl::CImageDataExtractor<class ORVEN::IImage const,float>::InitSize");
    EXPECT_STREQ(raised.Location().function, raised.Source());
    EXPECT_EQ(output.Text(), "");
    EXPECT_TRUE(progress.totals.empty());
}

namespace {

/// Checks an image, and raises, with the record of one image class and one pixel type.
template <class ImageClass, class PixelType>
void ExpectRecord(const IImage::CType& type, const std::string& imageClass, const std::string& pixel) {
    using Record = Impl::CImageDataExtractor<ImageClass, PixelType>;
    const CImage image(type, CSize(5, 4), CSize(0, 0));
    const Record record = Record::Checked(image, "image", IImage::LOCK_READ);
    EXPECT_EQ(record.sizeY, 4);
    EXPECT_EQ(*record.pixelTypeInfo, typeid(PixelType));
    EXPECT_NO_THROW(record.CheckImagesAgainst(record));
    const auto raised = Raised<CException>([] { Record::InitSize(SizeOf(0, 1, 1, 1)); });
    EXPECT_EQ(std::string(raised.Location().function),
              "ORVEN::Impl::CImageDataExtractor<" + imageClass + "," + pixel + ">::InitSize");
}

template <class PixelType>
void ExpectRecordsOfEveryImageClass(const IImage::CType& type, const std::string& pixel) {
    ExpectRecord<CImage, PixelType>(type, "class ORVEN::CImage", pixel);
    ExpectRecord<const CImage, PixelType>(type, "class ORVEN::CImage const", pixel);
    ExpectRecord<IImage, PixelType>(type, "class ORVEN::IImage", pixel);
    ExpectRecord<const IImage, PixelType>(type, "class ORVEN::IImage const", pixel);
}

template <class PixelType>
void ExpectConstAndOther(const IImage::CType& type, const std::string& pixel) {
    ExpectRecordsOfEveryImageClass<PixelType>(type, pixel);
    ExpectRecordsOfEveryImageClass<const PixelType>(type, pixel + " const");
}

} // namespace

TEST(CImageDataExtractor, ExistsForEveryImageClassAndPixelTypeConstOrNot) {
    ExpectConstAndOther<unsigned char>(IMAGE_GREY_8, "unsigned char");
    ExpectConstAndOther<unsigned short>(IMAGE_GREY_16, "unsigned short");
    ExpectConstAndOther<unsigned int>(IMAGE_GREY_32, "unsigned int");
    ExpectConstAndOther<float>(IMAGE_GREY_F, "float");
}

TEST(CImageDataExtractor, InitSizeCopiesAsManyExtentsAsThereAreDimensions) {
    using Extents = std::array<std::int64_t, 3>;
    EXPECT_EQ(ByteRecord::InitSize(SizeOf(1, 4, 5, 6)), (Extents{4, 0, 0}));
    EXPECT_EQ(ByteRecord::InitSize(SizeOf(2, 4, 5, 6)), (Extents{4, 5, 0}));
    EXPECT_EQ(ByteRecord::InitSize(SizeOf(3, 4, 5, 6)), (Extents{4, 5, 6}));
}

TEST(CImageDataExtractor, InitSizeRaisesForAnyOtherDimension) {
    EXPECT_EQ(MessageOf([] { ByteRecord::InitSize(SizeOf(0, 4, 5, 6)); }),
              "Dim = 0 can not be handle by CImageDataExtractor.");
    EXPECT_EQ(MessageOf([] { ByteRecord::InitSize(SizeOf(300, 4, 5, 6)); }),
              "Dim = 300 can not be handle by CImageDataExtractor.");
    EXPECT_EQ(MessageOf([] { ByteRecord::InitSize(SizeOf(-1, 4, 5, 6)); }),
              "Dim = -1 can not be handle by CImageDataExtractor.");
}

TEST(CImageDataExtractor, NotesDownDimensionFlagsNameAndAccess) {
    const ByteRecord binary(FakeImage(IMAGE_BINARY_BG, CSize(4, 5)), "some image", IImage::LOCK_READ_WRITE);
    EXPECT_EQ(binary.dimension, 2);
    EXPECT_FALSE(binary.isInterleaved);
    EXPECT_EQ(binary.isBinary, 1);
    EXPECT_STREQ(binary.name, "some image");
    EXPECT_EQ(binary.access, 3);
    const ByteRecord complex(FakeImage(IMAGE_COMPLEX_F, CSize(4, 5, 6)), "other", IImage::LOCK_READ);
    EXPECT_EQ(complex.dimension, 3);
    EXPECT_TRUE(complex.isInterleaved);
    EXPECT_EQ(complex.isBinary, 0);
    EXPECT_EQ(complex.access, 1);
}

TEST(CImageDataExtractor, DimensionIs255From256Up) {
    for (const int dimension : {255, 256, 1000})
        EXPECT_EQ(
            ByteRecord(FakeImage(IMAGE_GREY_8, SizeOf(dimension, 1, 1, 1)), "", IImage::LOCK_READ).dimension,
            255);
}

TEST(CImageDataExtractor, UnsupportedDimensionReachesTheUserWithUnfilledPlaceholders) {
    for (const int dimension : {0, 4, 255}) {
        const ByteRecord record(FakeImage(IMAGE_GREY_8, SizeOf(dimension, 1, 1, 1)), "input image",
                                IImage::LOCK_READ);
        EXPECT_EQ(MessageOf([&] { record.CheckImageValidy(); }), "%s: image dimension '%d' not supported.");
    }
}

TEST(CImageDataExtractor, InterleavedTypeRaises) {
    const FakeImage image(IMAGE_COMPLEX_F, CSize(2, 2));
    Collector<float> visitor;
    const auto raised = Raised<CException>([&] { Traverse(visitor, image); });
    EXPECT_STREQ(raised.Message(), "input image: just non interleaved image types are supported.");
    EXPECT_STREQ(raised.Source(),
                 "ORVEN::Impl::CImageDataExtractor<class ORVEN::IImage const,float>::CheckImageValidy");
}

TEST(CImageDataExtractor, ByteImageInAFloatTraversalRaisesTheDoubledPlaceholder) {
    const auto image = test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(2, 2), {});
    Collector<float> visitor;
    const auto raised = Raised<CException>([&] { Traverse(visitor, *image); });
    EXPECT_STREQ(raised.Message(),
                 "input image: Pixel type 'f' and image type 'f' do not match -- unregistered image type?.");
    EXPECT_STREQ(raised.Source(),
                 "ORVEN::Impl::CImageDataExtractor<class ORVEN::CImage const,float>::SetPixelTypeInfo");
}

TEST(CImageDataExtractor, OnlyAReadImageOfAPairHasAConstPixelTypeInItsLocation) {
    FakeImage bytes(IMAGE_GREY_8, CSize(2, 2));
    FakeImage floats(IMAGE_GREY_F, CSize(2, 2));
    visitors::CCopy<float> copy;
    const auto first = Raised<CException>([&] { Traverse(copy, bytes, floats); });
    EXPECT_STREQ(first.Source(),
                 "ORVEN::Impl::CImageDataExtractor<class ORVEN::IImage,float>::SetPixelTypeInfo");
    const auto second = Raised<CException>([&] { Traverse(copy, floats, bytes); });
    EXPECT_STREQ(second.Message(),
                 "second image: Pixel type 'f' and image type 'f' do not match -- unregistered image type?.");
    EXPECT_STREQ(second.Source(),
                 "ORVEN::Impl::CImageDataExtractor<class ORVEN::IImage const,float const>::SetPixelTypeInfo");
}

TEST(CImageDataExtractor, EachImageTypeHoldsOnePixelType) {
    const auto accepted = []<class T>(std::type_identity<T>) {
        std::string names;
        for (const auto& type : {IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_F, IMAGE_COMPLEX_F,
                                 IMAGE_BINARY_FG, IMAGE_BINARY_BG}) {
            const FakeImage image(type, CSize(1, 1));
            Impl::CImageDataExtractor<const IImage, T> record(image, "image", IImage::LOCK_READ);
            try {
                record.SetPixelTypeInfo(image);
                EXPECT_EQ(*record.pixelTypeInfo, typeid(T));
                names.append(type.ToString()).append(" ");
            } catch (const CException&) {
                EXPECT_EQ(record.pixelTypeInfo, nullptr);
            }
        }
        return names;
    };
    EXPECT_EQ(accepted(std::type_identity<unsigned char>()), "IMAGE_GREY_8 IMAGE_BINARY_FG IMAGE_BINARY_BG ");
    EXPECT_EQ(accepted(std::type_identity<const unsigned char>()),
              "IMAGE_GREY_8 IMAGE_BINARY_FG IMAGE_BINARY_BG ");
    EXPECT_EQ(accepted(std::type_identity<unsigned short>()), "IMAGE_GREY_16 ");
    EXPECT_EQ(accepted(std::type_identity<unsigned int>()), "IMAGE_GREY_32 ");
    EXPECT_EQ(accepted(std::type_identity<float>()), "IMAGE_GREY_F ");
}

TEST(CImageDataExtractor, BinaryImagePassesAsUnsignedChar) {
    const auto image = test::ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(3, 1), {1, 0, 1});
    Collector<unsigned char> visitor;
    EXPECT_TRUE(Traverse(visitor, *image));
    EXPECT_EQ(visitor.seen, (std::vector<unsigned char>{1, 0, 1}));
}

TEST(CImageDataExtractor, BoolPassesAsUnsignedCharOnly) {
    const FakeImage image(IMAGE_GREY_8, CSize(1, 1));
    ByteRecord bytes(image, "image", IImage::LOCK_READ);
    bytes.pixelTypeInfo = &typeid(bool);
    EXPECT_NO_THROW(bytes.CheckPixelType());
    Impl::CImageDataExtractor<const IImage, unsigned short> shorts(image, "image", IImage::LOCK_READ);
    shorts.pixelTypeInfo = &typeid(bool);
    EXPECT_EQ(MessageOf([&] { shorts.CheckPixelType(); }),
              "image: supposed pixel type 'b' does not match to image pixel type 't'.");
}

TEST(CImageDataExtractor, StoredPixelTypeMustBeTheTemplates) {
    ByteRecord record(FakeImage(IMAGE_GREY_8, CSize(1, 1)), "first image", IImage::LOCK_READ);
    record.pixelTypeInfo = &typeid(float);
    const auto raised = Raised<CException>([&] { record.CheckPixelType(); });
    EXPECT_STREQ(raised.Message(),
                 "first image: supposed pixel type 'f' does not match to image pixel type 'h'.");
    EXPECT_STREQ(raised.Source(),
                 "ORVEN::Impl::CImageDataExtractor<class ORVEN::IImage const,unsigned char>::CheckPixelType");
    record.pixelTypeInfo = &typeid(unsigned char);
    EXPECT_NO_THROW(record.CheckPixelType());
}

// Checks of two images.

TEST(CImageDataExtractor, ImagesOfDifferentDimensionsRaise) {
    FakeImage first = Compact8(CSize(4, 5, 6));
    const FakeImage second = Compact8(CSize(4, 5));
    visitors::CCopy<unsigned char> copy;
    const auto raised = Raised<CException>([&] { Traverse(copy, first, second); });
    EXPECT_STREQ(raised.Message(),
                 "first image and second image: image dimensions '3' and '2' do not match.");
    EXPECT_STREQ(raised.Source(),
                 "ORVEN::Impl::CImageDataExtractor<class ORVEN::IImage,unsigned char>::CheckImagesAgainst");
}

TEST(CImageDataExtractor, ImagesOfDifferentSizesRaiseWithATrailingComma) {
    const auto message = [](const CSize& one, const CSize& other) {
        FakeImage first = Compact8(one);
        const FakeImage second = Compact8(other);
        visitors::CCopy<unsigned char> copy;
        return MessageOf([&] { Traverse(copy, first, second); });
    };
    EXPECT_EQ(message(CSize(4, 5, 6), CSize(4, 5, 7)),
              "first image and second image: image sizes (4,5,6,) and (4,5,7,) do not match.");
    EXPECT_EQ(message(CSize(4, 5), CSize(3, 5)),
              "first image and second image: image sizes (4,5,) and (3,5,) do not match.");
    EXPECT_EQ(message(SizeOf(1, 4, 1, 1), SizeOf(1, 5, 1, 1)),
              "first image and second image: image sizes (4,) and (5,) do not match.");
}

TEST(CImageDataExtractor, ExtentsBeyondTheDimensionTakeNoPart) {
    FakeImage first(IMAGE_GREY_8, SizeOf(2, 1, 1, 7), CPos(1, 1), 1, 0);
    const FakeImage second(IMAGE_GREY_8, SizeOf(2, 1, 1, 9), CPos(1, 1), 1, 0);
    visitors::CCopy<unsigned char> copy;
    EXPECT_TRUE(Traverse(copy, first, second));
}

TEST(CImageDataExtractor, ChecksOfTheSecondImageComeBeforeTheComparison) {
    FakeImage first = Compact8(CSize(4, 5, 6));
    const FakeImage second(IMAGE_GREY_16, CSize(4, 5));
    visitors::CCopy<unsigned char> copy;
    EXPECT_EQ(MessageOf([&] { Traverse(copy, first, second); }),
              "second image: Pixel type 'h' and image type 'h' do not match -- unregistered image type?.");
}

TEST(VisitorHelper, ImpossibleDimensionHasAMessageOfItsOwn) {
    Impl::StImageRecord record;
    record.name = "first image";
    record.dimension = 4;
    const auto raised = Raised<CException>([&] { Impl::ThrowUnsupportedDimension("function", record); });
    EXPECT_STREQ(raised.Message(), "first image: image dimension '4' not supported");
    EXPECT_STREQ(raised.Source(), "function");
}

// Debugging lines.

TEST(VisitorHelper, WritesADebuggingLineForAnImageThatIsRead) {
    const auto image = test::ImageOf<float>(IMAGE_GREY_F, CSize(1, 1), {});
    visitors::CAnalyzerMinMax<float> visitor;
    RecordingProgress progress;
    const CapturedOutput output;
    TraverseWith(progress, visitor, *image);
    EXPECT_EQ(output.Text(),
              "DEBUG************* access is readonly visitor=N5ORVEN8visitors15CAnalyzerMinMaxIfEE "
              "image=N5ORVEN6CImageE pixeltype=f\n");
}

TEST(VisitorHelper, WritesADebuggingLineForAnImageThatIsWritten) {
    FakeImage image(IMAGE_GREY_32, CSize(0, 0));
    IImage& asInterface = image;
    visitors::CInitializer<unsigned int> visitor(1);
    RecordingProgress progress;
    const CapturedOutput output;
    TraverseWith(progress, visitor, asInterface);
    EXPECT_EQ(output.Text(),
              "DEBUG************* access is readwrite visitor=N5ORVEN8visitors12CInitializerIjEE "
              "image=N5ORVEN6IImageE pixeltype=j\n");
}

TEST(VisitorHelper, WritesADebuggingLineForEachImageOfAPair) {
    const auto target = test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(1, 1), {});
    const auto source = test::ImageOf<unsigned int>(IMAGE_GREY_32, CSize(1, 1), {});
    const IImage& asInterface = *source;
    visitors::CCast<unsigned char, unsigned int> visitor(0, 255);
    RecordingProgress progress;
    const CapturedOutput output;
    TraverseWith(progress, visitor, *target, asInterface);
    EXPECT_EQ(output.Text(), "DEBUG************* access0 is readwrite visitor=N5ORVEN8visitors5CCastIhjEE "
                             "image=N5ORVEN6CImageE pixeltype=h\n"
                             "DEBUG************* access1 is readonly visitor=N5ORVEN8visitors5CCastIhjEE "
                             "image=N5ORVEN6IImageE pixeltype=j\n");
}

TEST(VisitorHelper, DebuggingLinesComeBeforeTheImagesAreCompared) {
    FakeImage first = Compact8(CSize(2, 2));
    const FakeImage second = Compact8(CSize(2, 3));
    visitors::CCopy<unsigned char> copy;
    RecordingProgress progress;
    const CapturedOutput output;
    EXPECT_THROW(TraverseWith(progress, copy, first, second), CException);
    const std::string text = output.Text();
    EXPECT_EQ(std::ranges::count(text, '\n'), 2);
    EXPECT_TRUE(progress.totals.empty());
}

// The walk.

TEST(VisitorHelper, DoesEverythingInOrder) {
    LoggedPair pair;
    EXPECT_TRUE(pair.Visit());
    EXPECT_EQ(pair.log, (Log{"first: access false", "second: const access false", "preprocess", "start",
                             "first: lock (0,0) to (1,0) mode 3", "second: lock (0,0) to (1,0) mode 1",
                             "cancelled?", "pixel", "pixel", "first: unlock", "second: unlock", "postprocess",
                             "finish", "cancelled?", "second: destroyed", "first: destroyed"}));
}

TEST(VisitorHelper, LocksAVolumePlaneByPlane) {
    Log log;
    FakeImage image = Compact8(CSize(2, 3, 2));
    image.log = &log;
    Increment visitor;
    EXPECT_TRUE(Traverse(visitor, image));
    EXPECT_EQ(log, (Log{"image: access false", "image: lock (0,0,0) to (1,2,0) mode 3", "image: unlock",
                        "image: lock (0,0,1) to (1,2,1) mode 3", "image: unlock", "image: destroyed"}));
}

TEST(VisitorHelper, TotalIsLinesPlusOneWhileEveryPixelSteps) {
    const auto progressOf = [](const CSize& size) {
        const FakeImage seen(IMAGE_GREY_8, size, CPos(1, size.x, size.x * size.y), size.x * size.y * size.z,
                             0);
        Collector<unsigned char> visitor;
        RecordingProgress progress;
        const CapturedOutput silence;
        TraverseWith(progress, visitor, seen);
        EXPECT_TRUE(progress.areAllStepsOne);
        EXPECT_EQ(progress.finished, 1);
        EXPECT_EQ(progress.texts,
                  std::vector<std::string>{"ORVEN::Impl::VisitorHelper<0>::VisitImageData processing..."});
        return std::tuple(progress.totals.at(0), progress.steps, progress.questions);
    };
    EXPECT_EQ(progressOf(SizeOf(1, 7, 1, 1)), std::tuple(2U, 7, 1));
    EXPECT_EQ(progressOf(SizeOf(2, 7, 5, 1)), std::tuple(6U, 35, 5 + 1));
    EXPECT_EQ(progressOf(SizeOf(3, 7, 5, 3)), std::tuple(16U, 105, 3 * (1 + 5) + 1));
}

TEST(VisitorHelper, ReportsTheStepsOfALineAtOnceToASinkThatAddsThemUp) {
    const auto sinkOf = [](const CSize& size) {
        const FakeImage seen(IMAGE_GREY_8, size, CPos(1, size.x, size.x * size.y), size.x * size.y * size.z,
                             0);
        Collector<unsigned char> visitor;
        test::CSummingSink sink;
        const CapturedOutput silence;
        EXPECT_TRUE(TraverseWith(sink, visitor, seen));
        return std::tuple(sink.sum, sink.calls, sink.questions);
    };
    EXPECT_EQ(sinkOf(SizeOf(1, 7, 1, 1)), std::tuple(7, 1, 1));
    EXPECT_EQ(sinkOf(SizeOf(2, 7, 5, 1)), std::tuple(35, 5, 5 + 1));
    EXPECT_EQ(sinkOf(SizeOf(3, 7, 5, 3)), std::tuple(105, 15, 3 * (1 + 5) + 1));
}

TEST(VisitorHelper, DoesTheSameForEverySink) {
    for (const unsigned seed : test::CRandomSeeds(0, 200)) {
        std::mt19937 random(seed);
        const auto below = [&random](int end) { return static_cast<std::int64_t>(random()) % end; };
        const int dimension = static_cast<int>(1 + below(3));
        const CSize size = SizeOf(dimension, 1 + below(40), dimension > 1 ? 1 + below(4) : 1,
                                  dimension > 2 ? 1 + below(3) : 1);
        // Without gaps and with gaps, each of the two.
        const auto image = [&](const IImage::CType& type, std::int64_t pixelSize) {
            const std::int64_t x = pixelSize * (1 + below(2));
            return FakeImage(type, size, CPos(x, x * size.x, x * size.x * size.y),
                             x * size.x * size.y * size.z, 0);
        };
        FakeImage source = image(IMAGE_GREY_16, 2);
        for (unsigned char& byte : source.memory)
            byte = static_cast<unsigned char>(random());
        FakeImage byPixel = image(IMAGE_GREY_F, 4);
        FakeImage byLine = byPixel;
        const int cancelAt = static_cast<int>(below(20)) - 10;
        RecordingProgress single;
        single.cancelAt = cancelAt;
        single.staysCancelled = false;
        test::CSummingSink sums;
        sums.cancelAt = cancelAt;
        const CapturedOutput silence;
        CopyBack visitor;
        EXPECT_EQ(TraverseWith(single, visitor, source, byPixel),
                  TraverseWith(sums, visitor, source, byLine));
        EXPECT_EQ(byPixel.memory, byLine.memory);
        EXPECT_EQ(single.steps, sums.sum);
        EXPECT_EQ(single.questions, sums.questions);
    }
}

TEST(VisitorHelper, TextNamesTheHelper) {
    const FakeImage image = Compact8(CSize(1, 1, 1));
    Tracker visitor;
    RecordingProgress progress;
    const CapturedOutput silence;
    TraverseWith<2>(progress, visitor, image);
    EXPECT_EQ(progress.texts,
              std::vector<std::string>{"ORVEN::Impl::VisitorHelper<2>::VisitImageData processing..."});
}

TEST(VisitorHelper, TotalOfAHugeImageIsTakenModulo32Bits) {
    const FakeImage image(IMAGE_GREY_8, CSize(1, 70000, 70000));
    Collector<unsigned char> visitor;
    RecordingProgress progress;
    progress.cancelAt = 0;
    const CapturedOutput silence;
    EXPECT_FALSE(TraverseWith(progress, visitor, image));
    EXPECT_EQ(progress.totals, std::vector<unsigned>{static_cast<unsigned>(70000LL * 70000 + 1)});
}

TEST(VisitorHelper, EmptyImageRunsNoPixelButBothEnds) {
    for (const CSize& size : {SizeOf(1, 0, 1, 1), SizeOf(2, 0, 3, 1), SizeOf(2, 3, 0, 1), SizeOf(3, 0, 2, 2),
                              SizeOf(3, 2, 0, 2), SizeOf(3, 2, 2, 0), SizeOf(3, 0, 0, 0)}) {
        SCOPED_TRACE(size.ToString());
        CImage image(IMAGE_GREY_8, size, CSize(0, 0, 0));
        Increment visitor;
        EXPECT_TRUE(Traverse(visitor, image));
        EXPECT_EQ(visitor.visited, 0);
        EXPECT_EQ(visitor.started, 1);
        EXPECT_EQ(visitor.ended, 1);
    }
}

TEST(VisitorHelper, VisitsInRasterOrderWithPositions) {
    for (const CSize& size : {SizeOf(1, 5, 1, 1), SizeOf(2, 5, 3, 1), SizeOf(3, 4, 3, 2)}) {
        SCOPED_TRACE(size.ToString());
        const FakeImage image(IMAGE_GREY_8, size, CPos(1, size.x, size.x * size.y), size.x * size.y * size.z,
                              0);
        Tracker visitor;
        EXPECT_TRUE(Traverse<2>(visitor, image));
        decltype(visitor.seen) expected;
        for (std::int64_t z = 0; z < size.z; ++z) {
            for (std::int64_t y = 0; y < size.y; ++y) {
                for (std::int64_t x = 0; x < size.x; ++x)
                    expected.emplace_back(static_cast<unsigned char>(0xAB), x, y, z);
            }
        }
        EXPECT_EQ(visitor.seen, expected);
    }
}

TEST(VisitorHelper, FollowsTheStridesOfEachImage) {
    // The target runs backwards along x and z with gaps, the source has its planes inside its lines.
    const CSize size(3, 4, 2);
    FakeImage target(IMAGE_GREY_F, size, CPos(-8, 40, -200), 400, 200 + 2 * 8);
    FakeImage source(IMAGE_GREY_16, size, CPos(6, 30, 2), 4 * 30, 0);
    for (std::int64_t z = 0; z < 2; ++z) {
        for (std::int64_t y = 0; y < 4; ++y) {
            for (std::int64_t x = 0; x < 3; ++x)
                source.SetPixel(x, y, z, static_cast<unsigned short>(100 * z + 10 * y + x));
        }
    }
    CopyBack visitor;
    EXPECT_TRUE(Traverse(visitor, source, target));
    for (std::int64_t z = 0; z < 2; ++z) {
        for (std::int64_t y = 0; y < 4; ++y) {
            for (std::int64_t x = 0; x < 3; ++x)
                EXPECT_EQ(target.Pixel<float>(x, y, z), static_cast<float>(100 * z + 10 * y + x));
        }
    }
    EXPECT_EQ(std::ranges::count(target.memory, 0xAB), 400 - 24 * 4) << "gaps were written";
}

TEST(VisitorHelper, LeavesTheBorderOfAnImageAlone) {
    for (const CSize& size : {SizeOf(2, 5, 3, 1), SizeOf(3, 5, 3, 2)}) {
        CImage image(IMAGE_GREY_8, size, CSize(1, 2, 3));
        Increment visitor;
        EXPECT_TRUE(Traverse(visitor, image));
        EXPECT_EQ(visitor.visited, size.PixelCount());
        EXPECT_EQ(test::PixelsOf<unsigned char>(image),
                  std::vector<unsigned char>(static_cast<std::size_t>(size.PixelCount()), 1));
        // A grown box would show a one outside.
        const std::unique_ptr<const IImage::IAccess> access(std::as_const(image).CreateAccess(false));
        CPos last(size.x - 1, size.y - 1, size.z - 1);
        last.SetDim(size.Dim());
        CPos first(0, 0, 0);
        first.SetDim(size.Dim());
        access->Lock(first, last, IImage::LOCK_READ);
        EXPECT_EQ(static_cast<const unsigned char*>(access->ConstData())[-1], 0);
        EXPECT_EQ(static_cast<const unsigned char*>(access->ConstData())[size.x], 0);
    }
}

TEST(VisitorHelper, CopiesRandomImagesOfEveryDimensionAndBorder) {
    for (const unsigned seed : test::CRandomSeeds(1, 61)) {
        std::mt19937 random(seed);
        const auto upTo = [&](unsigned most) { return static_cast<std::int64_t>(random() % (most + 1)); };
        const int dimension = static_cast<int>(1 + upTo(2));
        const CSize size =
            SizeOf(dimension, upTo(9), dimension > 1 ? upTo(9) : 1, dimension > 2 ? upTo(9) : 1);
        const auto plain = test::RandomImage<float>(IMAGE_GREY_F, size, random, -1e6, 1e6);
        CImage bordered(IMAGE_GREY_F, size, SizeOf(dimension, upTo(3), upTo(3), upTo(3)));
        CImage back(IMAGE_GREY_F, size, CSize(0, 0, 0));
        visitors::CCopy<float> copy;
        EXPECT_TRUE(Traverse(copy, bordered, std::as_const(*plain)));
        EXPECT_TRUE(Traverse(copy, back, bordered));
        EXPECT_EQ(test::PixelsOf<float>(back), test::PixelsOf<float>(*plain));
    }
}

// Cancellation.

TEST(VisitorHelper, CancellingAVolumeLeavesTheRestUntouched) {
    constexpr std::int64_t nx = 3;
    constexpr std::int64_t ny = 4;
    constexpr std::int64_t nz = 3;
    constexpr int questionsOfAPlane = 1 + ny;
    for (int question = 0; question < nz * questionsOfAPlane; ++question) {
        SCOPED_TRACE(question);
        Log log;
        FakeImage image = Compact8(CSize(nx, ny, nz));
        image.log = &log;
        Increment visitor;
        RecordingProgress progress;
        progress.cancelAt = question;
        const CapturedOutput silence;
        EXPECT_FALSE(TraverseWith(progress, visitor, image));
        const std::int64_t planes = question / questionsOfAPlane;
        const std::int64_t linesOfThePlane = std::max(0, question % questionsOfAPlane - 1);
        const std::int64_t visited = nx * (planes * ny + linesOfThePlane);
        EXPECT_EQ(visitor.visited, visited);
        std::vector<unsigned char> expected(nx * ny * nz, 0xAB);
        std::fill_n(expected.begin(), visited, static_cast<unsigned char>(0xAC));
        EXPECT_EQ(image.memory, expected);
        EXPECT_EQ(visitor.ended, 1) << "postprocess runs after a cancellation too";
        EXPECT_EQ(progress.finished, 1);
        EXPECT_EQ(progress.steps, visited);
        EXPECT_EQ(std::ranges::count(log, "image: unlock"), planes + (question % questionsOfAPlane > 0));
        EXPECT_EQ(image.openAccesses, 0);
    }
}

TEST(VisitorHelper, CancellingAPlaneLeavesTheRestUntouched) {
    for (int question = 0; question < 4; ++question) {
        SCOPED_TRACE(question);
        FakeImage image(IMAGE_GREY_8, CSize(3, 4), CPos(1, 3), 12, 0);
        Increment visitor;
        RecordingProgress progress;
        progress.cancelAt = question;
        const CapturedOutput silence;
        EXPECT_FALSE(TraverseWith(progress, visitor, image));
        EXPECT_EQ(visitor.visited, 3 * question);
        EXPECT_EQ(visitor.ended, 1);
        EXPECT_EQ(progress.finished, 1);
    }
}

TEST(VisitorHelper, CancellingAtTheVeryEndAnswersFalseForACompleteImage) {
    FakeImage image(IMAGE_GREY_8, CSize(3, 4), CPos(1, 3), 12, 0);
    Increment visitor;
    RecordingProgress progress;
    progress.cancelAt = 4;
    const CapturedOutput silence;
    EXPECT_FALSE(TraverseWith(progress, visitor, image));
    EXPECT_EQ(visitor.visited, 12);
}

TEST(VisitorHelper, ALineIsNeverLeftEarly) {
    FakeImage image(IMAGE_GREY_8, SizeOf(1, 9, 1, 1), CPos(1, 9), 9, 0);
    Increment visitor;
    RecordingProgress progress;
    progress.cancelAt = 0;
    const CapturedOutput silence;
    EXPECT_FALSE(TraverseWith(progress, visitor, image));
    EXPECT_EQ(visitor.visited, 9);
    EXPECT_EQ(progress.questions, 1);
}

TEST(VisitorHelper, AMomentaryCancellationAtALineLeavesThatPlaneOnly) {
    FakeImage image = Compact8(CSize(3, 4, 3));
    Increment visitor;
    RecordingProgress progress;
    progress.cancelAt = (1 + 4) + 1 + 2; // the third line of the second plane
    progress.staysCancelled = false;
    const CapturedOutput silence;
    EXPECT_TRUE(TraverseWith(progress, visitor, image));
    EXPECT_EQ(visitor.visited, 3 * (4 + 2 + 4));
}

// Failures on the way.

TEST(VisitorHelper, ExceptionsOfAVisitorUnlockNothingAndDestroyTheAccesses) {
    for (const char* place : {"preprocess", "pixel", "postprocess"}) {
        SCOPED_TRACE(place);
        LoggedPair pair;
        pair.visitor.raisesAt = place;
        EXPECT_STREQ(Raised<std::runtime_error>([&] { pair.Visit(); }).what(), place);
        ASSERT_GE(pair.log.size(), 3U);
        EXPECT_EQ((Log{pair.log.end() - 3, pair.log.end()}),
                  (Log{place, "second: destroyed", "first: destroyed"}));
        EXPECT_EQ(pair.first.openAccesses + pair.second.openAccesses, 0);
        EXPECT_EQ(pair.progress.finished, 0);
    }
}

TEST(VisitorHelper, FailureToOpenTheSecondImageClosesTheFirst) {
    LoggedPair pair;
    pair.second.refusesAccess = true;
    EXPECT_THROW(pair.Visit(), std::runtime_error);
    EXPECT_EQ(pair.log, (Log{"first: access false", "first: destroyed"}));
}

TEST(VisitorHelper, AVisitorThatOnlyReadsSeesAConstImage) {
    Log log;
    FakeImage image = Compact8(CSize(1, 1, 1));
    image.log = &log;
    Collector<unsigned char> visitor;
    EXPECT_TRUE(Traverse(visitor, image));
    EXPECT_EQ(log.at(0), "image: const access false");
    EXPECT_EQ(log.at(1), "image: lock (0,0,0) to (0,0,0) mode 1");
}
