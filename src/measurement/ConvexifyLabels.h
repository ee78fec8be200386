#pragma once

#include <sorblib2core/CString.h>
#include <sorblib2image/CImage.h>

#include <cstddef>

namespace quillon {

/// Paints the convex hull of every object of a label image, in the order of the labels, into a copy of it.
///
/// A hull overwrites what it covers, and so a pixel that several hulls cover gets the highest of their
/// labels. With the method "OverwriteOnlyBackground", and none but this, all objects of the input keep their
/// pixels in the end; it means nothing to a binary image, which is one object. An object without a hull, such
/// as a single pixel, stays as it is, with two lines on the standard error stream.
///
/// The boxes of the objects come from the label data in the header of the input, if there are any, and are
/// measured otherwise. The header's number of labels then says how far they are of interest; labels that the
/// data do not tell of count as absent.
///
/// `input` is not changed; it is not const because the labels are measured on a view of its pixels, which
/// needs attributes of its own. `input` and `result` have the same type, IMAGE_BINARY_FG, IMAGE_GREY_8,
/// IMAGE_GREY_16 or IMAGE_GREY_32, and the same size, in 2 or 3 dimensions; another type raises `CException`.
///
/// Returns the number of objects + 1 for the background; those without a hull count too. Time: some passes
/// over the image, and for each object that of its box (see `CConvexHullComputer`).
std::size_t ConvexifyLabels(ORVEN::CImage& input, ORVEN::CImage& result, const ORVEN::CString& method);

} // namespace quillon
