#include "engine/files/StInputReading.h"

#include "engine/errors/CEngineError.h"
#include "engine/files/ImageWords.h"

#include <sorblib2image/StImageGeometry.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace engine {

using ORVEN::StImageGeometry;

namespace {

constexpr std::array c_units{"m", "mm", "um", "nm"};

void RequireFit(const std::vector<double>& spacing, const ORVEN::CSize& size, const std::string& path) {
    if (std::cmp_not_equal(spacing.size(), size.Dim()))
        throw CCallerError("'" + path +
                           (size.Dim() == 2 ? "' is a plane; its spacing takes two numbers"
                                            : "' is a volume; its spacing takes three numbers"));
}

std::array<double, 3> WithAllAxes(const std::vector<double>& spacing) {
    std::array<double, 3> all{1, 1, 1};
    std::copy(spacing.begin(), spacing.end(), all.begin());
    return all;
}

[[noreturn]] void ThrowWrong(const std::string& name, const CJson& value, const std::string& allowed) {
    throw CCallerError("\"" + name + "\": " + value.Text() + " is not " + allowed);
}

std::int64_t NumberOf(const std::string& name, const CJson& value) {
    const auto number = value.IsInteger() ? value.IntegerAs<std::int64_t>() : std::nullopt;
    if (!number || *number < 0)
        ThrowWrong(name, value, "an index from 0");
    return *number;
}

std::vector<StIndexRange> RegionOf(const std::string& name, const CJson& value) {
    const char* const allowed = "a list of ranges such as [[0, 99], [0, 99]]";
    if (!value.IsArray())
        ThrowWrong(name, value, allowed);
    std::vector<StIndexRange> region;
    for (const CJson& range : value.Elements()) {
        if (!range.IsArray() || range.Elements().size() != 2)
            ThrowWrong(name, value, allowed);
        region.push_back({NumberOf(name, range.Elements()[0]), NumberOf(name, range.Elements()[1])});
    }
    return region;
}

std::vector<double> SpacingOf(const std::string& name, const CJson& value) {
    const char* const allowed = "a list of two or three positive numbers";
    if (!value.IsArray() || value.Elements().size() < 2 || value.Elements().size() > 3)
        ThrowWrong(name, value, allowed);
    std::vector<double> spacing;
    for (const CJson& number : value.Elements()) {
        if (!number.IsNumber() || !(number.Number() > 0) || !std::isfinite(number.Number()))
            ThrowWrong(name, value, allowed);
        spacing.push_back(number.Number());
    }
    return spacing;
}

ORVEN::IImage::CType TypeOf(const std::string& name, const CJson& value) {
    const auto type = value.IsString() ? PixelTypeOfWord(value.String()) : std::nullopt;
    if (!type)
        ThrowWrong(name, value, "binary, grey8, grey16, grey32 or greyf");
    return *type;
}

void ReadMember(StInputReading& reading, const std::string& name, const CJson& value) {
    if (name == "as") {
        reading.options.as = TypeOf(name, value);
    } else if (name == "channel") {
        reading.options.channel = NumberOf(name, value);
    } else if (name == "time") {
        reading.options.time = NumberOf(name, value);
    } else if (name == "region") {
        reading.options.region = RegionOf(name, value);
    } else if (name == "spacing") {
        reading.spacing = SpacingOf(name, value);
    } else if (name == "unit") {
        if (!value.IsString() || std::ranges::find(c_units, value.String()) == c_units.end())
            ThrowWrong(name, value, "m, mm, um or nm");
        reading.unit = value.String();
    } else if (name == "dpi_as_spacing") {
        if (!value.IsBool())
            ThrowWrong(name, value, "true or false");
        reading.options.takesPrintSize = value.Bool();
    } else {
        throw CCallerError("\"" + name +
                           "\" is none of as, channel, time, region, spacing, unit and dpi_as_spacing");
    }
}

} // namespace

bool StInputReading::IsPlain() const { return ToJson(*this).Members().empty(); }

std::unique_ptr<ORVEN::CImage> ReadInput(const std::string& path, const StInputReading& reading) {
    auto image = ReadImage(path, reading.options);
    if (reading.spacing.empty() && !reading.unit)
        return image;
    StImageGeometry geometry = StImageGeometry::Of(*image);
    if (!reading.spacing.empty()) {
        RequireFit(reading.spacing, image->Size(), path);
        StImageGeometry::Vector first{};
        const auto& region = reading.options.region;
        for (std::size_t axis = 0; axis < region.size(); ++axis)
            first[axis] = static_cast<double>(region[axis].first);
        geometry.origin = geometry.PositionOf({-first[0], -first[1], -first[2]});
        geometry.spacing = WithAllAxes(reading.spacing);
        geometry.origin = geometry.PositionOf(first);
    }
    if (reading.unit)
        geometry.unit = *reading.unit;
    geometry.Store(*image);
    return image;
}

StImageOutline ReadInputOutline(const std::string& path, const StInputReading& reading) {
    StImageOutline outline = ReadImageOutline(path, reading.options);
    if (!reading.spacing.empty()) {
        RequireFit(reading.spacing, outline.size, path);
        outline.spacing = WithAllAxes(reading.spacing);
    }
    return outline;
}

CJson ToJson(const StInputReading& reading) {
    CJson json = CJson::Object();
    const StReadOptions& options = reading.options;
    if (options.as)
        json.Append("as", WordOfPixelType(*options.as));
    if (options.channel)
        json.Append("channel", *options.channel);
    if (options.time)
        json.Append("time", *options.time);
    if (!options.region.empty()) {
        CJson region = CJson::Array();
        for (const StIndexRange& range : options.region)
            region.Append(CJson::Array({range.first, range.last}));
        json.Append("region", std::move(region));
    }
    if (!reading.spacing.empty()) {
        CJson spacing = CJson::Array();
        for (const double number : reading.spacing)
            spacing.Append(number);
        json.Append("spacing", std::move(spacing));
    }
    if (reading.unit)
        json.Append("unit", *reading.unit);
    if (options.takesPrintSize)
        json.Append("dpi_as_spacing", true);
    return json;
}

StInputReading InputReadingOf(const CJson& json) {
    if (!json.IsObject())
        throw CCallerError(json.Text() + " is not an object");
    StInputReading reading;
    for (const auto& [name, value] : json.Members())
        ReadMember(reading, name, value);
    return reading;
}

} // namespace engine
