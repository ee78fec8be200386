#pragma once

#include <tiffio.h>

#include <cstdarg>
#include <cstdint>
#include <memory>
#include <string>

// Files and pages of libtiff, for the reader of headers, the reader of pixels and the writer.

namespace engine {

class CTiffLimits;

/// The maximum compression ratio of any method. That of LZW is about 1400; newer methods reach more, and this
/// is a practical bound for them.
inline constexpr std::int64_t c_maxTiffRatio = 4096;

/// An open TIFF file that stores libtiff's error messages instead of printing them.
class CTiff {
public:
    /// `mode` is that of libtiff. A single allocation of libtiff is limited to `maxAllocation` bytes; 0 sets
    /// no limit. `Get` returns null if the file could not be opened.
    CTiff(const std::string& path, const char* mode, std::int64_t maxAllocation);

    CTiff(const CTiff&) = delete; // libtiff holds a pointer to it
    CTiff& operator=(const CTiff&) = delete;

    [[nodiscard]] TIFF* Get() const { return m_tiff.get(); }
    /// The first error message, or a general one for a damaged file.
    [[nodiscard]] std::string Error() const { return m_error.empty() ? "it is damaged" : m_error; }
    /// The system's error number when the first error was reported.
    [[nodiscard]] int SystemError() const { return m_systemError; }
    [[nodiscard]] std::int64_t FileSize() const;

    template <class Number>
    [[nodiscard]] Number Field(std::uint32_t tag, Number fallback) const {
        Number number = fallback;
        if (TIFFGetFieldDefaulted(Get(), tag, &number) == 0)
            return fallback;
        return number;
    }

    /// A field with a text; empty if it is missing.
    [[nodiscard]] std::string Text(std::uint32_t tag) const;

private:
    struct StClose {
        void operator()(TIFF* tiff) const { TIFFClose(tiff); }
    };

    static int KeepError(TIFF* tiff, void* self, const char* module, const char* format, va_list arguments);

    std::string m_error; // closing can report errors, so it must outlive the file
    int m_systemError = 0;
    std::unique_ptr<TIFF, StClose> m_tiff;
};

/// Properties that must be equal on all pages.
struct StPage {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 1;
    std::uint16_t sampleFormat = SAMPLEFORMAT_UINT;
    std::uint16_t samplesPerPixel = 1;
    std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t planarConfiguration = PLANARCONFIG_CONTIG;

    /// Whether the samples of a pixel are not adjacent, but each in its own strips.
    [[nodiscard]] bool IsSeparate() const {
        return samplesPerPixel > 1 && planarConfiguration == PLANARCONFIG_SEPARATE;
    }
    [[nodiscard]] int AdjacentSamples() const { return IsSeparate() ? 1 : samplesPerPixel; }
    [[nodiscard]] int SeparateSamples() const { return IsSeparate() ? samplesPerPixel : 1; }

    friend bool operator==(const StPage&, const StPage&) = default;
};

/// The properties of the current page.
StPage PageOf(const CTiff& tiff);

/// Bytes of a row of samples as stored in the file: 1-bit pixels are unpacked later.
std::int64_t PackedRowBytes(const StPage& page);

/// Whether the current page is a reduced copy or a mask.
bool IsPassedOver(const CTiff& tiff);

/// Raises `CFileReason` if the file cannot be opened.
std::unique_ptr<CTiff> OpenForReading(const std::string& path);

/// Moves to the next page that is used; returns false at the end. `limits`, if given, count all directories.
/// Raises `CFileReason` if a directory is damaged.
bool NextPage(const CTiff& tiff, CTiffLimits* limits = nullptr);

} // namespace engine
