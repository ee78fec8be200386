#include "bench/GrowingStructures.h"

#include "engine/files/ImageFile.h"

#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <stdexcept>
#include <vector>

namespace bench {

using namespace ORVEN;

namespace {

/// A structure as numbers that are positive in the foreground, x fastest.
struct StField {
    StField(std::int64_t length, float value)
        : edge(length)
        , values(static_cast<std::size_t>(length * length * length), value) {}

    [[nodiscard]] float* Row(std::int64_t y, std::int64_t z) { return values.data() + (z * edge + y) * edge; }

    std::int64_t edge;
    std::vector<float> values;
};

/// Balls with radii of a 24th to an 8th of the edge at random positions that may overlap; half of the volume.
StField Spheres(std::int64_t edge) {
    StField field(edge, -0.5F);
    std::mt19937 random(1);
    const auto draw = [&random] { return static_cast<double>(random()) / 4294967296.0; };
    const auto size = static_cast<double>(edge);
    double missing = std::numbers::ln2;
    while (missing > 0.0) {
        const std::array<double, 3> center{draw() * size, draw() * size, draw() * size};
        const double share = 1.0 / 24 + draw() / 12;
        missing -= 4.0 / 3.0 * std::numbers::pi * share * share * share;
        const double radius = share * size;
        const auto first = [&](std::size_t axis) {
            return std::max<std::int64_t>(0, static_cast<std::int64_t>(center[axis] - radius));
        };
        const auto end = [&](std::size_t axis) {
            return std::min(edge, static_cast<std::int64_t>(center[axis] + radius) + 2);
        };
        for (std::int64_t z = first(2); z < end(2); ++z) {
            for (std::int64_t y = first(1); y < end(1); ++y) {
                float* const row = field.Row(y, z);
                const double rest = std::pow(static_cast<double>(y) - center[1], 2) +
                                    std::pow(static_cast<double>(z) - center[2], 2);
                for (std::int64_t x = first(0); x < end(0); ++x) {
                    const double square = rest + std::pow(static_cast<double>(x) - center[0], 2);
                    row[x] = std::max(row[x], static_cast<float>(1.0 - square / (radius * radius)));
                }
            }
        }
    }
    return field;
}

/// Six plane waves to the edge in random directions, added: an open foam, half of it solid.
StField Foam(std::int64_t edge) {
    constexpr int waveCount = 24;
    StField field(edge, 0.0F);
    std::mt19937 random(1);
    const auto draw = [&random] { return static_cast<double>(random()) / 4294967296.0; };
    for (int wave = 0; wave < waveCount; ++wave) {
        const double height = 2.0 * draw() - 1.0;
        const double angle = 2.0 * std::numbers::pi * draw();
        const double phase = 2.0 * std::numbers::pi * draw();
        const double perPixel = 2.0 * std::numbers::pi * 6.0 / static_cast<double>(edge);
        const double flat = std::sqrt(1.0 - height * height) * perPixel;
        std::vector<float> cosines;
        std::vector<float> sines;
        for (std::int64_t x = 0; x < edge; ++x) {
            cosines.push_back(static_cast<float>(std::cos(flat * std::cos(angle) * static_cast<double>(x))));
            sines.push_back(static_cast<float>(std::sin(flat * std::cos(angle) * static_cast<double>(x))));
        }
        for (std::int64_t z = 0; z < edge; ++z) {
            for (std::int64_t y = 0; y < edge; ++y) {
                const double shift = phase + flat * std::sin(angle) * static_cast<double>(y) +
                                     height * perPixel * static_cast<double>(z);
                const auto cosine = static_cast<float>(std::cos(shift) / std::sqrt(waveCount / 2.0));
                const auto sine = static_cast<float>(std::sin(shift) / std::sqrt(waveCount / 2.0));
                float* const row = field.Row(y, z);
                for (std::size_t x = 0; x < cosines.size(); ++x)
                    row[x] += cosines[x] * cosine - sines[x] * sine;
            }
        }
    }
    return field;
}

/// A cube of 8-bit values scaled to the edge by linear interpolation; foreground above 75.
StField EnlargedScan(const std::string& path, std::int64_t edge) {
    const std::unique_ptr<CImage> scan = engine::ReadImage(path);
    const CImageView<const unsigned char> view(*scan);
    if (!(scan->Type() == IMAGE_GREY_8) || view.nx != view.ny || view.nx != view.nz)
        throw std::runtime_error(path + " is not a cube of 8-bit pixels");
    struct StPlace {
        std::int64_t lower;
        std::int64_t upper;
        float share;
    };
    std::vector<StPlace> places;
    for (std::int64_t i = 0; i < edge; ++i) {
        const double place = std::clamp(
            (static_cast<double>(i) + 0.5) * static_cast<double>(view.nx) / static_cast<double>(edge) - 0.5,
            0.0, static_cast<double>(view.nx - 1));
        const auto lower = static_cast<std::int64_t>(place);
        places.push_back(
            {lower, std::min(lower + 1, view.nx - 1), static_cast<float>(place - std::floor(place))});
    }
    StField field(edge, 0.0F);
    for (std::int64_t z = 0; z < edge; ++z) {
        for (std::int64_t y = 0; y < edge; ++y) {
            const StPlace& onY = places[static_cast<std::size_t>(y)];
            const StPlace& onZ = places[static_cast<std::size_t>(z)];
            const std::array<const unsigned char*, 4> rows{
                view.Row(onY.lower, onZ.lower), view.Row(onY.upper, onZ.lower),
                view.Row(onY.lower, onZ.upper), view.Row(onY.upper, onZ.upper)};
            float* const row = field.Row(y, z);
            for (std::int64_t x = 0; x < edge; ++x) {
                const StPlace& onX = places[static_cast<std::size_t>(x)];
                const auto along = [&onX](const unsigned char* pixels) {
                    return std::lerp(static_cast<float>(pixels[onX.lower]),
                                     static_cast<float>(pixels[onX.upper]), onX.share);
                };
                const float value =
                    std::lerp(std::lerp(along(rows[0]), along(rows[1]), onY.share),
                              std::lerp(along(rows[2]), along(rows[3]), onY.share), onZ.share);
                row[x] = (value - 75.0F) / 80.0F;
            }
        }
    }
    return field;
}

StField FieldOf(const std::string& structure, const std::string& scan, std::int64_t edge) {
    if (structure == "spheres")
        return Spheres(edge);
    if (structure == "solid")
        return {edge, 1.0F};
    if (structure == "foam")
        return Foam(edge);
    if (structure == "scan")
        return EnlargedScan(scan, edge);
    throw std::runtime_error("unknown structure " + structure);
}

/// Writes `pixelOf(value, noise)` for each value of the field; the noise is uniform between -8 and 8.
template <class Pixel, class PixelOf>
std::unique_ptr<CImage> ImageOf(const IImage::CType& type, const StField& field, const PixelOf& pixelOf) {
    auto image = std::make_unique<CImage>(type, CSize(field.edge, field.edge, field.edge), CSize(0, 0, 0));
    Pixel* pixel = CImageView<Pixel>(*image).Row(0, 0);
    std::mt19937 random(2);
    for (const float value : field.values)
        *pixel++ = pixelOf(value, static_cast<float>(random() % 4096) / 256.0F - 8.0F);
    return image;
}

std::unique_ptr<CImage> ImageOf(const std::string& type, const StField& field) {
    const auto grey = [](float value, float noise) {
        return std::clamp(128.0F + 80.0F * value + noise, 0.0F, 255.0F);
    };
    if (type == "binary")
        return ImageOf<unsigned char>(IMAGE_BINARY_FG, field, [](float value, float /*noise*/) {
            return static_cast<unsigned char>(value > 0.0F ? 1 : 0);
        });
    if (type == "grey8")
        return ImageOf<unsigned char>(IMAGE_GREY_8, field, [&grey](float value, float noise) {
            return static_cast<unsigned char>(grey(value, noise));
        });
    if (type == "greyf")
        return ImageOf<float>(IMAGE_GREY_F, field, grey);
    throw std::runtime_error("unknown type " + type);
}

} // namespace

std::unique_ptr<CImage> MakeStructure(const std::string& structure, const std::string& scan,
                                      std::int64_t edge, const std::string& type) {
    return ImageOf(type, FieldOf(structure, scan, edge));
}

} // namespace bench
