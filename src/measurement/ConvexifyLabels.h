#pragma once

#include <sorblib2core/CString.h>
#include <sorblib2image/CImage.h>

#include <cstddef>

namespace quillon {

/// Paints the convex hull of every object of a label image, in the order of the labels, into a copy of the
/// image.
///
/// A hull overwrites the pixels that it covers, so a pixel covered by several hulls gets the highest of their
/// labels. Only with the method "OverwriteOnlyBackground" do all objects of the input keep their pixels. The
/// method has no effect on a binary image, which is one object. An object without a hull, such as a single
/// pixel, stays unchanged, and two lines are written to standard error.
///
/// The bounding boxes of the objects are taken from the label data in the header of the input, or measured if
/// there are none. The header's number of labels then limits the labels that are visited. Labels missing from
/// the data count as absent.
///
/// `input` is not changed. It is not const because the labels are measured on a view of its pixels, which has
/// attributes of its own. `input` and `result` have the same type, IMAGE_BINARY_FG, IMAGE_GREY_8,
/// IMAGE_GREY_16 or IMAGE_GREY_32, and the same size, in 2 or 3 dimensions. Other types raise `CException`.
///
/// Returns the number of objects, including those without a hull, plus 1 for the background. Time: a few
/// passes over the image, and for each object the time for its box (see `CConvexHullComputer`).
std::size_t ConvexifyLabels(ORVEN::CImage& input, ORVEN::CImage& result, const ORVEN::CString& method);

} // namespace quillon
