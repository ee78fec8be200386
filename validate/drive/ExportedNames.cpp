#include "validate/drive/ExportedNames.h"

#include "engine/errors/CEngineError.h"

#include <elf.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

namespace validate {

namespace {

/// The bytes of a file, read as records at offsets.
class CRecords {
public:
    explicit CRecords(const std::string& path)
        : m_path(path) {
        std::ifstream file(path, std::ios::binary);
        m_bytes.assign(std::istreambuf_iterator<char>(file), {});
    }

    template <class Record>
    [[nodiscard]] Record At(std::uint64_t offset) const {
        if (offset > m_bytes.size() || m_bytes.size() - offset < sizeof(Record))
            Fail();
        Record record{};
        std::memcpy(&record, m_bytes.data() + offset, sizeof record);
        return record;
    }

    [[nodiscard]] std::string TextAt(std::uint64_t offset) const {
        if (offset >= m_bytes.size())
            Fail();
        return m_bytes.substr(offset, m_bytes.find('\0', offset) - offset);
    }

    [[noreturn]] void Fail() const {
        throw engine::CFileError("'" + m_path + "' is not a shared library of 64 bits");
    }

private:
    std::string m_path;
    std::string m_bytes;
};

bool IsExported(const Elf64_Sym& symbol) {
    const unsigned char binding = ELF64_ST_BIND(symbol.st_info);
    const unsigned char type = ELF64_ST_TYPE(symbol.st_info);
    // Names of versions are absolute.
    return symbol.st_shndx != SHN_UNDEF && symbol.st_shndx != SHN_ABS && binding != STB_LOCAL &&
           type != STT_SECTION && type != STT_FILE;
}

} // namespace

std::vector<std::string> ExportedNames(const std::string& path) {
    const CRecords file(path);
    const auto header = file.At<Elf64_Ehdr>(0);
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64)
        file.Fail();
    const auto section = [&](std::uint64_t index) {
        return file.At<Elf64_Shdr>(header.e_shoff + index * header.e_shentsize);
    };
    std::vector<std::string> names;
    for (std::uint64_t i = 0; i < header.e_shnum; ++i) {
        const Elf64_Shdr table = section(i);
        if (table.sh_type != SHT_DYNSYM)
            continue;
        const Elf64_Shdr texts = section(table.sh_link);
        for (std::uint64_t at = 0; at + sizeof(Elf64_Sym) <= table.sh_size; at += sizeof(Elf64_Sym)) {
            const auto symbol = file.At<Elf64_Sym>(table.sh_offset + at);
            if (IsExported(symbol))
                names.push_back(file.TextAt(texts.sh_offset + symbol.st_name));
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace validate
