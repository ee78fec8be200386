#include "engine/files/formats/NiftiFile.h"

#include "engine/files/COutputFile.h"
#include "engine/files/FileErrors.h"
#include "engine/files/formats/HeaderChecks.h"
#include "engine/files/formats/HeaderGeometry.h"

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

// Offsets of the header fields "dim", "datatype", "bitpix", "pixdim", "vox_offset", "scl_slope", "scl_inter",
// "xyzt_units", "qform_code", "sform_code", "quatern_b", "qoffset_x", "srow_x" and "magic".
constexpr std::size_t c_dimension = 40;
constexpr std::size_t c_dataType = 70;
constexpr std::size_t c_bitsPerPixel = 72;
constexpr std::size_t c_spacing = 76;
constexpr std::size_t c_dataOffset = 108;
constexpr std::size_t c_scaleSlope = 112;
constexpr std::size_t c_scaleIntercept = 116;
constexpr std::size_t c_units = 123;
constexpr std::size_t c_quaternionCode = 252;
constexpr std::size_t c_matrixCode = 254;
constexpr std::size_t c_quaternion = 256;
constexpr std::size_t c_quaternionOffset = 268;
constexpr std::size_t c_matrix = 280;
constexpr std::size_t c_magic = 344;

constexpr int c_maxDimension = 7;
constexpr std::int16_t c_scannerSpace = 1; // any code above 0 says that there is a transformation
/// Units of length by their code.
constexpr std::array<const char*, 4> c_unitNames = {"", "m", "mm", "um"};
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
    /// Whether the header states its own size, in either byte order: the mark of the format.
    [[nodiscard]] bool HasSize() const {
        return Get<std::int32_t>(0) == static_cast<std::int32_t>(c_niftiHeaderSize);
    }
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
    [[nodiscard]] int Unit() const { return Get<std::uint8_t>(c_units) & 7; } // higher bits: unit of time
    [[nodiscard]] bool HasQuaternion() const { return Get<std::int16_t>(c_quaternionCode) > 0; }
    [[nodiscard]] bool HasMatrix() const { return Get<std::int16_t>(c_matrixCode) > 0; }
    /// The sign of the third axis if a quaternion gives the directions.
    [[nodiscard]] double Handedness() const { return Get<float>(c_spacing) < 0 ? -1 : 1; }
    /// The `index`-th of the floats at an offset.
    [[nodiscard]] double Float(std::size_t offset, std::size_t index) const {
        return Get<float>(offset + 4 * index);
    }
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
    const bool isValid = std::isfinite(scale.slope) && std::isfinite(scale.intercept) && scale.slope != 0;
    return isValid && (scale.slope != 1 || scale.intercept != 0) ? std::optional(scale) : std::nullopt;
}

/// Takes the fourth and the fifth axis, time points and channels, off the extents.
void ReadSeries(std::vector<std::int64_t>& extents, StSeries& series) {
    while (extents.size() > 5 && extents.back() == 1)
        extents.pop_back();
    if (extents.size() > 5)
        return; // refused with the other extents
    if (extents.size() == 5) {
        series.channels = extents.back();
        extents.pop_back();
    }
    if (extents.size() == 4) {
        series.times = extents.back();
        extents.pop_back();
    }
}

using Vector = ORVEN::StImageGeometry::Vector;

// The space of the format points to the right, the front and the head.
constexpr std::array c_reversed = {true, true, false};

/// The rotation of a unit quaternion (a, b, c, d), as the directions of the axes.
std::array<Vector, 3> RotationOf(double a, double b, double c, double d) {
    return {{{a * a + b * b - c * c - d * d, 2 * (b * c + a * d), 2 * (b * d - a * c)},
             {2 * (b * c - a * d), a * a + c * c - b * b - d * d, 2 * (c * d + a * b)},
             {2 * (b * d + a * c), 2 * (c * d - a * b), a * a + d * d - b * b - c * c}}};
}

