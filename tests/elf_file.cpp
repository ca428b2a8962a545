// The layout of a test's ELF file.
#include "elf_file.h"

#include <cstring>

namespace {

template <class T>
std::string bytes_of(const T& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

uint32_t len(const std::string& bytes) {
    return static_cast<uint32_t>(bytes.size());
}

}  // namespace

std::string elf_file(const std::vector<elf_section>& sections) {
    std::string names(1, '\0'), body, table = bytes_of(Shdr{});
    for (const elf_section& s : sections) {
        const uint32_t offset = sizeof(Ehdr) + len(body), size = s.size != 0 ? s.size : len(s.data);
        table += bytes_of(Shdr{len(names), s.type, s.flags, s.addr, offset, size, 0, 0, 1, 0});
        names += s.name + '\0';
        body += s.data;
    }
    const uint32_t table_at = sizeof(Ehdr) + len(body), names_at = table_at + len(table) + 40;
    table += bytes_of(Shdr{0, 3, 0, 0, names_at, len(names), 0, 0, 1, 0});
    Ehdr ehdr{};
    memcpy(ehdr.e_ident, "\177ELF\1\1\1", 7);
    ehdr.e_type = 2;       // an executable
    ehdr.e_machine = 243;  // RISC-V
    ehdr.e_version = 1;    // objcopy, in the benchmark, asks for it
    ehdr.e_shoff = table_at;
    ehdr.e_shentsize = sizeof(Shdr);
    ehdr.e_shnum = static_cast<uint16_t>(len(table) / sizeof(Shdr));
    ehdr.e_shstrndx = static_cast<uint16_t>(ehdr.e_shnum - 1);
    return bytes_of(ehdr) + body + table + names;
}

std::string ascending(size_t count, size_t first) {
    std::string bytes(count, '\0');
    for (char& byte : bytes) byte = static_cast<char>(first++);
    return bytes;
}
