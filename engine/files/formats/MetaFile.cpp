#include "engine/files/formats/MetaFile.h"

#include "engine/files/COutputFile.h"
#include "engine/files/FileErrors.h"
#include "engine/files/formats/CHeaderLines.h"
#include "engine/files/formats/HeaderChecks.h"

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
            throw CFileReason("its header is damaged: it does not come to 'ElementDataFile'");
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

std::string HeaderText(const StImageHeader& header, const std::string& dataFile) {
    const auto axes = static_cast<std::size_t>(header.size.Dim());
    std::string text = "ObjectType = Image\nNDims = " + std::to_string(axes) + "\nBinaryData = True\n";
    text.append("BinaryDataByteOrderMSB = ")
        .append(std::endian::native == std::endian::big ? "True" : "False");
    text.append("\nCompressedData = False\n");
    if (header.spacing) {
        text.append("ElementSpacing =");
        for (std::size_t axis = 0; axis < axes; ++axis)
            text.append(" ").append(ShortestText((*header.spacing)[axis]));
        text.append("\n");
    }
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
        throw CFileReason("it holds no image, but an object of type '" + Field(text, "ObjectType") + "'");
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

    const std::string spacingName = Field(text, "ElementSpacing").empty() ? "ElementSize" : "ElementSpacing";
    const auto spacing = Numbers<double>(text, spacingName);
    if (spacing.size() == *dimension)
        header.spacing = CheckedSpacing(spacing);
    else if (!spacing.empty())
        throw CFileReason("its header is damaged: '" + spacingName + "' does not fit 'NDims'");
    header.size = CheckedSize(std::move(extents), header.samplesPerPixel * SampleSize(header.sample));
    header.data = DataOf(path, text, header.ByteCount());
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
