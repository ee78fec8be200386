#pragma once

#include "cli/CArgumentParser.h"
#include "engine/files/StInputReading.h"

#include <sorblib2image/CImage.h>

#include <memory>
#include <optional>
#include <string>

namespace cli {

/// How an image file is read, as given on the command line.
struct StInputOptions {
    std::optional<std::int64_t> channel;
    std::optional<std::int64_t> time;
    bool takesPrintSize = false;
    std::optional<std::string> spacing; ///< X,Y or X,Y,Z
    std::optional<std::string> unit;
    std::optional<std::string> region; ///< X0:X1,Y0:Y1 or X0:X1,Y0:Y1,Z0:Z1
};

/// Adds --channel, --time and --dpi-as-spacing. Every command that reads an image file has these.
void AddInputOptions(CCommand& command, StInputOptions& options);
/// Adds --spacing, --unit and --region, for commands whose result is an image.
void AddGeometryOptions(CCommand& command, StInputOptions& options);

/// Raises `CCommandError` with `STATUS_USAGE` for options that fit no image. Call this before long work.
void CheckInputOptions(const StInputOptions& options);

/// The options of the engine for these, and for a pixel type.
engine::StReadOptions ReadOptionsOf(const StInputOptions& options,
                                    const std::optional<ORVEN::IImage::CType>& type = std::nullopt);

/// The same with spacing and unit. Raises `CCommandError` with `STATUS_USAGE` for a text that is not of its
/// form.
engine::StInputReading ReadingOf(const StInputOptions& options,
                                 const std::optional<ORVEN::IImage::CType>& type = std::nullopt);

/// Reads the image file, converted to `type` if there is one, and gives it the spacing and unit of the
/// options. Raises as `ReadImage` does, and `CCommandError` with `STATUS_USAGE` for a spacing that has not as
/// many numbers as the image has axes.
std::unique_ptr<ORVEN::CImage> ReadInput(const std::string& path, const StInputOptions& options,
                                         const std::optional<ORVEN::IImage::CType>& type = std::nullopt);

/// The same without the pixels.
engine::StImageOutline ReadInputOutline(const std::string& path, const StInputOptions& options,
                                        const std::optional<ORVEN::IImage::CType>& type = std::nullopt);

} // namespace cli
