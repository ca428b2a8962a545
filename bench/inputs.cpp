// Writes the ELF files of the benchmark into the current directory. README.md in this directory
// says what each is for.
#include <fstream>
#include <random>

#include "elf_file.h"

constexpr size_t MiB = 1 << 20;

static std::string random_bytes(size_t count) {
    static std::mt19937 random(1);
    std::string bytes(count, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    return bytes;
}

static void write(const std::string& name, const std::vector<elf_section>& sections) {
    std::ofstream(name, std::ios::binary) << elf_file(sections);
}

// `count` sections of `size` random bytes, `step` apart; every `loaded`th occupies memory.
static std::vector<elf_section> many(uint32_t count, uint32_t size, uint32_t step,
                                     uint32_t loaded = 1) {
    std::vector<elf_section> sections;
    for (uint32_t i = 0; i < count; i++) {
        const uint32_t flags = i % loaded == 0 ? SHF_ALLOC : 0;
        sections.push_back({".s" + std::to_string(i), i * step, random_bytes(size), flags});
    }
    return sections;
}

int main() {
    write("large.elf",
          {{".text", 0, random_bytes(64 * MiB)}, {".data", 0x08000000, random_bytes(48 * MiB)}});
    write("regions.elf",
          {{".text", 0, random_bytes(64 * MiB)}, {".data", 0x20000000, random_bytes(48 * MiB)}});
    write("sections60k.elf", many(60000, 60, 64));
    write("sections30k.elf", many(30000, 60, 64));
    write("same60k.elf", many(60000, 60, 0));
    write("same30k.elf", many(30000, 60, 0));
    write("headers65k.elf", many(65000, 60, 64, 2));
    write("headers32k.elf", many(32500, 60, 64, 2));
    write("firmware.elf", {{".text", 0x18440000, random_bytes(40000)},
                           {".data", 0x18400000, random_bytes(12000)},
                           {".boot", 0x1fc00000, random_bytes(1000)}});
    write("gap.elf", {{".a", 0, random_bytes(16)}, {".b", 64 << 20, random_bytes(16)}});
    write("start.elf", {{".b", 64 << 20, random_bytes(16)}});
}
