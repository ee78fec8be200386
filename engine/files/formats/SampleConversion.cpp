#include "engine/files/formats/SampleConversion.h"

#include "engine/files/FileErrors.h"
#include "engine/files/formats/ChannelChoice.h"
#include "engine/files/formats/HeaderChecks.h"

#include <sorblib2image/GreyTypeDispatch.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
#include <type_traits>
#include <utility>

using ORVEN::IImage;

namespace engine {

namespace {

/// Calls `body(std::type_identity<Sample>())`.
template <class Body>
decltype(auto) DispatchSample(EnSampleType sample, Body&& body) {
    switch (sample) {
    case SAMPLE_INT8:
        return body(std::type_identity<std::int8_t>());
    case SAMPLE_UINT8:
        return body(std::type_identity<std::uint8_t>());
    case SAMPLE_INT16:
        return body(std::type_identity<std::int16_t>());
    case SAMPLE_UINT16:
        return body(std::type_identity<std::uint16_t>());
    case SAMPLE_INT32:
        return body(std::type_identity<std::int32_t>());
    case SAMPLE_UINT32:
        return body(std::type_identity<std::uint32_t>());
    case SAMPLE_INT64:
        return body(std::type_identity<std::int64_t>());
    case SAMPLE_UINT64:
        return body(std::type_identity<std::uint64_t>());
    case SAMPLE_FLOAT:
        return body(std::type_identity<float>());
    case SAMPLE_DOUBLE:
        break;
    }
    return body(std::type_identity<double>());
}

/// The samples of a file, of which one per pixel is used.
template <class Sample>
struct StSamples {
    const Sample* first;
    std::int64_t count;
    int perPixel;

