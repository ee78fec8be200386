#include "pixels/PixelLoops.h"

#include <QuillonBase/CProgressProxy.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <vector>

namespace quillon::basics {

using namespace ORVEN;

bool IsPacked(const CImage& image) {
    return DispatchRealType("IsPacked", image.Type(), [&]<class T>(std::type_identity<T>) {
        const CImageView<const T> view(image);
        return (view.ny < 2 || view.Row(1, 0) - view.Row(0, 0) == view.nx) &&
               (view.nz < 2 || view.Row(0, 1) - view.Row(0, 0) == view.nx * view.ny);
    });
}

std::unique_ptr<CImage> PackedCopyOf(const CImage& image) {
    auto copy = NewImage(image.Type(), image.Size());
    DispatchRealType("PackedCopyOf", image.Type(), [&]<class T>(std::type_identity<T>) {
        CProgressProxy silent;
        MapPixels<T, T>(image, *copy, silent, "", [](T pixel) { return pixel; });
    });
    return copy;
}

StRange RangeOf(const CImage& image, IProgress& progress) {
    return DispatchRealType("RangeOf", image.Type(), [&]<class T>(std::type_identity<T>) {
        const CImageView<const T> view(image);
        std::vector<StRange> planes(static_cast<std::size_t>(view.nz));
        progress.Start(static_cast<unsigned>(view.nz), "Finding the range of grey values...");
        ParallelFor(view.nz, progress, [&](CWorkerTurn& turn) {
            return [&, pace = CWorkPace(turn)](std::int64_t z) mutable {
                T least = std::numeric_limits<T>::max();
                T greatest = std::numeric_limits<T>::lowest();
                bool hasNumber = false;
                for (std::int64_t y = 0; y < view.ny && !pace.IsCancelled(); ++y) {
                    const T* const row = view.Row(y, z);
                    for (std::int64_t x = 0; x < view.nx; ++x) {
                        hasNumber = hasNumber || row[x] == row[x];
                        least = row[x] < least ? row[x] : least; // this order of operands skips NaN
                        greatest = row[x] > greatest ? row[x] : greatest;
                    }
                    (void)pace.Add(view.nx);
                }
                if (hasNumber)
                    planes[static_cast<std::size_t>(z)] = {static_cast<double>(least),
                                                           static_cast<double>(greatest)};
            };
        });
        progress.Finish();
        StRange range;
        for (const StRange& plane : planes) {
            range.least = std::min(range.least, plane.least);
            range.greatest = std::max(range.greatest, plane.greatest);
        }
        return range;
    });
}

void StoreMinMax(CImage& image, IProgress& progress) {
    const StRange range = RangeOf(image, progress);
    CQuillonHeaderTools::SetMinMax(image, range.least, range.greatest);
}

} // namespace quillon::basics
