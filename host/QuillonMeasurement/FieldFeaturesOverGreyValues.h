#pragma once

#include "QuillonMeasurement/ConfigurationsHistograms.h"
#include "QuillonMeasurement/StFieldFeaturesParameter.h"

#include <sorblib2core/CValueMap.h>

#include <memory>

namespace ORVEN {

/// The field features at each threshold, from the counts of configurations, which may be sums over the parts
/// of an image. The entry "grayvalue 007" has the features of `CFieldFeatures`, the grey value as a text and
/// the status "ok". All numbers have the same width, so that the entries sort by grey value.
///
/// Time and memory: a microsecond and some kilobytes for each grey value.
std::unique_ptr<CValueMap> FieldFeaturesOverGreyValues(const StConfigurationsHistograms& histograms,
                                                       const StFieldFeaturesParameter& parameter);

} // namespace ORVEN
