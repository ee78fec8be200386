#include "QuillonUtils/CCylinderMask.h"

#include <QuillonBase/CWorkPace.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/GreyTypeDispatch.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <type_traits>
#include <vector>

namespace ORVEN {

namespace {

const char* const c_record = "CylinderMask";
const char* const c_axis = "axis";
const char* const c_s = "s";
const char* const c_t = "t";
const char* const c_radius = "radius";

struct StCylinder {
    [[nodiscard]] bool Contains(std::int64_t p, std::int64_t q) const {
        const double fromS = static_cast<double>(p) - s;
        const double fromT = static_cast<double>(q) - t;
        return radius >= 0 && fromS * fromS + fromT * fromT <= radius * radius;
    }

    char axis;
    double s;
    double t;
    double radius;
};

/// Copies the record of the image into `record`; false if it is missing or incomplete.
bool ReadRecord(const CImage& image, CValueMap& record) {
    return CQuillonHeaderTools::GetMetaInfo(image, c_record, record) &&
           record.HasEntry(c_axis, typeid(CValueString)) && record.HasEntry(c_s, typeid(CValueDouble)) &&
           record.HasEntry(c_t, typeid(CValueDouble)) && record.HasEntry(c_radius, typeid(CValueDouble));
}

std::optional<StCylinder> RecordedCylinder(const CImage& image) {
    CValueMap record;
    if (!ReadRecord(image, record))
        return std::nullopt;
    const auto number = [&record](const char* key) { return record.Entry(key, true)->Double(); };
    const char* const axis = record.Entry(c_axis, true)->String();
    return StCylinder{axis[0], number(c_s), number(c_t), number(c_radius)};
}

/// The pixels of a row from `begin` (included) to `end` (excluded).
struct StRun {
    std::int64_t begin;
    std::int64_t end;
};

/// The first position from `begin` on for which `isBefore` is false, or `end`. `isBefore` must be true up to
/// some position and false after it.
template <class IsBefore>
std::int64_t Bisect(std::int64_t begin, std::int64_t end, const IsBefore& isBefore) {
    while (begin < end) {
        const std::int64_t middle = begin + (end - begin) / 2;
        if (isBefore(middle))
            begin = middle + 1;
        else
            end = middle;
    }
    return begin;
}

/// Which of the pixels 0 to length - 1 of a row are inside. They form one run around the pixel nearest to the
/// centre. As rounding is monotonic, the test itself can be bisected. An end computed from a square root
/// could be off by one pixel.
StRun InsideRun(const StCylinder& cylinder, std::int64_t length, std::int64_t q) {
    // NaN selects some pixel as well, but contains nothing.
    const double last = static_cast<double>(length - 1);
    const auto nearest = static_cast<std::int64_t>(std::fmax(0.0, std::fmin(std::round(cylinder.s), last)));
    const auto isInside = [&](std::int64_t p) { return cylinder.Contains(p, q); };
    return {Bisect(0, nearest, std::not_fn(isInside)), Bisect(nearest, length, isInside)};
}

/// The runs of all rows of a cross-section.
std::vector<StRun> InsideRuns(const StCylinder& cylinder, std::int64_t length, std::int64_t rowCount) {
    std::vector<StRun> runs;
    runs.reserve(static_cast<std::size_t>(rowCount));
    for (std::int64_t row = 0; row < rowCount; ++row)
        runs.push_back(InsideRun(cylinder, length, row));
    return runs;
}

/// Fills the pixels outside `insideRun(y, z)` in each row.
template <class T, class RunOfRow>
void FillOutside(const CImageView<T>& view, T value, IProgress& progress, const RunOfRow& insideRun) {
    progress.Start(static_cast<unsigned>(view.nz), "Masking with a cylinder...");
    ParallelFor(view.nz, progress, [&](CWorkerTurn& turn) {
        return [&, pace = CWorkPace(turn)](std::int64_t z) mutable {
            for (std::int64_t y = 0; y < view.ny && !pace.IsCancelled(); ++y) {
                T* const row = view.Row(y, z);
                const StRun inside = insideRun(y, z);
                const auto fill = [&](std::int64_t begin, std::int64_t end) {
                    ForEachPiece(end - begin, 1, pace, [&](std::int64_t first, std::int64_t behind) {
                        std::fill(row + begin + first, row + begin + behind, value);
                    });
                };
                fill(0, inside.begin);
                fill(inside.end, view.nx);
                (void)pace.Add(64);
            }
        };
    });
    progress.Finish();
}

template <class T>
void FillOutside(const CImageView<T>& view, T value, IProgress& progress, const StCylinder& cylinder) {
    if (cylinder.axis == 'X') {
        FillOutside(view, value, progress, [&](std::int64_t y, std::int64_t z) {
            return StRun{0, cylinder.Contains(y, z) ? view.nx : 0};
        });
        return;
    }
    const bool isAlongY = cylinder.axis == 'Y';
    const std::vector<StRun> runs = InsideRuns(cylinder, view.nx, isAlongY ? view.nz : view.ny);
    FillOutside(view, value, progress, [&](std::int64_t y, std::int64_t z) {
        return runs[static_cast<std::size_t>(isAlongY ? z : y)];
    });
}

/// Converts the value to a pixel with the maximum `greatest`.
template <class T>
T PixelOf(double value, T greatest) {
    if constexpr (std::is_same_v<T, float>) {
        const double cut = std::clamp<double>(value, -greatest, greatest);
        return static_cast<float>(std::isfinite(value) ? cut : value);
    } else {
        return static_cast<T>(std::fmin(std::fmax(std::round(value), 0.0), greatest)); // NaN becomes 0
    }
}

template <class T>
void MaskPixels(CImage& image, double value, T greatest, IProgress& progress, const StCylinder& cylinder) {
    FillOutside(CImageView<T>(image), PixelOf(value, greatest), progress, cylinder);
}

} // namespace

CCylinderMask::CCylinderMask(const char* name, const IObject* parent)
    : CAlgorithm(name, parent) {}

CCylinderMask::~CCylinderMask() = default;

void CCylinderMask::SetCylinderParameters(CImage& image, const CString& axis, double s, double t,
                                          double radius) const {
    CValueMap record;
    record.SetEntry(c_axis, new CValueString(axis));
    record.SetEntry(c_s, new CValueDouble(s));
    record.SetEntry(c_t, new CValueDouble(t));
    record.SetEntry(c_radius, new CValueDouble(radius));
    CQuillonHeaderTools::SetMetaInfo(image, c_record, record);
}

bool CCylinderMask::CopyMetaInfo(const CImage& source, CImage& target) const {
    CValueMap record;
    if (!ReadRecord(source, record))
        return false;
    CQuillonHeaderTools::SetMetaInfo(target, c_record, record);
    return true;
}

void CCylinderMask::MaskImageWithMetaInfoCylinder(CImage& image, double value) const {
    const std::optional<StCylinder> cylinder = RecordedCylinder(image);
    if (!cylinder)
        return;
    if (image.Type().IsBinary()) {
        MaskPixels<unsigned char>(image, value, 1, Progress(), *cylinder);
        return;
    }
    DispatchGreyType("CCylinderMask::MaskImageWithMetaInfoCylinder", image.Type(),
                     [&]<class T>(std::type_identity<T>) {
                         MaskPixels<T>(image, value, std::numeric_limits<T>::max(), Progress(), *cylinder);
                     });
}

} // namespace ORVEN
