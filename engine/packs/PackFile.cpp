#include "engine/packs/PackFile.h"

#include <cxxabi.h>
#include <elf.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace fs = std::filesystem;

namespace engine {

namespace {

constexpr std::array c_processors{std::pair(EM_386, "32-bit x86"),
                                  std::pair(EM_X86_64, "x86-64"),
                                  std::pair(EM_ARM, "32-bit ARM"),
                                  std::pair(EM_AARCH64, "64-bit ARM"),
                                  std::pair(EM_PPC64, "64-bit PowerPC"),
                                  std::pair(EM_RISCV, "RISC-V"),
                                  std::pair(EM_S390, "IBM Z")};

/// What the first bytes of a library say. They have this form for all processors.
struct StLibraryHeader {
    unsigned char wordSize;
    unsigned char byteOrder;
    int processor;
    int kind;

    [[nodiscard]] bool IsForSameProcessor(const StLibraryHeader& other) const {
        return wordSize == other.wordSize && byteOrder == other.byteOrder && processor == other.processor;
    }
};

/// Returns nothing if the file is not in the format of libraries.
std::optional<StLibraryHeader> ReadHeader(const std::string& path) {
    std::array<unsigned char, offsetof(Elf64_Ehdr, e_version)> bytes{};
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(bytes.data()), bytes.size());
    if (!file || std::memcmp(bytes.data(), ELFMAG, SELFMAG) != 0)
        return std::nullopt;
    const auto number = [&](std::size_t place) {
        const bool isBigEndian = bytes[EI_DATA] == ELFDATA2MSB;
        return bytes[place + (isBigEndian ? 1 : 0)] + 256 * bytes[place + (isBigEndian ? 0 : 1)];
    };
    return StLibraryHeader{bytes[EI_CLASS], bytes[EI_DATA], number(offsetof(Elf64_Ehdr, e_machine)),
                           number(offsetof(Elf64_Ehdr, e_type))};
}

/// Whether the file, which is for this processor, is as long as it says: loading one that was cut off
/// crashes.
bool IsComplete(const std::string& path) {
    ElfW(Ehdr) header{};
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(&header), sizeof(header));
    std::error_code error;
    // The table of sections, if there is one, is the last part.
    return file &&
           header.e_shoff + std::uint64_t{header.e_shnum} * header.e_shentsize <= fs::file_size(path, error);
}

std::string ProcessorOf(const StLibraryHeader& header) {
    for (const auto& [number, name] : c_processors) {
        if (header.processor == number)
            return name;
    }
    return "number " + std::to_string(header.processor);
}

/// Whether the name is that of a library of Quillon with another number than those of this version have.
bool IsOfAnotherVersion(std::string_view library) {
    if (!library.starts_with("libQuillon") && !library.starts_with("libsorb"))
        return false;
    const auto extension = library.rfind(".so.");
    constexpr std::string_view version = QUILLON_VERSION;
    return extension != library.npos && library.substr(extension + 4) != version.substr(0, version.find('.'));
}

std::string ReadableName(const std::string& symbol) {
    const std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, nullptr), std::free);
    return name != nullptr ? name.get() : symbol;
}

const std::string c_anotherVersion = "it is built for another version of Quillon than " QUILLON_VERSION ": ";

} // namespace

CFileError PackError(const std::string& path, const std::string& reason, EnFault fault) {
    return CFileError("cannot load the pack '" + path + "': " + reason, fault);
}

void RequireLibrary(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (error)
        throw PackError(path, error.message());
    if (fs::is_directory(status))
        throw PackError(path, "it is a folder");
    if (!fs::is_regular_file(status))
        throw PackError(path, "it is not a regular file");
    const auto header = ReadHeader(path);
    if (!header || header->kind != ET_DYN)
        throw PackError(path, "it is not a shared library");
    const auto ours = ReadHeader("/proc/self/exe");
    if (ours && !header->IsForSameProcessor(*ours))
        throw PackError(path, "it is built for another processor: " + ProcessorOf(*header));
    if (ours && !IsComplete(path))
        throw PackError(path, "it ends too early");
}

CFileError LoadError(const std::string& path, const std::string& reason) {
    constexpr std::string_view undefined = "undefined symbol: ";
    if (const auto place = reason.find(undefined); place != reason.npos) {
        const std::string symbol = reason.substr(place + undefined.size());
        const std::string name = ReadableName(symbol.substr(0, symbol.find_first_of(" ,")));
        const bool isOurs = name.find("ORVEN::") != name.npos || name.find("quillon::") != name.npos;
        return PackError(path, isOurs ? c_anotherVersion + "it needs '" + name + "'"
                                      : "it needs '" + name + "', which no library defines");
    }
    const std::string file = reason.substr(0, reason.find(": "));
    if (file.ends_with(path))
        return PackError(path, reason.substr(std::min(file.size() + 2, reason.size())));
    if (IsOfAnotherVersion(file))
        return PackError(path, c_anotherVersion + "it needs " + file);
    const bool isMissing = reason.ends_with(std::strerror(ENOENT));
    return PackError(path, isMissing ? "it needs " + file + ", which is not installed" : reason,
                     EnFault::MACHINE);
}

} // namespace engine
