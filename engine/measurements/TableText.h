#pragma once

#include "engine/measurements/StTable.h"

#include <string>

namespace engine {

/// The table as comma-separated values with one line for the titles. Comment lines before it, each with "# "
/// in front, state file, measurement, unit, facts and statistics. Numbers are written in the shortest form
/// that reads back as the same number, with a decimal point; a missing number is an empty field. A
/// distribution has two more columns: the share of each row, and the share of all rows up to it.
///
/// Source of the format: Y. Shafranovich, *Common format and MIME type for CSV files*, RFC 4180, 2005, with
/// line feeds alone.
std::string TableAsCsv(const StTable& table, const std::string& file);

/// The same as a JSON object: "file", "measurement", "title", "unit", "facts", "statistics", "columns"
/// (title, key and unit) and "rows" (lists of numbers and texts, null for a missing number).
std::string TableAsJson(const StTable& table, const std::string& file);

/// The number in its shortest form, as in the table.
std::string NumberText(double number);

} // namespace engine
