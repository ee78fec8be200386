#pragma once

#include "engine/catalogue/StCatalogueEntry.h"

#include <span>
#include <string>
#include <vector>

namespace engine {

/// What the user can do about an image that a plug-in refuses.
enum EnRemedy {
    REMEDY_UNKNOWN,
    REMEDY_CONVERT,    ///< read the image as another pixel type
    REMEDY_RUN_FIRST,  ///< run one of the named plug-ins on the image first
    REMEDY_OTHER_IMAGE ///< use another image
};

/// Why a plug-in refuses an image, and what to do about it.
struct StRefusal {
    std::string reason; ///< "is grey8 with the values 0 and 255"; empty if the catalogue does not say
    EnRemedy remedy = REMEDY_UNKNOWN;
    std::vector<std::string>
        words; ///< the pixel type, at most ten names of plug-ins, or what the image needs
};

/// Explains a refusal from the catalogue. `known` are the entries that a plug-in can be suggested from. Reads
/// the pixels of a grey image until a third value is found, or the greatest value is known.
StRefusal ExplainRefusal(const StCatalogueEntry& entry, const ORVEN::CImage& image,
                         std::span<const StCatalogueEntry* const> known);

/// The names of at most ten plug-ins that take this image and are suggested for a pixel type or for
/// "equal spacing".
std::vector<std::string> PluginsSuggestedFor(const std::string& need, const ORVEN::CImage& image,
                                             std::span<const StCatalogueEntry* const> known);

/// Whether the pixels of the image differ in length along its axes. An image without spacing counts as equal.
bool HasUnequalSpacing(const ORVEN::CImage& image);

} // namespace engine
