#include "FieldFeaturesGrayValueImage.h"

#include "measurement/ConfigurationsHistograms.h"
#include "plugin/PluginContract.h"

#include <QuillonMeasurement/CFieldFeatures.h>
#include <sorblib2core/CStringTools.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

namespace quillon {

using namespace ORVEN;

namespace {

bool IsMeasurable(const IImage::CType& type) {
    return type == IMAGE_BINARY_FG || type == IMAGE_GREY_8 || type == IMAGE_GREY_16;
}

/// The number of digits of grey values in keys. All keys have the same width so that they sort by value.
int KeyDigits(std::uint32_t greatestGreyValue) {
    return static_cast<int>(std::log10(static_cast<double>(greatestGreyValue))) + 1;
}

/// For example "grayvalue 007".
std::string Key(int digits, std::uint32_t greyValue) {
    return CStringTools::Printf("grayvalue %0*lu", digits, static_cast<unsigned long>(greyValue));
}

/// Returns the features at one threshold, together with the grey value and a status.
std::unique_ptr<CValueMap> Entry(const StFieldFeaturesData3d& data, std::uint32_t greyValue) {
    auto entry = std::make_unique<CValueMap>(CValueMap(data));
    const CString text = CString("%1", CString::ENC_UTF8).Arg(static_cast<int>(greyValue), 0);
    entry->SetEntry("grayvalue", new CValueString(text));
    entry->SetEntry("status", new CValueString("ok", CString::NPOS));
    return entry;
}

std::unique_ptr<CValueMap> Measure(const CImage& image) {
    StFieldFeaturesParameter parameter;
    CQuillonHeaderTools::GetSpacing(image, parameter.spacingX, parameter.spacingY, parameter.spacingZ);
    const StConfigurationsHistograms histograms = ConfigurationsHistograms(image);
    const int keyDigits = KeyDigits(histograms.greatestGreyValue);

    auto features = std::make_unique<CValueMap>();
    StNeighborConfiguration configuration;
    StFieldFeaturesData3d data(StFieldFeaturesData3d::StandardParameter());
    for (std::uint32_t greyValue = 0; greyValue <= histograms.greatestGreyValue; ++greyValue) {
        const auto row = histograms.counts.begin() + std::ptrdiff_t{greyValue} * configuration.counts.size();
        // All blocks lie inside the image, so no edge correction is needed.
        std::copy_n(row, configuration.counts.size(), configuration.counts.begin());
        configuration.edgeCorrectedCounts = configuration.counts;
        CFieldFeatures(nullptr, nullptr).Calculate(configuration, parameter, data);
        features->SetEntry(Key(keyDigits, greyValue), Entry(data, greyValue).release());
    }
    return features;
}

} // namespace

void CFieldFeaturesGrayValueImagePlugin::GetPluginSetup(CValueMap& setup) {
    contract::DescribePlugin(setup, "FieldFeaturesGrayValueImagePlugin");
}

bool CFieldFeaturesGrayValueImagePlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage& image) {
        const int dimension = image.Size().Dim();
        return IsMeasurable(image.Type()) && (dimension == 2 || dimension == 3);
    });
}

void CFieldFeaturesGrayValueImagePlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_ENTRY);
}

void CFieldFeaturesGrayValueImagePlugin::GetData(CValueMap& tree) {
    CImage* image = contract::ImageContentOf(m_focusedDocument);
    if (image == nullptr || !IsMeasurable(image->Type()))
        return;
    CQuillonHeaderTools::SetFeatures(*image, "FieldFeaturesOverGrayvalue", *Measure(*image));
    contract::RequestView(tree, *m_focusedDocument);
}

} // namespace quillon
