#include "engine/measurements/StTable.h"

#include "engine/errors/CEngineError.h"
#include "engine/files/ValueJson.h"
#include "engine/measurements/NaturalOrder.h"

#include <sorblib2core/ForEachLeaf.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <set>

namespace engine {

using ORVEN::CValue;
using ORVEN::CValueMap;

namespace {

/// What a distribution counts if its counts are parts of the image.
constexpr std::string_view c_pixels = "pixels";

constexpr double c_missing = std::numeric_limits<double>::quiet_NaN();

/// The number that a key consists of or ends with: "2.5e+00", "grayvalue 017".
std::optional<double> NumberOfKey(std::string_view key) {
    const std::string_view word = key.substr(key.rfind(' ') + 1);
    double number = 0.0;
    const auto end = std::from_chars(word.data(), word.data() + word.size(), number);
    const bool isNumber = !word.empty() && end.ec == std::errc() && end.ptr == word.data() + word.size();
    return isNumber && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

/// What precedes that number: "grayvalue".
std::string WordsOfKey(const std::string& key) {
    const std::size_t end = key.rfind(' ');
    return end == std::string::npos ? "" : key.substr(0, end);
}

std::optional<double> NumberOf(const CValue* value) {
    const auto type = value != nullptr ? value->GenericType() : CValue::VAL_NONE;
    if (type != CValue::VAL_LONG && type != CValue::VAL_DOUBLE)
        return std::nullopt;
    const double number = value->Double();
    return std::isfinite(number) ? std::optional(number) : std::nullopt;
}

/// The map that holds the rows, and which of its entries are rows.
struct StRowSource {
    const CValueMap* map;
    bool areRowsMaps;
    bool isSingle;
};

StRowSource RowSourceOf(const StMeasurement& measurement) {
    const StCatalogueMeasurement* description = measurement.description;
    const std::string path = description != nullptr ? description->rows : "data";
    const CValue* inner = path.empty() ? nullptr : measurement.values->Entry(path, true);
    const CValueMap* map = inner != nullptr && inner->Map() != nullptr ? inner->Map() : measurement.values;
    const bool isSingle = description != nullptr && description->kind == MEASUREMENT_SINGLE;
    const bool areRowsMaps = std::any_of(map->begin(), map->end(), [](const CValue* entry) {
        return entry != nullptr && entry->Map() != nullptr;
    });
    return {map, areRowsMaps, isSingle};
}

/// Collects rows and the paths of all numbers in them.
class CRowReader {
public:
    void Add(const std::string& key, const CValue* entry) {
        std::vector<StNumber> numbers;
        ORVEN::ForEachLeaf(entry, {}, [&](const std::string& path, const CValue* leaf) {
            if (const auto number = NumberOf(leaf))
                numbers.push_back({m_paths.try_emplace(path, m_paths.size()).first->second, *number});
        });
        if (numbers.empty())
            return;
        m_rows.push_back({key, NumberOfKey(key), {}});
        m_numbers.push_back(std::move(numbers));
    }

    [[nodiscard]] std::set<std::string> Paths() const {
        std::set<std::string> paths;
        for (const auto& [path, index] : m_paths)
            paths.insert(path);
        return paths;
    }

    /// The rows with their numbers in the order of the columns, which are all paths.
    std::vector<StTableRow> TakeRows(const std::vector<StTableColumn>& columns) {
        std::vector<std::size_t> places(m_paths.size());
        for (std::size_t place = 0; place < columns.size(); ++place)
            places[m_paths.at(columns[place].key)] = place;
        for (std::size_t row = 0; row < m_rows.size(); ++row) {
            m_rows[row].values.assign(columns.size(), c_missing);
            for (const StNumber& number : m_numbers[row])
                m_rows[row].values[places[number.path]] = number.value;
        }
        return std::move(m_rows);
    }

private:
    struct StNumber {
        std::size_t path; // its index
        double value;
    };

    std::vector<StTableRow> m_rows;
    std::vector<std::vector<StNumber>> m_numbers;
    std::map<std::string, std::size_t> m_paths;
};

/// Described columns come first, in the order of the description.
std::vector<StTableColumn> ColumnsOf(const StCatalogueMeasurement* description, std::set<std::string> paths,
                                     const StTable& table) {
    std::vector<StTableColumn> columns;
    if (description != nullptr) {
        for (const StCatalogueColumn& column : description->columns) {
            if (paths.erase(column.key) != 0)
                columns.push_back({column.key, column.title, UnitOfText(column.unit, table.lengthUnit),
                                   column.hasStatistics});
        }
    }
    std::vector<std::string> others(paths.begin(), paths.end());
    std::ranges::sort(others, NaturallyLess);
    for (const std::string& path : others) {
        const StKeyWithUnit key = SplitUnit(path);
        std::string title =
            key.name.empty() ? (table.counted.empty() ? table.title : table.counted) : key.name;
        std::ranges::replace(title, '/', ' ');
        columns.push_back({path, title, UnitOfText(key.unit, table.lengthUnit), true});
    }
    return columns;
}

void SortRows(std::vector<StTableRow>& rows) {
    std::ranges::stable_sort(rows, [](const StTableRow& a, const StTableRow& b) {
        if (a.number && b.number && *a.number != *b.number)
            return *a.number < *b.number;
        return a.number.has_value() != b.number.has_value() ? a.number.has_value()
                                                            : NaturallyLess(a.name, b.name);
    });
}

/// Whether the keys differ in their numbers alone, so that a number identifies a row.
bool DifferInNumbers(const std::vector<StTableRow>& rows) {
    return std::ranges::all_of(rows, [&](const StTableRow& row) {
        return row.number && WordsOfKey(row.name) == WordsOfKey(rows.front().name);
    });
}

bool IsSet(const CValueMap& values, const std::string& flag) {
    const CValue* value = values.Entry(flag, true);
    return value != nullptr && value->GenericType() == CValue::VAL_BOOL && value->Bool();
}

/// Adds the entries beside the rows, such as a step width.
void AddFacts(StTable& table, const CValueMap& map) {
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        const auto type = entry.Value()->GenericType();
        const bool isPlain =
            type == CValue::VAL_BOOL || type == CValue::VAL_STRING || NumberOf(entry.Value());
        if (isPlain)
            table.facts.push_back({entry.Key().ToString(), ToJson(*entry.Value())});
    }
}

/// The part of the image that the counted pixels are, if all pixels of the structure were counted.
void AddFraction(StTable& table, const StMeasurement& measurement, const ORVEN::CImage& image) {
    if (measurement.description == nullptr)
        return;
    const StCatalogueMeasurement& description = *measurement.description;
    const bool countsPixels = description.kind == MEASUREMENT_DISTRIBUTION ? table.counted == c_pixels
                                                                           : !description.pixels.empty();
    if (!countsPixels)
        return;
    const bool isLimited = std::ranges::any_of(
        description.limitedBy, [&](const std::string& entry) { return measurement.values->HasEntry(entry); });
    const auto column = std::ranges::find(table.columns, description.pixels, &StTableColumn::key);
    if (isLimited || column == table.columns.end())
        return;
    const auto place = static_cast<std::size_t>(column - table.columns.begin());
    double pixels = 0.0;
    for (const StTableRow& row : table.rows)
        pixels += std::isnan(row.values[place]) ? 0.0 : row.values[place];
    const auto all = static_cast<double>(image.Size().PixelCount());
    table.facts.push_back(
        {image.Size().Dim() == 2 ? "area fraction" : "volume fraction", CJson(pixels / all)});
}

void Describe(StTable& table, const StMeasurement& measurement) {
    table.name = measurement.name;
    table.title = measurement.name;
    const StCatalogueMeasurement* description = measurement.description;
    if (description == nullptr)
        return;
    table.title = description->title;
    table.kind = description->kind;
    table.counted = description->counted;
    table.row = {"", description->row.title, UnitOfText(description->row.unit, table.lengthUnit), false};
    for (const auto& [flag, counted] : description->countedIf) {
        if (IsSet(*measurement.values, flag))
            table.counted = counted;
    }
}

} // namespace

StTable TableOf(const StMeasurement& measurement, const ORVEN::CImage& image) {
    StTable table;
    table.lengthUnit = LengthUnitOf(image);
    Describe(table, measurement);
    const StRowSource source = RowSourceOf(measurement);
    CRowReader reader;
    if (source.isSingle) {
        reader.Add(measurement.name, source.map);
    } else {
        for (auto entry = source.map->begin(); entry != source.map->end(); ++entry) {
            const bool isMap = entry.Value() != nullptr && entry.Value()->Map() != nullptr;
            if (isMap == source.areRowsMaps)
                reader.Add(entry.Key().ToString(), entry.Value());
        }
    }
    if (reader.Paths().empty())
        throw CCallerError("'" + measurement.name + "' holds no numbers");
    table.columns = ColumnsOf(measurement.description, reader.Paths(), table);
    table.rows = reader.TakeRows(table.columns);
    SortRows(table.rows);
    table.hasRowNumbers = DifferInNumbers(table.rows);
    if (table.row.title.empty()) {
        const std::string words = table.hasRowNumbers ? WordsOfKey(table.rows.front().name) : "";
        table.row.title = words.empty() ? "entry" : words;
    }
    if (source.map != measurement.values)
        AddFacts(table, *measurement.values);
    else if (source.areRowsMaps && !source.isSingle)
        AddFacts(table, *source.map);
    AddFraction(table, measurement, image);
    return table;
}

std::vector<StColumnStatistics> StatisticsOf(const StTable& table) {
    std::vector<StColumnStatistics> result;
    const auto add = [&](const StTableColumn& column, const std::string& weightedBy, const auto& itemOf) {
        std::vector<StWeighted> values;
        for (const StTableRow& row : table.rows)
            values.push_back(itemOf(row));
        result.push_back({column.title, column.unit, weightedBy, StatisticsOf(std::move(values))});
    };
    if (table.kind == MEASUREMENT_DISTRIBUTION) {
        add(table.row, table.counted, [](const StTableRow& row) {
            return StWeighted{row.number.value_or(c_missing), row.values.front()};
        });
    }
    for (std::size_t place = 0; table.kind == MEASUREMENT_OBJECTS && place < table.columns.size(); ++place) {
        if (table.columns[place].hasStatistics)
            add(table.columns[place], "", [place](const StTableRow& row) {
                return StWeighted{row.values[place], 1.0};
            });
    }
    return result;
}

} // namespace engine
