#pragma once

#include "sorblib2image/CBox.h"
#include "sorblib2image/CImage.h"
#include "sorblib2image/CRect.h"

namespace ORVEN {

/// Copies a part of an image into an image of the part's size and of the same type.
///
/// Raises `CException` that names region and image size if the region leaves the source, and one that names
/// both sizes or types if the target does not fit. Nothing is read outside, and the target is changed only
/// when all is well. Time is linear in the pixels copied; a row is one block. Attributes are left alone.
class CImageExtraction {
public:
    /// For images of dimension 3; a box of lower dimension takes part of an image of that dimension.
    static void Box(const CImage& source, CImage& target, const CBox& box);
    /// For images of dimension 2. Mind that the images stand the other way round than in `Box`.
    static void Rect(CImage& target, const CImage& source, const CRect& rect);
};

} // namespace ORVEN
