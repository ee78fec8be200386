#pragma once

#include <tiffio.h>

#include <cstdint>
#include <string>
#include <vector>

namespace engine {

/// Adds up the sizes that the pages of a TIFF file claim, so that a small file whose directories, tables and
/// strips (or tiles) share the same bytes cannot cost as much time and memory as a large one.
///
/// The total size of all directories and the number of strips are bounded by the size of the file. The pixels
/// are bounded by the bytes that the strips cover, with shared bytes counted once. Takes up to 16 bytes per
/// strip. Raises `CFileReason`.
class CTiffLimits {
public:
    CTiffLimits(const std::string& path, std::int64_t fileSize);

    /// Call this for every directory, including those of skipped pages, before the next one is read. Also
    /// raises if the file does not hold the complete directory: libtiff takes a missing link to the next page
    /// for the end of the file.
    void CountDirectory(TIFF* tiff);
    /// Call this for each page whose pixels will be read. They take `pixelBytes`, packed at a ratio of at
    /// most `ratio` to 1.
    void CountPixels(TIFF* tiff, std::int64_t pixelBytes, std::int64_t ratio);
    /// Checks the totals. Call this when all pages have been counted.
    void RequirePixelData();

private:
    struct StRange {
        std::int64_t begin;
        std::int64_t end;
    };

    std::int64_t CoveredBytes();

    std::string m_path;
    std::int64_t m_fileSize;
    std::int64_t m_directoryBytes = 0;
    std::int64_t m_stripCount = 0;
    std::int64_t m_stripBytes = 0; // shared bytes are counted once per strip
    std::int64_t m_pixelBytes = 0;
    std::int64_t m_neededBytes = 0; // minimum of packed data
    std::vector<StRange> m_strips;
};

} // namespace engine