/// Sets directions and origin from the matrix of the header, and the spacing if it differs from that of
/// "pixdim". Returns false if it has no valid one.
bool ReadMatrix(const CNiftiFields& fields, ORVEN::StImageGeometry& geometry) {
    if (!fields.HasMatrix())
        return false;
    std::array<Vector, 3> steps{};
    Vector origin{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t axis = 0; axis < 3; ++axis)
            steps[axis][row] = fields.Float(c_matrix, 4 * row + axis);
        origin[row] = fields.Float(c_matrix, 4 * row + 3);
    }
    ORVEN::StImageGeometry found;
    if (!IsFinite(origin) || !SetSteps(found, steps))
        return false;
    constexpr double rounding = 1e-4;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (!geometry.spacing || std::abs((*found.spacing)[axis] - (*geometry.spacing)[axis]) >
                                     rounding * (*geometry.spacing)[axis])
            geometry.spacing = found.spacing;
    }
    geometry.directions = found.directions;
    geometry.origin = origin;
    return true;
}

/// The same from the quaternion of the header.
bool ReadQuaternion(const CNiftiFields& fields, ORVEN::StImageGeometry& geometry) {
    if (!fields.HasQuaternion())
        return false;
    const double b = fields.Float(c_quaternion, 0);
    const double c = fields.Float(c_quaternion, 1);
    const double d = fields.Float(c_quaternion, 2);
    const Vector origin{fields.Float(c_quaternionOffset, 0), fields.Float(c_quaternionOffset, 1),
                        fields.Float(c_quaternionOffset, 2)};
    const double rest = 1 - (b * b + c * c + d * d);
    constexpr double rounding = 1e-5;
    if (!IsFinite(origin) || !(rest > -rounding))
        return false;
    auto directions = RotationOf(std::sqrt(std::max(rest, 0.0)), b, c, d);
    for (double& number : directions[2])
        number *= fields.Handedness();
    const auto valid = ORVEN::DirectionsOf(directions);
    if (!valid)
        return false;
    geometry.directions = valid->directions;
    geometry.origin = origin;
    return true;
}

void ReadGeometry(const CNiftiFields& fields, std::span<const double> spacing, StImageHeader& header) {
    ORVEN::StImageGeometry& geometry = header.geometry;
    geometry.spacing = CheckedSpacing(spacing);
    // Files should not contradict themselves; readers prefer the matrix.
    header.hasPlace = ReadMatrix(fields, geometry) || ReadQuaternion(fields, geometry);
    if (header.hasPlace) {
        ReverseSpace(geometry, c_reversed);
        geometry.isAnatomical = true;
    }
    const auto unit = static_cast<std::size_t>(fields.Unit());
    if (unit < c_unitNames.size())
        geometry.unit = c_unitNames[unit];
}

template <class Number>
void Put(std::string& bytes, std::size_t offset, Number number) {
    std::memcpy(bytes.data() + offset, &number, sizeof(Number));
}

/// The quaternion (a, b, c, d) of a rotation with a >= 0.
std::array<double, 4> QuaternionOf(const std::array<Vector, 3>& axes) {
    // Each square is that of four times a component; the greatest is the safe one to divide by.
    const std::array<double, 4> squares = {
        1 + axes[0][0] + axes[1][1] + axes[2][2], 1 + axes[0][0] - axes[1][1] - axes[2][2],
        1 - axes[0][0] + axes[1][1] - axes[2][2], 1 - axes[0][0] - axes[1][1] + axes[2][2]};
    const double yz = axes[1][2] - axes[2][1];
    const double zx = axes[2][0] - axes[0][2];
    const double xy = axes[0][1] - axes[1][0];
    const double sxy = axes[0][1] + axes[1][0];
    const double szx = axes[2][0] + axes[0][2];
    const double syz = axes[1][2] + axes[2][1];
    const auto greatest =
        static_cast<std::size_t>(std::max_element(squares.begin(), squares.end()) - squares.begin());
    const std::array<std::array<double, 4>, 4> rows = {{{squares[0], yz, zx, xy},
                                                        {yz, squares[1], sxy, szx},
                                                        {zx, sxy, squares[2], syz},
                                                        {xy, szx, syz, squares[3]}}};
    std::array<double, 4> quaternion = rows[greatest];
    const double divisor = (quaternion[0] < 0 ? -2 : 2) * std::sqrt(squares[greatest]);
    for (double& number : quaternion)
        number /= divisor;
    return quaternion;
}

double Dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

bool AreOrthogonal(const std::array<Vector, 3>& axes) {
    constexpr double tolerance = 1e-5;
    return std::abs(Dot(axes[0], axes[1])) < tolerance && std::abs(Dot(axes[1], axes[2])) < tolerance &&
           std::abs(Dot(axes[2], axes[0])) < tolerance;
}

