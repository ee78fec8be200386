#include "engine/files/formats/NiftiFile.h"

#include "engine/files/COutputFile.h"
#include "engine/files/FileErrors.h"
#include "engine/files/formats/HeaderChecks.h"

#include <zlib.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>

namespace engine {

namespace {

struct StCloseGzip {
    void operator()(gzFile file) const { gzclose(file); }
};
using GzipFile = std::unique_ptr<std::remove_pointer_t<gzFile>, StCloseGzip>;

// Offsets of the header fields "dim", "datatype", "bitpix", "pixdim", "vox_offset", "scl_slope", "scl_inter"
// and "magic".
constexpr std::size_t c_dimension = 40;
constexpr std::size_t c_dataType = 70;
constexpr std::size_t c_bitsPerPixel = 72;
constexpr std::size_t c_spacing = 76;
constexpr std::size_t c_dataOffset = 108;
constexpr std::size_t c_scaleSlope = 112;
constexpr std::size_t c_scaleIntercept = 116;
constexpr std::size_t c_magic = 344;

constexpr int c_maxDimension = 7;
/// Offset of the pixels in a file without extensions.
constexpr std::size_t c_writtenDataOffset = 352;

/// Header codes of the sample types, in the order of the enumeration.
constexpr std::array<std::int16_t, 10> c_dataTypes = {256, 2, 4, 512, 8, 768, 1024, 1280, 16, 64};

/// Reads header fields by offset, in the byte order of the machine that wrote them.
class CNiftiFields {
public:
    explicit CNiftiFields(std::string_view bytes)
        : m_bytes(bytes) {
        m_isSwapped = Get<std::int32_t>(0) != static_cast<std::int32_t>(c_niftiHeaderSize);
    }

    template <class Number>
    [[nodiscard]] Number Get(std::size_t offset) const {
        std::array<char, sizeof(Number)> bytes{};
        std::copy_n(m_bytes.data() + offset, sizeof(Number), bytes.begin());
        if (m_isSwapped)
            std::reverse(bytes.begin(), bytes.end());
        return std::bit_cast<Number>(bytes);
    }

