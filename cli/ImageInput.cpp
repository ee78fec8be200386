#include "cli/ImageInput.h"

#include "cli/CCommandError.h"
#include "cli/Spacing.h"

#include <charconv>
#include <sstream>

namespace cli {

using namespace engine;

namespace {

/// "0.5,0.5" for a plane: what to give in place of a spacing that does not fit.
std::string ExampleFor(const std::vector<double>& sizes, const std::string& text, std::size_t axes) {
    if (sizes.size() < axes)
        return text + text.substr(text.rfind(','));
    return text.substr(0, text.rfind(','));
}

/// Raises if the spacing has not as many numbers as the image has axes.
void RequireFittingSpacing(const StInputReading& reading, const std::optional<std::string>& text,
                           const std::string& path) {
    if (!text)
        return;
    const auto axes = static_cast<std::size_t>(ReadImageOutline(path, reading.options).size.Dim());
    if (reading.spacing.size() == axes)
        return;
    throw CCommandError(STATUS_USAGE, "--spacing " + *text + ": '" + path +
                                          (axes == 2 ? "' is a plane; give two numbers"
                                                     : "' is a volume; give three numbers") +
                                          ", as in --spacing " + ExampleFor(reading.spacing, *text, axes));
}

std::vector<StIndexRange> ParseRegion(const std::string& text) {
    std::vector<StIndexRange> region;
    std::istringstream words(text + ",");
    for (std::string word; std::getline(words, word, ',');) {
        StIndexRange range;
        const char* const end = word.data() + word.size();
        const auto first = std::from_chars(word.data(), end, range.first);
        const bool hasColon = first.ec == std::errc() && first.ptr != end && *first.ptr == ':';
        const auto last = std::from_chars(hasColon ? first.ptr + 1 : end, end, range.last);
        if (!hasColon || last.ec != std::errc() || last.ptr != end)
            throw CCommandError(STATUS_USAGE, "--region " + text + ": '" + word +
                                                  "' is not of the form FIRST:LAST, as in 0:99");
        region.push_back(range);
    }
    return region;
}

} // namespace

void AddInputOptions(CCommand& command, StInputOptions& options) {
    command.AddOption("--channel", options.channel, "Read this channel of a file with several, from 0", "N");
    command.AddOption("--time", options.time, "Read this time point of a file with several, from 0", "N");
    command.AddFlag("--dpi-as-spacing", options.takesPrintSize,
                    "Use the print resolution of a TIFF or PNG file as its spacing, in mm");
}

void AddGeometryOptions(CCommand& command, StInputOptions& options) {
    command.AddOption("--spacing", options.spacing,
                      "Set the pixel size, replacing that of the file: as many numbers as the image has axes",
                      "X,Y,Z");
    command
        .AddOption("--unit", options.unit,
                   "Set the unit of the spacing: m, mm, um or nm; the numbers stay as they are", "UNIT")
        .OneOf({"m", "mm", "um", "nm"});
    command.AddOption(
        "--region", options.region,
        "Read only this part of the image, from 0 and with both ends included; from files that are "
        "not compressed, no more is read",
        "X0:X1,Y0:Y1,Z0:Z1");
}

void CheckInputOptions(const StInputOptions& options) { (void)ReadingOf(options); }

StReadOptions ReadOptionsOf(const StInputOptions& options, const std::optional<ORVEN::IImage::CType>& type) {
    StReadOptions reading;
    reading.as = type;
    reading.channel = options.channel;
    reading.time = options.time;
    reading.takesPrintSize = options.takesPrintSize;
    if (options.region)
        reading.region = ParseRegion(*options.region);
    return reading;
}

StInputReading ReadingOf(const StInputOptions& options, const std::optional<ORVEN::IImage::CType>& type) {
    StInputReading reading;
    reading.options = ReadOptionsOf(options, type);
    if (options.spacing)
        reading.spacing = ParseSpacing(*options.spacing);
    reading.unit = options.unit;
    return reading;
}

StImageOutline ReadInputOutline(const std::string& path, const StInputOptions& options,
                                const std::optional<ORVEN::IImage::CType>& type) {
    const StInputReading reading = ReadingOf(options, type);
    RequireFittingSpacing(reading, options.spacing, path);
    return engine::ReadInputOutline(path, reading);
}

std::unique_ptr<ORVEN::CImage> ReadInput(const std::string& path, const StInputOptions& options,
                                         const std::optional<ORVEN::IImage::CType>& type) {
    const StInputReading reading = ReadingOf(options, type);
    RequireFittingSpacing(reading, options.spacing, path);
    return engine::ReadInput(path, reading);
}

} // namespace cli
