#include "QuillonMeasurement/FieldFeaturesOverGreyValues.h"

#include "QuillonMeasurement/CFieldFeatures.h"

#include <sorblib2core/CStringTools.h>
#include <sorblib2core/CValueString.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace ORVEN {

namespace {

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

} // namespace

std::unique_ptr<CValueMap> FieldFeaturesOverGreyValues(const StConfigurationsHistograms& histograms,
                                                       const StFieldFeaturesParameter& parameter) {
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

} // namespace ORVEN