    [[nodiscard]] bool IsSwapped() const { return m_isSwapped; }
    [[nodiscard]] int Dimension() const { return Get<std::int16_t>(c_dimension); }
    [[nodiscard]] int Extent(int axis) const {
        return Get<std::int16_t>(c_dimension + 2 * static_cast<std::size_t>(axis + 1));
    }
    [[nodiscard]] int DataType() const { return Get<std::int16_t>(c_dataType); }
    [[nodiscard]] double Spacing(int axis) const {
        return Get<float>(c_spacing + 4 * static_cast<std::size_t>(axis + 1));
    }
    [[nodiscard]] double DataOffset() const { return Get<float>(c_dataOffset); }
    [[nodiscard]] double ScaleSlope() const { return Get<float>(c_scaleSlope); }
    [[nodiscard]] double ScaleIntercept() const { return Get<float>(c_scaleIntercept); }
    [[nodiscard]] std::string_view Magic() const { return m_bytes.substr(c_magic, 4); }

private:
    std::string_view m_bytes;
    bool m_isSwapped = false;
};

/// Reads `count` bytes from the current position of the file, or fewer at its end.
std::string ReadBytes(gzFile file, std::size_t count) {
    std::string bytes(count, '\0');
    const int read = gzread(file, bytes.data(), static_cast<unsigned>(count));
    bytes.resize(static_cast<std::size_t>(std::max(read, 0)));
    return bytes;
}

EnSampleType SampleOf(int dataType) {
    const auto* const found = std::find(c_dataTypes.begin(), c_dataTypes.end(), dataType);
    if (found == c_dataTypes.end())
        throw CFileReason("pixels of NIfTI type " + std::to_string(dataType) + " cannot be read");
    return static_cast<EnSampleType>(found - c_dataTypes.begin());
}

/// The offset of the pixels, after the header and its extensions.
std::int64_t DataOffset(const CNiftiFields& fields) {
    constexpr double beyondAll = 1e18;
    const double offset = fields.DataOffset();
    if (!(offset >= static_cast<double>(c_niftiHeaderSize)) || offset > beyondAll ||
        offset != std::floor(offset))
        throw CFileReason("its header is damaged: the place of the pixels");
    return CheckedSkip(static_cast<std::int64_t>(offset));
}

std::optional<StScale> ScaleOf(const CNiftiFields& fields) {
    const StScale scale{fields.ScaleSlope(), fields.ScaleIntercept()};
    const bool isTold = std::isfinite(scale.slope) && std::isfinite(scale.intercept) && scale.slope != 0;
    return isTold && (scale.slope != 1 || scale.intercept != 0) ? std::optional(scale) : std::nullopt;
}

bool IsSize(std::string_view bytes, bool isSwapped) {
    std::array<char, 4> size{};
    std::copy_n(bytes.data(), 4, size.begin());
    if (isSwapped)
        std::reverse(size.begin(), size.end());
    return std::bit_cast<std::int32_t>(size) == static_cast<std::int32_t>(c_niftiHeaderSize);
}

template <class Number>
void Put(std::string& bytes, std::size_t offset, Number number) {
    std::memcpy(bytes.data() + offset, &number, sizeof(Number));
}

/// The header, followed by four bytes that mean that there are no extensions.
std::string HeaderBytes(const StImageHeader& header) {
    std::string bytes(c_writtenDataOffset, '\0');
    Put(bytes, 0, static_cast<std::int32_t>(c_niftiHeaderSize));
    Put(bytes, c_dimension, static_cast<std::int16_t>(header.size.Dim()));
    for (int axis = 0; axis < c_maxDimension; ++axis) {
        const bool isOurs = axis < header.size.Dim();
        const auto place = static_cast<std::size_t>(axis + 1);
        Put(bytes, c_dimension + 2 * place, static_cast<std::int16_t>(isOurs ? header.size[axis] : 1));
        const double spacing = isOurs && header.spacing ? (*header.spacing)[place - 1] : 1;
        Put(bytes, c_spacing + 4 * place, static_cast<float>(spacing));
    }
    Put(bytes, c_spacing, 1.0f); // orientation of the axes: unchanged
    Put(bytes, c_dataType, c_dataTypes[header.sample]);
    Put(bytes, c_bitsPerPixel, static_cast<std::int16_t>(8 * SampleSize(header.sample)));
    Put(bytes, c_dataOffset, static_cast<float>(c_writtenDataOffset));
    bytes.replace(c_magic, 3, "n+1");
    return bytes;
}

} // namespace

bool IsNiftiHeader(std::string_view beginning) {
    if (beginning.size() < c_niftiHeaderSize || !(IsSize(beginning, false) || IsSize(beginning, true)))
        return false;
    const std::string_view magic = CNiftiFields(beginning).Magic().substr(0, 3);
    return magic == "n+1" || magic == "ni1";
}

StImageHeader ReadNiftiHeader(const std::string& path) {
    const std::int64_t fileSize = FileSize(path);
    const GzipFile file(gzopen(path.c_str(), "rb"));
    if (!file)
        throw CFileReason("it cannot be opened");
    const std::string bytes = ReadBytes(file.get(), c_niftiHeaderSize);
    if (!IsNiftiHeader(bytes))
        throw CFileReason("its header is damaged");
    const CNiftiFields fields(bytes);
    if (fields.Magic().starts_with("ni1"))
        throw CFileReason("a pair of .hdr and .img cannot be read; make it one .nii file");
    const int dimension = fields.Dimension();
    if (dimension < 1 || dimension > c_maxDimension)
        throw CFileReason("its header announces " + std::to_string(dimension) + " dimensions");

    StImageHeader header;
    header.format = FORMAT_NIFTI;
    header.sample = SampleOf(fields.DataType());
    std::vector<std::int64_t> extents;
    std::vector<double> spacing;
    for (int axis = 0; axis < dimension; ++axis) {
        extents.push_back(fields.Extent(axis));
        spacing.push_back(fields.Spacing(axis));
    }
    spacing.resize(static_cast<std::size_t>(std::min(dimension, 3)));
    header.spacing = CheckedSpacing(spacing);
    header.size = CheckedSize(std::move(extents), SampleSize(header.sample));
    header.scale = ScaleOf(fields);
    const std::int64_t dataOffset = DataOffset(fields);
    header.data.path = path;
    header.data.isPacked = gzdirect(file.get()) == 0;
    (header.data.isPacked ? header.data.skip : header.data.offset) = dataOffset;
    header.data.isSwapped = fields.IsSwapped();
    RequireData(dataOffset + header.ByteCount(), fileSize, header.data.isPacked ? c_maxDeflateRatio : 1);
    return header;
}

void WriteNifti(const std::string& path, const StImageHeader& header, std::string_view samples,
                EnPacking packing) {
    const std::string beginning = HeaderBytes(header);
    COutputFile file(path);
    if (packing == PACKING_GZIP) {
        file.WriteGzip({beginning, samples});
    } else {
        file.Write(beginning);
        file.Write(samples);
    }
    file.Close();
}

} // namespace engine
