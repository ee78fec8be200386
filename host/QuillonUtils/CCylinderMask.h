#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/CImage.h>

namespace ORVEN {

/// Records a cylinder in the metadata of an image, and overwrites the pixels outside the recorded cylinder.
/// Once recorded, the mask can be applied again after every later step.
///
/// The axis is the first character of its text. 'X' is along x with the centre (s, t) = (y, z), 'Y' along y
/// with (x, z). Anything else, including lower case and an empty text, is along z with (x, y). A 2-d image
/// has z = 0. Lengths are in pixels, spacing is ignored, and a pixel is treated as the point at its
/// coordinates. The pixel (p, q) of the cross-section is inside if radius >= 0 and (p - s)^2 + (q - t)^2 <=
/// radius^2 in double precision. If s, t or radius is NaN, nothing is inside.
///
/// The record is the map "CylinderMask" in the metadata. It contains "axis", a text, and the doubles "s", "t"
/// and "radius", all as given. A record in which one of them is missing or of another kind is ignored.
class CCylinderMask : public CAlgorithm {
public:
    CCylinderMask(const char* name, const IObject* parent);
    ~CCylinderMask() override;

    /// Records a cylinder, replacing any earlier record.
    void SetCylinderParameters(CImage& image, const CString& axis, double s, double t, double radius) const;

    /// Copies the record of `source`. Returns false and changes nothing if there is none.
    bool CopyMetaInfo(const CImage& source, CImage& target) const;

    /// Sets all pixels outside the recorded cylinder to `value`. An image without a record stays unchanged.
    ///
    /// For integer pixels the value is rounded (halves away from 0) and clamped to their range, which is 0
    /// and 1 for a binary image; NaN becomes 0. For float pixels, finite values are clamped to the range of
    /// float. Raises `CException` "Image type %1 not supported." for types other than binary, IMAGE_GREY_8,
    /// IMAGE_GREY_16, IMAGE_GREY_32 and IMAGE_GREY_F.
    ///
    /// Only pixels outside are written, in parallel by planes. The cross-section is computed once. Memory: 16
    /// bytes per row of the cross-section. A cancelled run leaves the remaining planes unchanged.
    void MaskImageWithMetaInfoCylinder(CImage& image, double value) const;
};

} // namespace ORVEN
