// A section: a named block of bytes at a target address, taken from the ELF file. Every later
// step of a run works on these records.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "bytes.h"
#include "elf32.h"
#include "file.h"

/// One section and its bytes. A value: a copy has bytes of its own.
struct CSect {
    uint32_t bank_base = 0;  // its bank's start without the top three bits; set by placement
    std::string name;
    std::string fname;  // name of the raw section file
    Shdr hdr{};
    byte_vector data;  // `hdr.sh_size` bytes

    /// Address of the last byte, wrapping at 2^32. Of size 0, which no loaded section has, the
    /// first address.
    uint32_t last() const;

    /// Makes `fname` from `name`: one leading dot is removed, ".bin" appended.
    void setfname();

    /// Loads `data` for `hdr` from the ELF file. Returns whether the file holds all of its bytes;
    /// those that it does not hold are zeros.
    bool readv(block_reader& file);

    /// Writes `data` to the raw section file `fname`. Returns what write_buf does.
    bool writev() const;

    /// Prints the section's listing line.
    void print(FILE* stream) const;
};

/// Writes `len` bytes to the file `path`. A new file gets mode 0600; an old one is truncated.
/// Returns false, and errno says why, if it cannot be created or written completely.
bool write_buf(const char* path, const char* buf, int len);
