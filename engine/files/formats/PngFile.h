#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>

namespace engine {

/// Reads and checks a PNG file: its header, and that every chunk is present and matches its stored checksum.
/// Palettes and transparency count as the samples that they unpack to; grey of less than 8 bits counts as 8
/// bits, scaled to the full range.
///
/// The print size comes from "pHYs", if its unit is the metre. Raises `CFileReason` for a damaged
/// file.
StImageHeader ReadPngHeader(const std::string& path);

/// Reads the samples into a buffer of `header.ByteCount()` bytes; `header` is the result of `ReadPngHeader`.
/// Also allocates a buffer of the file's size.
void ReadPngSamples(const std::string& path, const StImageHeader& header, void* samples);

/// Writes a plane of 8 or 16 bits with one sample per pixel, or three for red, green and blue. Also allocates
/// a buffer of the file's size.
void WritePng(const std::string& path, const StImageHeader& header, const void* samples);

} // namespace engine
