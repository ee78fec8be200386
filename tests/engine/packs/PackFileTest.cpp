#include "engine/packs/PackFile.h"

#include "support/CommandLine.h"
#include "support/Raised.h"

#include <gtest/gtest.h>

#include <elf.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

using namespace engine;

namespace {

/// A copy of a pack that works, to change a byte of.
class PackFile : public ::testing::Test {
protected:
    PackFile() { std::filesystem::copy_file(QUILLON_HOSTILE_PACK "Prints.so", pack); }

    void SetByte(std::size_t place, int byte) const {
        std::fstream file(pack, std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(static_cast<std::streamoff>(place));
        file.put(static_cast<char>(byte));
    }

    [[nodiscard]] std::string ReasonAgainst(const std::string& path) const {
        const std::string message = test::Raised<CFileError>([&] { RequireLibrary(path); }).what();
        const std::string start = "cannot load the pack '" + path + "': ";
        return message.starts_with(start) ? message.substr(start.size()) : message;
    }

    const test::CTestFolder folder;
    const std::string pack = folder / "libCopy.so";
};

CFileError ErrorAfter(const std::string& reason) { return LoadError("libA.so", reason); }

const std::string c_start = "cannot load the pack 'libA.so': ";

} // namespace

TEST_F(PackFile, IsAcceptedIfItIsALibraryForThisProcessor) { EXPECT_NO_THROW(RequireLibrary(pack)); }

TEST_F(PackFile, IsRefusedIfItCannotBeRead) {
    EXPECT_EQ(ReasonAgainst(folder / "none.so"), "No such file or directory");
    std::filesystem::create_symlink("loop.so", folder / "loop.so");
    EXPECT_EQ(ReasonAgainst(folder / "loop.so"), "Too many levels of symbolic links");
}

TEST_F(PackFile, IsRefusedIfItIsNoRegularFile) {
    EXPECT_EQ(ReasonAgainst(folder / "."), "it is a folder");
    ASSERT_EQ(mkfifo((folder / "pipe.so").c_str(), 0600), 0);
    EXPECT_EQ(ReasonAgainst(folder / "pipe.so"), "it is not a regular file");
}

TEST_F(PackFile, IsRefusedIfItIsNoLibrary) {
    for (const char* text : {"", "hello", "a text that is longer than the first bytes of a library"}) {
        std::ofstream(folder / "text.so") << text;
        EXPECT_EQ(ReasonAgainst(folder / "text.so"), "it is not a shared library") << text;
    }
    SetByte(offsetof(Elf64_Ehdr, e_type), ET_REL);
    EXPECT_EQ(ReasonAgainst(pack), "it is not a shared library");
}

TEST_F(PackFile, IsRefusedIfItIsForAnotherProcessor) {
    for (const auto& [number, name] : {std::pair(EM_RISCV, "RISC-V"), std::pair(EM_PPC64, "64-bit PowerPC"),
                                       std::pair(EM_SPARC, "number 2")}) {
        SetByte(offsetof(Elf64_Ehdr, e_machine), number);
        EXPECT_EQ(ReasonAgainst(pack), std::string("it is built for another processor: ") + name);
    }
    SetByte(offsetof(Elf64_Ehdr, e_machine), EM_386);
    SetByte(EI_CLASS, ELFCLASS32);
    EXPECT_EQ(ReasonAgainst(pack), "it is built for another processor: 32-bit x86");
}

TEST_F(PackFile, IsRefusedIfItIsForAnotherOrderOfBytes) {
    SetByte(EI_DATA, ELFDATA2MSB);
    SetByte(offsetof(Elf64_Ehdr, e_type), 0);
    SetByte(offsetof(Elf64_Ehdr, e_type) + 1, ET_DYN);
    SetByte(offsetof(Elf64_Ehdr, e_machine), 0);
    SetByte(offsetof(Elf64_Ehdr, e_machine) + 1, EM_S390);
    EXPECT_EQ(ReasonAgainst(pack), "it is built for another processor: IBM Z");
}

TEST_F(PackFile, IsRefusedIfItWasCutOff) {
    const auto size = std::filesystem::file_size(pack);
    for (const auto shorter : {size - 1, size / 2, std::uintmax_t{100}}) {
        std::filesystem::resize_file(pack, shorter);
        EXPECT_EQ(ReasonAgainst(pack), "it ends too early") << shorter;
    }
}

TEST(PackLoadError, NamesWhatAnotherVersionHas) {
    const CFileError library =
        ErrorAfter("libsorblib2core.so.99: cannot open shared object file: No such file or directory");
    EXPECT_EQ(library.what(), c_start + "it is built for another version of Quillon than " QUILLON_VERSION
                                        ": it needs libsorblib2core.so.99");
    EXPECT_EQ(library.Fault(), EnFault::FILE);
    EXPECT_EQ(ErrorAfter("./libA.so: undefined symbol: _ZN5ORVEN6CImage4FoldEi").what(),
              c_start + "it is built for another version of Quillon than " QUILLON_VERSION
                        ": it needs 'ORVEN::CImage::Fold(int)'");
}

TEST(PackLoadError, NamesWhatIsNotInstalled) {
    const CFileError library =
        ErrorAfter("libfft.so.3: cannot open shared object file: No such file or directory");
    EXPECT_EQ(library.what(), c_start + "it needs libfft.so.3, which is not installed");
    EXPECT_EQ(library.Fault(), EnFault::MACHINE);
    const CFileError symbol = ErrorAfter("./libA.so: undefined symbol: transform");
    EXPECT_EQ(symbol.what(), c_start + "it needs 'transform', which no library defines");
    EXPECT_EQ(symbol.Fault(), EnFault::FILE);
}

TEST(PackLoadError, RepeatsOtherReasonsOfTheLoader) {
    EXPECT_EQ(ErrorAfter("./libA.so: cannot allocate memory").what(), c_start + "cannot allocate memory");
    const CFileError other = ErrorAfter("/lib/libB.so: invalid ELF header");
    EXPECT_EQ(other.what(), c_start + "/lib/libB.so: invalid ELF header");
    EXPECT_EQ(other.Fault(), EnFault::MACHINE);
}
