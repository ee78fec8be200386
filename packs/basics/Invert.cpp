#include "Invert.h"

#include "pixels/PixelLoops.h"

namespace quillon::basics {

using namespace ORVEN;

StResult CInvertPlugin::Compute(const CImage& image) {
    StResult result{NewImage(image.Type(), image.Size()), "invert()"};
    CProgressProxy progress = HostProgress();
    const char* const phase = "Inverting...";
    if (image.Type().IsBinary()) {
        MapPixels<unsigned char, unsigned char>(
            image, *result.image, progress, phase,
            [](unsigned char pixel) { return static_cast<unsigned char>(pixel == 0); });
        return result;
    }
    const double range = RangeOf(image, progress).greatest;
    DispatchGreyType(Name(), image.Type(), [&]<class T>(std::type_identity<T>) {
        const T greatest = PixelOf<T>(range);
        MapPixels<T, T>(image, *result.image, progress, phase,
                        [greatest](T pixel) { return static_cast<T>(greatest - pixel); });
    });
    return result;
}

} // namespace quillon::basics
