#pragma once

#include "engine/files/CJson.h"
#include "engine/files/ImageFile.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace engine {

/// How an image file is read as the input of a plug-in: what to make of the file, and corrections of where it
/// lies.
struct StInputReading {
    StReadOptions options;
    std::vector<double> spacing;     ///< one number for each axis; empty: that of the file
    std::optional<std::string> unit; ///< of the spacing

    /// Whether the file is read as it is.
    [[nodiscard]] bool IsPlain() const;
};

/// Reads the image file. Raises as `ReadImage` does, and `CCallerError` for a spacing that has not as many
/// numbers as the image has axes. With another spacing, the first pixel of the whole image stays where it is.
std::unique_ptr<ORVEN::CImage> ReadInput(const std::string& path, const StInputReading& reading);

/// The same without the pixels.
StImageOutline ReadInputOutline(const std::string& path, const StInputReading& reading);

/// {"as": "binary", "channel": 1, "time": 12, "region": [[0, 99], [0, 99]], "spacing": [0.5, 0.5], "unit":
/// "mm", "dpi_as_spacing": true}, with those members only that are not the default.
CJson ToJson(const StInputReading& reading);
/// The inverse. Raises `CCallerError` that names the member for anything unknown or of the wrong kind.
StInputReading InputReadingOf(const CJson& json);

} // namespace engine
