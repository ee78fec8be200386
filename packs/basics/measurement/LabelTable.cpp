#include "measurement/LabelTable.h"

#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/StImageGeometry.h>

namespace quillon::basics {

using namespace ORVEN;

std::string LabelMeasurementsPath() { return CQuillonHeaderTools::c_sTagFeatures + "/LabelMeasurements"; }

std::vector<StColumn> ColumnsOf(int dimension, bool hasGreyValues) {
    const std::vector<std::string> axes = dimension == 3   ? std::vector<std::string>{"x", "y", "z"}
                                          : dimension == 2 ? std::vector<std::string>{"x", "y"}
                                                           : std::vector<std::string>{"x"};
    std::vector<StColumn> columns{{"voxels", "voxels", 0}};
    const std::string size = dimension == 3 ? "volume" : dimension == 2 ? "area" : "length";
    columns.push_back({size, size, dimension});
    for (const std::string& axis : axes)
        columns.push_back({"centroid/" + axis, "centroid " + axis, 1});
    for (const std::string& axis : axes) {
        for (const char* end : {"0", "1"})
            columns.push_back({"bounding box/" + axis + end, "bounding box " + axis + end, -1});
    }
    for (std::size_t place = 1; place <= axes.size(); ++place) {
        const std::string name = "axis " + std::to_string(place);
        columns.push_back({name + "/length", name + " length", 1});
        for (const std::string& axis : axes)
            columns.push_back({name + "/" + axis, name + " " + axis, 0});
    }
    columns.push_back({"Feret diameter", "Feret diameter", 1});
    if (dimension > 1) {
        const std::string surface = dimension == 3 ? "surface area" : "perimeter";
        columns.push_back({surface, surface, dimension - 1});
    }
    if (hasGreyValues) {
        for (const char* name : {"mean", "SD", "minimum", "maximum"})
            columns.push_back({std::string("grey value/") + name, std::string("grey value ") + name, 0});
    }
    return columns;
}

std::string TitleWithUnit(const StColumn& column, const CImage& image) {
    if (column.lengthPower == 0)
        return column.title;
    if (column.lengthPower < 0)
        return column.title + " [px]";
    std::string title = column.title + " [" + StImageGeometry::Of(image).LengthUnit();
    if (column.lengthPower > 1)
        title.append("^").append(std::to_string(column.lengthPower));
    return title + "]";
}

} // namespace quillon::basics
