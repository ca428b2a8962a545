// A memory bank: a named address range of the target. A bank that receives sections becomes one
// image file.
#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "sect.h"

/// The address bits that count in `in_bank`, unless `all_bits`. On cores like MIPS the other three
/// select how memory is reached (cached or not, for example), not which memory.
constexpr uint32_t memory_mask = 0x1fffffff;

/// Returns the top three bits of an address.
constexpr uint32_t region(uint32_t addr) {
    return addr & ~memory_mask;
}

/// One bank, its sections and the flags that shape its image. A value: a copy has sections of
/// its own.
struct CBank {
    std::string name;     // file name of the image, and the bank's identity
    std::string prefix;   // first part of the file name under "-n"; may be empty
    std::string suffix;   // last part of it; may be empty
    std::string elfname;  // base name of the ELF file under "-n", else empty
    uint32_t start = 0;
    uint32_t end = 0;  // inclusive
    std::list<CSect> sections;
    bool zero_fill = true;    // a line shows zeros, not blanks, where no section has a byte
    bool gap_fill = false;    // blocks between two sections are written as lines of zeros
    bool zero_start = false;  // the image begins at the bank's start
    bool all_bits = false;    // the top three bits of addresses count

    /// Tells whether `addr` lies in the bank, and if so sets `base` to the bank's start: both
    /// without the top three bits of addresses, unless `all_bits`.
    bool in_bank(uint32_t addr, uint32_t& base) const;

    /// Tells whether the two ranges, all bits counted, share an address.
    bool overlap(const CBank& other) const;

    /// Moves the first section of `arriving` into the bank: before the first section, from `from`
    /// on, that reaches its first address, else to the end. Returns the `from` for the next
    /// section, which must not begin at a lower address.
    std::list<CSect>::iterator insert(std::list<CSect>::iterator from, std::list<CSect>& arriving);

    /// Prints the bank's listing line on stdout.
    void print() const;

    /// Returns the image's file name: `prefix`, `elfname` and `suffix` joined by "_", with ".dat"
    /// appended, or `name` if one of the first two is empty.
    std::string file_name() const;

    /// Returns the address at which the image begins under `zero_start`: the bank's start, in the
    /// region of its first section. The bank must hold one.
    uint32_t zeros_from() const;

    /// Returns the length of the image in characters. The bank must hold a section.
    uint64_t image_len() const;

    /// Writes the image to the file `path`; the bank must hold a section. Returns false, and errno
    /// says why, if some of it cannot be written. Ends the run if the file cannot be created.
    bool write(const std::string& path) const;

    /// Writes the image to the file `file_name()`, unless the bank holds no section.
    void write() const;
};