    Sample operator[](std::int64_t i) const { return first[i * perPixel]; }
};

template <class Sample>
void RequireGrey(const StSamples<Sample>& samples) {
    const int colours = samples.perPixel % 2 == 0 ? samples.perPixel - 1 : samples.perPixel;
    if (samples.perPixel > 4)
        ThrowSeveralChannels(samples.perPixel);
    for (std::int64_t i = 0; i < samples.count; ++i) {
        const Sample* const pixel = samples.first + i * samples.perPixel;
        for (int colour = 1; colour < colours; ++colour) {
            if (pixel[colour] != pixel[0])
                ThrowSeveralChannels(samples.perPixel);
        }
    }
}

template <class Sample>
bool HasNegative(const StSamples<Sample>& samples) {
    for (std::int64_t i = 0; i < samples.count; ++i) {
        if (samples[i] < 0)
            return true;
    }
    return false;
}

template <class Sample>
IImage::CType OwnType(const StSamples<Sample>& samples) {
    if constexpr (std::is_floating_point_v<Sample>)
        return ORVEN::IMAGE_GREY_F;
    if constexpr (std::is_signed_v<Sample>) {
        if (HasNegative(samples))
            return ORVEN::IMAGE_GREY_F;
    }
    return sizeof(Sample) == 1   ? ORVEN::IMAGE_GREY_8
           : sizeof(Sample) == 2 ? ORVEN::IMAGE_GREY_16
                                 : ORVEN::IMAGE_GREY_32;
}

template <class Sample>
std::string InWords(Sample value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(std::numeric_limits<Sample>::max_digits10);
    text << +value;
    return text.str();
}

template <class Pixel, class Sample>
bool Fits(Sample value) {
    if constexpr (std::is_same_v<Pixel, float>) {
        if constexpr (std::is_same_v<Sample, double>)
            return !std::isfinite(value) || std::abs(value) <= std::numeric_limits<float>::max();
        return true;
    } else if constexpr (std::is_floating_point_v<Sample>) {
        return value >= 0 && static_cast<double>(value) <= std::numeric_limits<Pixel>::max() &&
               value == std::floor(value);
    } else {
        return std::in_range<Pixel>(value);
    }
}

template <class Pixel, class Sample>
[[noreturn]] void ThrowUnfit(Sample value, const IImage::CType& type) {
    std::string limit = "floats of 32 bits";
    if constexpr (!std::is_same_v<Pixel, float>)
        limit = "whole numbers from 0 to " + InWords(std::numeric_limits<Pixel>::max());
    throw CFileReason("its value " + InWords(value) + " does not fit " + type.ToString() + ", which holds " +
                      limit);
}

template <class Pixel, class Sample>
void Convert(const StSamples<Sample>& samples, ORVEN::CImage& image) {
    Pixel* const pixels = ORVEN::CImageView<Pixel>(image).Row(0, 0);
    for (std::int64_t i = 0; i < samples.count; ++i) {
        const Sample value = samples[i];
        if (!Fits<Pixel>(value))
            ThrowUnfit<Pixel>(value, image.Type());
        pixels[i] = static_cast<Pixel>(value);
    }
}

template <class Sample>
void ConvertToBinary(const StSamples<Sample>& samples, ORVEN::CImage& image) {
    unsigned char* const pixels = ORVEN::CImageView<unsigned char>(image).Row(0, 0);
    for (std::int64_t i = 0; i < samples.count; ++i)
        pixels[i] = samples[i] != 0 ? 1 : 0;
}

/// Raises `CFileError` unless floats hold every integer exactly: rounding was not requested.
template <class Sample>
void RequireExactFloats(const StSamples<Sample>& samples) {
    for (std::int64_t i = 0; i < samples.count; ++i) {
        // A long double with a 64-bit significand holds each of these integers exactly.
        if (static_cast<long double>(static_cast<float>(samples[i])) !=
            static_cast<long double>(samples[i])) {
            throw CFileReason("it holds negative values, and floats do not hold its value " +
                              InWords(samples[i]) + " exactly; --as greyf takes the nearest ones");
        }
    }
}

template <class Sample>
std::unique_ptr<ORVEN::CImage> MakeFrom(const ORVEN::CSize& size, const StSamples<Sample>& samples,
                                        const std::optional<IImage::CType>& asked) {
    const IImage::CType type = asked ? *asked : OwnType(samples);
    if constexpr (std::is_integral_v<Sample> && sizeof(Sample) >= 4) {
        if (!asked && type == ORVEN::IMAGE_GREY_F)
            RequireExactFloats(samples);
    }
    RequireMemory(samples.count * type.PixelSize());
    auto image = std::make_unique<ORVEN::CImage>(type, size, ORVEN::CSize(0, 0, 0));
    if (type.IsBinary()) {
        ConvertToBinary(samples, *image);
        return image;
    }
    ORVEN::DispatchGreyType("engine::MakeImage", type,
                            [&]<class Pixel>(std::type_identity<Pixel>) { Convert<Pixel>(samples, *image); });
    return image;
}

} // namespace

std::optional<IImage::CType> SameSampleType(EnSampleType sample) {
    switch (sample) {
    case SAMPLE_UINT8:
        return ORVEN::IMAGE_GREY_8;
    case SAMPLE_UINT16:
        return ORVEN::IMAGE_GREY_16;
    case SAMPLE_UINT32:
        return ORVEN::IMAGE_GREY_32;
    case SAMPLE_FLOAT:
        return ORVEN::IMAGE_GREY_F;
    default:
        return std::nullopt;
    }
}

IImage::CType TypeWithoutNegatives(EnSampleType sample) {
    return DispatchSample(sample, []<class Sample>(std::type_identity<Sample>) {
        return OwnType(StSamples<Sample>{nullptr, 0, 1});
    });
}

IImage::CType WidestType(EnSampleType sample) {
    return DispatchSample(sample, [sample]<class Sample>(std::type_identity<Sample>) {
        return std::is_signed_v<Sample> ? ORVEN::IMAGE_GREY_F : TypeWithoutNegatives(sample);
    });
}

std::unique_ptr<float[]> ScaledSamples(const void* samples, EnSampleType sample, std::int64_t count,
                                       const StScale& scale) {
    auto scaled = std::make_unique_for_overwrite<float[]>(static_cast<std::size_t>(count));
    DispatchSample(sample, [&]<class Sample>(std::type_identity<Sample>) {
        const auto* const stored = static_cast<const Sample*>(samples);
        for (std::int64_t i = 0; i < count; ++i)
            scaled[static_cast<std::size_t>(i)] =
                static_cast<float>(static_cast<double>(stored[i]) * scale.slope + scale.intercept);
    });
    return scaled;
}

EnSampleType SampleOfType(const IImage::CType& type) {
    if (type.IsBinary() || type == ORVEN::IMAGE_GREY_8)
        return SAMPLE_UINT8;
    if (type == ORVEN::IMAGE_GREY_16)
        return SAMPLE_UINT16;
    if (type == ORVEN::IMAGE_GREY_32)
        return SAMPLE_UINT32;
    if (type == ORVEN::IMAGE_GREY_F)
        return SAMPLE_FLOAT;
    throw CFileReason(std::string("pixels of type ") + type.ToString() + " cannot be written");
}

std::unique_ptr<ORVEN::CImage> MakeImage(const ORVEN::CSize& size, const void* samples, EnSampleType sample,
                                         int samplesPerPixel, std::optional<int> picked,
                                         const std::optional<IImage::CType>& type) {
    return DispatchSample(sample, [&]<class Sample>(std::type_identity<Sample>) {
        StSamples<Sample> view{static_cast<const Sample*>(samples), size.PixelCount(), samplesPerPixel};
        if (picked)
            view.first += *picked;
        else if (samplesPerPixel > 1)
            RequireGrey(view);
        return MakeFrom(size, view, type);
    });
}

} // namespace engine
