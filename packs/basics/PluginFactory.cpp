#include "plugin/PluginFactory.h"
#include "Arithmetic.h"
#include "AutoThreshold.h"
#include "ConnectedComponents.h"
#include "Crop.h"
#include "FillHoles.h"
#include "Invert.h"
#include "LabelMeasurements.h"
#include "LabelMeasurementsExport.h"
#include "Mask.h"
#include "Median.h"
#include "RegionalMaxima.h"
#include "Resample.h"
#include "Rescale.h"
#include "Threshold.h"

#include <array>

namespace {

using namespace quillon::basics;
using quillon::factory::Create;

constexpr std::array<quillon::factory::StRow, 14> c_rows{{
    {"Arithmetic", Create<CArithmeticPlugin>},
    {"AutoThreshold", Create<CAutoThresholdPlugin>},
    {"ConnectedComponents", Create<CConnectedComponentsPlugin>},
    {"Crop", Create<CCropPlugin>},
    {"FillHoles", Create<CFillHolesPlugin>},
    {"Invert", Create<CInvertPlugin>},
    {"LabelMeasurements", Create<CLabelMeasurementsPlugin>},
    {"LabelMeasurementsExport", Create<CLabelMeasurementsExportPlugin>},
    {"Mask", Create<CMaskPlugin>},
    {"Median", Create<CMedianPlugin>},
    {"RegionalMaxima", Create<CRegionalMaximaPlugin>},
    {"Resample", Create<CResamplePlugin>},
    {"Rescale", Create<CRescalePlugin>},
    {"Threshold", Create<CThresholdPlugin>},
}};

} // namespace

void* CreatePluginInstanceEx(const char* name) { return quillon::factory::CreateByName(c_rows, name); }
