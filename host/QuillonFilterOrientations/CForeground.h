#pragma once

#include <QuillonBase/IProgress.h>
#include <sorblib2image/ImageView.h>

#include <array>
#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

namespace ORVEN::Impl {

/// The set of pixels of an image that are fibre.
class CForeground {
public:
    /// Selects the pixels of an 8-bit image above `factor` times Otsu's threshold: the smallest grey value T
    /// that maximizes the variance between the values up to T and those above, in the histogram of the whole
    /// image. A constant image has no foreground; its threshold counts as 255 for any factor. Returns nothing
    /// if cancelled.
    static std::optional<CForeground> ByOtsu(const IImage& image, double factor, IProgress& progress);

    /// The grey value that pixels must exceed, from the number of pixels of each grey value.
    static double ThresholdByOtsu(const std::array<std::int64_t, 256>& histogram, double factor);

    /// Selects the pixels that are not 0 in a mask, a binary or grey image of the same size.
    explicit CForeground(const IImage& mask);

    /// Appends the foreground pixels of row (y, z) from x = `begin` to before `end`, in ascending order.
    void Collect(std::int64_t y, std::int64_t z, std::int64_t begin, std::int64_t end,
                 std::vector<std::int64_t>& xs) const;

    /// The grey value that foreground pixels must exceed; 0 for a mask.
    [[nodiscard]] double Threshold() const { return m_threshold; }

private:
    using Bytes = CImageView<const unsigned char>;
    using View = std::variant<Bytes, CImageView<const unsigned short>, CImageView<const unsigned int>,
                              CImageView<const float>>;

    CForeground(const IImage& image, double threshold);
    static View ViewOf(const IImage& mask);

    View m_view;
    double m_threshold = 0.0;
    unsigned m_least = 1; ///< the smallest integer grey value that is foreground
};

} // namespace ORVEN::Impl
