#include "engine/pictures/ChartOfTables.h"

#include "engine/errors/CEngineError.h"
#include "engine/files/ImageWords.h"
#include "engine/measurements/TableText.h"
#include "engine/pictures/StAxis.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>

namespace engine {

namespace {

/// More bins than this cannot be seen.
constexpr double c_mostBins = 2000.0;
/// Without a width, a histogram has at least and at most about so many bins.
constexpr double c_fewestOwnBins = 5.0;
constexpr double c_mostOwnBins = 25.0;
/// Rounding errors leave a value at the border of a bin off by less than this part of the bin.
constexpr double c_tolerance = 1e-9;
constexpr double c_percent = 100.0;

std::string Capitalised(std::string text) {
    if (!text.empty())
        text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text;
}

std::string AxisTitle(const std::string& title, const StUnit& unit) {
    const std::string typeset = unit.Typeset();
    return typeset.empty() ? Capitalised(title) : Capitalised(title) + " (" + typeset + ")";
}

/// A key with quotes that a shell does not take apart.
std::string FeatureWord(const StTableColumn& column) { return "'" + SplitUnit(column.key).name + "'"; }

std::string FeaturesOf(const StTable& table) {
    std::vector<std::string> words;
    for (const StTableColumn& column : table.columns)
        words.push_back(FeatureWord(column));
    return FirstTen(words);
}

/// The column of the feature, or the only one.
std::size_t ColumnOf(const StTable& table, const std::string& feature) {
    if (feature.empty() && table.columns.size() == 1)
        return 0;
    if (feature.empty())
        throw CCallerError("'" + table.name + "' has several features: " + FeaturesOf(table) +
                           "; choose one: --feature " + FeatureWord(table.columns.front()));
    const auto column = std::ranges::find_if(table.columns, [&](const StTableColumn& candidate) {
        return candidate.key == feature || candidate.title == feature ||
               SplitUnit(candidate.key).name == feature;
    });
    if (column == table.columns.end())
        throw CCallerError("'" + table.name + "' has no feature '" + feature + "'; it has " +
                           FeaturesOf(table));
    return static_cast<std::size_t>(column - table.columns.begin());
}

void RequireSameUnits(const std::vector<StLabelledTable>& tables) {
    const StLabelledTable& first = tables.front();
    for (const StLabelledTable& other : tables) {
        if (other.table.lengthUnit != first.table.lengthUnit)
            throw CCallerError("'" + first.label + "' and '" + other.label +
                               "' differ in the unit of length: " + first.table.lengthUnit + " and " +
                               other.table.lengthUnit);
    }
}

/// The values of a histogram: the row numbers of a distribution, the feature of objects.
std::vector<StWeighted> WeightedValues(const StTable& table, const StChartOptions& options) {
    const std::size_t column = ColumnOf(table, options.feature);
    std::vector<StWeighted> values;
    for (const StTableRow& row : table.rows) {
        const double value = row.values[column];
        if (table.kind == MEASUREMENT_OBJECTS && std::isfinite(value))
            values.push_back({value, 1.0});
        else if (table.kind != MEASUREMENT_OBJECTS && row.number && value > 0.0)
            values.push_back({*row.number, value});
    }
    if (values.empty())
        throw CCallerError("'" + table.name + "' holds no numbers to plot");
    return values;
}

double OwnBinWidth(const std::vector<StWeighted>& values) {
    constexpr std::size_t lowerQuartile = 1;
    constexpr std::size_t upperQuartile = 3;
    const StStatistics statistics = StatisticsOf(values);
    const double range = statistics.maximum - statistics.minimum;
    if (range == 0.0)
        return statistics.minimum == 0.0 ? 1.0 : RoundUp125(std::abs(statistics.minimum) / c_mostOwnBins);
    const double quartiles = statistics.quantiles[upperQuartile] - statistics.quantiles[lowerQuartile];
    const double wanted = 2.0 * quartiles / std::cbrt(statistics.count);
    return RoundUp125(std::clamp(wanted, range / c_mostOwnBins, range / c_fewestOwnBins));
}

/// One width for all files, so that their bins can be compared.
double BinWidth(const std::vector<std::vector<StWeighted>>& series, const std::optional<double>& given) {
    if (!given) {
        double width = 0.0;
        for (const auto& values : series)
            width = std::max(width, OwnBinWidth(values));
        return width;
    }
    if (!(*given > 0.0) || !std::isfinite(*given))
        throw CCallerError("--bin " + NumberText(*given) + ": a bin must be wider than 0");
    for (const auto& values : series) {
        const StStatistics statistics = StatisticsOf(values);
        if ((statistics.maximum - statistics.minimum) / *given > c_mostBins)
            throw CCallerError("--bin " + NumberText(*given) + ": too narrow for values from " +
                               NumberText(statistics.minimum) + " to " + NumberText(statistics.maximum) +
                               "; at most 2000 bins can be drawn");
    }
    return *given;
}

/// The height of each bin from the first to the last value; `whole` is what the weights are parts of.
std::vector<StPoint> Bins(const std::vector<StWeighted>& values, double width, double whole) {
    std::map<std::int64_t, double> bins;
    for (const StWeighted& item : values)
        bins[static_cast<std::int64_t>(std::floor(item.value / width + c_tolerance))] += item.weight;
    std::vector<StPoint> points;
    for (std::int64_t bin = bins.begin()->first; bin <= bins.rbegin()->first; ++bin) {
        const auto height = bins.find(bin);
        points.push_back(
            {static_cast<double>(bin) * width, height != bins.end() ? height->second / whole : 0.0});
    }
    return points;
}

std::vector<StPoint> Cumulated(std::vector<StWeighted> values, double whole) {
    std::ranges::sort(values, {}, &StWeighted::value);
    std::vector<StPoint> points;
    double sum = 0.0;
    for (const StWeighted& item : values) {
        sum += item.weight;
        if (!points.empty() && points.back().x == item.value)
            points.back().y = sum / whole;
        else
            points.push_back({item.value, sum / whole});
    }
    return points;
}

double TotalOf(const std::vector<StWeighted>& values) {
    double total = 0.0;
    for (const StWeighted& item : values)
        total += item.weight;
    return total;
}

void FillHistogram(StChart& chart, const std::vector<StLabelledTable>& tables,
                   const StChartOptions& options) {
    const StTable& first = tables.front().table;
    const bool isOfObjects = first.kind == MEASUREMENT_OBJECTS;
    const std::size_t column = ColumnOf(first, options.feature);
    const std::string counted = first.counted.empty() ? first.columns[column].title : first.counted;
    // Numbers of objects are shown as they are, unless files with different numbers are compared.
    const bool isShare = !isOfObjects || tables.size() > 1 || options.isCumulative;
    chart.xTitle = isOfObjects ? AxisTitle(first.columns[column].title, first.columns[column].unit)
                               : AxisTitle(first.row.title, first.row.unit);
    chart.yTitle = options.isCumulative ? "Cumulative share of " + counted + " (%)"
                   : isShare            ? "Share of " + counted + " (%)"
                                        : "Number of " + counted;
    std::vector<std::vector<StWeighted>> values;
    for (const StLabelledTable& item : tables)
        values.push_back(WeightedValues(item.table, options));
    chart.form = options.isCumulative ? CHART_STEPS : CHART_BARS;
    chart.barWidth = options.isCumulative ? 0.0 : BinWidth(values, options.binWidth);
    for (std::size_t i = 0; i < tables.size(); ++i) {
        const double whole = isShare ? TotalOf(values[i]) / c_percent : 1.0;
        chart.series.push_back({tables[i].label, options.isCumulative
                                                     ? Cumulated(std::move(values[i]), whole)
                                                     : Bins(values[i], chart.barWidth, whole)});
    }
}

void FillCurves(StChart& chart, const std::vector<StLabelledTable>& tables, const std::string& feature) {
    const StTable& first = tables.front().table;
    const StTableColumn& column = first.columns[ColumnOf(first, feature)];
    chart.xTitle = AxisTitle(first.row.title, first.row.unit);
    chart.yTitle = AxisTitle(column.title, column.unit);
    for (const StLabelledTable& item : tables) {
        const std::size_t place = ColumnOf(item.table, feature);
        StSeries series{item.label, {}};
        for (const StTableRow& row : item.table.rows) {
            if (row.number && item.table.hasRowNumbers && std::isfinite(row.values[place]))
                series.points.push_back({*row.number, row.values[place]});
        }
        if (series.points.empty())
            throw CCallerError("'" + item.table.name +
                               "' has no order in which it could be plotted; 'quillon table' shows it");
        chart.series.push_back(std::move(series));
    }
}

} // namespace

StChart ChartOf(const std::vector<StLabelledTable>& tables, const StChartOptions& options) {
    RequireSameUnits(tables);
    const StTable& first = tables.front().table;
    const bool isDistribution = first.kind == MEASUREMENT_DISTRIBUTION || first.kind == MEASUREMENT_OBJECTS;
    const bool wantsHistogram = options.isCumulative || options.binWidth;
    if (wantsHistogram && !isDistribution)
        throw CCallerError(std::string(options.isCumulative ? "--cumulative" : "--bin") + ": '" + first.name +
                           "' is not a distribution");
    StChart chart;
    chart.title = first.title;
    if (isDistribution)
        FillHistogram(chart, tables, options);
    else
        FillCurves(chart, tables, options.feature);
    return chart;
}

} // namespace engine
