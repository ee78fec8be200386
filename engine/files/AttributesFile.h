#pragma once

#include <sorblib2image/CImage.h>

#include <memory>
#include <optional>
#include <string>

namespace engine {

/// What an image carries besides its pixels, as a file tells it.
struct StImageFacts {
    std::optional<ORVEN::IImage::CType> type;
    std::optional<ORVEN::CSize> size;
    std::unique_ptr<ORVEN::CValueMap> attributes; ///< null where the file tells none
};

/// Where the side file of an image file is.
std::string SideFilePath(const std::string& imagePath);
/// Whether the file is one that `SideFileText` made.
bool IsSideFile(const std::string& path);

/// The pixel type of that name, such as "IMAGE_GREY_8", that files can hold.
std::optional<ORVEN::IImage::CType> PixelTypeOfName(const std::string& name);

/// The attributes as one line of plain ASCII. See ValueJson.h for how values are told.
std::string AttributesText(const ORVEN::CValueMap& attributes);
/// The other way round. Raises `CFileError` that names `path` for a text that is none.
std::unique_ptr<ORVEN::CValueMap> AttributesOfText(const std::string& path, const std::string& text);

/// The text of the side file of an image.
std::string SideFileText(const ORVEN::CImage& image);
/// What the side file of the image file says; nothing if there is none. Raises `CFileError` that names the
/// side file if it is damaged.
StImageFacts ReadSideFile(const std::string& imagePath);

} // namespace engine
