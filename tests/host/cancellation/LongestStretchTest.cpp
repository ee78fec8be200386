#include "host/cancellation/CStepCounter.h"

#include <QuillonBase/CProgressProxy.h>
#include <QuillonBase/CWorkPace.h>
#include <QuillonFilter/CPartialDerivatives.h>
#include <QuillonFilter/CYoungVanVliet.h>
#include <QuillonFilterOrientations/CSubfieldFiberDirections.h>
#include <QuillonGranulometry/CGranulometry.h>
#include <QuillonMeasurement/CExtractorLabelData.h>
#include <QuillonTransformation/CEdtVoronoi.h>
#include <QuillonTransformation/CSkeletonCouprierZour.h>
#include <QuillonTransformation/CSphericalMorphology.h>
#include <QuillonTransformation/axis/BisectorKernel.h>
#include <QuillonTransformation/axis/CCoveringTable.h>
#include <QuillonTransformation/axis/MedialAxisKernel.h>
#include <QuillonTransformation/distance/SquaredDistances.h>
#include <QuillonTransformation/thinning/SimplePoints.h>
#include <QuillonUtils/CCylinderMask.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

// How much work the algorithm classes do without asking whether to go on. Images are so large that what the
// threads deal out among themselves, a plane or a slab, would be too much.

using namespace ORVEN;

namespace {

/// Less than 20 ms on any processor of the last ten years.
constexpr std::int64_t c_longestStretch = 6'000'000;

/// Measures the steps from question to question, and cancels at one of them.
class CQuestioned : public IProgress {
public:
    explicit CQuestioned(std::int64_t cancelAt = std::numeric_limits<std::int64_t>::max())
        : m_cancelAt(cancelAt)
        , m_last(test::CStepCounter::Steps()) {}

    void Start(unsigned /*total*/, const char* /*text*/) override {}
    void SetText(const char* /*text*/) override {}
    void Step(unsigned /*amount*/, int /*flag*/) override {}
    void SetPosition(unsigned /*position*/) override {}
    void Finish() override {}
    void Cancel() override {}
    bool IsCancelled() override {
        EndStretch();
        return m_questions++ >= m_cancelAt;
    }

    /// Counts what has been done since the last question.
    void EndStretch() {
        const std::int64_t now = test::CStepCounter::Steps();
        const std::int64_t stretch = now - m_last;
        m_last = now;
        if (m_questions > m_cancelAt)
            m_afterCancellation += stretch;
        else
            m_longest = std::max(m_longest, stretch);
        m_total += stretch;
    }

    [[nodiscard]] std::int64_t Questions() const { return m_questions; }
    [[nodiscard]] std::int64_t Longest() const { return m_longest; }
    [[nodiscard]] std::int64_t AfterCancellation() const { return m_afterCancellation; }
    [[nodiscard]] std::int64_t Total() const { return m_total; }

private:
    std::int64_t m_cancelAt;
    std::int64_t m_last;
    std::int64_t m_questions = 0;
    std::int64_t m_longest = 0;
    std::int64_t m_afterCancellation = 0;
    std::int64_t m_total = 0;
};

std::unique_ptr<CImage> NewImage(const IImage::CType& type, const CSize& size) {
    return std::make_unique<CImage>(type, size, CSize(0, 0, 0));
}

template <class T>
void FillWith(CImage& image, const std::function<T(std::int64_t x, std::int64_t y, std::int64_t z)>& pixel) {
    const CImageView<T> view(image);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x)
                view.Row(y, z)[x] = pixel(x, y, z);
        }
    }
}

std::unique_ptr<CImage> Solid(const CSize& size) {
    auto image = NewImage(IMAGE_BINARY_FG, size);
    FillWith<unsigned char>(*image, [](auto...) { return static_cast<unsigned char>(1); });
    return image;
}

/// An object with a hole every so many pixels.
std::unique_ptr<CImage> Pierced(const CSize& size, std::int64_t period) {
    auto image = NewImage(IMAGE_BINARY_FG, size);
    FillWith<unsigned char>(*image, [period](std::int64_t x, std::int64_t y, std::int64_t z) {
        return static_cast<unsigned char>(x % period == 3 && y % period == 5 && z % period == 2 ? 0 : 1);
    });
    return image;
}

std::unique_ptr<CImage> Disc(std::int64_t edge) {
    CSize size(edge, edge);
    auto image = NewImage(IMAGE_BINARY_FG, size);
    FillWith<unsigned char>(*image, [edge](std::int64_t x, std::int64_t y, std::int64_t /*z*/) {
        const std::int64_t dx = 2 * x - edge;
        const std::int64_t dy = 2 * y - edge;
        return static_cast<unsigned char>(dx * dx + dy * dy < (edge - 20) * (edge - 20) ? 1 : 0);
    });
    return image;
}

