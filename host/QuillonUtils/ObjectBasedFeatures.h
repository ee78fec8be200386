#pragma once

#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <string>
#include <vector>

/// Measurements of many things in one image, such as objects or grey values, as maps.
///
/// Such a map has an entry for each thing, a map of features whose key begins with the kind of thing: "object
/// 001", "grayvalue 255". What counts is the index inside the entry: below the kind, as digits or a
/// `CValueLong`, or else below "label" as a `CValueLong`. Features are numbers, or maps of them.
namespace ORVEN {

/// Whether the map has entries of the kind, and all of them an index.
bool IsObjectBasedFeaturesMap(const CValueMap& map, const std::string& kind);

/// Writes the features of a map to `out`, an IMAGE_GREY_F: a picture of two dimensions to look them up in,
/// with a column for each index from 0 and a row for each feature. Reading a row at the places that a label
/// image or a grey image names makes a spatial map of it.
///
/// The columns end with "maximum label" of the map (a `CValueLong`), else with the largest index; entries
/// beyond are dropped, and of two with one index the later in the order of the keys counts. The rows are
/// `names`, paths of features such as "centroid/x", or if there are none all numbers that any entry has, in
/// the order of their paths. What an entry lacks is 0. `out` gets this size and keeps its attributes, to
/// which the extrema are added and the meta entries "feature rows", "feature columns" (the kind) and
/// "feature" (the name of the map, of no other use here).
///
/// Raises `CException` if there is no feature, if no entry has one of `names`, or for more than 2^31 pixels.
/// Time: the numbers in the map, times the logarithm of the number of features.
void ConvertObjectBasedFeaturesIntoFeatureImage(const std::string& feature, const CValueMap& map,
                                                const std::string& kind, CImage& out,
                                                const std::vector<std::string>& names);

} // namespace ORVEN
