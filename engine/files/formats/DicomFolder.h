#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>

// A folder with the files of one DICOM series, each of which holds a slice of a volume.

namespace engine {

/// Reads and checks the headers of all files in the folder; files that are not DICOM are passed over.
///
/// The slices are ordered by their position along the normal of their planes. Positions, and so the origin
/// and the directions, are relative to a patient, in mm. Values are rescaled to what the scanner measured, as
/// floats, if a slice says how. Raises `CFileReason` if there is no DICOM file, if there are several series,
/// if slices differ in size, orientation or type, and if they are not evenly spaced: one is missing or there
/// twice. Raises it with the fault of the machine if the library that reads DICOM cannot be loaded.
StImageHeader ReadDicomHeader(const std::string& folder);

/// Reads the slices into a buffer of `header.ByteCount()` bytes; `header` is the result of `ReadDicomHeader`.
/// Also allocates a buffer for one slice.
void ReadDicomSamples(const StImageHeader& header, void* samples);

} // namespace engine