template <class T>
std::unique_ptr<CImage> Textured(const IImage::CType& type, const CSize& size) {
    auto image = NewImage(type, size);
    FillWith<T>(*image, [](std::int64_t x, std::int64_t y, std::int64_t z) {
        return static_cast<T>((x * 7 + y * 13 + z * 29 + x * y / 5) % 200);
    });
    return image;
}

std::unique_ptr<CImage> DistancesOf(const CImage& object) {
    auto distance = NewImage(IMAGE_GREY_32, object.Size());
    CProgressProxy progress;
    SquaredDistancesToBackground(object, *distance, progress);
    return distance;
}

using Bytes = std::vector<unsigned char>;

Bytes BytesOf(const CImage& image) {
    const std::unique_ptr<const IImage::IAccess> access(image.CreateAccess(false));
    Impl::LockWhole(*access, image.Size(), IImage::LOCK_READ);
    const auto* const first = static_cast<const unsigned char*>(access->ConstData());
    return Bytes(first, first + image.Size().PixelCount() * image.Type().PixelSize());
}

/// One algorithm at work on one image.
struct StWork {
    std::function<void(IProgress& progress)> run;
    /// The result as bytes.
    std::function<Bytes()> result;
    /// Whether the bytes are all 0 after a cancellation; where work is done in place they cannot be.
    bool isCleared;
};

StWork InPlace(StWork work) {
    work.isCleared = false;
    return work;
}

template <class T>
void CopyPixels(const CImage& from, CImage& to) {
    const CImageView<const T> source(from);
    FillWith<T>(to, [&](std::int64_t x, std::int64_t y, std::int64_t z) { return source.Row(y, z)[x]; });
}

StWork WorkOn(std::shared_ptr<CImage> output, std::function<void(IProgress& progress, CImage& output)> run) {
    return {[output, run = std::move(run)](IProgress& progress) { run(progress, *output); },
            [output] { return BytesOf(*output); }, true};
}

StWork DistanceMap(const CSize& size, std::int64_t period) {
    return WorkOn(NewImage(IMAGE_GREY_F, size),
                  [image = std::shared_ptr(Pierced(size, period))](IProgress& progress, CImage& output) {
                      CEdtVoronoi algorithm(nullptr, nullptr);
                      algorithm.SetProgress(CProgressProxy(&progress));
                      algorithm.CalculateDistanceMap(output, *image, false, true, false, true);
                  });
}

StWork Morphology(void (CSphericalMorphology::*operation)(IImage&, IImage&, float), const CSize& size,
                  float radius) {
    return WorkOn(
        NewImage(IMAGE_BINARY_FG, size),
        [operation, radius, image = std::shared_ptr(Pierced(size, 40))](IProgress& progress, CImage& output) {
            CSphericalMorphology algorithm(nullptr, nullptr);
            algorithm.SetProgress(CProgressProxy(&progress));
            (algorithm.*operation)(output, *image, radius);
        });
}

StWork MedialAxis(const CSize& size) {
    return WorkOn(NewImage(IMAGE_BINARY_FG, size), [distance = std::shared_ptr(DistancesOf(*Solid(size)))](
                                                       IProgress& progress, CImage& output) {
        MarkMedialAxis(*distance, output, 0, {}, progress);
    });
}

StWork Bisector(const CSize& size) {
    const std::shared_ptr<CImage> object = Solid(size);
    return WorkOn(NewImage(IMAGE_GREY_F, size), [object, distance = std::shared_ptr(DistancesOf(*object))](
                                                    IProgress& progress, CImage& output) {
        ComputeBisector(*distance, *object, output, 0.0F, {}, progress);
    });
}

StWork Skeleton(const CSize& size) {
    // A table of the whole process, made at once at its first use.
    (void)CSimplePoints<CNeighborhood3dDiffN26>::Obj();
    return WorkOn(NewImage(IMAGE_BINARY_FG, size),
                  [object = std::shared_ptr(Pierced(size, 30))](IProgress& progress, CImage& output) {
                      CSkeletonCouprierZour algorithm(nullptr, nullptr);
                      CProgressProxy proxy(&progress);
                      algorithm.RunSkeletonCouprierZour(*object, output, "N26", 4, 1.0F, proxy, false);
                  });
}

