#include <gtest/gtest.h>

#include <elf.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

// What the pack wants from other libraries, as its file says.

namespace {

template <class T>
T At(const std::string& file, std::size_t offset) {
    T value;
    std::memcpy(&value, file.data() + offset, sizeof value);
    return value;
}

/// The names that a shared library takes from others.
std::vector<std::string> ImportsOf(const char* path) {
    std::ifstream stream(path, std::ios::binary);
    const std::string file{std::istreambuf_iterator<char>(stream), {}};
    const auto header = At<Elf64_Ehdr>(file, 0);
    const auto section = [&](std::size_t index) {
        return At<Elf64_Shdr>(file, header.e_shoff + index * header.e_shentsize);
    };
    std::vector<std::string> names;
    for (std::size_t i = 0; i < header.e_shnum; ++i) {
        const Elf64_Shdr symbols = section(i);
        if (symbols.sh_type != SHT_DYNSYM)
            continue;
        const Elf64_Shdr texts = section(symbols.sh_link);
        for (std::size_t offset = 0; offset < symbols.sh_size; offset += symbols.sh_entsize) {
            const auto symbol = At<Elf64_Sym>(file, symbols.sh_offset + offset);
            if (symbol.st_shndx == SHN_UNDEF)
                names.emplace_back(file.data() + texts.sh_offset + symbol.st_name);
        }
    }
    return names;
}

TEST(PackSymbols, ThePackStartsNoThreadAndTakesNoLock) {
    const std::vector<std::string> imports = ImportsOf(QUILLON_PACK);
    // The guards are those of function-local statics that are made at run time, which lock as well.
    constexpr std::string_view forbidden[] = {"pthread_", "__cxa_guard_", "sem_",        "mtx_",
                                              "thrd_",    "call_once",    "_ZNSt6thread"};
    bool knowsHost = false;
    for (const std::string& name : imports) {
        knowsHost = knowsHost || name.find("ORVEN") != std::string::npos;
        for (const std::string_view beginning : forbidden)
            EXPECT_FALSE(name.starts_with(beginning)) << name;
    }
    EXPECT_TRUE(knowsHost) << "the imports were not found";
}

} // namespace
