#pragma once

#include "sorblib2image/IImage.h"

#include <cstddef>
#include <string>

namespace ORVEN {

class CValue;
class CValueString;

/// Reads and writes the attributes of an image. The keys of the attribute tree are defined here only.
///
/// Readers return false and leave their arguments unchanged if the attribute is missing or has another form.
class CQuillonHeaderTools {
public:
    /// Size of a pixel along x, y and z, in the unit of the image's source (often metres or millimetres).
    static bool GetSpacing(const IImage& image, double& x, double& y, double& z);
    static void SetSpacing(IImage& image, double x, double y, double z);
    /// Passed as the third argument of `GetSpacing` for a 2-d image.
    static double g_dSpacingDummy;

    /// Appends one line to the history of the image. `level` is the nesting depth of the step; it is ignored.
    static void AddToHistory(IImage& image, const char* text, unsigned level);
    static void AddToHistory(IImage& image, const CValueString& text);

    /// Replaces the attributes of the image by copies of those of `source`. An owning pointer, at any depth,
    /// is copied as a plain pointer to the same object, valid as long as its owner keeps the object. On
    /// failure the image keeps its attributes.
    static void SetAttributes(IImage& target, const CValueMap& source);

    /// A named value of the metadata, copied into `out`, which must be of the stored kind. Setting an owning
    /// pointer raises `CExBadParam`.
    static bool GetMetaInfo(const IImage& image, const char* key, CValue& out);
    static void SetMetaInfo(IImage& image, const char* key, const CValue& value);
    /// Key of the minimum and maximum of the image: a `CValueVector` of two `CValueDouble`, minimum first.
    static const std::string c_sMetaMinMax;
    static void SetMinMax(IImage& image, double minimum, double maximum);

    /// A named measurement of the image. An owning pointer raises `CExBadParam`.
    static void SetFeatures(IImage& image, const char* key, const CValue& value);
    /// Key of the map of measurements in the attribute tree.
    static const std::string c_sTagFeatures;

    /// The largest distance that a distance map can contain, in the unit of the map.
    static bool GetMaxDistance(const IImage& image, double& distance);
    static void SetMaxDistance(IImage& image, double distance);

    /// The number of labels of a label image, including label 0. Reading accepts integers from 0 to 2^53.
    static bool GetNumberOfLabels(const IImage& image, std::size_t& count);
    static void SetNumberOfLabels(IImage& image, std::size_t count);

    /// Removes the number of labels and the largest distance. For a result that inherits attributes, but
    /// whose pixels are no longer labels or distances.
    static void RemoveMeaningOfPixels(IImage& image);

    /// Position of the first pixel of this image in the image that it was cut from, in pixels.
    static bool GetOffset(const IImage& image, unsigned long& x, unsigned long& y, unsigned long& z);
};

} // namespace ORVEN