StWork Granulometry(std::shared_ptr<CImage> image, bool isFiltered, int mode) {
    return WorkOn(NewImage(IMAGE_GREY_F, image->Size()), [=](IProgress& progress, CImage& output) {
        CGranulometry algorithm(nullptr, nullptr);
        algorithm.SetProgress(CProgressProxy(&progress));
        std::map<float, std::uint64_t> histogram;
        algorithm.DoSphereGranulometryBinned(*image, output, histogram, -1.0, isFiltered, true, mode);
    });
}

StWork GaussFilter(const CSize& size, double sigma) {
    return InPlace(WorkOn(NewImage(IMAGE_GREY_F, size),
                          [sigma, image = std::shared_ptr(Textured<unsigned char>(IMAGE_GREY_8, size))](
                              IProgress& progress, CImage& output) {
                              CYoungVanVliet algorithm(sigma, nullptr, nullptr);
                              algorithm.SetProgress(CProgressProxy(&progress));
                              algorithm.gauss(output, *image);
                          }));
}

StWork Derivative(const CSize& size) {
    return InPlace(WorkOn(NewImage(IMAGE_GREY_16, size),
                          [original = std::shared_ptr(Textured<unsigned short>(IMAGE_GREY_16, size))](
                              IProgress& progress, CImage& output) {
                              CopyPixels<unsigned short>(*original, output);
                              CPartialDerivatives algorithm(nullptr, nullptr);
                              algorithm.SetProgress(CProgressProxy(&progress));
                              algorithm.Derivative(output, 1, 2, 0);
                          }));
}

StWork CylinderMask(const CSize& size) {
    return InPlace(WorkOn(NewImage(IMAGE_GREY_16, size),
                          [original = std::shared_ptr(Textured<unsigned short>(IMAGE_GREY_16, size))](
                              IProgress& progress, CImage& output) {
                              CopyPixels<unsigned short>(*original, output);
                              CCylinderMask algorithm(nullptr, nullptr);
                              algorithm.SetProgress(CProgressProxy(&progress));
                              algorithm.SetCylinderParameters(output, CString("Z", CString::ENC_UTF8), 50.0,
                                                              1.0, 20.0);
                              algorithm.MaskImageWithMetaInfoCylinder(output, 3.0);
                          }));
}

StWork LabelData(const CSize& size) {
    const auto data = std::make_shared<StLabelingData>();
    return InPlace(
        {[data, image = std::shared_ptr(Textured<unsigned char>(IMAGE_GREY_8, size))](IProgress& progress) {
             CExtractorLabelData algorithm(nullptr, nullptr);
             algorithm.SetProgress(CProgressProxy(&progress));
             algorithm.Extract(*image, *data);
         },
         [data] {
             const auto* const first = reinterpret_cast<const unsigned char*>(data->volume.data());
             return Bytes(first, first + data->volume.size() * sizeof data->volume[0]);
         },
         true});
}

StWork FiberDirections(const CSize& size) {
    const auto count = std::make_shared<std::size_t>(0);
    return {
        [count, image = std::shared_ptr(Textured<unsigned char>(IMAGE_GREY_8, size))](IProgress& progress) {
            CSubfieldFiberDirections algorithm(2.0, 1.0, 0, 0, 0);
            algorithm.SetProgress(CProgressProxy(&progress));
            std::string history;
            const std::unique_ptr<CValueMap> map(algorithm.Compute(*image, history, nullptr, false));
            *count = map != nullptr ? map->Size() : 0;
        },
        [count] { return Bytes(1, static_cast<unsigned char>(*count)); }, true};
}

/// Larger than the tables that are kept.
StWork CoveringTable() {
    const auto isEmpty = std::make_shared<bool>(true);
    return {[isEmpty](IProgress& progress) {
                CWorkPace pace(progress);
                *isEmpty = CCoveringTable::ForImage({}, 129 * 129, pace) == nullptr;
            },
            [isEmpty] { return Bytes(1, *isEmpty ? 0 : 1); }, true};
}

struct StCase {
    const char* name;
    StWork (*prepare)();
};

std::ostream& operator<<(std::ostream& stream, const StCase& value) { return stream << value.name; }

const CSize c_planes(320, 320, 17);
const CSize c_largePlanes(520, 520, 16);
const CSize c_plate(300, 300, 21);

