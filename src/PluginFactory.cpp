#include "plugin/PluginFactory.h"
#include "ConvexifyObjects.h"
#include "CylinderMask.h"
#include "EuclideanSkeleton.h"
#include "ExactBisector.h"
#include "ExactMedialAxis.h"
#include "FeatureToImage.h"
#include "FieldFeaturesGrayValueImage.h"
#include "GaussFilter.h"
#include "Granulometry.h"
#include "GranulometryExport.h"
#include "LinearDistanceTransformation.h"
#include "LocalEulerNumber.h"
#include "LocalFiberDirections.h"
#include "LocalFiberDirectionsDialog.h"
#include "LocalFiberDirectionsExport.h"
#include "MarkSimplePoints.h"
#include "PartialDerivative.h"
#include "PointwiseRelation.h"
#include "SegmNiblack.h"
#include "SegmSauvola.h"
#include "Skeleton.h"
#include "SphericalMorphology.h"
#include "VoronoiEdtPlugin.h"
#include "Watershed.h"

#include <QuillonSpectral/CRegisterFftwClient.h>

#include <array>

namespace {

using quillon::factory::Create;

// The names are fixed texts and cannot be derived from the class names: only one of them ends in "Plugin",
// and "Skeleton" is the topological skeleton.
constexpr std::array<quillon::factory::StRow, 24> c_rows{{
    {"SegmNiblack", Create<CSegmNiblackPlugin>},
    {"SegmSauvola", Create<CSegmSauvolaPlugin>},
    {"Granulometry", Create<quillon::CGranulometryPlugin>},
    {"LocalFiberDirections", Create<CLocalFiberDirectionsPlugin>},
    {"LocalFiberDirectionsDialog", Create<quillon::CLocalFiberDirectionsDialogPlugin>},
    {"Skeleton", Create<quillon::CTopologicalSkeletonPlugin>},
    {"EuclideanSkeleton", Create<quillon::CEuclideanSkeletonPlugin>},
    {"ExactMedialAxis", Create<quillon::CExactMedialAxisPlugin>},
    {"ExactBisector", Create<quillon::CExactBisectorPlugin>},
    {"MarkSimplePoints", Create<quillon::CMarkSimplePointsPlugin>},
    {"LocalEulerNumber", Create<quillon::CLocalEulerNumberPlugin>},
    {"VoronoiEdtPlugin", Create<CVoronoiEdtPlugin>},
    {"PartialDerivative", Create<quillon::CPartialDerivativePlugin>},
    {"PointwiseRelation", Create<quillon::CPointwiseRelationPlugin>},
    {"GaussFilter", Create<quillon::CGaussFilterPlugin>},
    {"SphericalMorphology", Create<quillon::CSphericalMorphologyPlugin>},
    {"LinearDt", Create<CLinearDistanceTransformationPlugin>},
    {"FeatureToImage", Create<CFeatureMapToFeatureImagePlugin>},
    {"ConvexifyObjects", Create<CConvexifyObjectsPlugin>},
    {"FieldFeaturesGrayValueImage", Create<quillon::CFieldFeaturesGrayValueImagePlugin>},
    {"Watershed", Create<quillon::CWatershedPlugin>},
    {"GranulometryExport", Create<quillon::CGranulometryExportPlugin>},
    {"LocalFiberDirectionsExport", Create<quillon::CLocalFiberDirectionsExportPlugin>},
    {"CylinderMask", Create<CCylinderMaskPlugin>},
}};

// Exists from the loading of the pack to its unloading. The plug-ins do not call FFTW themselves, but the
// host libraries that they use may.
ORVEN::CRegisterFftwClient g_fftwClient;

} // namespace

void* CreatePluginInstanceEx(const char* name) { return quillon::factory::CreateByName(c_rows, name); }
