// Lays out small ELF files in memory, for tests, the benchmark and the fuzzer's seeds.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "elf32.h"

struct elf_section {
    std::string name;
    uint32_t addr = 0;
    std::string data;
    uint32_t flags = SHF_ALLOC;
    uint32_t type = SHT_PROGBITS;
    uint32_t size = 0;  // taken from `data` if 0
    uint32_t load = 0;  // load address of a segment that holds the section alone; none if 0
};

/// A section of `size` bytes that ascend from 1.
elf_section sect(const std::string& name, uint32_t addr, size_t size = 16, uint32_t load = 0,
                 uint32_t flags = SHF_ALLOC);

/// A section without bytes in the file.
elf_section nobits(const std::string& name, uint32_t addr, uint32_t size,
                   uint32_t flags = SHF_ALLOC, uint32_t load = 0);

struct headers {
    Ehdr file{};
    std::vector<Shdr> sections;
    std::vector<Phdr> segments;
};
using damage = std::function<void(headers&)>;

/// Returns an ELF file that holds header 0, `sections`, and the section of their names; the parts
/// lie in the order file header, section bytes, program headers, section headers, names. `change`
/// may change the headers before they are laid out.
std::string elf_file(const std::vector<elf_section>& sections, const damage& change = nullptr);

/// Returns `count` bytes that ascend from `first`: 00 01 02 and so on.
std::string ascending(size_t count, size_t first = 0);
