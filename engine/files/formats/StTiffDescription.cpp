#include "engine/files/formats/StTiffDescription.h"

#include "engine/files/FileErrors.h"
#include "engine/files/formats/HeaderChecks.h"
#include "engine/files/formats/HeaderGeometry.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

namespace engine {

namespace {

constexpr std::int64_t c_maxPlanes = std::int64_t{1} << 32;

std::map<std::string, std::string> LinesOf(const std::string& text) {
    std::map<std::string, std::string> values;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const auto sign = line.find('=');
        if (sign != std::string::npos)
            values[std::string(Trimmed(line.substr(0, sign)))] = Trimmed(line.substr(sign + 1));
    }
    return values;
}

/// The count for a name; 1 if it is missing or not a count.
std::int64_t CountOf(const std::map<std::string, std::string>& values, const std::string& name) {
    const auto value = values.find(name);
    const auto count = value != values.end() ? NumberOf<std::int64_t>(value->second) : std::nullopt;
    return count && *count > 0 && *count <= c_maxPlanes ? *count : 1;
}

StTiffDescription ImageJDescription(const std::string& text) {
    const auto values = LinesOf(text);
    StTiffDescription description;
    description.program = StTiffDescription::PROGRAM_IMAGEJ;
    description.channels = CountOf(values, "channels");
    description.slices = CountOf(values, "slices");
    description.times = CountOf(values, "frames");
    const std::int64_t images = CountOf(values, "images");
    const bool isPlainStack = description.channels == 1 && description.slices == 1 && description.times == 1;
    if (isPlainStack)
        description.slices = images;
    if (const auto spacing = values.find("spacing"); spacing != values.end()) {
        const auto number = NumberOf<double>(spacing->second);
        if (number && std::isfinite(*number) && *number != 0)
            description.sliceDistance = std::abs(*number);
    }
    if (const auto unit = values.find("unit"); unit != values.end())
        description.unit = unit->second;
    return description;
}

/// The node of that name below another, whatever prefix the names have.
pugi::xml_node Child(const pugi::xml_node& node, std::string_view name) {
    return node.find_child([name](const pugi::xml_node& child) {
        const std::string_view full = child.name();
        return full.substr(full.find(':') + 1) == name; // npos + 1 is 0
    });
}

std::int64_t CountOf(const pugi::xml_node& pixels, const char* name) {
    const auto count = NumberOf<std::int64_t>(pixels.attribute(name).value());
    if (!count || *count < 1 || *count > 0xffff)
        throw CFileReason(std::string("its OME description is damaged: '") + name + "'");
    return *count;
}

/// The spacing in the unit of its first axis; nothing if it is missing for an axis that the image has.
void ReadSpacing(const pugi::xml_node& pixels, std::int64_t slices, ORVEN::StImageGeometry& geometry) {
    std::array<double, 3> spacing = {1, 1, 1};
    std::string first;
    for (std::size_t axis = 0; axis < spacing.size(); ++axis) {
        if (axis == 2 && slices == 1)
            break;
        const std::string name = std::string("PhysicalSize") + "XYZ"[axis];
        const auto number = NumberOf<double>(pixels.attribute(name.c_str()).value());
        const auto unit =
            KnownLengthUnit(pixels.attribute((name + "Unit").c_str()).as_string("\xc2\xb5m")); // the default
        if (!number || !unit)
            return;
        if (axis == 0)
            first = unit->unit;
        spacing[axis] = *number * unit->factor * *ORVEN::UnitFactor(unit->unit, first);
    }
    geometry.spacing = CheckedSpacing(spacing);
    if (geometry.spacing)
        geometry.unit = first;
}

StTiffDescription OmeDescription(const std::string& text) {
    pugi::xml_document document;
    if (!document.load_buffer(text.data(), text.size()))
        throw CFileReason("its OME description is damaged");
    const pugi::xml_node ome = Child(document, "OME");
    const pugi::xml_node image = Child(ome, "Image");
    const pugi::xml_node pixels = Child(image, "Pixels");
    StTiffDescription description;
    if (!pixels)
        return description;
    const auto images = std::count_if(ome.children().begin(), ome.children().end(), [](const auto& child) {
        return std::string_view(child.name()).ends_with("Image");
    });
    if (images > 1)
        throw CFileReason("it holds " + std::to_string(images) +
                          " images that may differ in size; save the one you need as a file of its own");
    description.program = StTiffDescription::PROGRAM_OME;
    description.channels = CountOf(pixels, "SizeC");
    description.slices = CountOf(pixels, "SizeZ");
    description.times = CountOf(pixels, "SizeT");
    const std::string order = pixels.attribute("DimensionOrder").value();
    std::string sorted = order;
    std::sort(sorted.begin(), sorted.end());
    if (!order.starts_with("XY") || sorted != "CTXYZ")
        throw CFileReason("its OME description is damaged: 'DimensionOrder'");
    description.order = order.substr(2);
    ReadSpacing(pixels, description.slices, description.geometry);
    return description;
}

} // namespace

StTiffDescription StTiffDescription::Of(const std::string& text) {
    if (text.starts_with("ImageJ="))
        return ImageJDescription(text);
    // A short look keeps texts of other kinds away from the parser.
    const bool isXml = Trimmed(text).starts_with('<');
    if (isXml && text.find("OME") != std::string::npos && text.find("Pixels") != std::string::npos)
        return OmeDescription(text);
    return {};
}

std::string StTiffDescription::TextOf(std::int64_t slices, double sliceDistance) {
    const std::string count = std::to_string(slices);
    std::string text = "ImageJ=1.53t\nimages=" + count + "\n";
    if (slices > 1)
        text.append("slices=").append(count).append("\n");
    text.append("unit=cm\n");
    if (slices > 1)
        text.append("spacing=").append(ShortestText(sliceDistance)).append("\n");
    return text.append("loop=false\n");
}

StSeries StTiffDescription::Series() const {
    StSeries series;
    series.channels = channels;
    series.times = times;
    std::int64_t distance = 1;
    for (const char axis : order) {
        (axis == 'Z'   ? series.planeDistance
         : axis == 'C' ? series.channelDistance
                       : series.timeDistance) = distance;
        distance *= axis == 'Z' ? slices : axis == 'C' ? channels : times;
    }
    return series;
}

} // namespace engine