const StCase c_cases[] = {
    {"DistanceMapOfLargePlanes", [] { return DistanceMap(c_planes, 40); }},
    {"DistanceMapOfFarSeeds", [] { return DistanceMap(c_planes, 600); }},
    {"DistanceMapOfLongLines", [] { return DistanceMap(CSize(40, 60000), 50); }},
    {"Opening", [] { return Morphology(&CSphericalMorphology::Opening, c_largePlanes, 12.0F); }},
    {"ErosionWithALargeBall", [] { return Morphology(&CSphericalMorphology::Erode, c_planes, 130.0F); }},
    {"Closing", [] { return Morphology(&CSphericalMorphology::Closing, c_largePlanes, 5.0F); }},
    {"ClosingWithALargeBall",
     [] { return Morphology(&CSphericalMorphology::Closing, CSize(80, 80, 80), 130.0F); }},
    {"CoveringTable", CoveringTable},
    {"MedialAxisOfAPlate", [] { return MedialAxis(c_plate); }},
    {"MedialAxisOfABlock", [] { return MedialAxis(CSize(120, 120, 120)); }},
    {"BisectorOfAPlate", [] { return Bisector(CSize(160, 160, 21)); }},
    {"BisectorOfABlock", [] { return Bisector(CSize(70, 70, 70)); }},
    {"SkeletonOfLargePlanes", [] { return Skeleton(CSize(300, 300, 17)); }},
    {"OpeningSizesOfABlock", [] { return Granulometry(Solid(CSize(110, 110, 110)), false, 0); }},
    {"OpeningSizesOfLargePlanes", [] { return Granulometry(Pierced(c_planes, 40), false, 1); }},
    {"MaximalBallsOfABlock", [] { return Granulometry(Solid(CSize(140, 140, 140)), true, 0); }},
    {"MaximalBallsOfADisc", [] { return Granulometry(Disc(300), true, 0); }},
    {"GaussFilterOfLargePlanes", [] { return GaussFilter(CSize(1300, 1300, 5), 2.0); }},
    {"GaussFilterOfLongLines", [] { return GaussFilter(CSize(600000, 7), 2.0); }},
    {"NarrowGaussFilterOfLongLines", [] { return GaussFilter(CSize(3, 500000), 0.5); }},
    {"DerivativeOfLargePlanes", [] { return Derivative(CSize(600, 600, 9)); }},
    {"DerivativeOfLongLines", [] { return Derivative(CSize(3, 800000)); }},
    {"CylinderMask", [] { return CylinderMask(CSize(3500000, 5, 2)); }},
    {"LabelData", [] { return LabelData(CSize(2000000, 4, 1)); }},
    {"FiberDirectionsOfLargePlanes", [] { return FiberDirections(CSize(600, 600, 12)); }},
    {"NoBallsInLargePlanes",
     [] { return Granulometry(NewImage(IMAGE_BINARY_FG, CSize(700, 700, 16)), false, 0); }},
};

class LongestStretch : public testing::TestWithParam<StCase> {
public:
    LongestStretch() { SetThreadCount(1); }
    ~LongestStretch() override { SetThreadCount(0); }
};

INSTANTIATE_TEST_SUITE_P(Of, LongestStretch, testing::ValuesIn(c_cases),
                         [](const auto& testCase) { return testCase.param.name; });

} // namespace

TEST_P(LongestStretch, IsShortAndACancellationEndsItSoon) {
    const StWork work = GetParam().prepare();
    std::int64_t questions = 0;
    for (const char* const state : {"first run", "run that finds tables of the one before"}) {
        SCOPED_TRACE(state);
        CQuestioned complete;
        work.run(complete);
        complete.EndStretch();
        EXPECT_LE(complete.Longest(), c_longestStretch);
        // Otherwise the image is too small for the case to tell anything.
        EXPECT_GE(complete.Total(), 5 * c_longestStretch);
        questions = complete.Questions();
    }
    const Bytes result = work.result();
    if (HasFailure())
        return;

    for (const std::int64_t cancelAt : {std::int64_t{0}, questions / 3, questions - 2}) {
        SCOPED_TRACE("cancelled at question " + std::to_string(cancelAt) + " of " +
                     std::to_string(questions));
        CQuestioned cancelled(cancelAt);
        work.run(cancelled);
        cancelled.EndStretch();
        EXPECT_LE(cancelled.Questions(), cancelAt + 10); // a question a phase at most
        // The result is cleared.
        EXPECT_LE(cancelled.AfterCancellation(), c_longestStretch + static_cast<std::int64_t>(result.size()));
        if (work.isCleared) {
            EXPECT_EQ(work.result(), Bytes(result.size(), 0));
        }
    }
    CProgressProxy none;
    work.run(none);
    EXPECT_EQ(work.result(), result);
}
