#pragma once

#include <sorblib2image/CImage.h>

#include <memory>
#include <optional>
#include <string>

namespace engine {

/// Type, size and attributes of an image, as found in a file.
struct StImageFacts {
    std::optional<ORVEN::IImage::CType> type;
    std::optional<ORVEN::CSize> size;
    std::unique_ptr<ORVEN::CValueMap> attributes; ///< null if the file has none
};

/// The path of the side file of an image file.
std::string SideFilePath(const std::string& imagePath);
/// Whether the file was made by `SideFileText`.
bool IsSideFile(const std::string& path);

/// The pixel type with the given name, such as "IMAGE_GREY_8"; nothing unless files can hold this type.
std::optional<ORVEN::IImage::CType> PixelTypeOfName(const std::string& name);

/// The attributes as JSON on one line of plain ASCII. See ValueJson.h for the representation of values.
std::string AttributesText(const ORVEN::CValueMap& attributes);
/// Parses such a text. Raises `CFileReason` if the text is not valid.
std::unique_ptr<ORVEN::CValueMap> AttributesOfText(const std::string& text);

/// The text of the side file of an image.
std::string SideFileText(const ORVEN::CImage& image);
/// Reads the side file of the image file; the result is empty if there is none. Raises `CFileError`, naming
/// the side file, if it is damaged.
StImageFacts ReadSideFile(const std::string& imagePath);

} // namespace engine
