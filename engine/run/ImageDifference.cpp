#include "engine/run/ImageDifference.h"

#include "engine/files/ImageWords.h"
#include "engine/files/ValueJson.h"
#include "engine/run/StRunEntry.h"

#include <sorblib2core/CStringTools.h>
#include <sorblib2image/GreyTypeDispatch.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <concepts>
#include <cstring>

namespace engine {

using ORVEN::CImage;

namespace {

struct StDifference {
    std::string subject;
    std::string first;
    std::string second;
};

/// A pixel value with the digits that tell it from every other one.
template <class Pixel>
std::string PixelText(Pixel value) {
    return ORVEN::CStringTools::Printf("%.9g", static_cast<double>(value));
}
template <std::integral Pixel>
std::string PixelText(Pixel value) {
    return std::to_string(value);
}

std::string Place(const ORVEN::CSize& size, std::int64_t x, std::int64_t y, std::int64_t z) {
    std::string text(1, '(');
    text += std::to_string(x);
    if (size.Dim() > 1)
        text += ", " + std::to_string(y);
    if (size.Dim() > 2)
        text += ", " + std::to_string(z);
    return text + ")";
}

template <class Pixel>
std::optional<StDifference> PixelDifference(const CImage& a, const CImage& b) {
    const ORVEN::CImageView<const Pixel> left(a);
    const ORVEN::CImageView<const Pixel> right(b);
    const auto bytes = static_cast<std::size_t>(left.nx) * sizeof(Pixel);
    for (std::int64_t z = 0; z < left.nz; ++z) {
        for (std::int64_t y = 0; y < left.ny; ++y) {
            const Pixel* const one = left.Row(y, z);
            const Pixel* const other = right.Row(y, z);
            if (std::memcmp(one, other, bytes) == 0)
                continue;
            std::int64_t x = 0;
            // By their bits, so that a NaN equals itself and 0 differs from -0.
            // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
            while (std::memcmp(one + x, other + x, sizeof(Pixel)) == 0)
                ++x;
            return StDifference{"the pixel at " + Place(a.Size(), x, y, z), PixelText(one[x]),
                                PixelText(other[x])};
        }
    }
    return std::nullopt;
}

std::optional<StDifference> PixelDifference(const CImage& a, const CImage& b) {
    if (a.Type().IsBinary())
        return PixelDifference<unsigned char>(a, b);
    return ORVEN::DispatchGreyType(
        "engine::PixelDifference", a.Type(),
        [&]<class Pixel>(std::type_identity<Pixel>) { return PixelDifference<Pixel>(a, b); });
}

/// The value as JSON, or "missing".
std::string ValueText(const CJson* value) { return value != nullptr ? value->Text() : "missing"; }

std::optional<StDifference> TreeDifference(const CJson* a, const CJson* b, const std::string& path);

std::optional<StDifference> MapDifference(const CJson& a, const CJson& b, const std::string& path) {
    const std::string prefix = path.empty() ? "" : path + "/";
    for (const auto& [key, value] : a.Members()) {
        if (path.empty() && key == c_runsKey)
            continue;
        if (auto difference = TreeDifference(&value, b.Find(key), prefix + key))
            return difference;
    }
    for (const auto& [key, value] : b.Members()) {
        const bool isRecord = path.empty() && key == c_runsKey;
        if (!isRecord && a.Find(key) == nullptr)
            return TreeDifference(nullptr, &value, prefix + key);
    }
    return std::nullopt;
}

std::optional<StDifference> ListDifference(const CJson& a, const CJson& b, const std::string& path) {
    const auto& one = a.Elements();
    const auto& other = b.Elements();
    for (std::size_t i = 0; i < std::max(one.size(), other.size()); ++i) {
        if (auto difference =
                TreeDifference(i < one.size() ? &one[i] : nullptr, i < other.size() ? &other[i] : nullptr,
                               path + "/" + std::to_string(i)))
            return difference;
    }
    return std::nullopt;
}

/// The first difference of two values; null stands for one that is missing.
std::optional<StDifference> TreeDifference(const CJson* a, const CJson* b, const std::string& path) {
    if (a != nullptr && b != nullptr) {
        if (a->IsObject() && b->IsObject())
            return MapDifference(*a, *b, path);
        if (a->IsArray() && b->IsArray())
            return ListDifference(*a, *b, path);
        // As text, because -0.0 and 0.0 are different results.
        if (a->Text() == b->Text())
            return std::nullopt;
    }
    return StDifference{"the attribute " + path, ValueText(a), ValueText(b)};
}

std::optional<StDifference> Difference(const CImage& a, const CImage& b) {
    if (!(a.Type() == b.Type()))
        return StDifference{"the pixel type", WordOfPixelType(a.Type()), WordOfPixelType(b.Type())};
    if (!(a.Size() == b.Size()))
        return StDifference{"the size", SizeInWords(a.Size()), SizeInWords(b.Size())};
    if (auto difference = PixelDifference(a, b))
        return difference;
    return MapDifference(ToJson(a.Attributes()), ToJson(b.Attributes()), "");
}

} // namespace

std::optional<std::string> FirstDifference(const CImage& a, const std::string& first, const CImage& b,
                                           const std::string& second) {
    const auto difference = Difference(a, b);
    if (!difference)
        return std::nullopt;
    return difference->subject + " is " + difference->first + " in " + first + " and " + difference->second +
           " in " + second;
}

} // namespace engine
