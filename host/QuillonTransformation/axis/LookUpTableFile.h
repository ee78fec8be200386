#pragma once

#include "QuillonTransformation/axis/CSphereVectors.h"
#include "QuillonTransformation/axis/StMedialAxisGenerator.h"

#include <cstdint>
#include <iosfwd>
#include <string>

/// Files of the look-up tables that medial axis and bisector use, as written by `quillon-lut`.
///
/// All numbers are little-endian. The header has 40 bytes:
///
///     0   8 bytes  44 54 4C 55 54 0D 0A 1A
///     8   u16      version, 1
///     10  u16      kind: 1 test neighbourhood of the medial axis, 2 sphere vectors
///     12  u16      dimension, 3
///     14  u16      flags, 0
///     16  u32      reach, a squared length of 1 to 2^20
///     20  u32      number of records
///     24  u64      number of bytes after the header
///     32  u32      CRC-32 of the bytes after the header
///     36  u32      CRC-32 of the preceding 36 bytes
///
/// Kind 1, in the order of the list: i16 a, b, c, i16 0, u32 least distance, u32 found at. Kind 2: a start
/// index for each squared length from 0 to the reach + 1 as u32, then i16 a, b, c by length; every sorted
/// vector up to the reach, in the order of `CSphereVectors`.
///
/// A file is read as a whole and accepted only if its sizes, checksums and records are consistent. Any
/// damaged or foreign file raises `CException` "Look-up table '%1' is not usable: %2.". An accepted table of
/// sphere vectors is identical to the one that would be computed.
namespace ORVEN {

enum class EnLookUpTable : std::uint16_t { MEDIAL_AXIS = 1, SPHERES = 2 };

/// The properties of a valid file.
struct StLookUpTableSummary {
    EnLookUpTable kind;
    std::uint32_t reach;
    std::uint32_t recordCount;
};

[[nodiscard]] StMedialAxisNeighborhood ReadMedialAxisNeighborhood(const std::string& path);
[[nodiscard]] CSphereVectors ReadSphereVectors(const std::string& path);
/// Reads a file of either kind and validates all of it.
[[nodiscard]] StLookUpTableSummary CheckLookUpTable(const std::string& path);

void WriteMedialAxisNeighborhood(std::ostream& file, const StMedialAxisNeighborhood& neighborhood);
void WriteSphereVectors(std::ostream& file, const CSphereVectors& spheres);

} // namespace ORVEN
