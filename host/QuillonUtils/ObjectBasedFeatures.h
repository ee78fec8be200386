#pragma once

#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <string>
#include <vector>

/// Measurements of many items in one image, such as objects or grey values, stored as maps.
///
/// Such a map has an entry for each item: a map of features whose key begins with the kind of item, as in
/// "object 001" or "grayvalue 255". The item is identified by the index inside the entry: stored under the
/// kind, as digits or a `CValueLong`, or else under "label" as a `CValueLong`. Features are numbers or nested
/// containers of numbers.
namespace ORVEN {

/// Whether the map has entries of the kind and all of them have an index.
bool IsObjectBasedFeaturesMap(const CValueMap& map, const std::string& kind);

/// Writes the features of a map to `out`, an IMAGE_GREY_F, as a two-dimensional lookup table: one column for
/// each index from 0 and one row for each feature. Looking up the pixels of a label image or a grey image in
/// a row gives a spatial map of that feature.
///
/// The last column is "maximum label" of the map (a `CValueLong`), else the largest index. Entries beyond it
/// are ignored; if two have the same index, the one with the later key counts. The rows are `names`, which
/// are paths of features such as "centroid/x". If `names` is empty, they are all numbers that any entry has,
/// in the order of their paths. Missing features are 0. `out` is resized and keeps its attributes. Minimum
/// and maximum are added, and the meta entries "feature rows", "feature columns" (the kind) and "feature"
/// (the argument `feature`, the name of the map, which is otherwise used only in messages).
///
/// Raises `CException` if there is no feature, if no entry has one of `names`, or if the image would have
/// more than 2^31 pixels. Time: the numbers in the map times the logarithm of the number of features.
void ConvertObjectBasedFeaturesIntoFeatureImage(const std::string& feature, const CValueMap& map,
                                                const std::string& kind, CImage& out,
                                                const std::vector<std::string>& names);

} // namespace ORVEN
