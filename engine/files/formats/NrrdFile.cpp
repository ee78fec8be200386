#include "engine/files/formats/NrrdFile.h"

#include "engine/files/COutputFile.h"
#include "engine/files/FileErrors.h"
#include "engine/files/TextFile.h"
#include "engine/files/formats/CHeaderLines.h"
#include "engine/files/formats/HeaderChecks.h"
#include "engine/files/formats/HeaderGeometry.h"

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

/// What the numbers along an axis of the file are.
enum EnAxis { AXIS_SPACE, AXIS_TIME, AXIS_SAMPLES };

EnAxis AxisOfKind(std::string_view kind) {
    if (kind == "time")
        return AXIS_TIME;
    return kind == "domain" || kind == "space" || kind == "none" || kind == "???" ? AXIS_SPACE : AXIS_SAMPLES;
}

/// The kinds of all axes. Without a statement in the file, the first three belong to the space, and a fourth
/// one is the time.
std::vector<EnAxis> AxesOf(const StNrrdText& text, std::size_t dimension) {
    std::vector<EnAxis> axes(dimension, AXIS_SPACE);
    if (const std::string* field = Find(text.fields, "kinds")) {
        const auto kinds = Words(*field);
        if (kinds.size() != dimension)
            throw CFileReason("its header is damaged: 'kinds' does not fit 'dimension'");
        for (std::size_t axis = 0; axis < dimension; ++axis) {
            axes[axis] = AxisOfKind(kinds[axis]);
            if (axes[axis] == AXIS_SAMPLES && axis > 0 && axis + 1 < dimension)
                throw CFileReason("axis " + std::to_string(axis) + " is of kind '" +
                                  std::string(kinds[axis]) +
                                  "'; only the first or the last axis can hold the samples of a pixel");
            if (axes[axis] == AXIS_TIME && axis + 2 < dimension)
                throw CFileReason("axis " + std::to_string(axis) +
                                  " is of kind 'time'; only the last two axes can be the time");
        }
    }
    const auto spaceAxes = std::count(axes.begin(), axes.end(), AXIS_SPACE);
    if (spaceAxes == 4 && axes.back() == AXIS_SPACE)
        axes.back() = AXIS_TIME;
    return axes;
}

/// The numbers at the axes of the space.
template <class Number>
std::vector<Number> InSpace(const std::vector<EnAxis>& axes, const std::vector<Number>& numbers) {
    std::vector<Number> result;
    for (std::size_t axis = 0; axis < std::min(axes.size(), numbers.size()); ++axis) {
        if (axes[axis] == AXIS_SPACE)
            result.push_back(numbers[axis]);
    }
    return result;
}

using Vector = ORVEN::StImageGeometry::Vector;

/// The vectors of a field, "(x,y,z) (x,y,z)"; NaN for "none" and for one that cannot be read.
std::vector<Vector> VectorsOf(std::string_view text) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<Vector> vectors;
    for (text = Trimmed(text); !text.empty(); text = Trimmed(text)) {
        Vector vector{nan, nan, nan};
        auto end = text.find_first_of(" \t");
        if (text.front() == '(') {
            end = text.find(')');
            std::string inner(text.substr(1, end == std::string_view::npos ? end : end - 1));
            std::replace(inner.begin(), inner.end(), ',', ' ');
            end = end == std::string_view::npos ? end : end + 1;
            const auto numbers = NumbersOf<double>(inner);
            if (numbers && !numbers->empty() &&
                numbers->size() <= 4) { // a space can have the time as an axis
                vector = {};
                std::copy_n(numbers->begin(), std::min<std::size_t>(numbers->size(), 3), vector.begin());
            }
        }
        vectors.push_back(vector);
        text.remove_prefix(std::min(end, text.size()));
    }
    return vectors;
}

/// The axes of the space to reverse, for axes that point to the left, the back and the head; nothing if the
/// file does not define them relative to a patient.
std::optional<std::array<bool, 3>> ReversedAxes(const StNrrdText& text) {
    const std::string* const field = Find(text.fields, "space");
    std::string space = field != nullptr ? PlainName(*field) : "";
    for (const std::string_view ending : {"-time", "t"}) { // LPST
        if (space.size() > 3 && space.ends_with(ending))
            space.resize(space.size() - ending.size());
    }
    if (space == "left-posterior-superior" || space == "lps")
        return std::array{false, false, false};
    if (space == "right-anterior-superior" || space == "ras")
        return std::array{true, true, false};
    if (space == "left-anterior-superior" || space == "las")
        return std::array{false, true, false};
    return std::nullopt;
}

/// The unit of the first axis in a list of quoted words, if it is one of length: "mm" "mm" "s".
std::optional<StLengthUnit> UnitOf(const StNrrdText& text, const std::string& name) {
    const std::string* const field = Find(text.fields, name);
    if (field == nullptr)
        return std::nullopt;
    for (auto first = field->find('"'); first != std::string::npos;) {
        const auto last = field->find('"', first + 1);
        if (last == std::string::npos)
            break;
        if (auto unit = KnownLengthUnit(std::string_view(*field).substr(first + 1, last - first - 1)))
            return unit;
        first = field->find('"', last + 1);
    }
    return std::nullopt;
}

