// The layout of a test's ELF file.
#include "elf_file.h"

#include <cstring>
#include <numeric>

static uint32_t len(const std::string& bytes) {
    return static_cast<uint32_t>(bytes.size());
}

elf_section sect(const std::string& name, uint32_t addr, size_t size, uint32_t load,
                 uint32_t flags) {
    return {name, addr, ascending(size, 1), flags, SHT_PROGBITS, 0, load};
}

elf_section nobits(const std::string& name, uint32_t addr, uint32_t size, uint32_t flags,
                   uint32_t load) {
    return {name, addr, "", flags, SHT_NOBITS, size, load};
}

template <class record>
static std::string bytes_of(const std::vector<record>& table) {
    return {reinterpret_cast<const char*>(table.data()), table.size() * sizeof(record)};
}

std::string elf_file(const std::vector<elf_section>& sections, const damage& change) {
    std::string file(sizeof(Ehdr), '\0'), names(1, '\0');
    headers all;
    all.sections.emplace_back();
    for (const elf_section& s : sections) {
        const uint32_t at = len(file), size = s.size != 0 ? s.size : len(s.data);
        all.sections.push_back({len(names), s.type, s.flags, s.addr, at, size, 0, 0, 1, 0});
        if (s.load != 0) all.segments.push_back({PT_LOAD, at, s.addr, s.load, size, size, 0, 0});
        names += s.name + '\0';
        file += s.data;
    }
    const auto last = static_cast<uint16_t>(all.sections.size());
    const auto shnum = static_cast<uint16_t>(last + 1),
               phnum = static_cast<uint16_t>(all.segments.size());
    const uint32_t phoff = len(file), shoff = phoff + len(bytes_of(all.segments));
    const uint32_t names_at = shoff + shnum * uint32_t{sizeof(Shdr)};
    all.sections.push_back({0, SHT_STRTAB, 0, 0, names_at, len(names), 0, 0, 1, 0});
    all.file = {"\177ELF\1\1\1", 2, 243, 1, 0, phoff, shoff, 0, 52, 32, phnum, 40, shnum, last};
    if (change) change(all);
    memcpy(file.data(), &all.file, sizeof all.file);
    return file + bytes_of(all.segments) + bytes_of(all.sections) + names;
}

std::string ascending(size_t count, size_t first) {
    std::string bytes(count, '\0');
    std::iota(bytes.begin(), bytes.end(), static_cast<char>(first));
    return bytes;
}
