#include "engine/files/formats/PixelData.h"

#include "engine/files/FileErrors.h"
#include "engine/files/formats/HeaderChecks.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <memory>
#include <new>
#include <span>

namespace engine {

namespace {

constexpr int c_anyWrapper = 15 + 32; // zlib or gzip, detected from the first bytes

/// Unpacks a stream of zlib or gzip data from a file.
class CUnpacker {
public:
    explicit CUnpacker(std::ifstream& file)
        : m_file(file) {
        if (inflateInit2(&m_stream, c_anyWrapper) != Z_OK)
            throw std::bad_alloc();
    }
    CUnpacker(const CUnpacker&) = delete;
    CUnpacker& operator=(const CUnpacker&) = delete;
    ~CUnpacker() { inflateEnd(&m_stream); }

    /// Fills the buffer. Raises `CFileReason` if the stream is damaged or too short.
    void Read(std::span<unsigned char> bytes) {
        while (!bytes.empty()) {
            if (m_isAtEnd)
                StartNextStream();
            bytes = bytes.subspan(ReadSome(bytes));
        }
    }

    /// Raises `CFileReason` unless the stream ends here with a correct checksum.
    void ReadEnd() {
        std::array<unsigned char, 1> more{};
        while (!m_isAtEnd) {
            if (ReadSome(more) > 0)
                throw CFileReason("it holds more pixels than its header announces");
        }
    }

private:
    void FillInput() {
        if (m_stream.avail_in > 0)
            return;
        m_file.read(m_packed.data(), m_packed.size());
        m_stream.next_in = reinterpret_cast<Bytef*>(m_packed.data());
        m_stream.avail_in = static_cast<uInt>(m_file.gcount());
        if (m_stream.avail_in == 0)
            throw CFileReason("its pixels end too early");
    }

    /// Gzip data may consist of several consecutive streams.
    void StartNextStream() {
        FillInput();
        inflateReset(&m_stream);
        m_isAtEnd = false;
    }

    std::size_t ReadSome(std::span<unsigned char> bytes) {
        constexpr std::size_t maxChunk = std::size_t{1} << 30;
        const auto wanted = static_cast<uInt>(std::min(bytes.size(), maxChunk));
        FillInput();
        m_stream.next_out = bytes.data();
        m_stream.avail_out = wanted;
        const int result = inflate(&m_stream, Z_NO_FLUSH);
        if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR)
            throw CFileReason("its packed pixels are damaged");
        m_isAtEnd = result == Z_STREAM_END;
        return wanted - m_stream.avail_out;
    }

    std::ifstream& m_file;
    std::array<char, 65536> m_packed;
    z_stream m_stream{};
    bool m_isAtEnd = false;
};

void Drop(CUnpacker& unpacker, std::int64_t count) {
    std::array<unsigned char, 65536> dropped{};
    for (; count > 0; count -= std::min<std::int64_t>(count, dropped.size()))
        unpacker.Read(std::span(dropped).first(std::min(static_cast<std::size_t>(count), dropped.size())));
}

void ReadPacked(std::ifstream& file, const StPixelData& data, std::span<unsigned char> bytes) {
    CUnpacker unpacker(file);
    Drop(unpacker, data.skip);
    unpacker.Read(bytes);
    Drop(unpacker, data.rest);
    unpacker.ReadEnd();
}

template <std::size_t Size>
void SwapBytes(std::span<unsigned char> bytes) {
    for (std::size_t i = 0; i < bytes.size(); i += Size)
        std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(i),
                     bytes.begin() + static_cast<std::ptrdiff_t>(i + Size));
}

void SwapSamples(std::span<unsigned char> bytes, int sampleSize) {
    if (sampleSize == 2)
        SwapBytes<2>(bytes);
    else if (sampleSize == 4)
        SwapBytes<4>(bytes);
    else if (sampleSize == 8)
        SwapBytes<8>(bytes);
}

} // namespace

void ReadPixelData(const StImageHeader& header, void* samples) {
    const StPixelData& data = header.data;
    const std::span bytes(static_cast<unsigned char*>(samples), static_cast<std::size_t>(header.ByteCount()));
    std::ifstream file(data.path, std::ios::binary);
    if (!file.seekg(data.offset))
        throw CFileReason("its pixels cannot be reached");
    if (data.isPacked)
        ReadPacked(file, data, bytes);
    else if (!file.read(reinterpret_cast<char*>(bytes.data()), header.ByteCount()))
        throw CFileReason("its pixels end too early");
    if (data.isSwapped)
        SwapSamples(bytes, SampleSize(header.sample));
}

void ReadPixelRegion(const StImageHeader& header, const StReadBox& box, void* samples) {
    const std::int64_t pixelBytes = std::int64_t{header.samplesPerPixel} * SampleSize(header.sample);
    const std::int64_t rowBytes = box.extents[0] * pixelBytes;
    std::ifstream file(header.data.path, std::ios::binary);
    auto* row = static_cast<unsigned char*>(samples);
    for (std::int64_t z = 0; z < box.extents[2]; ++z) {
        for (std::int64_t y = 0; y < box.extents[1]; ++y, row += rowBytes) {
            const std::int64_t line = (box.first[2] + z) * header.size.y + box.first[1] + y;
            const std::int64_t pixel = line * header.size.x + box.first[0];
            if (!file.seekg(header.data.offset + pixel * pixelBytes) ||
                !file.read(reinterpret_cast<char*>(row), rowBytes))
                throw CFileReason("its pixels end too early");
        }
    }
    if (header.data.isSwapped)
        SwapSamples(std::span(static_cast<unsigned char*>(samples), row), SampleSize(header.sample));
}

} // namespace engine
