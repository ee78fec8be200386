#pragma once

#include "sorblib2image/CBox.h"
#include "sorblib2image/CImage.h"
#include "sorblib2image/CRect.h"

namespace ORVEN {

/// Copies a region of an image into an image of the same type and of the size of the region.
///
/// Raises `CException` if the region is not inside the source (the message contains region and image size),
/// or if type or size of the target do not match (the message contains both). The target is changed only on
/// success. Time is linear in the number of pixels copied; each row is copied as one block. Attributes are
/// not copied.
class CImageExtraction {
public:
    /// For 3-d images. A box of lower dimension selects a region of an image of that dimension.
    static void Box(const CImage& source, CImage& target, const CBox& box);
    /// For 2-d images. Note that source and target are in the reverse order of `Box`.
    static void Rect(CImage& target, const CImage& source, const CRect& rect);
};

} // namespace ORVEN
