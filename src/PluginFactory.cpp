#include "PluginFactory.h"

#include "SegmNiblack.h"
#include "SegmSauvola.h"
#include "Watershed.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

struct StFactoryRow {
    std::string_view name;
    void* (*create)(); // null: not in this build of the pack
};

template <class Plugin>
void* Create() {
    return new Plugin;
}

// The names are fixed texts, not made from those of the classes: only one ends in "Plugin", and "Skeleton" is
// the topological one.
constexpr std::array<StFactoryRow, 24> g_rows{{
    {"SegmNiblack", Create<CSegmNiblackPlugin>},
    {"SegmSauvola", Create<CSegmSauvolaPlugin>},
    {"Granulometry", nullptr},
    {"LocalFiberDirections", nullptr},
    {"LocalFiberDirectionsDialog", nullptr},
    {"Skeleton", nullptr},
    {"EuclideanSkeleton", nullptr},
    {"ExactMedialAxis", nullptr},
    {"ExactBisector", nullptr},
    {"MarkSimplePoints", nullptr},
    {"LocalEulerNumber", nullptr},
    {"VoronoiEdtPlugin", nullptr},
    {"PartialDerivative", nullptr},
    {"PointwiseRelation", nullptr},
    {"GaussFilter", nullptr},
    {"SphericalMorphology", nullptr},
    {"LinearDt", nullptr},
    {"FeatureToImage", nullptr},
    {"ConvexifyObjects", nullptr},
    {"FieldFeaturesGrayValueImage", nullptr},
    {"Watershed", Create<quillon::CWatershedPlugin>},
    {"GranulometryExport", nullptr},
    {"LocalFiberDirectionsExport", nullptr},
    {"CylinderMask", nullptr},
}};

} // namespace

void* CreatePluginInstanceEx(const char* name) {
    if (name == nullptr)
        return nullptr;
    const std::string_view wanted(name);
    const auto row = std::find_if(g_rows.begin(), g_rows.end(), [wanted](const StFactoryRow& candidate) {
        return candidate.name == wanted;
    });
    return row != g_rows.end() && row->create != nullptr ? row->create() : nullptr;
}
