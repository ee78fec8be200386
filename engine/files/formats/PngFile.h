#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>

namespace engine {

/// Reads and checks a PNG file: its header, and that every block is there and has the check sum that it
/// tells. Palettes and transparency count as the samples that they unpack to; grey of less than 8 bits counts
/// as 8 bits, spread over their range.
///
/// Spacing: millimetres from "pHYs", if its unit is the metre. Raises `CFileError` for a damaged file.
StImageHeader ReadPngHeader(const std::string& path);

/// Reads the samples into `header.ByteCount()` bytes; `header` is what `ReadPngHeader` answered. Takes the
/// file's size as memory besides.
void ReadPngSamples(const std::string& path, const StImageHeader& header, void* samples);

/// Writes a plane of one sample a pixel, or of three as red, green and blue, of 8 or 16 bits. Takes the
/// file's size as memory besides.
void WritePng(const std::string& path, const StImageHeader& header, const void* samples);

} // namespace engine
