#include "engine/catalogue/Refusal.h"

#include "engine/files/ImageWords.h"

#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/GreyTypeDispatch.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace engine {

namespace {

constexpr std::size_t c_mostSuggestions = 10;

bool Contains(const std::vector<std::string>& words, const std::string& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// What decides to which types an image can be converted.
struct StValues {
    std::vector<double> distinct; ///< the first three different values
    double least = std::numeric_limits<double>::infinity();
    double greatest = -std::numeric_limits<double>::infinity();
    bool isWhole = true;
};

template <class Pixel>
StValues ValuesOf(const ORVEN::CImage& image) {
    StValues values;
    const ORVEN::CImageView<const Pixel> view(image);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            const Pixel* const row = view.Row(y, z);
            for (std::int64_t x = 0; x < view.nx; ++x) {
                const auto value = static_cast<double>(row[x]);
                values.least = std::min(values.least, value);
                values.greatest = std::max(values.greatest, value);
                values.isWhole = values.isWhole && value == std::trunc(value);
                if (values.distinct.size() < 3 &&
                    std::find(values.distinct.begin(), values.distinct.end(), value) == values.distinct.end())
                    values.distinct.push_back(value);
            }
        }
    }
    return values;
}

StValues ValuesOf(const ORVEN::CImage& image) {
    if (image.Type().IsBinary())
        return {{0, 1}, 0, 1, true};
    return ORVEN::DispatchGreyType(
        "engine::ValuesOf", image.Type(),
        [&]<class Pixel>(std::type_identity<Pixel>) { return ValuesOf<Pixel>(image); });
}

/// Whether the image has exactly two values, and one of them is 0.
bool IsTwoValued(const StValues& values) {
    return values.distinct.size() == 2 && (values.distinct[0] == 0 || values.distinct[1] == 0);
}

/// Whether the type holds the values. Every value becomes a float, and two values one of which is 0 a binary
/// pixel.
bool Fits(const StValues& values, const std::string& word) {
    const ORVEN::IImage::CType type = PixelTypeOfWord(word).value_or(ORVEN::IMAGE_GREY_F);
    if (type.IsBinary())
        return IsTwoValued(values);
    if (type == ORVEN::IMAGE_GREY_F)
        return true;
    const double greatest = std::exp2(8.0 * static_cast<double>(type.PixelSize())) - 1;
    return values.isWhole && values.least >= 0 && values.greatest <= greatest;
}

StRefusal ExplainType(const StCatalogueEntry& entry, const ORVEN::CImage& image,
                      std::span<const StCatalogueEntry* const> known) {
    StRefusal refusal;
    refusal.reason = "is " + WordOfPixelType(image.Type());
    if (!Contains(PixelTypeWords(), WordOfPixelType(image.Type())))
        return refusal;
    const StValues values = ValuesOf(image);
    if (!image.Type().IsBinary() && IsTwoValued(values))
        refusal.reason += " with the values " + PlainText(CJson(values.least)) + " and " +
                          PlainText(CJson(values.greatest));
    for (const std::string& type : PixelTypeWords()) {
        if (Contains(entry.images.types, type) && Fits(values, type)) {
            refusal.remedy = REMEDY_CONVERT;
            refusal.words = {type};
            return refusal;
        }
    }
    for (const std::string& type : entry.images.types) {
        refusal.words = PluginsSuggestedFor(type, image, known);
        if (!refusal.words.empty()) {
            refusal.remedy = REMEDY_RUN_FIRST;
            break;
        }
    }
    return refusal;
}

} // namespace

bool HasUnequalSpacing(const ORVEN::CImage& image) {
    std::array<double, 3> spacing{1, 1, 1};
    ORVEN::CQuillonHeaderTools::GetSpacing(image, spacing[0], spacing[1], spacing[2]);
    for (int axis = 1; axis < image.Size().Dim(); ++axis) {
        if (spacing.at(static_cast<std::size_t>(axis)) != spacing[0])
            return true;
    }
    return false;
}

std::vector<std::string> PluginsSuggestedFor(const std::string& need, const ORVEN::CImage& image,
                                             std::span<const StCatalogueEntry* const> known) {
    std::vector<std::string> names;
    for (const StCatalogueEntry* entry : known) {
        const auto& dimensions = entry->images.dimensions;
        const bool isSuitable =
            Contains(entry->suggestedFor, need) &&
            Contains(entry->images.types, WordOfPixelType(image.Type())) &&
            std::find(dimensions.begin(), dimensions.end(), image.Size().Dim()) != dimensions.end();
        if (isSuitable && !Contains(names, entry->name) && names.size() < c_mostSuggestions)
            names.push_back(entry->name);
    }
    return names;
}

StRefusal ExplainRefusal(const StCatalogueEntry& entry, const ORVEN::CImage& image,
                         std::span<const StCatalogueEntry* const> known) {
    const StAcceptedImages& images = entry.images;
    const int dimension = image.Size().Dim();
    if (std::find(images.dimensions.begin(), images.dimensions.end(), dimension) == images.dimensions.end()) {
        std::vector<std::string> dimensions;
        for (const int accepted : images.dimensions)
            dimensions.push_back(std::to_string(accepted));
        return {"has " + std::to_string(dimension) + (dimension == 1 ? " dimension" : " dimensions"),
                REMEDY_OTHER_IMAGE,
                {Alternatives(dimensions) + " dimensions"}};
    }
    if (!Contains(images.types, WordOfPixelType(image.Type())))
        return ExplainType(entry, image, known);
    for (int axis = 0; axis < dimension; ++axis) {
        if (image.Size()[axis] < images.minimumExtent)
            return {"has " + std::to_string(image.Size()[axis]) +
                        (image.Size()[axis] == 1 ? " pixel along " : " pixels along ") + "xyz" [axis],
                    REMEDY_OTHER_IMAGE,
                    { "at least " + std::to_string(images.minimumExtent) + " pixels along each axis" }};
    }
    if (!images.after.empty())
        return {"has no measurement that " + entry.name + " can use", REMEDY_RUN_FIRST, images.after};
    return {};
}

} // namespace engine
