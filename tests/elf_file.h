// Lays out small ELF files in memory, for tests and benchmarks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "elf32.h"

struct elf_section {
    std::string name;
    uint32_t addr = 0;
    std::string data;
    uint32_t flags = SHF_ALLOC;
    uint32_t type = 1;  // SHT_PROGBITS
    uint32_t size = 0;  // taken from `data` if 0
};

/// Gives back an ELF file that holds header 0, `sections`, and the section of their names; the
/// parts lie in the order file header, section bytes, section header table, names.
std::string elf_file(const std::vector<elf_section>& sections);

/// Gives back `count` bytes that ascend from `first`: 00 01 02 and so on.
std::string ascending(size_t count, size_t first = 0);

/// Overwrites the bytes of `file` from `offset` on with those of `value`.
template <class T>
std::string patched(std::string file, size_t offset, T value) {
    return file.replace(offset, sizeof value, reinterpret_cast<const char*>(&value), sizeof value);
}
