#include "engine/files/formats/PngFile.h"

#include "engine/files/COutputFile.h"
#include "engine/files/FileErrors.h"
#include "engine/files/formats/HeaderChecks.h"

#include <png.h>
#include <zlib.h>

#include <bit>
#include <csetjmp>
#include <fstream>
#include <iterator>
#include <new>
#include <vector>

namespace engine {

namespace {

constexpr std::int64_t c_signatureSize = 8;

struct StPngBlock {
    std::string name;
    std::string data;
};

std::uint32_t BigEndian(std::string_view bytes) {
    std::uint32_t number = 0;
    for (const char byte : bytes.substr(0, 4))
        number = number << 8 | static_cast<unsigned char>(byte);
    return number;
}

/// Reads the next chunk of the file and checks its length against the rest of the file.
StPngBlock NextBlock(std::ifstream& file, std::int64_t fileSize) {
    std::string start(8, '\0');
    file.read(start.data(), 8);
    const std::int64_t length = BigEndian(start);
    if (!file || length > fileSize - static_cast<std::int64_t>(file.tellg()) - 4)
        throw CFileReason("it ends too early");
    StPngBlock block{start.substr(4), std::string(static_cast<std::size_t>(length), '\0')};
    std::string sum(4, '\0');
    file.read(block.data.data(), length);
    file.read(sum.data(), 4);
    uLong computed = crc32(0, reinterpret_cast<const Bytef*>(block.name.data()), 4);
    computed = crc32(computed, reinterpret_cast<const Bytef*>(block.data.data()), static_cast<uInt>(length));
    if (!file || computed != BigEndian(sum))
        throw CFileReason("it is damaged: a checksum is wrong");
    return block;
}

int SamplesOf(int colour) {
    switch (colour) {
    case PNG_COLOR_TYPE_GRAY:
        return 1;
    case PNG_COLOR_TYPE_GRAY_ALPHA:
        return 2;
    case PNG_COLOR_TYPE_RGB:
    case PNG_COLOR_TYPE_PALETTE:
        return 3;
    case PNG_COLOR_TYPE_RGB_ALPHA:
        return 4;
    default:
        throw CFileReason("it is damaged: the colour type " + std::to_string(colour));
    }
}

// libpng reports errors by a longjmp. It skips only frames of the two functions below and of libpng itself,
// which hold no objects with destructors; all other work is done outside them.

struct StPngState {
    std::string_view input;
    std::string output;
    std::string error;
};

void KeepError(png_structp png, png_const_charp message) {
    static_cast<StPngState*>(png_get_error_ptr(png))->error = message;
    png_longjmp(png, 1);
}

void IgnoreWarning(png_structp, png_const_charp) {}

void ReadInput(png_structp png, png_bytep bytes, std::size_t count) {
    auto& input = static_cast<StPngState*>(png_get_io_ptr(png))->input;
    if (count > input.size())
        png_error(png, "it ends too early");
    input.copy(reinterpret_cast<char*>(bytes), count);
    input.remove_prefix(count);
}

void AppendOutput(png_structp png, png_bytep bytes, std::size_t count) {
    bool isKept = true;
    try {
        static_cast<StPngState*>(png_get_io_ptr(png))
            ->output.append(reinterpret_cast<const char*>(bytes), count);
    } catch (const std::bad_alloc&) {
        isKept = false;
    }
    if (!isKept)
        png_error(png, "there is not enough memory");
}

/// Unpacks the file into rows of `rowBytes`. Returns false, with the reason in the state, if it is damaged.
bool Decode(png_structp png, png_infop info, std::size_t rowBytes, unsigned char* samples) {
    if (setjmp(png_jmpbuf(png)) != 0)
        return false;
    png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_read_info(png, info);
    png_set_expand(png);
    if (std::endian::native == std::endian::little)
        png_set_swap(png);
    const int passes = png_set_interlace_handling(png);
    png_read_update_info(png, info);
    if (png_get_rowbytes(png, info) != rowBytes)
        png_error(png, "its header is damaged");
    const png_uint_32 height = png_get_image_height(png, info);
    for (int pass = 0; pass < passes; ++pass) {
        for (png_uint_32 row = 0; row < height; ++row)
            png_read_row(png, samples + row * rowBytes, nullptr);
    }
    png_read_end(png, nullptr);
    return true;
}

bool Encode(png_structp png, png_infop info, const StImageHeader& header, std::size_t rowBytes,
            const unsigned char* samples) {
    if (setjmp(png_jmpbuf(png)) != 0)
        return false;
    png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_IHDR(png, info, static_cast<png_uint_32>(header.size.x), static_cast<png_uint_32>(header.size.y),
                 8 * SampleSize(header.sample),
                 header.samplesPerPixel == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    if (std::endian::native == std::endian::little)
        png_set_swap(png);
    for (std::int64_t row = 0; row < header.size.y; ++row)
        png_write_row(png, samples + static_cast<std::size_t>(row) * rowBytes);
    png_write_end(png, nullptr);
    return true;
}

std::size_t RowBytes(const StImageHeader& header) {
    return static_cast<std::size_t>(header.ByteCount() / header.size.y);
}

} // namespace

StImageHeader ReadPngHeader(const std::string& path) {
    const std::int64_t fileSize = FileSize(path);
    std::ifstream file(path, std::ios::binary);
    file.seekg(c_signatureSize);
    const StPngBlock first = NextBlock(file, fileSize);
    if (first.name != "IHDR" || first.data.size() != 13)
        throw CFileReason("it is damaged: it does not begin with its header");
    const int depth = static_cast<unsigned char>(first.data[8]);
    const int colour = static_cast<unsigned char>(first.data[9]);
    StImageHeader header;
    header.format = FORMAT_PNG;
    header.sample = depth == 16 ? SAMPLE_UINT16 : SAMPLE_UINT8;
    header.samplesPerPixel = SamplesOf(colour);
    header.size = CheckedSize({BigEndian(first.data), BigEndian(std::string_view(first.data).substr(4))},
                              header.samplesPerPixel * SampleSize(header.sample));

    std::int64_t stored = 0;
    for (StPngBlock block = first; block.name != "IEND"; block = NextBlock(file, fileSize)) {
        if (block.name == "IDAT")
            stored += static_cast<std::int64_t>(block.data.size());
        if (block.name == "tRNS" && colour != PNG_COLOR_TYPE_GRAY_ALPHA && colour != PNG_COLOR_TYPE_RGB_ALPHA)
            header.samplesPerPixel = SamplesOf(colour) + 1;
        if (block.name == "pHYs" && block.data.size() == 9 && block.data[8] == 1) {
            constexpr double millimetresPerMetre = 1000;
            header.printSize = CheckedSpacing(
                std::vector{millimetresPerMetre / BigEndian(block.data),
                            millimetresPerMetre / BigEndian(std::string_view(block.data).substr(4))});
        }
    }
    const int storedBits = depth * (colour == PNG_COLOR_TYPE_PALETTE ? 1 : SamplesOf(colour));
    RequireData(header.size.PixelCount() / 8 * storedBits, stored, c_maxDeflateRatio);
    return header;
}

void ReadPngSamples(const std::string& path, const StImageHeader& header, void* samples) {
    std::ifstream stream(path, std::ios::binary);
    const std::string file{std::istreambuf_iterator<char>(stream), {}};
    StPngState state;
    state.input = file;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &state, &KeepError, &IgnoreWarning);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    if (info == nullptr) {
        png_destroy_read_struct(&png, nullptr, nullptr);
        throw std::bad_alloc();
    }
    png_set_read_fn(png, &state, &ReadInput);
    const bool isDone = Decode(png, info, RowBytes(header), static_cast<unsigned char*>(samples));
    png_destroy_read_struct(&png, &info, nullptr);
    if (!isDone)
        throw CFileReason("it is damaged (" + state.error + ")");
}

void WritePng(const std::string& path, const StImageHeader& header, const void* samples) {
    StPngState state;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &state, &KeepError, &IgnoreWarning);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    if (info == nullptr) {
        png_destroy_write_struct(&png, nullptr);
        throw std::bad_alloc();
    }
    png_set_write_fn(png, &state, &AppendOutput, nullptr);
    const bool isDone =
        Encode(png, info, header, RowBytes(header), static_cast<const unsigned char*>(samples));
    png_destroy_write_struct(&png, &info);
    if (!isDone)
        throw CFileReason(state.error);
    COutputFile file(path);
    file.Write(state.output);
    file.Close();
}

} // namespace engine
