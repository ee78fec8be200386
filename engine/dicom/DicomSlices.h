#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>
#include <vector>

namespace engine {

/// One file of a series, as far as its place in the volume and its type are concerned.
struct StDicomSlice {
    std::string path;
    std::string series; ///< the identifier of the series
    std::int64_t width = 0;
    std::int64_t height = 0;
    EnSampleType sample = SAMPLE_UINT8;
    StScale scale;
    std::array<double, 2> spacing{}; ///< along a row and along a column, in mm
    ORVEN::StImageGeometry::Vector position{};
    std::array<ORVEN::StImageGeometry::Vector, 2> directions{}; ///< of rows and columns
};

/// Reads the headers of all DICOM files in the folder, in the order of their names. Other files are passed
/// over. Raises `CFileReason` for a DICOM file that is not a slice with a position.
std::vector<StDicomSlice> SlicesIn(const std::string& folder);

/// Puts the slices in order and checks that they form one volume with even distances. Raises `CFileReason`.
/// Returns the steps in space along the three axes; the third one is 0 for a single slice.
std::array<ORVEN::StImageGeometry::Vector, 3> ArrangeSlices(std::vector<StDicomSlice>& slices);

} // namespace engine
