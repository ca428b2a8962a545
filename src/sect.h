// A section: a named block of bytes at a target address, taken from the ELF file. Every later
// step of a run works on these records. Here too are the functions through which a run reads its
// ELF file and writes its output files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "elf32.h"

/// Reads `len` bytes at file offset `pos` into `buf`. Gives back how many bytes the file
/// delivered: fewer at its end, none where it cannot seek.
size_t read_at(int fd, uint64_t pos, void* buf, size_t len);

/// Writes `len` bytes, however the system splits them. What the system refuses is lost unnoticed.
void write_all(int fd, const char* buf, size_t len);

/// Writes `len` bytes to the file `path`. A new file gets mode 0600, an old one is emptied first;
/// one that cannot be opened is passed over.
void write_buf(const char* path, const char* buf, int len);

/// Hands out memory without clearing it: most is about to be read from the file, and clearing
/// hundreds of megabytes takes as long as reading them.
template <class T>
struct uncleared : std::allocator<T> {
    template <class U>
    struct rebind {
        using other = uncleared<U>;
    };
    void construct(T*) noexcept {}
};
using byte_vector = std::vector<char, uncleared<char>>;

/// One section and its bytes. A value: a copy has bytes of its own.
struct CSect {
    uint32_t bank_base = 0;  // masked start of the section's bank, set by placement
    std::string name;
    std::string fname;  // name of the raw section file
    Shdr hdr{};
    byte_vector data;  // `hdr.sh_size` bytes

    /// Address of the last byte, wrapping at 2^32; the first address if the section is empty.
    uint32_t last() const;

    /// Makes `fname` from `name`: without one leading dot, with ".bin" appended.
    void setfname();

    /// Loads `data` for `hdr` from the ELF file. Bytes that the file does not hold are zeros.
    void readv(int fd);

    /// Writes `data` to the raw section file `fname`, or passes over what cannot be written.
    void writev() const;

    /// Prints the section's listing line.
    void print(FILE* stream) const;

    /// Makes the record a block of `size` zero bytes at `addr`.
    void fill_zero(uint32_t addr, uint32_t size);
};
