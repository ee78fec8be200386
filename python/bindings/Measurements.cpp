#include "engine/errors/CEngineError.h"
#include "engine/measurements/StTable.h"
#include "engine/pictures/ChartOfTables.h"
#include "python/bindings/Bindings.h"
#include "python/bindings/CPackAccess.h"
#include "python/bindings/CPythonImage.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <cmath>
#include <limits>
#include <utility>

namespace quillon_python {

namespace py = pybind11;
using namespace engine;

namespace {

using Unit = std::pair<std::string, int>;
using Values = py::array_t<double, py::array::c_style | py::array::forcecast>;

py::dict ColumnAsDict(const StTableColumn& column) {
    py::dict entry;
    entry["key"] = column.key;
    entry["name"] = SplitUnit(column.key).name;
    entry["title"] = column.title;
    entry["unit"] = Unit(column.unit.name, column.unit.power);
    entry["unit_text"] = column.unit.Plain();
    return entry;
}

StTableColumn ColumnOfDict(const py::dict& entry) {
    const auto unit = entry["unit"].cast<Unit>();
    return {entry["key"].cast<std::string>(), entry["title"].cast<std::string>(), {unit.first, unit.second}};
}

/// The table in objects of Python, so that it can be pickled and outlives the image.
py::dict TableAsDict(const StTable& table) {
    const auto rows = static_cast<py::ssize_t>(table.rows.size());
    Values numbers(rows);
    Values values({rows, static_cast<py::ssize_t>(table.columns.size())});
    py::list names;
    py::list columns;
    py::dict facts;
    for (py::ssize_t i = 0; i < rows; ++i) {
        const StTableRow& row = table.rows[static_cast<std::size_t>(i)];
        names.append(row.name);
        numbers.mutable_at(i) = row.number.value_or(std::numeric_limits<double>::quiet_NaN());
        std::ranges::copy(row.values, values.mutable_data(i));
    }
    for (const StTableColumn& column : table.columns)
        columns.append(ColumnAsDict(column));
    for (const StTableFact& fact : table.facts)
        facts[py::str(fact.name)] = fact.value.Text();
    py::dict entry;
    entry["name"] = table.name;
    entry["title"] = table.title;
    entry["length_unit"] = table.lengthUnit;
    entry["kind"] = static_cast<int>(table.kind);
    entry["counted"] = table.counted;
    entry["row"] = ColumnAsDict(table.row);
    entry["has_row_numbers"] = table.hasRowNumbers;
    entry["columns"] = columns;
    entry["names"] = names;
    entry["numbers"] = numbers;
    entry["values"] = values;
    entry["facts"] = facts;
    return entry;
}

std::vector<StTableRow> RowsOfDict(const py::dict& entry) {
    const auto numbers = entry["numbers"].cast<Values>();
    const auto values = entry["values"].cast<Values>();
    std::vector<StTableRow> rows;
    for (py::ssize_t i = 0; i < numbers.size(); ++i) {
        const double number = numbers.at(i);
        const double* const first = values.data(i);
        rows.push_back({"", std::isnan(number) ? std::nullopt : std::optional(number),
                        std::vector<double>(first, first + values.shape(1))});
    }
    return rows;
}

/// What a chart needs of it.
StTable TableOfDict(const py::dict& entry) {
    StTable table;
    table.name = entry["name"].cast<std::string>();
    table.title = entry["title"].cast<std::string>();
    table.lengthUnit = entry["length_unit"].cast<std::string>();
    table.kind = static_cast<EnMeasurementKind>(entry["kind"].cast<int>());
    table.counted = entry["counted"].cast<std::string>();
    table.row = ColumnOfDict(entry["row"]);
    table.hasRowNumbers = entry["has_row_numbers"].cast<bool>();
    for (const py::handle column : entry["columns"])
        table.columns.push_back(ColumnOfDict(py::reinterpret_borrow<py::dict>(column)));
    table.rows = RowsOfDict(entry);
    return table;
}

std::vector<StCatalogueMeasurement> Descriptions() {
    return CPackAccess::Instance().With([](CPackSet& packs) { return DescriptionsOf(packs.Entries()); });
}

/// The measurements of an image by name; a table is None if there are no numbers in the measurement.
py::dict Tables(const CPythonImage& image) {
    std::vector<std::pair<std::string, std::optional<StTable>>> tables;
    {
        const py::gil_scoped_release unlocked;
        const std::vector<StCatalogueMeasurement> descriptions = Descriptions();
        for (const std::string& name : MeasurementNames(image.Image(), descriptions)) {
            tables.emplace_back(name, std::nullopt);
            try {
                tables.back().second =
                    TableOf(FindMeasurement(image.Image(), name, descriptions).value(), image.Image());
            } catch (const CCallerError&) { // no numbers
            }
        }
    }
    py::dict entries;
    for (const auto& [name, table] : tables)
        entries[py::str(name)] = table ? py::object(TableAsDict(*table)) : py::none();
    return entries;
}

/// A chart of one of these tables: titles, and the points of its only curve or histogram.
py::dict Chart(const py::dict& table, const std::string& feature, bool isCumulative) {
    StChartOptions options;
    options.feature = feature;
    options.isCumulative = isCumulative;
    const StChart chart = ChartOf({{TableOfDict(table), ""}}, options);
    py::list x;
    py::list y;
    for (const StPoint& point : chart.series.front().points) {
        x.append(point.x);
        y.append(point.y);
    }
    py::dict entry;
    entry["title"] = chart.title;
    entry["x_title"] = chart.xTitle;
    entry["y_title"] = chart.yTitle;
    entry["form"] = static_cast<int>(chart.form);
    entry["bar_width"] = chart.barWidth;
    entry["x"] = x;
    entry["y"] = y;
    return entry;
}

} // namespace

void AddMeasurements(py::module_& module) {
    module.def("tables", &Tables);
    module.def("chart", &Chart);
}

} // namespace quillon_python
