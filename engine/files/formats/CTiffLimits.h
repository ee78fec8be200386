#pragma once

#include <tiffio.h>

#include <cstdint>
#include <string>
#include <vector>

namespace engine {

/// Counts what the pages of a TIFF file lay claim to, so that directories, tables and strips (or tiles) which
/// share the same bytes do not make a small file cost what a large one does.
///
/// All directories together, and the number of all strips, are bounded by the size of the file, and the
/// pixels by the bytes that the strips cover, those in several of them counted once. Takes up to 16 bytes a
/// strip. Raises `CFileError`, "cannot read 'PATH': REASON".
class CTiffLimits {
public:
    CTiffLimits(const std::string& path, std::int64_t fileSize);

    /// To be called for every directory, also one whose page is passed over, before the next one is read.
    /// Raises also unless the file holds all of it: libtiff takes a missing link to the next page for the end
    /// of the file.
    void CountDirectory(TIFF* tiff);
    /// To be called for each page whose pixels are to be read; they take `pixelBytes`, packed at no more than
    /// `ratio` to 1.
    void CountPixels(TIFF* tiff, std::int64_t pixelBytes, std::int64_t ratio);
    /// To be called when all pages have been counted.
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
    std::int64_t m_stripBytes = 0; // those in several strips counted in each
    std::int64_t m_pixelBytes = 0;
    std::int64_t m_neededBytes = 0; // of packed data, at the least
    std::vector<StRange> m_strips;
};

} // namespace engine
