#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/CImage.h>

namespace ORVEN {

/// Records a cylinder in the metadata of an image, and overwrites the pixels outside the cylinder that an
/// image has on record: once told, every later step on the image can keep to it.
///
/// The axis is the first character of its text: 'X' is along x with the centre (s, t) = (y, z), 'Y' along y
/// with (x, z), anything else, lower case and nothing included, along z with (x, y); a two-dimensional image
/// has z = 0. Lengths are in pixels, spacing plays no part, and a pixel is the point of its coordinates. The
/// pixel (p, q) of the cross-section is inside if radius >= 0 and (p - s)^2 + (q - t)^2 <= radius^2 in double
/// precision. With NaN among the three nothing is inside.
///
/// The record is the map "CylinderMask" among the metadata: "axis", a text, and the doubles "s", "t" and
/// "radius", all as they were given. A record that lacks one of them, or has it of another kind, counts as
/// none.
class CCylinderMask : public CAlgorithm {
public:
    CCylinderMask(const char* name, const IObject* parent);
    ~CCylinderMask() override;

    /// Records a cylinder in place of what was on record.
    void SetCylinderParameters(CImage& image, const CString& axis, double s, double t, double radius) const;

    /// Copies the record of `source`; false, and nothing changed, if there is none.
    bool CopyMetaInfo(const CImage& source, CImage& target) const;

    /// Sets all pixels outside the cylinder on record to `value`; an image without record stays as it is.
    ///
    /// Whole-numbered pixels take the value rounded (halves away from 0) and cut to their range, which is 0
    /// and 1 for a binary image; NaN gives 0. Raises `CException` "Image type %1 not supported." for types
    /// other than binary, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32 and IMAGE_GREY_F.
    ///
    /// Only pixels outside are touched, in parallel by planes; the cross-section is worked out once. Memory:
    /// 16 bytes a row of the cross-section. A cancelled run leaves the rest of the planes as they were.
    void MaskImageWithMetaInfoCylinder(CImage& image, double value) const;
};

} // namespace ORVEN
