#include "engine/files/formats/ImageHeader.h"

#include "engine/files/FileErrors.h"
#include "engine/files/formats/DicomFolder.h"
#include "engine/files/formats/HeaderChecks.h"
#include "engine/files/formats/MetaFile.h"
#include "engine/files/formats/NiftiFile.h"
#include "engine/files/formats/NrrdFile.h"
#include "engine/files/formats/PngFile.h"
#include "engine/files/formats/TiffFile.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace engine {

namespace {

/// The first bytes of the file, unpacked if they are gzip data.
std::string Beginning(const std::string& path) {
    errno = 0;
    const gzFile file = gzopen(path.c_str(), "rb");
    if (file == nullptr)
        throw errno != 0 ? SystemReason(errno) : CFileReason("it cannot be opened");
    std::string bytes(c_niftiHeaderSize, '\0');
    const int count = gzread(file, bytes.data(), static_cast<unsigned>(bytes.size()));
    gzclose(file);
    bytes.resize(static_cast<std::size_t>(std::max(count, 0)));
    return bytes;
}

bool IsTiff(std::string_view bytes) {
    using namespace std::string_view_literals;
    return bytes.starts_with("II*\0"sv) || bytes.starts_with("MM\0*"sv) || bytes.starts_with("II+\0"sv) ||
           bytes.starts_with("MM\0+"sv);
}

} // namespace

StImageHeader ReadImageHeader(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        return ReadDicomHeader(path);
    if (FileSize(path) == 0)
        throw CFileReason("it is empty");
    const std::string beginning = Beginning(path);
    if (IsNiftiHeader(beginning))
        return ReadNiftiHeader(path);
    if (beginning.starts_with("NRRD"))
        return ReadNrrdHeader(path);
    if (beginning.starts_with("\x89PNG\r\n\x1a\n"))
        return ReadPngHeader(path);
    if (IsTiff(beginning))
        return ReadTiffHeader(path);
    if (IsMetaHeader(beginning))
        return ReadMetaHeader(path);
    constexpr std::size_t preamble = 128;
    if (beginning.size() > preamble && std::string_view(beginning).substr(preamble).starts_with("DICM"))
        throw CFileReason("it is a DICOM file; give the folder with its series");
    throw CFileReason("it is not a NRRD, MetaImage, NIfTI, TIFF or PNG file");
}

} // namespace engine
