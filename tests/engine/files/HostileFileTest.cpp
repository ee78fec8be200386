#include "support/CMemoryLimit.h"
#include "support/FileTools.h"

#include <sorblib2core/CValueString.h>

#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <sstream>

using namespace ORVEN;

// Small files that would cost far more to read than they are long. The cost is measured in memory, by a
// limit, and in bytes read from files, which the system counts.

namespace engine::test {

namespace {

/// Makes the file as long as said without taking space for it.
void StoreSparse(const std::string& path, const std::string& beginning, std::int64_t size) {
    Store(path, beginning);
    std::filesystem::resize_file(path, static_cast<std::uintmax_t>(size));
}

/// Asserts that the file is refused, and that this takes at most 64 MiB on top of what the process has.
void ExpectRefusedInLittleMemory(const std::string& path, const std::string& part) {
    const ::test::CMemoryLimit limit(std::int64_t{64} << 20);
    ExpectUnreadable(path, part);
}

/// How many bytes this process has read from files so far; nothing where the system does not count.
std::optional<std::int64_t> BytesRead() {
    std::ifstream counts("/proc/self/io");
    std::string name;
    std::int64_t count = 0;
    while (counts >> name >> count) {
        if (name == "rchar:")
            return count;
    }
    return std::nullopt;
}

/// Asserts that the file is refused after at most `factor` times its length has been read.
void ExpectRefusedWithFewReads(const std::string& path, const std::string& part, std::int64_t factor) {
    const auto before = BytesRead();
    ExpectUnreadable(path, part);
    const auto after = BytesRead();
    if (before && after) {
        EXPECT_LE(*after - *before, factor * static_cast<std::int64_t>(std::filesystem::file_size(path)));
    }
}

template <class Number>
void Append(std::string& bytes, Number number) {
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

struct StSharedStrips {
    std::uint32_t pages = 1;
    std::uint32_t strips = 1;
    std::uint32_t width = 1;
    std::uint32_t rowsPerStrip = 1;
    std::uint32_t stripBytes = 1;
    std::uint16_t compression = 1;
    std::uint32_t subfileType = 0; ///< of all pages but the first
};

/// A little-endian TIFF of pages that share one table of strips, all of them at the same place.
std::string TiffOfSharedStrips(const StSharedStrips& kind) {
    constexpr std::uint16_t longType = 4;
    constexpr std::uint32_t firstLink = 4;
    std::string bytes("II*\0\0\0\0\0", 8);
    const auto data = static_cast<std::uint32_t>(bytes.size());
    bytes.append(kind.stripBytes, '\0');
    const auto places = static_cast<std::uint32_t>(bytes.size());
    for (std::uint32_t i = 0; i < kind.strips; ++i)
        Append(bytes, data);
    const auto lengths = static_cast<std::uint32_t>(bytes.size());
    for (std::uint32_t i = 0; i < kind.strips; ++i)
        Append(bytes, kind.stripBytes);
    std::size_t link = firstLink;
    for (std::uint32_t page = 0; page < kind.pages; ++page) {
        const auto start = static_cast<std::uint32_t>(bytes.size());
        std::memcpy(bytes.data() + link, &start, sizeof start);
        const std::vector<std::array<std::uint32_t, 3>> entries = {
            {254, 1, page > 0 ? kind.subfileType : 0},
            {256, 1, kind.width},
            {257, 1, kind.strips * kind.rowsPerStrip},
            {258, 1, 8},
            {259, 1, kind.compression},
            {262, 1, 1},
            {273, kind.strips, kind.strips > 1 ? places : data},
            {277, 1, 1},
            {278, 1, kind.rowsPerStrip},
            {279, kind.strips, kind.strips > 1 ? lengths : kind.stripBytes}};
        Append(bytes, static_cast<std::uint16_t>(entries.size()));
        for (const auto& [tag, count, value] : entries) {
            Append(bytes, static_cast<std::uint16_t>(tag));
            Append(bytes, longType);
            Append(bytes, count);
            Append(bytes, value);
        }
        link = bytes.size();
        Append(bytes, std::uint32_t{0});
    }
    return bytes;
}

std::string Gzip(const std::string& bytes) {
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, 15 + 16, 9, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, bytes.size()) + 64, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

} // namespace

TEST(HostileFile, HeaderLinesWithoutEndAreNotReadWhole) {
    const CTestFolder folder;
    constexpr std::int64_t size = std::int64_t{2} << 30;
    const std::vector<std::array<std::string, 2>> beginnings = {
        {"a.nrrd", "NRRD"},
        {"b.nrrd", "NRRD0004\n"},
        {"c.nrrd", "NRRD0004\ntype: "},
        {"d.nrrd", "NRRD0004\nquillon attributes:="},
        {"e.mha", "ObjectType = "},
        {"f.mha", "ObjectType = Image\n"},
        {"g.mha", "NDims = 2\nElementDataFile = "},
    };
    for (const auto& [name, beginning] : beginnings) {
        SCOPED_TRACE(name);
        StoreSparse(folder / name, beginning, size);
        ExpectRefusedInLittleMemory(folder / name, "its header is damaged: it is not text");
    }
}

TEST(HostileFile, HeaderLinesOfTextAreBoundedToo) {
    const CTestFolder folder;
    const std::string text(std::size_t{32} << 20, 'x');
    Store(folder / "a.nrrd", "NRRD0004\nkey:=" + text);
    ExpectRefusedWithFewReads(folder / "a.nrrd", "its header is damaged: a line does not end", 1);
    Store(folder / "a.mha", "Comment = " + text);
    ExpectRefusedWithFewReads(folder / "a.mha", "its header is damaged: it does not end", 1);
    std::string lines = "ObjectType = Image\n";
    for (int i = 0; i < 100000; ++i)
        lines += "Field" + std::to_string(i) + " = some value that is of no use\n";
    Store(folder / "b.mha", lines);
    ExpectRefusedWithFewReads(folder / "b.mha", "its header is damaged: it does not end", 1);
}

TEST(HostileFile, LongAttributesAreRead) {
    const CTestFolder folder;
    CImage image(IMAGE_GREY_8, CSize(2, 2), CSize(0, 0));
    image.Attributes().SetEntry("note", new CValueString(CString(std::string(std::size_t{3} << 20, '\n'))));
    for (const std::string name : {"a.nrrd", "a.tif"}) {
        WriteImage(image, folder / name);
        ExpectSameImage(*ReadImage(folder / name), image);
    }
}

TEST(HostileFile, ASideFileIsNoLongerThanAText) {
    const CTestFolder folder;
    WriteImage(CImage(IMAGE_GREY_8, CSize(2, 2), CSize(0, 0)), folder / "a.tif");
    StoreSparse(folder / "a.tif.attributes.json", "{", std::int64_t{2} << 30);
    ExpectUnreadable(folder / "a.tif", "it is longer than 256 MiB");
}

TEST(HostileFile, PagesThatShareATableOfStripsAreRefusedAfterAFewOfThem) {
    const CTestFolder folder;
    StSharedStrips kind;
    kind.pages = 400;
    kind.strips = 20000;
    Store(folder / "a.tif", TiffOfSharedStrips(kind));
    ExpectRefusedWithFewReads(folder / "a.tif", "more strips than it can hold", 20);
    kind.subfileType = 1; // reduced copies, which are passed over
    Store(folder / "b.tif", TiffOfSharedStrips(kind));
    ExpectRefusedWithFewReads(folder / "b.tif", "more strips than it can hold", 20);
}

TEST(HostileFile, BytesThatStripsShareAreCountedOnce) {
    const CTestFolder folder;
    StSharedStrips kind;
    kind.strips = 200;
    kind.width = 5000;
    kind.rowsPerStrip = 20;
    kind.stripBytes = 100000;
    Store(folder / "a.tif", TiffOfSharedStrips(kind));
    ExpectRefusedInLittleMemory(folder / "a.tif", "20000000 bytes of pixels, but its strips overlap");
    // Strips in the same place on many pages.
    kind.pages = 50;
    kind.strips = 1;
    Store(folder / "b.tif", TiffOfSharedStrips(kind));
    ExpectRefusedInLittleMemory(folder / "b.tif", "5000000 bytes of pixels, but its strips overlap");
    // Packed, so that the pixels could come out of few bytes; but all of them would be read for each strip.
    kind.pages = 1;
    kind.strips = 1000;
    kind.width = 1;
    kind.rowsPerStrip = 1;
    kind.compression = 5;
    Store(folder / "c.tif", TiffOfSharedStrips(kind));
    ExpectRefusedInLittleMemory(folder / "c.tif", "it is damaged: its strips overlap");
}

TEST(HostileFile, SkippedBytesOfPackedDataAreBounded) {
    const CTestFolder folder;
    const auto nrrd = [](std::int64_t skip, const std::string& packed) {
        return "NRRD0004\ntype: uint8\ndimension: 1\nsizes: 3\nencoding: gzip\nbyte skip: " +
               std::to_string(skip) + "\n\n" + packed;
    };
    Store(folder / "a.nrrd", nrrd(5, Gzip("skip me")));
    ExpectUnreadable(folder / "a.nrrd", "its pixels end too early");
    Store(folder / "a.nrrd", nrrd(5, Gzip("12345abc")));
    EXPECT_EQ(PixelBytes(*ReadImage(folder / "a.nrrd")), "abc");
    // More than the data can be unpacked to.
    Store(folder / "a.nrrd", nrrd(std::int64_t{1} << 20, Gzip("12345abc")));
    ExpectUnreadable(folder / "a.nrrd",
                     "its header announces 1048579 bytes of pixels, but the file has only 28 bytes of data");
    // As much as the data unpack to, but more than any header is long.
    std::string bomb;
    const std::string member = Gzip(std::string(std::size_t{16} << 20, '\0'));
    for (int i = 0; i < 17; ++i)
        bomb += member;
    Store(folder / "a.nrrd", nrrd((std::int64_t{17} << 24) - 3, bomb));
    ExpectUnreadable(folder / "a.nrrd", "its header announces 285212669 bytes before the pixels");
}

} // namespace engine::test
