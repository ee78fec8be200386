#pragma once

#include "sorblib2image/IImage.h"

#include <cstddef>
#include <string>

namespace ORVEN {

class CValue;
class CValueString;

/// Reads and writes what an image knows about itself: the one place that knows the keys of the attribute
/// tree.
///
/// Readers answer false, and leave their arguments alone, if the image does not carry the information or
/// carries it in another form.
class CQuillonHeaderTools {
public:
    /// Size of a pixel along x, y and z, in the unit of the image's source (often metres or millimetres).
    static bool GetSpacing(const IImage& image, double& x, double& y, double& z);
    static void SetSpacing(IImage& image, double x, double y, double z);
    /// Stands in as third argument of `GetSpacing` for a two-dimensional image.
    static double g_dSpacingDummy;

    /// Adds one line at the end of the image's history. The level is the depth of nesting of the step; lines
    /// are kept alike whatever it is.
    static void AddToHistory(IImage& image, const char* text, unsigned level);
    static void AddToHistory(IImage& image, const CValueString& text);

    /// Gives the image copies of all attributes of `source`, and no others. An owned pointer among them, at
    /// any depth, stays with its owner: the copy is a plain pointer to the same object, valid as long as that
    /// owner keeps it. On failure the image keeps the attributes that it had.
    static void SetAttributes(IImage& target, const CValueMap& source);

    /// A named value about the image, copied into `out`, which must be of the kind that is stored.
    static bool GetMetaInfo(const IImage& image, const char* key, CValue& out);
    static void SetMetaInfo(IImage& image, const char* key, const CValue& value);
    /// Key of the image's least and greatest pixel value: a `CValueVector` of two `CValueDouble`, least
    /// first.
    static const std::string c_sMetaMinMax;

    /// A named measurement of the image.
    static void SetFeatures(IImage& image, const char* key, const CValue& value);
    /// Key of the map of measurements in the attribute tree.
    static const std::string c_sTagFeatures;

    /// The greatest distance that a distance map can hold, in the unit of the map.
    static bool GetMaxDistance(const IImage& image, double& distance);
    static void SetMaxDistance(IImage& image, double distance);

    /// The number of labels of a label image, label 0 included.
    static bool GetNumberOfLabels(const IImage& image, std::size_t& count);
    static void SetNumberOfLabels(IImage& image, std::size_t count);

    /// Position of the image's first pixel in the image that it was cut from, in pixels.
    static bool GetOffset(const IImage& image, unsigned long& x, unsigned long& y, unsigned long& z);
};

} // namespace ORVEN
