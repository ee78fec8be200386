#include "engine/catalogue/StCatalogueMeasurement.h"

#include "engine/catalogue/CMemberReader.h"

#include <array>

namespace engine {

namespace {

EnMeasurementKind KindOfMeasurement(const std::string& word, const CMemberReader& reader) {
    constexpr std::array kinds = {
        std::pair("distribution", MEASUREMENT_DISTRIBUTION), std::pair("curve", MEASUREMENT_CURVE),
        std::pair("objects", MEASUREMENT_OBJECTS), std::pair("single", MEASUREMENT_SINGLE)};
    for (const auto& [name, kind] : kinds) {
        if (word == name)
            return kind;
    }
    reader.Fail("'kind' is none of distribution, curve, objects, single");
}

StCatalogueColumn ParseColumn(const CJson& object, const std::string& place) {
    CMemberReader reader(object, place);
    StCatalogueColumn column;
    column.key = reader.Get<std::string>("key");
    column.title = reader.Get<std::string>("title");
    column.unit = reader.Get<std::string>("unit", "");
    column.hasStatistics = reader.Get<bool>("statistics", true);
    reader.RefuseOthers();
    return column;
}

StCatalogueColumn ParseRow(const CJson& object, const std::string& place) {
    CMemberReader reader(object, place);
    StCatalogueColumn row;
    row.title = reader.Get<std::string>("title");
    row.unit = reader.Get<std::string>("unit", "");
    reader.RefuseOthers();
    return row;
}

std::vector<std::pair<std::string, std::string>> ParseFlags(CMemberReader& reader) {
    std::vector<std::pair<std::string, std::string>> flags;
    const CJson* object = reader.Find("countedIf");
    if (object == nullptr)
        return flags;
    const auto refuse = [&] { reader.Fail("'countedIf' is of the wrong kind"); };
    if (!object->IsObject())
        refuse();
    for (const auto& [flag, counted] : object->Members()) {
        if (!counted.IsString())
            refuse();
        flags.emplace_back(flag, counted.String());
    }
    return flags;
}

StCatalogueMeasurement ParseMeasurement(const CJson& object, const std::string& place) {
    CMemberReader reader(object, place);
    StCatalogueMeasurement measurement;
    measurement.key = reader.Get<std::string>("key");
    const std::string where = place + " '" + measurement.key + "'";
    reader.SetPlace(where);
    measurement.title = reader.Get<std::string>("title");
    measurement.kind = KindOfMeasurement(reader.Get<std::string>("kind"), reader);
    measurement.rows = reader.Get<std::string>("rows", "");
    if (measurement.kind != MEASUREMENT_SINGLE)
        measurement.row = ParseRow(reader.Get<CJson>("row"), where + ": row");
    if (measurement.kind == MEASUREMENT_DISTRIBUTION || measurement.kind == MEASUREMENT_OBJECTS)
        measurement.counted = reader.Get<std::string>("counted");
    measurement.countedIf = ParseFlags(reader);
    for (const CJson& column : reader.Get<std::vector<CJson>>("columns", {}))
        measurement.columns.push_back(ParseColumn(column, where + ": columns"));
    measurement.pixels = reader.Get<std::string>("pixels", "");
    measurement.limitedBy = reader.Get<std::vector<std::string>>("limitedBy", {});
    reader.RefuseOthers();
    return measurement;
}

} // namespace

std::vector<StCatalogueMeasurement> ParseCatalogueMeasurements(const CJson& list, const std::string& place) {
    if (!list.IsArray())
        throw std::runtime_error("catalogue: " + place + ": is not a list");
    std::vector<StCatalogueMeasurement> measurements;
    for (const CJson& object : list.Elements())
        measurements.push_back(ParseMeasurement(object, place));
    return measurements;
}

} // namespace engine
