#include "engine/files/formats/MetaFile.h"

#include "engine/files/COutputFile.h"
#include "engine/files/FileErrors.h"
#include "engine/files/formats/CHeaderLines.h"
#include "engine/files/formats/HeaderChecks.h"
#include "engine/files/formats/HeaderGeometry.h"

#include <algorithm>
#include <bit>
#include <filesystem>
#include <map>

namespace engine {

namespace {

// Bounds the part that is read of a text file that merely begins like a header.
constexpr std::int64_t c_maxHeaderSize = 1 << 20;

struct StMetaText {
    std::map<std::string, std::string> fields; // "Name = value"
    std::int64_t byteCount = 0;                // size of the header; local data begin there
};

StMetaText ReadText(const std::string& path) {
    CHeaderLines lines(path, c_maxHeaderSize, c_maxHeaderSize);
    StMetaText text;
    std::string line;
    while (text.fields.count("ElementDataFile") == 0) {
        if (!lines.Next(line))
            throw CFileReason("its header is damaged: it has no field 'ElementDataFile'");
        const auto sign = line.find('=');
        if (sign == std::string::npos && !Trimmed(line).empty())
            throw CFileReason("its header is damaged");
        if (sign == std::string::npos)
            continue;
        const std::string name(Trimmed(std::string_view(line).substr(0, sign)));
        const std::string value(Trimmed(std::string_view(line).substr(sign + 1)));
        if (!text.fields.emplace(name, value).second)
            throw CFileReason("its header is damaged: it has the field '" + name + "' twice");
    }
    text.byteCount = lines.Position();
    return text;
}

std::string Field(const StMetaText& text, const std::string& name) {
    const auto field = text.fields.find(name);
    return field != text.fields.end() ? field->second : std::string();
}

bool IsTrue(const std::string& word) { return word.starts_with('T') || word.starts_with('t') || word == "1"; }

template <class Number>
std::vector<Number> Numbers(const StMetaText& text, const std::string& name) {
    auto numbers = NumbersOf<Number>(Field(text, name));
    if (!numbers)
        throw CFileReason("its header is damaged: '" + name + "'");
    return std::move(*numbers);
}

/// Names of the sample types, in the order of the enumeration.
constexpr std::array<std::string_view, 10> c_typeNames = {
    "MET_CHAR", "MET_UCHAR",     "MET_SHORT",      "MET_USHORT", "MET_INT",
    "MET_UINT", "MET_LONG_LONG", "MET_ULONG_LONG", "MET_FLOAT",  "MET_DOUBLE"};

EnSampleType SampleOf(const std::string& name) {
    std::string_view known = name;
    if (name == "MET_LONG" || name == "MET_ULONG")
        known = name == "MET_LONG" ? "MET_INT" : "MET_UINT"; // a "long" of this format has 32 bits
    const auto* const found = std::find(c_typeNames.begin(), c_typeNames.end(), known);
    if (found == c_typeNames.end())
        throw CFileReason("pixels of type '" + name + "' cannot be read");
    return static_cast<EnSampleType>(found - c_typeNames.begin());
}

/// The first number in an optional field; nothing if the field is missing.
std::optional<std::int64_t> OnlyNumber(const StMetaText& text, const std::string& name) {
    const auto numbers = Numbers<std::int64_t>(text, name);
    return numbers.empty() ? std::nullopt : std::optional(numbers.front());
}

bool IsSwapped(const StMetaText& text) {
    const bool isBigEndian =
        IsTrue(Field(text, "BinaryDataByteOrderMSB")) || IsTrue(Field(text, "ElementByteOrderMSB"));
    return isBigEndian == (std::endian::native == std::endian::little);
}

/// The file with the pixels and, for pixels after the header, their offset.
StPixelData PlaceOf(const std::string& path, const StMetaText& text) {
    StPixelData data;
    data.isSwapped = IsSwapped(text);
    const std::string name = Field(text, "ElementDataFile");
    if (name == "LOCAL" || name == "Local" || name == "local") {
        data.path = path;
        data.offset = text.byteCount;
        return data;
    }
    if (name.empty() || name.starts_with("LIST") || name.find('%') != std::string::npos)
        throw CFileReason("pixels in several data files cannot be read");
    data.path = (std::filesystem::path(path).parent_path() / name).string();
    return data;
}

/// The location of the pixels, checked against the size of the file.
StPixelData DataOf(const std::string& path, const StMetaText& text, std::int64_t announced) {
    constexpr std::int64_t fromTheEnd = -1;
    if (!Field(text, "BinaryData").empty() && !IsTrue(Field(text, "BinaryData")))
        throw CFileReason("pixels written as text cannot be read");
    StPixelData data = PlaceOf(path, text);
    data.isPacked = IsTrue(Field(text, "CompressedData"));
    const std::int64_t fileSize = Reading(data.path, [&] { return FileSize(data.path); });
    const std::int64_t skip = OnlyNumber(text, "HeaderSize").value_or(0);
    if (skip > 0)
        data.offset = skip;
    const std::int64_t stored = fileSize - std::min(data.offset, fileSize);
    if (data.isPacked) {
        const std::int64_t packed = OnlyNumber(text, "CompressedDataSize").value_or(stored);
        RequireData(packed, stored, 1);
        RequireData(announced, packed, c_maxDeflateRatio);
        return data;
    }
    RequireData(announced, stored, 1);
    if (skip == fromTheEnd)
        data.offset = fileSize - announced;
    else if (skip == 0 && stored != announced)
        ThrowSurplus(announced, stored);
    return data;
}

using Vector = ORVEN::StImageGeometry::Vector;

/// The numbers of the first of several alternative fields that the header has; nothing if it has none.
/// Raises unless there are `count`.
std::optional<std::vector<double>> FirstOf(const StMetaText& text, std::initializer_list<const char*> names,
                                           std::size_t count, const char* other) {
    for (const char* const name : names) {
        auto numbers = Numbers<double>(text, name);
        if (numbers.empty())
            continue;
        if (numbers.size() != count)
            throw CFileReason(std::string("its header is damaged: '") + name + "' does not fit '" + other +
                              "'");
        return numbers;
    }
    return std::nullopt;
}

void ReadGeometry(const StMetaText& text, std::size_t dimension, StImageHeader& header) {
    ORVEN::StImageGeometry& geometry = header.geometry;
    const auto spacing = FirstOf(text, {"ElementSpacing", "ElementSize"}, dimension, "NDims");
    // Each group of numbers is the direction of an axis. A fourth axis is the time.
    const std::size_t axes = std::min<std::size_t>(dimension, 3);
    if (const auto matrix =
            FirstOf(text, {"TransformMatrix", "Rotation", "Orientation"}, dimension * dimension, "NDims")) {
        std::vector<Vector> steps(axes, Vector{});
        for (std::size_t axis = 0; axis < axes; ++axis)
            std::copy_n(matrix->begin() + static_cast<std::ptrdiff_t>(axis * dimension), axes,
                        steps[axis].begin());
        header.hasPlace = SetSteps(geometry, steps);
    }
    geometry.spacing = spacing ? CheckedSpacing(*spacing) : std::nullopt;
    if (const auto offset = FirstOf(text, {"Offset", "Position", "Origin"}, dimension, "NDims")) {
        Vector origin{};
        std::copy_n(offset->begin(), axes, origin.begin());
        if (IsFinite(origin)) {
            geometry.origin = origin;
            header.hasPlace = true;
        }
    }
    if (const auto unit = KnownLengthUnit(Field(text, "DistanceUnits")))
        ConvertUnit(geometry, *unit);
}

void AppendNumbers(std::string& text, const char* name, std::span<const Vector> vectors, std::size_t count) {
    text.append(name).append(" =");
    for (const Vector& vector : vectors) {
        for (std::size_t i = 0; i < count; ++i)
            text.append(" ").append(ShortestText(vector[i]));
    }
    text.append("\n");
}

void AppendGeometry(std::string& text, const ORVEN::StImageGeometry& geometry, std::size_t axes) {
    if (geometry.HasPlace() && CanHoldPlace(geometry, axes)) {
        AppendNumbers(text, "TransformMatrix", std::span(geometry.directions).first(axes), axes);
        AppendNumbers(text, "Offset", std::span(&geometry.origin, 1), axes);
    }
    if (geometry.spacing)
        AppendNumbers(text, "ElementSpacing", std::span(&*geometry.spacing, 1), axes);
    if (geometry.unit == "mm" || geometry.unit == "um") // the format knows no others
        text.append("DistanceUnits = ").append(geometry.unit).append("\n");
}

std::string HeaderText(const StImageHeader& header, const std::string& dataFile) {
    const auto axes = static_cast<std::size_t>(header.size.Dim());
    std::string text = "ObjectType = Image\nNDims = " + std::to_string(axes) + "\nBinaryData = True\n";
    text.append("BinaryDataByteOrderMSB = ")
        .append(std::endian::native == std::endian::big ? "True" : "False");
    text.append("\nCompressedData = False\n");
    AppendGeometry(text, header.geometry, axes);
    text.append("DimSize =");
    for (std::size_t axis = 0; axis < axes; ++axis)
        text.append(" ").append(std::to_string(header.size[static_cast<std::int64_t>(axis)]));
    text.append("\nElementType = ").append(c_typeNames[header.sample]);
    return text.append("\nElementDataFile = ").append(dataFile).append("\n");
}

} // namespace

bool IsMetaHeader(std::string_view beginning) {
    const std::string_view text = Trimmed(beginning);
    const std::string_view name = Trimmed(text.substr(0, std::min(text.find('='), text.size())));
    return text.find('=') != std::string_view::npos &&
           (name == "ObjectType" || name == "NDims" || name == "Comment");
}

StImageHeader ReadMetaHeader(const std::string& path) {
    const StMetaText text = ReadText(path);
    if (!Field(text, "ObjectType").empty() && Field(text, "ObjectType") != "Image")
        throw CFileReason("it holds an object of type '" + Field(text, "ObjectType") + "', not an image");
    StImageHeader header;
    header.format = FORMAT_META;
    header.sample = SampleOf(Field(text, "ElementType"));
    const auto dimension = NumberOf<std::size_t>(Field(text, "NDims"));
    auto extents = Numbers<std::int64_t>(text, "DimSize");
    if (!dimension || extents.size() != *dimension)
        throw CFileReason("its header is damaged: 'DimSize' does not fit 'NDims'");
    const auto channels = Numbers<int>(text, "ElementNumberOfChannels");
    header.samplesPerPixel = channels.empty() ? 1 : channels.front();
    if (header.samplesPerPixel < 1 || header.samplesPerPixel > 65535)
        throw CFileReason("its header announces " + std::to_string(header.samplesPerPixel) +
                          " samples a pixel");

    ReadGeometry(text, *dimension, header);
    if (extents.size() == 4) {
        header.series.times = extents.back();
        extents.pop_back();
    }
    header.size = CheckedSize(std::move(extents), header.samplesPerPixel * SampleSize(header.sample));
    ArrangeImages(header, true);
    header.data = DataOf(path, text, header.TotalByteCount());
    return header;
}

std::optional<std::string> MetaDataFile(const std::string& path) {
    try {
        const StPixelData data = PlaceOf(path, ReadText(path));
        return data.path != path ? std::optional(data.path) : std::nullopt;
    } catch (const CFileError&) {
        return std::nullopt;
    }
}

void WriteMeta(const std::string& path, const std::string& dataFile, const StImageHeader& header,
               std::string_view samples) {
    COutputFile file(path);
    if (dataFile.empty()) {
        file.Write(HeaderText(header, "LOCAL"));
        file.Write(samples);
    } else {
        file.Write(HeaderText(header, dataFile));
        COutputFile data((std::filesystem::path(path).parent_path() / dataFile).string());
        data.Write(samples);
        data.Close();
    }
    file.Close();
}

} // namespace engine
