#include "engine/files/formats/NrrdFile.h"

#include "engine/files/COutputFile.h"
#include "engine/files/FileErrors.h"
#include "engine/files/TextFile.h"
#include "engine/files/formats/CHeaderLines.h"
#include "engine/files/formats/HeaderChecks.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <filesystem>
#include <limits>
#include <map>

namespace engine {

namespace {

const char* const c_typeKey = "quillon type";
const char* const c_attributesKey = "quillon attributes";

struct StNrrdText {
    std::map<std::string, std::string> fields;    // "name: value"
    std::map<std::string, std::string> keyValues; // "key:=value"
    std::int64_t byteCount = 0;                   // size of the header; attached data begin there
};

/// Key/value lines represent a line break as \n and a backslash as \\.
std::string Unescaped(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size() && (text[i + 1] == 'n' || text[i + 1] == '\\'))
            result += text[++i] == 'n' ? '\n' : '\\';
        else
            result += text[i];
    }
    return result;
}

/// Field names may be written with or without blanks and in any case: "data file", "datafile".
std::string PlainName(std::string_view name) {
    std::string plain;
    for (const char c : name) {
        if (c != ' ')
            plain += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return plain;
}

const std::string* Find(const std::map<std::string, std::string>& entries, const std::string& name) {
    const auto entry = entries.find(name);
    return entry != entries.end() ? &entry->second : nullptr;
}

/// Whether the following lines name data files, one per line.
bool IsList(const StNrrdText& text) {
    const std::string* const name = Find(text.fields, "datafile");
    return name != nullptr && name->starts_with("LIST");
}

StNrrdText ReadText(const std::string& path) {
    // Only this program's attributes make long lines; escaping can double their length.
    constexpr std::int64_t maxLine = 1 << 20;
    constexpr std::int64_t maxTotal = 2 * std::int64_t{c_maxTextSize} + 16 * maxLine;
    CHeaderLines lines(path, maxTotal, maxLine, std::string(c_attributesKey) + ":=");
    StNrrdText text;
    std::string line;
    lines.Next(line); // the magic number, checked before
    for (bool isEnd = false; !isEnd && lines.Next(line);) {
        isEnd = line.empty();
        if (isEnd || line.starts_with('#'))
            continue;
        const auto colon = line.find(':');
        if (colon == std::string::npos)
            throw CFileReason(IsList(text) ? "pixels in several data files cannot be read"
                                           : "its header is damaged");
        if (line.compare(colon, 2, ":=") == 0)
            text.keyValues[Unescaped(line.substr(0, colon))] = Unescaped(line.substr(colon + 2));
        else
            text.fields[PlainName(line.substr(0, colon))] = Trimmed(std::string_view(line).substr(colon + 1));
    }
    text.byteCount = lines.Position();
    return text;
}

const std::string& Required(const StNrrdText& text, const std::string& name) {
    const std::string* value = Find(text.fields, name);
    if (value == nullptr)
        throw CFileReason("its header lacks the field '" + name + "'");
    return *value;
}

/// Names of the sample types, in the order of the enumeration; the first of each is the one that is written.
const std::array<std::vector<std::string>, 10> c_typeNames = {{
    {"int8", "int8_t", "signed char"},
    {"uint8", "uint8_t", "uchar", "unsigned char"},
    {"int16", "int16_t", "short", "short int", "signed short", "signed short int"},
    {"uint16", "uint16_t", "ushort", "unsigned short", "unsigned short int"},
    {"int32", "int32_t", "int", "signed int"},
    {"uint32", "uint32_t", "uint", "unsigned int"},
    {"int64", "int64_t", "longlong", "long long", "long long int", "signed long long",
     "signed long long int"},
    {"uint64", "uint64_t", "ulonglong", "unsigned long long", "unsigned long long int"},
    {"float"},
    {"double"},
}};

EnSampleType SampleOf(const std::string& name) {
    for (std::size_t sample = 0; sample < c_typeNames.size(); ++sample) {
        const auto& names = c_typeNames[sample];
        if (std::find(names.begin(), names.end(), name) != names.end())
            return static_cast<EnSampleType>(sample);
    }
    throw CFileReason("pixels of type '" + name + "' cannot be read");
}

/// Whether the samples along an axis of that kind belong to one pixel.
bool IsSampleAxis(std::string_view kind) {
    return kind != "domain" && kind != "space" && kind != "time" && kind != "none" && kind != "???";
}

/// The number of axes, 0 or 1, that hold the samples of a pixel.
std::size_t SampleAxes(const StNrrdText& text, std::size_t dimension) {
    const std::string* field = Find(text.fields, "kinds");
    if (field == nullptr)
        return 0;
    const auto kinds = Words(*field);
    if (kinds.size() != dimension)
        throw CFileReason("its header is damaged: 'kinds' does not fit 'dimension'");
    for (std::size_t axis = 1; axis < kinds.size(); ++axis) {
        if (IsSampleAxis(kinds[axis]))
            throw CFileReason("axis " + std::to_string(axis) + " is of kind '" + std::string(kinds[axis]) +
                              "'; only the first axis can hold the samples of a pixel");
    }
    return IsSampleAxis(kinds[0]) ? 1 : 0;
}

/// The length of each vector "(x,y,z)"; NaN for "none".
std::vector<double> LengthsOfVectors(std::string_view text) {
    std::vector<double> lengths;
    for (text = Trimmed(text); !text.empty(); text = Trimmed(text)) {
        double sum = std::numeric_limits<double>::quiet_NaN();
        auto end = text.find_first_of(" \t");
        if (text.front() == '(') {
            end = text.find(')');
            std::string inner(text.substr(1, end == std::string_view::npos ? end : end - 1));
            std::replace(inner.begin(), inner.end(), ',', ' ');
            end = end == std::string_view::npos ? end : end + 1;
            if (const auto numbers = NumbersOf<double>(inner)) {
                sum = 0;
                for (const double number : *numbers)
                    sum = std::hypot(sum, number);
            }
        }
        lengths.push_back(sum);
        text.remove_prefix(std::min(end, text.size()));
    }
    return lengths;
}

std::optional<std::array<double, 3>> SpacingOf(const StNrrdText& text, std::size_t sampleAxes,
                                               std::size_t dimension) {
    std::vector<double> numbers;
    if (const std::string* field = Find(text.fields, "spacings"))
        numbers = NumbersOf<double>(*field).value_or(std::vector<double>());
    else if (const std::string* directions = Find(text.fields, "spacedirections"))
        numbers = LengthsOfVectors(*directions);
    if (numbers.size() != dimension)
        return std::nullopt;
    return CheckedSpacing(std::span(numbers).subspan(sampleAxes));
}

std::int64_t ByteSkip(const StNrrdText& text) {
    const std::string* const lines = Find(text.fields, "lineskip");
    if (lines != nullptr && *lines != "0")
        throw CFileReason("a 'line skip' cannot be read");
    const std::string* const field = Find(text.fields, "byteskip");
    if (field == nullptr)
        return 0;
    const auto skip = NumberOf<std::int64_t>(*field);
    if (!skip || *skip < -1)
        throw CFileReason("its header is damaged: 'byte skip'");
    return *skip;
}

bool IsSwapped(const StNrrdText& text) {
    const std::string* const endian = Find(text.fields, "endian");
    return endian != nullptr && *endian == (std::endian::native == std::endian::little ? "big" : "little");
}

/// The location of the pixels, checked against the size of the file.
StPixelData DataOf(const std::string& path, const StNrrdText& text, std::int64_t announced) {
    StPixelData data;
    data.path = path;
    data.offset = text.byteCount;
    data.isSwapped = IsSwapped(text);
    if (const std::string* name = Find(text.fields, "datafile")) {
        if (IsList(text) || name->find('%') != std::string::npos)
            throw CFileReason("pixels in several data files cannot be read");
        data.path = (std::filesystem::path(path).parent_path() / *name).string();
        data.offset = 0;
    }
    const std::int64_t stored = Reading(data.path, [&] { return FileSize(data.path); }) - data.offset;
    const std::int64_t skip = ByteSkip(text);
    const std::string encoding = PlainName(Required(text, "encoding"));
    if (encoding == "gzip" || encoding == "gz") {
        data.skip = CheckedSkip(std::max<std::int64_t>(skip, 0));
        RequireData(data.skip + announced, stored, c_maxDeflateRatio);
        data.isPacked = true;
    } else if (encoding == "raw") {
        constexpr std::int64_t fromTheEnd = -1;
        RequireData(announced, skip == fromTheEnd ? stored : stored - std::min(skip, stored), 1);
        data.offset += skip == fromTheEnd ? stored - announced : skip;
        if (skip == 0 && stored != announced)
            ThrowSurplus(announced, stored);
    } else {
        throw CFileReason("the encoding '" + encoding + "' cannot be read; raw and gzip can");
    }
    return data;
}

std::string Escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '\n')
            result += "\\n";
        else if (c == '\\')
            result += "\\\\";
        else
            result += c;
    }
    return result;
}

