// The layout of a test's ELF file.
#include "elf_file.h"

#include <cstring>

namespace {

template <class T>
std::string bytes_of(const T& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

}  // namespace

std::string elf_file(const std::vector<elf_section>& sections) {
    Ehdr ehdr{};
    memcpy(ehdr.e_ident,
           "\x7f"
           "ELF\1\1\1",
           7);
    std::vector<Shdr> shdrs(1);
    std::string names(1, '\0');
    std::string body;
    for (const elf_section& sect : sections) {
        Shdr shdr{};
        shdr.sh_name = static_cast<uint32_t>(names.size());
        shdr.sh_type = sect.type;
        shdr.sh_flags = sect.flags;
        shdr.sh_addr = sect.addr;
        shdr.sh_offset = static_cast<uint32_t>(sizeof ehdr + body.size());
        shdr.sh_size = sect.size != 0 ? sect.size : static_cast<uint32_t>(sect.data.size());
        shdrs.push_back(shdr);
        names += sect.name + '\0';
        body += sect.data;
    }
    ehdr.e_shoff = static_cast<uint32_t>(sizeof ehdr + body.size());
    ehdr.e_shentsize = sizeof(Shdr);
    ehdr.e_shnum = static_cast<uint16_t>(shdrs.size() + 1);
    ehdr.e_shstrndx = static_cast<uint16_t>(shdrs.size());
    Shdr strtab{};
    strtab.sh_type = 3;
    strtab.sh_offset = static_cast<uint32_t>(ehdr.e_shoff + ehdr.e_shnum * sizeof(Shdr));
    strtab.sh_size = static_cast<uint32_t>(names.size());
    shdrs.push_back(strtab);

    std::string table;
    for (const Shdr& shdr : shdrs) table += bytes_of(shdr);
    return bytes_of(ehdr) + body + table + names;
}

std::string ascending(size_t count, int first) {
    std::string bytes(count, '\0');
    for (char& byte : bytes) byte = static_cast<char>(first++);
    return bytes;
}
