// A section: a named block of bytes at a target address, taken from the ELF file. Every later
// step of a run works on these records. Here too are the memory that holds the bytes and the
// functions through which a run reads its ELF file and writes its output files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "elf32.h"

/// Reads `len` bytes at file offset `pos` into `buf`. Returns how many bytes the file delivered:
/// fewer at its end, none where it cannot be read at an offset (a pipe).
size_t read_at(int fd, uint64_t pos, void* buf, size_t len);

/// A file and the part of it that was read last. Names, and the bytes of small sections, mostly
/// follow one another, so that one read serves many of them.
struct file_block {
    int fd = -1;
    uint64_t pos = 0;  // file offset of the first byte
    size_t len = 0;
    char bytes[4096] = {};

    /// Returns the bytes at file offset `at` and sets `count` to the number of those that are in
    /// memory: 0 only where the file delivers none.
    const char* peek(uint64_t at, size_t& count);

    /// Reads `count` bytes at file offset `at` into `buf`. Returns how many the file delivered.
    size_t read(uint64_t at, char* buf, size_t count);
};

/// Writes `len` bytes, however the system splits them. What the system refuses is lost unnoticed.
void write_all(int fd, const char* buf, size_t len);

/// Writes `len` bytes to the file `path`. A new file gets mode 0600, an old one is truncated; one
/// that cannot be opened is passed over.
void write_buf(const char* path, const char* buf, int len);

/// Returns `size` bytes of memory, for large sizes in huge pages where the system has them.
/// Throws std::bad_alloc.
void* allocate_pages(size_t size);

/// Frees what allocate_pages returned for the same `size`.
void free_pages(void* at, size_t size) noexcept;

/// An allocator that leaves new bytes as they are. Most are about to be read from the file, and
/// clearing hundreds of megabytes first takes as long as reading them.
template <class T>
struct uncleared {
    using value_type = T;
    uncleared() = default;
    template <class U>
    uncleared(const uncleared<U>&) noexcept {}

    T* allocate(size_t count) { return static_cast<T*>(allocate_pages(count * sizeof(T))); }
    void deallocate(T* at, size_t count) noexcept { free_pages(at, count * sizeof(T)); }
    void construct(T*) noexcept {}
    bool operator==(const uncleared&) const noexcept { return true; }
    bool operator!=(const uncleared&) const noexcept { return false; }
};
using byte_vector = std::vector<char, uncleared<char>>;

/// One section and its bytes. A value: a copy has bytes of its own.
struct CSect {
    std::string name;
    std::string fname;  // name of the raw section file
    Shdr hdr{};
    byte_vector data;  // `hdr.sh_size` bytes

    /// Address of the last byte, wrapping at 2^32. No section is empty.
    uint32_t last() const;

    /// Makes `fname` from `name`: without one leading dot, with ".bin" appended.
    void setfname();

    /// Loads `data` for `hdr` from the ELF file. Bytes that the file does not hold are zeros.
    void readv(file_block& file);

    /// Writes `data` to the raw section file `fname`, or passes over what cannot be written.
    void writev() const;

    /// Prints the section's listing line.
    void print(FILE* stream) const;
};
