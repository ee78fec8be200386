#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>

namespace engine {

/// What two programs write into the image description of a TIFF file: ImageJ as lines "name=value", and those
/// that follow the Open Microscopy Environment (OME) as XML.
struct StTiffDescription {
    enum EnProgram { PROGRAM_OTHER, PROGRAM_IMAGEJ, PROGRAM_OME };

    EnProgram program = PROGRAM_OTHER;
    std::int64_t channels = 1; ///< with the samples of a pixel in OME
    std::int64_t slices = 1;
    std::int64_t times = 1;
    /// The order of the pages, fastest first: a permutation of "ZCT".
    std::string order = "CZT";
    /// OME: the spacing, if it is stated for each axis longer than 1, and its unit.
    ORVEN::StImageGeometry geometry;
    /// ImageJ: the distance of slices, in the unit that the resolution refers to, too.
    double sliceDistance = 1;
    std::string unit; ///< ImageJ: the word for it, empty if there is none

    /// The parsed text; `PROGRAM_OTHER` for any other text. Raises `CFileReason` for an OME text that is
    /// damaged or describes several images.
    static StTiffDescription Of(const std::string& text);
    /// The text for an image with this spacing along z in centimetres, in the form of ImageJ.
    static std::string TextOf(std::int64_t slices, double sliceDistance);

    [[nodiscard]] std::int64_t PlaneCount() const { return channels * slices * times; }
    /// The distances of the pages of a file with these channels, slices and times in this order.
    [[nodiscard]] StSeries Series() const;
};

} // namespace engine
