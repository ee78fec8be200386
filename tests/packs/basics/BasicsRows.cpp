#include "src/contract/PluginTable.h"
#include "support/PluginTest.h"

#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>

#include <string>

namespace test {

using namespace ORVEN;

namespace {

void AddSpacing(CValueMap& attributes) {
    for (const char* axis : {"x", "y", "z"})
        attributes.SetEntry(std::string("spacing/") + axis, new CValueDouble(1.0));
}

/// What every plug-in that makes a document deals with.
void AddInherited(CValueMap& attributes) {
    AddSpacing(attributes);
    attributes.SetEntry("history/0", Text("scanned()"));
    attributes.SetEntry("meta/MinMax/0", new CValueDouble(0.0));
    attributes.SetEntry("meta/MinMax/1", new CValueDouble(255.0));
    attributes.SetEntry("number of labels", new CValueLong(3));
    attributes.SetEntry("max distance", new CValueDouble(2.0));
    for (const char* axis : {"x", "y", "z"})
        attributes.SetEntry(std::string("origin/") + axis, new CValueDouble(10.0));
}

void AddMeasurement(CValueMap& attributes) {
    const std::string object = "features/LabelMeasurements/object 1/";
    attributes.SetEntry(object + "object", Text("1"));
    attributes.SetEntry(object + "voxels", new CValueLong(8));
    attributes.SetEntry(object + "centroid/x", new CValueDouble(2.5));
    attributes.SetEntry(object + "grey value/mean", new CValueDouble(40.0));
    attributes.SetEntry("unit", Text("mm"));
    AddSpacing(attributes);
}

void AddImage2(CPluginRun& run, const IImage::CType& type) {
    CImage& image2 = run.AddCompanion(PatternImage(type, run.Host().Image().Size()));
    run.Host().Set("Image2", new CValuePointer<CImage>(&image2, 1));
}

void SetArithmetic(CPluginRun& run) {
    AddImage2(run, IMAGE_GREY_8);
    run.Host().Set("operation", Text("subtract"));
}

void SetMask(CPluginRun& run) {
    AddImage2(run, IMAGE_BINARY_FG);
    run.Host().Set("outside", new CValueDouble(1.0));
}

void SetGreyValues(CPluginRun& run) { AddImage2(run, IMAGE_GREY_16); }

void SetComponents(CPluginRun& run) {
    run.Host().Set("Neighborhood", Text("N6")).Set("minimumSize", new CValueLong(2));
}

void SetMaxima(CPluginRun& run) {
    run.Host().Set("Neighborhood", Text("N6")).Set("height", new CValueDouble(2.0));
}

void SetHoles(CPluginRun& run) { run.Host().Set("Neighborhood", Text("N26")); }

/// The whole image.
void SetCrop(CPluginRun& run) { run.Host().Set("x0", new CValueLong(0)); }

void SetFactor(CPluginRun& run) {
    run.Host().Set("factor", new CValueDouble(1.0)).Set("interpolation", Text("bspline"));
}

void SetMethod(CPluginRun& run) { run.Host().Set("method", Text("li")); }

void SetRadius(CPluginRun& run) { run.Host().Set("radius", new CValueLong(1)); }

void SetRange(CPluginRun& run) { run.Host().Set("type", Text("grey16")).Set("from", new CValueDouble(-1.0)); }

void SetLimits(CPluginRun& run) { run.Host().Set("lower", new CValueDouble(1.0)); }

} // namespace

std::vector<StPluginRow> MakePluginRows() {
    const std::vector<IImage::CType> binary{IMAGE_BINARY_FG};
    const std::vector<IImage::CType> grey{IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_F};
    const std::vector<IImage::CType> labels{IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG};
    const std::vector<IImage::CType> real{IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_F,
                                          IMAGE_BINARY_FG};
    const std::vector<IImage::CType> any{IMAGE_GREY_8,    IMAGE_GREY_16,   IMAGE_GREY_32,  IMAGE_GREY_F,
                                         IMAGE_COMPLEX_F, IMAGE_BINARY_FG, IMAGE_BINARY_BG};
    std::vector<StPluginRow> rows;
    const auto add = [&rows](const char* name, const std::vector<IImage::CType>& types,
                             void (*setParameters)(CPluginRun&)) {
        rows.push_back({.name = name,
                        .types = types,
                        .dimensions = {1, 2, 3},
                        .minimumExtent = 1,
                        .documentCount = 1,
                        .addAttributes = AddInherited,
                        .setParameters = setParameters});
    };
    add("Arithmetic", real, SetArithmetic);
    add("AutoThreshold", grey, SetMethod);
    add("ConnectedComponents", binary, SetComponents);
    add("Crop", real, SetCrop);
    add("FillHoles", binary, SetHoles);
    add("Invert", real, nullptr);
    rows.push_back({.name = "LabelMeasurements",
                    .types = labels,
                    .dimensions = {1, 2, 3},
                    .minimumExtent = 1,
                    .measurement = "features/LabelMeasurements",
                    .addAttributes = AddSpacing,
                    .setParameters = SetGreyValues});
    rows.push_back({.name = "LabelMeasurementsExport",
                    .types = any,
                    .dimensions = {1, 2, 3},
                    .window = EnWindow::FILE,
                    .addRequiredAttributes = AddMeasurement,
                    .addAttributes = AddMeasurement});
    add("Mask", real, SetMask);
    add("Median", real, SetRadius);
    add("RegionalMaxima", real, SetMaxima);
    add("Resample", real, SetFactor);
    add("Rescale", real, SetRange);
    add("Threshold", real, SetLimits);
    return rows;
}

} // namespace test
