#include "QuillonTransformation/axis/LookUpTableFile.h"

#include <sorblib2core/CException.h>

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <concepts>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace ORVEN {

namespace {

constexpr std::string_view c_magic("DTLUT\r\n\x1a", 8);
constexpr std::uint16_t c_version = 1;
constexpr std::uint16_t c_dimension = 3;
constexpr std::size_t c_headerSize = 40;
constexpr std::size_t c_checkedHeaderSize = 36;
constexpr std::size_t c_generatorSize = 16;
constexpr std::size_t c_vectorSize = 6;
// The file of all sorted vectors up to a reach of 1024^2 is half as large.
constexpr std::uintmax_t c_greatestFileSize = 1 << 30;
// Enough for a reach of 1024^2; the tables built from that many generators still fit into memory.
constexpr std::uint32_t c_greatestGeneratorCount = 1 << 16;

std::uint32_t Crc32(std::string_view bytes) {
    return static_cast<std::uint32_t>(crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

template <std::unsigned_integral T>
void Append(std::string& bytes, T value) {
    for (std::size_t i = 0; i < sizeof(T); ++i)
        bytes += static_cast<char>(static_cast<unsigned char>(value >> (8 * i)));
}

void Append(std::string& bytes, const StSortedVector& vector) {
    for (const std::int16_t component : {vector.a, vector.b, vector.c})
        Append(bytes, static_cast<std::uint16_t>(component));
}

/// Reads consecutive numbers. The caller must ensure that there are enough.
class CNumberReader {
public:
    explicit CNumberReader(std::string_view bytes)
        : m_bytes(bytes) {}

    template <std::integral T>
    T Next() {
        std::make_unsigned_t<T> value = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            const auto byte = static_cast<unsigned char>(m_bytes[i]);
            value = static_cast<std::make_unsigned_t<T>>(value | std::make_unsigned_t<T>{byte} << (8 * i));
        }
        m_bytes.remove_prefix(sizeof(T));
        return static_cast<T>(value);
    }

    StSortedVector NextVector() {
        const auto a = Next<std::int16_t>();
        const auto b = Next<std::int16_t>();
        const auto c = Next<std::int16_t>();
        return {a, b, c};
    }

private:
    std::string_view m_bytes;
};

bool IsSorted(const StSortedVector& vector) {
    return vector.a >= vector.b && vector.b >= vector.c && vector.c >= 0;
}

/// Returns the number of sorted vectors up to a squared length.
std::uint64_t CountVectors(std::int64_t reach) {
    std::uint64_t count = 0;
    for (std::int64_t a = 0; a * a <= reach; ++a) {
        for (std::int64_t b = 0; b <= a && a * a + b * b <= reach; ++b) {
            const double rest = static_cast<double>(reach - a * a - b * b);
            count += static_cast<std::uint64_t>(std::min(b, static_cast<std::int64_t>(std::sqrt(rest)))) + 1;
        }
    }
    return count;
}

/// The header of a file and the bytes that follow it.
class CTableFile {
public:
    explicit CTableFile(const std::string& path)
        : m_path(path) {
        Load();
        ReadHeader();
    }

    [[nodiscard]] EnLookUpTable Kind() const { return static_cast<EnLookUpTable>(m_kind); }

    StMedialAxisNeighborhood Neighborhood() const {
        RequireKind(EnLookUpTable::MEDIAL_AXIS, "it is not a table of the medial axis");
        Require(m_recordCount <= c_greatestGeneratorCount, "it has too many records");
        Require(Payload().size() == m_recordCount * c_generatorSize, "its sizes do not agree");
        StMedialAxisNeighborhood neighborhood{m_reach, {}};
        neighborhood.generators.reserve(m_recordCount);
        CNumberReader reader(Payload());
        std::uint32_t foundBefore = 0;
        for (std::uint32_t i = 0; i < m_recordCount; ++i) {
            const StSortedVector vector = reader.NextVector();
            const auto unused = reader.Next<std::uint16_t>();
            const auto leastDistance = reader.Next<std::uint32_t>();
            const auto foundAt = reader.Next<std::uint32_t>();
            Require(IsSorted(vector) && vector.a > 0 && unused == 0, "a record is no sorted vector");
            // A generator is a vector in the ball that needs it, and the list is ordered by these balls.
            Require(foundAt >= foundBefore && foundAt <= m_reach &&
                        std::cmp_less(SquaredLength(vector), foundAt) && leastDistance <= foundAt,
                    "a record is out of range");
            foundBefore = foundAt;
            neighborhood.generators.push_back({vector, leastDistance, foundAt});
        }
        return neighborhood;
    }

    CSphereVectors Spheres() const {
        RequireKind(EnLookUpTable::SPHERES, "it is not a table of spheres");
        const std::size_t startCount = std::size_t{m_reach} + 2;
        Require(Payload().size() == startCount * sizeof(std::uint32_t) + m_recordCount * c_vectorSize,
                "its sizes do not agree");
        // The number of records is correct and each is at its place, so none is missing.
        Require(m_recordCount == CountVectors(m_reach), "it is not complete");
        CNumberReader reader(Payload());
        std::vector<std::uint32_t> starts(startCount);
        std::ranges::generate(starts, [&reader] { return reader.Next<std::uint32_t>(); });
        Require(starts.front() == 0 && starts.back() == m_recordCount && std::ranges::is_sorted(starts),
                "its index is out of order");
        std::vector<StSortedVector> vectors(m_recordCount);
        std::ranges::generate(vectors, [&reader] { return reader.NextVector(); });
        for (std::size_t r = 0; r + 1 < startCount; ++r)
            RequireSphere(std::span(vectors).subspan(starts[r], starts[r + 1] - starts[r]), r);
        return {std::move(starts), std::move(vectors)};
    }

    [[nodiscard]] StLookUpTableSummary Summary() const { return {Kind(), m_reach, m_recordCount}; }

private:
    void Load() {
        std::error_code error;
        // Reading a pipe would block.
        Require(std::filesystem::is_regular_file(m_path, error), "it cannot be read");
        const auto size = std::filesystem::file_size(m_path, error);
        std::ifstream file(m_path, std::ios::binary);
        Require(!error && file, "it cannot be read");
        Require(size <= c_greatestFileSize, "it is too large");
        m_bytes.resize(size);
        file.read(m_bytes.data(), static_cast<std::streamsize>(size));
        Require(file.gcount() == static_cast<std::streamsize>(size), "it cannot be read");
    }

    void ReadHeader() {
        const std::string_view bytes(m_bytes);
        Require(bytes.starts_with(c_magic), "it is not a look-up table");
        Require(bytes.size() >= c_headerSize, "it is cut short");
        CNumberReader reader(bytes.substr(c_magic.size()));
        const auto version = reader.Next<std::uint16_t>();
        m_kind = reader.Next<std::uint16_t>();
        const auto dimension = reader.Next<std::uint16_t>();
        const auto flags = reader.Next<std::uint16_t>();
        m_reach = reader.Next<std::uint32_t>();
        m_recordCount = reader.Next<std::uint32_t>();
        const auto payloadSize = reader.Next<std::uint64_t>();
        const auto payloadSum = reader.Next<std::uint32_t>();
        const auto headerSum = reader.Next<std::uint32_t>();
        Require(headerSum == Crc32(bytes.substr(0, c_checkedHeaderSize)), "its header is damaged");
        Require(version == c_version, "its version is not known");
        Require(Kind() == EnLookUpTable::MEDIAL_AXIS || Kind() == EnLookUpTable::SPHERES,
                "its kind is not known");
        Require(dimension == c_dimension && flags == 0, "it is for other images");
        Require(m_reach > 0 && m_reach <= CSphereVectors::c_greatestReach, "its reach is out of range");
        Require(payloadSize >= Payload().size(), "it continues after its end");
        Require(payloadSize <= Payload().size(), "it is cut short");
        Require(payloadSum == Crc32(Payload()), "its records are damaged");
    }

    [[nodiscard]] std::string_view Payload() const { return std::string_view(m_bytes).substr(c_headerSize); }

    static std::int64_t SquaredLength(const StSortedVector& vector) {
        return std::int64_t{vector.a} * vector.a + std::int64_t{vector.b} * vector.b +
               std::int64_t{vector.c} * vector.c;
    }

    void RequireSphere(std::span<const StSortedVector> vectors, std::size_t squaredLength) const {
        const StSortedVector* before = nullptr;
        for (const StSortedVector& vector : vectors) {
            Require(IsSorted(vector) && std::cmp_equal(SquaredLength(vector), squaredLength),
                    "a record is not at its place");
            Require(before == nullptr || std::pair(before->a, before->b) > std::pair(vector.a, vector.b),
                    "a record is not at its place");
            before = &vector;
        }
    }

    void RequireKind(EnLookUpTable kind, const char* otherwise) const { Require(Kind() == kind, otherwise); }

    void Require(bool isSo, const char* otherwise) const {
        if (isSo)
            return;
        const std::string message = "Look-up table '" + m_path + "' is not usable: " + otherwise + ".";
        throw CException("ORVEN::LookUpTableFile", message.c_str(), nullptr);
    }

    std::string m_path;
    std::string m_bytes;
    std::uint16_t m_kind = 0;
    std::uint32_t m_reach = 0;
    std::uint32_t m_recordCount = 0;
};

void Write(std::ostream& file, const StLookUpTableSummary& summary, const std::string& payload) {
    std::string header(c_magic);
    Append(header, c_version);
    Append(header, static_cast<std::uint16_t>(summary.kind));
    Append(header, c_dimension);
    Append(header, std::uint16_t{0});
    Append(header, summary.reach);
    Append(header, summary.recordCount);
    Append(header, std::uint64_t{payload.size()});
    Append(header, Crc32(payload));
    Append(header, Crc32(header));
    file << header << payload;
}

} // namespace

StMedialAxisNeighborhood ReadMedialAxisNeighborhood(const std::string& path) {
    return CTableFile(path).Neighborhood();
}

CSphereVectors ReadSphereVectors(const std::string& path) { return CTableFile(path).Spheres(); }

StLookUpTableSummary CheckLookUpTable(const std::string& path) {
    const CTableFile file(path);
    if (file.Kind() == EnLookUpTable::MEDIAL_AXIS)
        (void)file.Neighborhood();
    else
        (void)file.Spheres();
    return file.Summary();
}

void WriteMedialAxisNeighborhood(std::ostream& file, const StMedialAxisNeighborhood& neighborhood) {
    std::string payload;
    for (const StMedialAxisGenerator& generator : neighborhood.generators) {
        Append(payload, generator.vector);
        Append(payload, std::uint16_t{0});
        Append(payload, generator.leastDistance);
        Append(payload, generator.foundAt);
    }
    Write(file,
          {EnLookUpTable::MEDIAL_AXIS, neighborhood.reach,
           static_cast<std::uint32_t>(neighborhood.generators.size())},
          payload);
}

void WriteSphereVectors(std::ostream& file, const CSphereVectors& spheres) {
    std::string payload;
    for (const std::uint32_t start : spheres.Starts())
        Append(payload, start);
    for (const StSortedVector& vector : spheres.All())
        Append(payload, vector);
    Write(file,
          {EnLookUpTable::SPHERES, static_cast<std::uint32_t>(spheres.Reach()),
           static_cast<std::uint32_t>(spheres.All().size())},
          payload);
}

} // namespace ORVEN
