// The records of a 32-bit little-endian ELF file. Fields, order and widths are as in the file, so
// that copying its bytes fills a record. See elf(5).
#pragma once

#include <cstdint>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "the records are copied from the file without byte-order conversion");

/// The file header, at file offset 0.
struct Ehdr {
    unsigned char e_ident[16];
    uint16_t e_type;
    uint16_t e_machine;
    uint32_t e_version;
    uint32_t e_entry;
    uint32_t e_phoff;  // file offset of the program header table
    uint32_t e_shoff;  // file offset of the section header table
    uint32_t e_flags;
    uint16_t e_ehsize;
    uint16_t e_phentsize;  // bytes of one program header
    uint16_t e_phnum;      // number of program headers
    uint16_t e_shentsize;  // bytes of one section header
    uint16_t e_shnum;      // number of section headers
    uint16_t e_shstrndx;   // index of the header whose section holds the names
};
static_assert(sizeof(Ehdr) == 52, "Ehdr lies in memory as in the file");

/// One entry of the program header table. A run of bankimg reads none: it goes by sections.
struct Phdr {
    uint32_t p_type;
    uint32_t p_offset;  // file offset of the segment's bytes
    uint32_t p_vaddr;   // run-time address of the first byte
    uint32_t p_paddr;   // load address of the first byte
    uint32_t p_filesz;  // bytes in the file
    uint32_t p_memsz;
    uint32_t p_flags;
    uint32_t p_align;
};
static_assert(sizeof(Phdr) == 32, "Phdr lies in memory as in the file");

/// A value of `p_type`: the segment is loaded.
constexpr uint32_t PT_LOAD = 1;

/// One entry of the section header table.
struct Shdr {
    uint32_t sh_name;  // offset of the name within the name section
    uint32_t sh_type;
    uint32_t sh_flags;
    uint32_t sh_addr;    // target address of the first byte
    uint32_t sh_offset;  // file offset of the bytes
    uint32_t sh_size;    // bytes
    uint32_t sh_link;
    uint32_t sh_info;
    uint32_t sh_addralign;
    uint32_t sh_entsize;
};
static_assert(sizeof(Shdr) == 40, "Shdr lies in memory as in the file");

/// A flag of `sh_flags`: the section occupies target memory.
constexpr uint32_t SHF_ALLOC = 0x2;

/// A value of `sh_type`: the section has no bytes in the file.
constexpr uint32_t SHT_NOBITS = 8;
