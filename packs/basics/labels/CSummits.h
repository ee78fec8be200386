#pragma once

#include "pixels/EnNeighborhood.h"

#include <QuillonBase/IProgress.h>
#include <sorblib2image/CImage.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace quillon::basics {

/// The summits of an image: its regional maxima, each with the height by which it rises.
///
/// A summit rises above the highest saddle from which a path leads up to a greater value without descending
/// below the saddle. The highest summit rises above the least value of the image. The height is what
/// mathematical morphology calls the dynamics of a maximum.
///
/// Found are the summits that rise, and rise by at least the given height. Summits of the same value that are
/// separated by lower saddles than that are one: their pixels share a label. Labels are numbered from 1 in
/// the order of the first pixels. NaN lies below all numbers. An image of one value has no summit.
///
/// The pixels are flooded from above: in descending order of values, each joins the domes beside it, and
/// where two domes meet, the lower summit's height is known. Time: two passes of a radix sort, and a nearly
/// constant time per neighbour. Memory: 12 bytes per pixel. The image must have fewer than 2^32 - 1 pixels.
///
/// Sources: M. Grimaud, *A new measure of contrast: the dynamics*, 1992; R. Tarjan, *Efficiency of a good but
/// not linear set union algorithm*, 1975.
class CSummits {
public:
    /// `image` must be packed (`IsPacked`), and must outlive this object.
    CSummits(const ORVEN::CImage& image, EnNeighborhood neighborhood, double height);

    /// Returns false if cancelled.
    bool Find(ORVEN::IProgress& progress);

    /// The number of summits, and an image with their labels, IMAGE_GREY_32.
    [[nodiscard]] std::uint32_t Count() const { return m_count; }
    [[nodiscard]] const ORVEN::CImage& Labels() const { return *m_labels; }

private:
    const ORVEN::CImage& m_image;
    EnNeighborhood m_neighborhood;
    double m_height;
    std::unique_ptr<ORVEN::CImage> m_labels;
    std::uint32_t m_count = 0;
};

} // namespace quillon::basics
