#include "engine/measurements/TableText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace engine {

namespace {

/// Statistics are for reading; six digits are more than any measurement here is accurate to.
constexpr int c_statisticsDigits = 6;

/// Below this, a whole number is written without an exponent.
constexpr double c_greatestWholeNumber = 1e15;

std::string RoundedText(double number) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::general,
                                   c_statisticsDigits);
    return {text.data(), end.ptr};
}

std::string Field(const std::string& text) {
    if (text.find_first_of(",\"\n\r") == std::string::npos && !text.starts_with('#'))
        return text;
    std::string quoted = "\"";
    for (const char character : text)
        quoted.append(character == '"' ? 2 : 1, character);
    return quoted + '"';
}

/// The text on one line.
std::string Comment(std::string text) {
    std::ranges::replace_if(
        text, [](unsigned char character) { return character < ' ' || character == 127; }, ' ');
    return std::string("# ").append(text).append("\n");
}

struct StOutputColumn {
    std::string title;
    std::string key;
    StUnit unit;
};

/// All columns as they are written, the one that identifies the rows first.
std::vector<StOutputColumn> OutputColumns(const StTable& table) {
    std::vector<StOutputColumn> columns;
    if (table.kind != MEASUREMENT_SINGLE)
        columns.push_back({table.row.title, "", table.row.unit});
    for (const StTableColumn& column : table.columns)
        columns.push_back({column.title, column.key, column.unit});
    if (table.kind == MEASUREMENT_DISTRIBUTION) {
        columns.push_back({"share", "", {"%", 1}});
        columns.push_back({"cumulative share", "", {"%", 1}});
    }
    return columns;
}

CJson NumberJson(double number) {
    if (!std::isfinite(number))
        return {};
    const bool isWhole = number == std::trunc(number) && std::abs(number) < c_greatestWholeNumber;
    return isWhole ? CJson(static_cast<std::int64_t>(number)) : CJson(number);
}

/// All fields, row by row.
std::vector<std::vector<CJson>> OutputRows(const StTable& table) {
    double total = 0.0;
    for (const StTableRow& row : table.rows)
        total += row.values.front();
    double upTo = 0.0;
    std::vector<std::vector<CJson>> rows;
    for (const StTableRow& row : table.rows) {
        std::vector<CJson> fields;
        if (table.kind != MEASUREMENT_SINGLE)
            fields.push_back(table.hasRowNumbers && row.number ? NumberJson(*row.number) : CJson(row.name));
        for (const double value : row.values)
            fields.push_back(NumberJson(value));
        if (table.kind == MEASUREMENT_DISTRIBUTION) {
            upTo += row.values.front();
            fields.push_back(NumberJson(100.0 * row.values.front() / total));
            fields.push_back(NumberJson(100.0 * upTo / total));
        }
        rows.push_back(std::move(fields));
    }
    return rows;
}

std::string FieldText(const CJson& field) {
    if (field.IsNull())
        return {};
    return field.IsString() ? Field(field.String()) : NumberText(field.Number());
}

std::string FactText(const CJson& value) {
    if (value.IsString())
        return value.String();
    return value.IsNumber() ? RoundedText(value.Number()) : value.Text();
}

std::string StatisticsText(const StColumnStatistics& column) {
    const StStatistics& of = column.statistics;
    std::string text = TitleWithUnit(column.title, column.unit.Plain());
    if (!column.weightedBy.empty())
        text += " weighted by " + column.weightedBy;
    text += ": count " + NumberText(of.count) + "; mean " + RoundedText(of.mean) + "; SD " +
            RoundedText(of.deviation) + "; minimum " + RoundedText(of.minimum);
    for (std::size_t i = 0; i < of.quantiles.size(); ++i) {
        const int percentage = StStatistics::percentages[i];
        const std::string name = percentage == 50 ? "median" : std::to_string(percentage).append(" %");
        text.append("; ").append(name).append(" ").append(RoundedText(of.quantiles[i]));
    }
    return text + "; maximum " + RoundedText(of.maximum);
}

CJson StatisticsJson(const StColumnStatistics& column) {
    const StStatistics& of = column.statistics;
    CJson quantiles = CJson::Object();
    for (std::size_t i = 0; i < of.quantiles.size(); ++i)
        quantiles.Append(std::to_string(StStatistics::percentages[i]) + " %", NumberJson(of.quantiles[i]));
    return CJson::Object({{"column", column.title},
                          {"unit", column.unit.Plain()},
                          {"weighted by", column.weightedBy},
                          {"count", NumberJson(of.count)},
                          {"mean", NumberJson(of.mean)},
                          {"SD", NumberJson(of.deviation)},
                          {"minimum", NumberJson(of.minimum)},
                          {"quantiles", std::move(quantiles)},
                          {"maximum", NumberJson(of.maximum)}});
}

} // namespace

std::string NumberText(double number) {
    std::array<char, 32> text{};
    const bool isWhole = number == std::trunc(number) && std::abs(number) < c_greatestWholeNumber;
    const auto end =
        isWhole ? std::to_chars(text.data(), text.data() + text.size(), static_cast<std::int64_t>(number))
                : std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), end.ptr};
}

std::string TableAsCsv(const StTable& table, const std::string& file) {
    std::string text = Comment("file: " + file);
    text += Comment("measurement: " + table.name + (table.title != table.name ? ", " + table.title : ""));
    text += Comment("unit of length: " + (table.lengthUnit == "unit" ? "not known" : table.lengthUnit));
    for (const StTableFact& fact : table.facts)
        text += Comment(fact.name + ": " + FactText(fact.value));
    for (const StColumnStatistics& column : StatisticsOf(table))
        text += Comment(StatisticsText(column));
    std::string line;
    for (const StOutputColumn& column : OutputColumns(table))
        line.append(line.empty() ? "" : ",").append(Field(TitleWithUnit(column.title, column.unit.Plain())));
    text.append(line).append("\n");
    for (const std::vector<CJson>& row : OutputRows(table)) {
        for (std::size_t i = 0; i < row.size(); ++i)
            text.append(i == 0 ? "" : ",").append(FieldText(row[i]));
        text += '\n';
    }
    return text;
}

std::string TableAsJson(const StTable& table, const std::string& file) {
    CJson facts = CJson::Object();
    for (const StTableFact& fact : table.facts)
        facts.Append(fact.name, fact.value);
    CJson statistics = CJson::Array();
    for (const StColumnStatistics& column : StatisticsOf(table))
        statistics.Append(StatisticsJson(column));
    CJson columns = CJson::Array();
    for (const StOutputColumn& column : OutputColumns(table))
        columns.Append(
            CJson::Object({{"title", column.title}, {"key", column.key}, {"unit", column.unit.Plain()}}));
    CJson rows = CJson::Array();
    for (std::vector<CJson>& row : OutputRows(table))
        rows.Append(CJson::Array(std::move(row)));
    return CJson::Object({{"file", file},
                          {"measurement", table.name},
                          {"title", table.title},
                          {"unit", table.lengthUnit},
                          {"facts", std::move(facts)},
                          {"statistics", std::move(statistics)},
                          {"columns", std::move(columns)},
                          {"rows", std::move(rows)}})
               .Text(2) +
           "\n";
}

} // namespace engine