std::string HeaderText(const StImageHeader& header, EnPacking packing) {
    const auto axes = static_cast<std::size_t>(header.size.Dim());
    std::string text = "NRRD0004\ntype: ";
    text.append(c_typeNames[header.sample].front())
        .append("\ndimension: ")
        .append(std::to_string(axes))
        .append("\nsizes:");
    for (std::size_t axis = 0; axis < axes; ++axis)
        text.append(" ").append(std::to_string(header.size[static_cast<std::int64_t>(axis)]));
    if (header.spacing) {
        text.append("\nspacings:");
        for (std::size_t axis = 0; axis < axes; ++axis)
            text.append(" ").append(ShortestText((*header.spacing)[axis]));
    }
    text.append("\nendian: ").append(std::endian::native == std::endian::little ? "little" : "big");
    text.append("\nencoding: ").append(packing == PACKING_GZIP ? "gzip" : "raw").append("\n");
    if (header.typeName)
        text.append(c_typeKey).append(":=").append(Escaped(*header.typeName)).append("\n");
    if (header.attributes)
        text.append(c_attributesKey).append(":=").append(Escaped(*header.attributes)).append("\n");
    return text.append("\n");
}

} // namespace

StImageHeader ReadNrrdHeader(const std::string& path) {
    const StNrrdText text = ReadText(path);
    StImageHeader header;
    header.format = FORMAT_NRRD;
    header.sample = SampleOf(Required(text, "type"));
    auto extents = NumbersOf<std::int64_t>(Required(text, "sizes"));
    const auto dimension = NumberOf<std::size_t>(Required(text, "dimension"));
    if (!extents || !dimension || extents->size() != *dimension || extents->empty())
        throw CFileReason("its header is damaged: 'sizes' does not fit 'dimension'");

    const std::size_t sampleAxes = SampleAxes(text, *dimension);
    if (sampleAxes == 1) {
        if (extents->front() < 1 || extents->front() > 65535)
            throw CFileReason("its header announces " + std::to_string(extents->front()) +
                              " samples a pixel");
        header.samplesPerPixel = static_cast<int>(extents->front());
        extents->erase(extents->begin());
    }
    header.spacing = SpacingOf(text, sampleAxes, *dimension);
    header.size = CheckedSize(std::move(*extents), header.samplesPerPixel * SampleSize(header.sample));
    header.data = DataOf(path, text, header.ByteCount());
    if (const std::string* typeName = Find(text.keyValues, c_typeKey))
        header.typeName = *typeName;
    if (const std::string* attributes = Find(text.keyValues, c_attributesKey))
        header.attributes = *attributes;
    return header;
}

void WriteNrrd(const std::string& path, const StImageHeader& header, std::string_view samples,
               EnPacking packing) {
    COutputFile file(path);
    file.Write(HeaderText(header, packing));
    if (packing == PACKING_GZIP)
        file.WriteGzip({samples});
    else
        file.Write(samples);
    file.Close();
}

} // namespace engine
