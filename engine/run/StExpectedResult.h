#pragma once

#include "engine/catalogue/StCatalogueEntry.h"
#include "engine/files/ImageFile.h"

#include <sorblib2image/CImage.h>

#include <optional>
#include <string>
#include <vector>

namespace engine {

/// What is known of an image before it is made.
struct StExpectedResult {
    std::vector<ORVEN::IImage::CType> types; ///< one of these; empty: unknown
    std::optional<ORVEN::CSize> size;        ///< nothing: unknown
};

/// What the header of a file says of its image.
StExpectedResult Expected(const StImageOutline& image);

/// What a plug-in makes of such an image, from the catalogue. `entry` is null for a plug-in that is not in
/// the catalogue.
StExpectedResult Expected(const StCatalogueEntry* entry, const StExpectedResult& input);

/// Raises `CFileError` if the format of one of the outputs is known not to hold the result.
void RequireFormatsHold(const std::vector<std::string>& outputs, const StExpectedResult& result);

} // namespace engine