/// Sets origin and directions from the fields of the space.
void ReadSpace(const StNrrdText& text, const std::vector<EnAxis>& axes, StImageHeader& header) {
    const std::string* const directions = Find(text.fields, "spacedirections");
    if (directions == nullptr)
        return;
    const std::vector<Vector> vectors = VectorsOf(*directions);
    const auto steps = InSpace(axes, vectors);
    if (vectors.size() != axes.size() || steps.empty() || steps.size() > 3 ||
        !std::all_of(steps.begin(), steps.end(), IsFinite) || !SetSteps(header.geometry, steps))
        return;
    header.hasPlace = true;
    if (const std::string* const field = Find(text.fields, "spaceorigin")) {
        const auto origin = VectorsOf(*field);
        if (origin.size() == 1 && IsFinite(origin.front()))
            header.geometry.origin = origin.front();
    }
    if (const auto reversed = ReversedAxes(text)) {
        header.geometry.isAnatomical = true;
        ReverseSpace(header.geometry, *reversed);
    }
}

void ReadGeometry(const StNrrdText& text, const std::vector<EnAxis>& axes, StImageHeader& header) {
    std::optional<StLengthUnit> unit = UnitOf(text, "units");
    ReadSpace(text, axes, header);
    if (header.hasPlace)
        unit = UnitOf(text, "spaceunits");
    if (const std::string* field = Find(text.fields, "spacings")) {
        const auto numbers = NumbersOf<double>(*field).value_or(std::vector<double>());
        if (numbers.size() == axes.size())
            header.geometry.spacing = CheckedSpacing(InSpace(axes, numbers));
    }
    if (unit)
        ConvertUnit(header.geometry, *unit);
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

std::string VectorText(const Vector& vector, std::size_t dimension) {
    std::string text = "(";
    for (std::size_t i = 0; i < dimension; ++i)
        text.append(i > 0 ? "," : "").append(ShortestText(vector[i]));
    return text + ")";
}

/// "NAME: "UNIT" "UNIT"", once for each of the axes.
void AppendUnits(std::string& text, const char* name, const std::string& unit, std::size_t axes) {
    if (unit.empty())
        return;
    text.append("\n").append(name).append(":");
    for (std::size_t axis = 0; axis < axes; ++axis)
        text.append(" \"").append(unit).append("\"");
}

void AppendSpacing(std::string& text, const ORVEN::StImageGeometry& geometry, std::size_t axes) {
    if (!geometry.spacing)
        return;
    text.append("\nspacings:");
    for (std::size_t axis = 0; axis < axes; ++axis)
        text.append(" ").append(ShortestText((*geometry.spacing)[axis]));
    AppendUnits(text, "units", geometry.unit, axes);
}

/// A plane is described in the plane's own space: readers refuse others. The attributes hold the whole.
void AppendGeometry(std::string& text, const ORVEN::StImageGeometry& geometry, std::size_t axes) {
    if (!geometry.HasPlace() || !CanHoldPlace(geometry, axes)) {
        AppendSpacing(text, geometry, axes);
        return;
    }
    if (geometry.isAnatomical && axes == 3)
        text.append("\nspace: left-posterior-superior");
    else
        text.append("\nspace dimension: ").append(std::to_string(axes));
    const auto steps = StepsOf(geometry);
    text.append("\nspace directions:");
    for (std::size_t axis = 0; axis < axes; ++axis)
        text.append(" ").append(VectorText(steps[axis], axes));
    AppendUnits(text, "space units", geometry.unit, axes);
    text.append("\nspace origin: ").append(VectorText(geometry.origin, axes));
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
    AppendGeometry(text, header.geometry, axes);
    text.append("\nendian: ").append(std::endian::native == std::endian::little ? "little" : "big");
    text.append("\nencoding: ").append(packing == PACKING_GZIP ? "gzip" : "raw").append("\n");
    if (header.typeName)
        text.append(c_typeKey).append(":=").append(Escaped(*header.typeName)).append("\n");
    if (header.attributes)
        text.append(c_attributesKey).append(":=").append(Escaped(*header.attributes)).append("\n");
    return text.append("\n");
}

/// Sets how many channels and time points the file holds.
void ReadSeries(const std::vector<EnAxis>& axes, const std::vector<std::int64_t>& extents,
                StImageHeader& header) {
    constexpr std::int64_t maxSamples = 65535;
    for (std::size_t axis = 0; axis < axes.size(); ++axis) {
        if (axes[axis] == AXIS_SPACE)
            continue;
        if (axes[axis] == AXIS_SAMPLES && (extents[axis] < 1 || extents[axis] > maxSamples))
            throw CFileReason("its header announces " + std::to_string(extents[axis]) + " samples a pixel");
        if (axes[axis] == AXIS_TIME)
            header.series.times = extents[axis];
        else if (axis == 0)
            header.samplesPerPixel = static_cast<int>(extents[axis]);
        else
            header.series.channels = extents[axis];
    }
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

    const std::vector<EnAxis> axes = AxesOf(text, *dimension);
    ReadSeries(axes, *extents, header);
    ReadGeometry(text, axes, header);
    header.size = CheckedSize(InSpace(axes, *extents), header.samplesPerPixel * SampleSize(header.sample));
    const bool isTimeFirst = axes.size() > 1 && axes[axes.size() - 2] == AXIS_TIME;
    ArrangeImages(header, isTimeFirst);
    header.data = DataOf(path, text, header.TotalByteCount());
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
