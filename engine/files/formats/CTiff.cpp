#include "engine/files/formats/CTiff.h"

#include "engine/files/FileErrors.h"
#include "engine/files/formats/CTiffLimits.h"
#include "engine/files/formats/HeaderChecks.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

namespace engine {

namespace {

// What a single allocation of libtiff may take beyond the size of the file, in bytes.
constexpr std::int64_t c_allocationSlack = std::int64_t{64} << 20;

int IgnoreWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

} // namespace

CTiff::CTiff(const std::string& path, const char* mode, std::int64_t maxAllocation) {
    TIFFOpenOptions* const options = TIFFOpenOptionsAlloc();
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, static_cast<tmsize_t>(maxAllocation));
    TIFFOpenOptionsSetErrorHandlerExtR(options, &CTiff::KeepError, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options, &IgnoreWarning, nullptr);
    m_tiff.reset(TIFFOpenExt(path.c_str(), mode, options));
    TIFFOpenOptionsFree(options);
}

std::int64_t CTiff::FileSize() const {
    return static_cast<std::int64_t>(TIFFGetSizeProc(Get())(TIFFClientdata(Get())));
}

std::string CTiff::Text(std::uint32_t tag) const {
    const char* text = nullptr;
    return TIFFGetField(Get(), tag, &text) != 0 && text != nullptr ? text : "";
}

int CTiff::KeepError(TIFF*, void* self, const char*, const char* format, va_list arguments) {
    auto& error = static_cast<CTiff*>(self)->m_error;
    if (error.empty()) {
        static_cast<CTiff*>(self)->m_systemError = errno;
        std::array<char, 300> text{};
        std::vsnprintf(text.data(), text.size(), format, arguments);
        error = text.data();
        std::replace(error.begin(), error.end(), '\n', ' ');
    }
    return 1; // no further handler
}

StPage PageOf(const CTiff& tiff) {
    StPage page;
    page.width = tiff.Field<std::uint32_t>(TIFFTAG_IMAGEWIDTH, 0);
    page.height = tiff.Field<std::uint32_t>(TIFFTAG_IMAGELENGTH, 0);
    page.bits = tiff.Field<std::uint16_t>(TIFFTAG_BITSPERSAMPLE, 1);
    page.sampleFormat = tiff.Field<std::uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    page.samplesPerPixel = tiff.Field<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1);
    page.photometric = tiff.Field<std::uint16_t>(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    page.planarConfiguration = tiff.Field<std::uint16_t>(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    if (page.sampleFormat == SAMPLEFORMAT_VOID)
        page.sampleFormat = SAMPLEFORMAT_UINT;
    return page;
}

std::int64_t PackedRowBytes(const StPage& page) {
    return (std::int64_t{page.width} * page.AdjacentSamples() * page.bits + 7) / 8;
}

bool IsPassedOver(const CTiff& tiff) {
    return (tiff.Field<std::uint32_t>(TIFFTAG_SUBFILETYPE, 0) & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) != 0;
}

std::unique_ptr<CTiff> OpenForReading(const std::string& path) {
    auto tiff = std::make_unique<CTiff>(path, "rm", FileSize(path) + c_allocationSlack);
    if (tiff->Get() == nullptr)
        throw CFileReason(tiff->Error());
    return tiff;
}

bool NextPage(const CTiff& tiff, CTiffLimits* limits) {
    while (TIFFLastDirectory(tiff.Get()) == 0) {
        if (TIFFReadDirectory(tiff.Get()) == 0)
            throw CFileReason(tiff.Error());
        if (limits != nullptr)
            limits->CountDirectory(tiff.Get());
        if (!IsPassedOver(tiff))
            return true;
    }
    return false;
}

} // namespace engine
