#include "Mask.h"

#include "pixels/PixelLoops.h"

#include <cmath>

namespace quillon::basics {

using namespace ORVEN;

void CMaskPlugin::ReadParameters(const CValueMap& tree) {
    m_image2 = ReadImage2(tree);
    m_outside = ReadNumber(tree, "outside").value_or(0.0);
}

StResult CMaskPlugin::Compute(const CImage& image) {
    if (m_image2 == nullptr)
        Refuse("Image2, the mask, is missing.");
    if (!(m_image2->Type() == IMAGE_BINARY_FG))
        Refuse(std::string("Image2 must be binary and has the type ") + m_image2->Type().ToString() + ".");
    RequireSameSize(image, *m_image2);

    StResult result{NewImage(image.Type(), image.Size()), {}};
    result.keepsMeaning = true;
    DispatchRealType(Name(), image.Type(), [&]<class T>(std::type_identity<T>) {
        if constexpr (!std::is_same_v<T, float>) {
            const double greatest =
                image.Type().IsBinary() ? 1.0 : static_cast<double>(std::numeric_limits<T>::max());
            if (!(m_outside >= 0.0 && m_outside <= greatest && m_outside == std::trunc(m_outside)))
                Refuse("outside = " + TextOf(m_outside) + " must be a whole number from 0 to " +
                       TextOf(greatest) + " for this type of image.");
        }
        const auto outside = static_cast<T>(m_outside);
        const CImageView<const T> pixels(image);
        const CImageView<const unsigned char> mask(*m_image2);
        const CImageView<T> masked(*result.image);
        CProgressProxy progress = HostProgress();
        ForEachRowInParallel(masked, 2, progress, "Masking...", [&](std::int64_t y, std::int64_t z) {
            const T* const row = pixels.Row(y, z);
            std::transform(
                row, row + masked.nx, mask.Row(y, z), masked.Row(y, z),
                [outside](T pixel, unsigned char isInside) { return isInside != 0 ? pixel : outside; });
        });
    });
    result.history = "mask(Image2,outside=" + TextOf(m_outside) + ")";
    return result;
}

} // namespace quillon::basics
