// The layout of a test's ELF file.
#include "elf_file.h"

#include <cstring>
#include <numeric>

static uint32_t len(const std::string& bytes) {
    return static_cast<uint32_t>(bytes.size());
}

std::string elf_file(const std::vector<elf_section>& sections,
                     const std::function<void(Ehdr&, Shdr*)>& damage) {
    std::string file(sizeof(Ehdr), '\0'), names(1, '\0');
    std::vector<Shdr> table(1);
    std::vector<Phdr> segments;
    for (const elf_section& s : sections) {
        const uint32_t size = s.size != 0 ? s.size : len(s.data);
        table.push_back({len(names), s.type, s.flags, s.addr, len(file), size, 0, 0, 1, 0});
        if (s.load != 0) segments.push_back({PT_LOAD, len(file), s.addr, s.load, size, size, 0, 0});
        names += s.name + '\0';
        file += s.data;
    }
    const uint32_t segments_at = len(file);
    file.append(reinterpret_cast<const char*>(segments.data()), segments.size() * sizeof(Phdr));
    const auto last = static_cast<uint16_t>(table.size()), count = static_cast<uint16_t>(last + 1);
    const uint32_t table_len = count * uint32_t{sizeof(Shdr)};
    table.push_back({0, 3, 0, 0, len(file) + table_len, len(names), 0, 0, 1, 0});
    Ehdr ehdr{"\177ELF\1\1\1", 2, 243, 1, 0, segments_at, len(file), 0, 52, 32, 0, 40, count, last};
    ehdr.e_phnum = static_cast<uint16_t>(segments.size());
    if (damage) damage(ehdr, table.data());
    memcpy(file.data(), &ehdr, sizeof ehdr);
    return file.append(reinterpret_cast<const char*>(table.data()), table_len) + names;
}

std::string ascending(size_t count, size_t first) {
    std::string bytes(count, '\0');
    std::iota(bytes.begin(), bytes.end(), static_cast<char>(first));
    return bytes;
}
