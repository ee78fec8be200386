#include "src/contract/PluginTable.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>

#include <string>

namespace test {

using namespace ORVEN;

namespace {

CValueString* Text(const std::string& text) { return new CValueString(text.c_str(), text.size()); }

// --- attributes

const char* const c_granulometry = "features/Granulometry";
const char* const c_fiberDirections = "features/FiberDirections";
const char* const c_fieldFeatures = "features/FieldFeaturesOverGrayvalue";

void AddSpacing(CValueMap& attributes) {
    for (const char* axis : {"x", "y", "z"})
        attributes.SetEntry(std::string("spacing/") + axis, new CValueDouble(1.0));
}

/// What every result gets a line of.
void AddHistory(CValueMap& attributes) { attributes.SetEntry("history/0", Text("scanned()")); }

void AddMinMax(CValueMap& attributes) {
    attributes.SetEntry("meta/MinMax/0", new CValueDouble(0.0));
    attributes.SetEntry("meta/MinMax/1", new CValueDouble(255.0));
}

void AddCylinder(CValueMap& attributes) {
    attributes.SetEntry("meta/CylinderMask/axis", Text("Z"));
    for (const char* number : {"s", "t", "radius"})
        attributes.SetEntry(std::string("meta/CylinderMask/") + number, new CValueDouble(4.0));
}

void AddLabelCount(CValueMap& attributes) { attributes.SetEntry("number of labels", new CValueLong(3)); }
void AddMaxDistance(CValueMap& attributes) { attributes.SetEntry("max distance", new CValueDouble(2.0)); }

void AddOffset(CValueMap& attributes) {
    for (const char* axis : {"x", "y", "z"})
        attributes.SetEntry(std::string("offset/") + axis, new CValueLong(1));
}

/// The record of labels 0 and 1, with the offset in it.
void AddLabelData(CValueMap& attributes) {
    const std::string record = "features/LabelData/";
    const auto addRow = [&](const std::string& key, std::int32_t background, std::int32_t object) {
        attributes.SetEntry(record + key + "/0", new CValueLong(background));
        attributes.SetEntry(record + key + "/1", new CValueLong(object));
    };
    addRow("volume", 100, 8);
    for (const char* axis : {"x", "y", "z"}) {
        addRow(std::string("start ") + axis, 1, 2);
        addRow(std::string("extent ") + axis, 5, 4);
    }
}

void AddGranulometry(CValueMap& attributes) {
    const std::string result = c_granulometry;
    attributes.SetEntry(result + "/data/2.000000e+00", new CValueLong(20));
    attributes.SetEntry(result + "/data/6.000000e+00", new CValueLong(100));
    attributes.SetEntry(result + "/on foreground", new CValueBool(true));
}

CValueMap* NewFiberRow() {
    auto* row = new CValueMap;
    row->SetEntry("Orientation tensor/xx", new CValueDouble(0.25));
    row->SetEntry("Evaluated area/x0", new CValueLong(4));
    return row;
}

void AddFieldDirections(CValueMap& attributes) {
    attributes.SetEntry(std::string(c_fiberDirections) + "/FieldFiberDirections", NewFiberRow());
}

void AddFiberDirections(CValueMap& attributes) {
    const std::string measurement = std::string(c_fiberDirections) + "/";
    AddFieldDirections(attributes);
    attributes.SetEntry(measurement + "Fiber radius", new CValueDouble(1.5));
    attributes.SetEntry(measurement + "Otsu factor", new CValueDouble(1.25));
    attributes.SetEntry(measurement + "Border", new CValueLong(4));
    const std::string subfields = measurement + "SubfieldFiberDirections/";
    attributes.SetEntry(subfields + "Subfield z000 y000 x000", NewFiberRow());
    attributes.SetEntry(subfields + "Subfield size", new CValueDouble(50.0));
    attributes.SetEntry(subfields + "Subfield step", new CValueDouble(50.0));
    for (const char* direction : {"x-Direction", "y-Direction", "z-Direction"})
        attributes.SetEntry(measurement + "SubfieldProfiles/" + direction + "/Slice 0007", NewFiberRow());
}

void AddGreyValueFeatures(CValueMap& attributes) {
    attributes.SetEntry(std::string(c_fieldFeatures) + "/grayvalue 002/grayvalue", Text("2"));
    attributes.SetEntry(std::string(c_fieldFeatures) + "/grayvalue 002/V_V", new CValueDouble(0.5));
}

void AddObjectFeatures(CValueMap& attributes) {
    attributes.SetEntry("features/Objects/object 001/object", Text("1"));
    attributes.SetEntry("features/Objects/object 001/volume", new CValueDouble(5.0));
    attributes.SetEntry("features/Objects/object 003/label", new CValueLong(3));
    attributes.SetEntry("features/Objects/maximum label", new CValueLong(4));
}

/// Several of the above.
template <void (*... Add)(CValueMap&)>
void Together(CValueMap& attributes) {
    (Add(attributes), ...);
}

// --- parameters

void SetLocalThresholding(CPluginRun& run) {
    run.Host()
        .Set("coefficient", new CValueDouble(-0.2))
        .Set("windowsize", new CValueLong(2))
        .Set("usenewimpl", new CValueBool(true));
}

void SetNeighborhood(CPluginRun& run) { run.Host().Set("Neighborhood", Text("N26")); }

void SetSkeleton(CPluginRun& run) {
    SetNeighborhood(run);
    run.Host().Set("minRadius", new CValueLong(1)).Set("minAngle", new CValueDouble(0.5));
}

void SetMedialAxis(CPluginRun& run) { run.Host().Set("minRadius", new CValueLong(1)); }

void SetBisector(CPluginRun& run) {
    SetMedialAxis(run);
    run.Host().Set("minAngle", new CValueDouble(0.5));
}

void SetCylinder(CPluginRun& run) {
    run.Host()
        .Set("axis", Text("Z"))
        .Set("s", new CValueDouble(4.0))
        .Set("t", new CValueDouble(4.0))
        .Set("radius", new CValueDouble(3.0))
        .Set("crop", new CValueBool(false));
}

void SetConvexify(CPluginRun& run) { run.Host().Set("method", Text("OverwriteOnlyBackground")); }

void SetGauss(CPluginRun& run) { run.Host().Set("sigma", new CValueDouble(1.0)); }

/// Measures into a new image, which shows more of the plug-in than a measurement in the header of the old
/// one.
void SetGranulometry(CPluginRun& run) {
    run.Host().Set("onForeground", new CValueBool(true)).Set("returnImage", new CValueBool(true));
}

void SetLinearDistance(CPluginRun& run) {
    run.Host()
        .Set("direction", Text("x"))
        .Set("compute on foreground", new CValueBool(true))
        .Set("embedded edge treatment", new CValueBool(false))
        .Set("compute exact values", new CValueBool(true));
}

void SetFiberDirections(CPluginRun& run) {
    const CImage& image = run.Host().Image();
    CImage& mask = run.AddCompanion(PatternImage(IMAGE_BINARY_FG, image.Size()));
    run.Host()
        .Set("fiber_radius", new CValueDouble(1.0))
        .Set("use_subfields", new CValueBool(false))
        .Set("advanced/output_directions", new CValueBool(true))
        .Set("advanced/otsu_factor", new CValueDouble(1.25))
        .Set("advanced/use_otsu", new CValueBool(false))
        .Set("advanced/mask_image", new CValuePointer<CImage>(&mask, 1));
}

void OfferMask(CPluginRun& run) {
    run.AddDocument("mask", PatternImage(IMAGE_BINARY_FG, run.Host().Image().Size()), "mask");
}

void SetFiberExport(CPluginRun& run) {
    for (const char* rows : {"export_field", "export_subfields", "export_profiles"})
        run.Host().Set(rows, new CValueBool(true));
}

void SetDerivative(CPluginRun& run) {
    for (const char* order : {"orderx", "ordery", "orderz"})
        run.Host().Set(order, new CValueLong(1));
}

void SetSecondImage(CPluginRun& run) {
    const CImage& image = run.Host().Image();
    CImage& second = run.AddCompanion(PatternImage(image.Type(), image.Size()));
    run.Host().Set("Image2", new CValuePointer<CImage>(&second, 1));
}

void SetMorphology(CPluginRun& run) {
    run.Host().Set("operation", Text("closing")).Set("radius", new CValueLong(1));
}

void SetDistance(CPluginRun& run) {
    run.Host()
        .Set("ComputeOn", Text("foreground"))
        .Set("EdgeTreatment", Text("not embedded"))
        .Set("exact_or_squared", Text("exact values"))
        .Set("use cylindrical mask", new CValueBool(true));
}

void SetMarkers(CPluginRun& run) {
    CImage& markers = run.AddCompanion(PatternImage(IMAGE_GREY_8, run.Host().Image().Size()));
    run.Host()
        .Set("Neighborhood", Text("Neigh_26"))
        .Set("type", Text("marker"))
        .Set("markerimage", new CValuePointer<CImage>(&markers, 1));
}

// --- the table

} // namespace

std::vector<StPluginRow> MakePluginRows() {
    const std::vector<IImage::CType> binary{IMAGE_BINARY_FG};
    const std::vector<IImage::CType> labels{IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG};
    const std::vector<IImage::CType> grey{IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_F};
    const std::vector<IImage::CType> real{IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_F,
                                          IMAGE_BINARY_FG};
    const std::vector<IImage::CType> any{IMAGE_GREY_8,    IMAGE_GREY_16,   IMAGE_GREY_32,  IMAGE_GREY_F,
                                         IMAGE_COMPLEX_F, IMAGE_BINARY_FG, IMAGE_BINARY_BG};
    // Without the background flavour, which only the plug-ins that take anything take.
    const std::vector<IImage::CType> compared{IMAGE_GREY_8, IMAGE_GREY_16,   IMAGE_GREY_32,
                                              IMAGE_GREY_F, IMAGE_COMPLEX_F, IMAGE_BINARY_FG};
    const std::vector<int> plane{2, 3};
    const std::vector<int> volume{3};
    const std::vector<int> all{1, 2, 3};
    return {
        {.name = "ConvexifyObjects",
         .types = labels,
         .dimensions = plane,
         .documentCount = 1,
         .addAttributes = Together<AddHistory, AddLabelData, AddLabelCount, AddOffset>,
         .setParameters = SetConvexify},
        {.name = "CylinderMask",
         .types = real,
         .dimensions = plane,
         .documentCount = 1,
         .addAttributes = Together<AddHistory, AddCylinder, AddMinMax, AddLabelCount, AddMaxDistance>,
         .setParameters = SetCylinder},
        {.name = "EuclideanSkeleton",
         .pluginName = "CEuclideanSkeletonPlugin",
         .types = binary,
         .dimensions = volume,
         .documentCount = 1,
         .addAttributes = AddHistory,
         .setParameters = SetSkeleton},
        {.name = "ExactBisector",
         .pluginName = "CExactBisectorPlugin",
         .types = binary,
         .dimensions = volume,
         .documentCount = 1,
         .addAttributes = Together<AddHistory, AddMinMax, AddMaxDistance>,
         .setParameters = SetBisector},
        {.name = "ExactMedialAxis",
         .pluginName = "CExactMedialAxisPlugin",
         .types = binary,
         .dimensions = volume,
         .documentCount = 1,
         .addAttributes = AddHistory,
         .setParameters = SetMedialAxis},
        {.name = "FeatureToImage",
         .types = any,
         .dimensions = all,
         .documentCount = 1,
         .window = EnWindow::FORM,
         .addRequiredAttributes = Together<AddGreyValueFeatures, AddObjectFeatures>,
         .addAttributes = Together<AddHistory, AddGreyValueFeatures, AddObjectFeatures, AddMinMax>},
        {.name = "FieldFeaturesGrayValueImage",
         .pluginName = "FieldFeaturesGrayValueImagePlugin",
         .types = {IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_BINARY_FG},
         .dimensions = plane,
         .measurement = c_fieldFeatures,
         .addAttributes = Together<AddSpacing, AddGreyValueFeatures>},
        {.name = "GaussFilter",
         .types = grey,
         .dimensions = volume,
         .documentCount = 1,
         .addAttributes = Together<AddHistory, AddSpacing, AddMinMax>,
         .setParameters = SetGauss},
        {.name = "Granulometry",
         .types = binary,
         .dimensions = plane,
         .documentCount = 1,
         .addAttributes = Together<AddSpacing, AddGranulometry>,
         .setParameters = SetGranulometry},
        {.name = "GranulometryExport",
         .types = any,
         .dimensions = all,
         .window = EnWindow::FILE,
         .addRequiredAttributes = AddGranulometry,
         .addAttributes = Together<AddGranulometry, AddHistory, AddSpacing>},
        {.name = "LinearDt",
         .types = binary,
         .dimensions = all,
         .documentCount = 1,
         .addAttributes = Together<AddHistory, AddSpacing, AddMinMax, AddMaxDistance>,
         .setParameters = SetLinearDistance},
        {.name = "LocalEulerNumber",
         .pluginName = "CLocalEulerNumberPlugin",
         .types = binary,
         .dimensions = volume,
         .documentCount = 1,
         .addAttributes = Together<AddHistory, AddMinMax>,
         .setParameters = SetNeighborhood},
        {.name = "LocalFiberDirections",
         .types = {IMAGE_GREY_8},
         .dimensions = plane,
         .documentCount = 2,
         .measurement = c_fiberDirections,
         .addAttributes = Together<AddHistory, AddSpacing, AddMinMax, AddFiberDirections>,
         .setParameters = SetFiberDirections},
        {.name = "LocalFiberDirectionsDialog",
         .types = any,
         .dimensions = all,
         .window = EnWindow::FORM,
         .addAttributes = AddSpacing,
         .setParameters = OfferMask},
        {.name = "LocalFiberDirectionsExport",
         .types = any,
         .dimensions = all,
         .window = EnWindow::FILE,
         .addRequiredAttributes = AddFieldDirections,
         .addAttributes = AddFiberDirections,
         .setParameters = SetFiberExport},
        {.name = "MarkSimplePoints",
         .pluginName = "CMarkSimplePointsPlugin",
         .types = binary,
         .dimensions = volume,
         .documentCount = 1,
         .addAttributes = Together<AddHistory, AddLabelCount>,
         .setParameters = SetNeighborhood},
        {.name = "PartialDerivative",
         .types = {IMAGE_GREY_F},
         .dimensions = plane,
         .documentCount = 1,
         .addAttributes = Together<AddHistory, AddSpacing, AddMinMax>,
         .setParameters = SetDerivative},
        {.name = "PointwiseRelation",
         .types = compared,
         .dimensions = all,
         .window = EnWindow::MESSAGE,
         .addAttributes = AddSpacing,
         .setParameters = SetSecondImage},
        {.name = "SegmNiblack",
         .types = grey,
         .dimensions = plane,
         .minimumExtent = 2,
         .documentCount = 1,
         .addAttributes = AddHistory,
         .setParameters = SetLocalThresholding},
        {.name = "SegmSauvola",
         .types = grey,
         .dimensions = plane,
         .minimumExtent = 2,
         .documentCount = 1,
         .addAttributes = AddHistory,
         .setParameters = SetLocalThresholding},
        {.name = "Skeleton",
         .pluginName = "CTopologicalSkeletonPlugin",
         .types = binary,
         .dimensions = volume,
         .documentCount = 1,
         .addAttributes = AddHistory,
         .setParameters = SetSkeleton},
        {.name = "SphericalMorphology",
         .types = binary,
         .dimensions = plane,
         .documentCount = 1,
         .addAttributes = Together<AddHistory, AddSpacing>,
         .setParameters = SetMorphology},
        {.name = "VoronoiEdtPlugin",
         .types = binary,
         .dimensions = all,
         .documentCount = 1,
         .addAttributes = Together<AddHistory, AddSpacing, AddCylinder, AddMinMax, AddMaxDistance>,
         .setParameters = SetDistance},
        {.name = "Watershed",
         .types = real,
         .dimensions = plane,
         .documentCount = 1,
         .addAttributes = Together<AddHistory, AddLabelCount>,
         .setParameters = SetMarkers},
    };
}

} // namespace test