/// The matrix can state all directions, the quaternion only those at right angles.
void PutPlace(std::string& bytes, ORVEN::StImageGeometry geometry) {
    ReverseSpace(geometry, c_reversed);
    const auto steps = StepsOf(geometry);
    Put(bytes, c_matrixCode, c_scannerSpace);
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t axis = 0; axis < 3; ++axis)
            Put(bytes, c_matrix + 16 * row + 4 * axis, static_cast<float>(steps[axis][row]));
        Put(bytes, c_matrix + 16 * row + 12, static_cast<float>(geometry.origin[row]));
    }
    std::array<Vector, 3> axes = geometry.directions;
    if (!AreOrthogonal(axes))
        return;
    const bool isMirrored = Dot(axes[0], Vector{axes[1][1] * axes[2][2] - axes[1][2] * axes[2][1],
                                                axes[1][2] * axes[2][0] - axes[1][0] * axes[2][2],
                                                axes[1][0] * axes[2][1] - axes[1][1] * axes[2][0]}) < 0;
    for (double& number : axes[2])
        number = isMirrored ? -number : number;
    const auto quaternion = QuaternionOf(axes);
    Put(bytes, c_quaternionCode, c_scannerSpace);
    Put(bytes, c_spacing, isMirrored ? -1.0f : 1.0f);
    for (std::size_t i = 0; i < 3; ++i) {
        Put(bytes, c_quaternion + 4 * i, static_cast<float>(quaternion[i + 1]));
        Put(bytes, c_quaternionOffset + 4 * i, static_cast<float>(geometry.origin[i]));
    }
}

/// The header, followed by four bytes that mean that there are no extensions.
std::string HeaderBytes(const StImageHeader& header) {
    ORVEN::StImageGeometry geometry = header.geometry;
    if (geometry.unit == "nm") // the format has no code for it
        ConvertUnit(geometry, {"um", 1e-3});
    std::string bytes(c_writtenDataOffset, '\0');
    Put(bytes, 0, static_cast<std::int32_t>(c_niftiHeaderSize));
    Put(bytes, c_dimension, static_cast<std::int16_t>(header.size.Dim()));
    for (int axis = 0; axis < c_maxDimension; ++axis) {
        const bool isOurs = axis < header.size.Dim();
        const auto place = static_cast<std::size_t>(axis + 1);
        Put(bytes, c_dimension + 2 * place, static_cast<std::int16_t>(isOurs ? header.size[axis] : 1));
        const double spacing = isOurs && geometry.spacing ? (*geometry.spacing)[place - 1] : 1;
        Put(bytes, c_spacing + 4 * place, static_cast<float>(spacing));
    }
    Put(bytes, c_spacing, 1.0f); // the third axis of a quaternion is not mirrored
    Put(bytes, c_dataType, c_dataTypes[header.sample]);
    Put(bytes, c_bitsPerPixel, static_cast<std::int16_t>(8 * SampleSize(header.sample)));
    Put(bytes, c_dataOffset, static_cast<float>(c_writtenDataOffset));
    const auto* const unit = std::find(c_unitNames.begin(), c_unitNames.end(), geometry.unit);
    if (unit != c_unitNames.end())
        Put(bytes, c_units, static_cast<std::uint8_t>(unit - c_unitNames.begin()));
    if (geometry.HasPlace())
        PutPlace(bytes, geometry);
    bytes.replace(c_magic, 3, "n+1");
    return bytes;
}

} // namespace

bool IsNiftiHeader(std::string_view beginning) {
    if (beginning.size() < c_niftiHeaderSize)
        return false;
    const CNiftiFields fields(beginning);
    if (!fields.HasSize())
        return false;
    const std::string_view magic = fields.Magic().substr(0, 3);
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
    ReadGeometry(fields, spacing, header);
    ReadSeries(extents, header.series);
    header.size = CheckedSize(std::move(extents), SampleSize(header.sample));
    ArrangeImages(header, true);
    header.scale = ScaleOf(fields);
    const std::int64_t dataOffset = DataOffset(fields);
    header.data.path = path;
    header.data.isPacked = gzdirect(file.get()) == 0;
    (header.data.isPacked ? header.data.skip : header.data.offset) = dataOffset;
    header.data.isSwapped = fields.IsSwapped();
    RequireData(dataOffset + header.TotalByteCount(), fileSize, header.data.isPacked ? c_maxDeflateRatio : 1);
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
