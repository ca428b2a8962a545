// Banks: which addresses belong to one, in which order it holds its sections, and its image.
//
// An image file is text. Each 16-byte block that a section touches has a line. If the bank's flags
// say so, the blocks of gaps and those before the first section have lines, too. A line shows the
// address of the first byte that was put into it.
//
// A byte travels from CSect::readv, which reads it, through image::put_section, which divides a
// section into lines, to image::put_block or, at the ragged ends of a section, image::put_byte.
#include "bank.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "file.h"
#include "line.h"
#include "report.h"

// A line before it gets its bytes and its address. Places without a byte keep the zeros or blanks.
constexpr char zero[] = "00000000 00000000 00000000 00000000 //00000000\n";
constexpr char space[] = "                                    //00000000\n";
static_assert(sizeof zero == line_len + 1 && sizeof space == line_len + 1);

// Where in a line the two digits of a byte go, by the low four bits of its address.
constexpr int offset[block_size] = {6, 4, 2, 0, 15, 13, 11, 9, 24, 22, 20, 18, 33, 31, 29, 27};

// The complete lines that wait to be written, then the open one. Only one image is written at a
// time, so one buffer serves them all. It is not a member of `image` because a char may alias
// anything: the compiler would reload the other members after each character. `image` holds a
// pointer into it, not an index, because _FORTIFY_SOURCE would check each store at an index.
static char lines[16384 * line_len];

static uint32_t block_of(uint32_t addr) {
    return addr & ~(block_size - 1);
}

namespace {

// The two hexadecimal digits of every byte value.
struct digit_table {
    char pair[256][2] = {};

    constexpr digit_table() {
        for (int i = 0; i < 256; i++) {
            pair[i][0] = "0123456789abcdef"[i / 16];
            pair[i][1] = "0123456789abcdef"[i % 16];
        }
    }
    void put_byte(char* to, uint8_t byte) const { memcpy(to, pair[byte], 2); }
    void put_word(char* to, uint32_t word) const {
        for (int shift = 24; shift >= 0; shift -= 8, to += 2) {
            put_byte(to, static_cast<uint8_t>(word >> shift));
        }
    }
};
constexpr digit_table hex_digits;

// An image while it is written. Lines gather in `lines`, and many are written at a time.
struct image {
    const CBank& bank;
    int fd = -1;  // without a file, the image is only measured
    const char* partial = bank.zero_fill ? zero : space;  // shown where no section has a byte
    uint32_t next_block = block_of(bank.sections.front().hdr.sh_addr);  // after the last line
    bool line_open = false;            // the last line is not complete
    char* line = lines;                // the open line, or where the next one will begin
    size_t flush_at = 512 * line_len;  // grows, so that a small image touches little of `lines`
    uint64_t len = 0;                  // characters that have left `lines`
    int error = 0;                     // errno of the first write that failed

    void put() {
        if (bank.zero_start) put_zeros(bank.zeros_from(), bank.sections.front().hdr.sh_addr);
        for (const CSect& sect : bank.sections) put_section(sect);
        if (line_open) end_line();
        flush();
    }

    // Puts zeros from `addr` up to the first section, which begins at `end`: not below `addr`, as
    // placement compared the two. A section of zeros would take up to half a gigabyte of memory.
    void put_zeros(uint32_t addr, uint32_t end) {
        for (; addr < end && addr % block_size != 0; addr++) put_byte(addr, 0);
        for (; end - addr >= block_size; addr += block_size) put_zero_line(addr);
        for (; addr < end; addr++) put_byte(addr, 0);
    }

    void put_section(const CSect& sect) {
        uint32_t addr = sect.hdr.sh_addr;
        const char* at = sect.data.data();
        size_t left = sect.data.size();
        go_to(addr);
        // The line may be open even at the first byte of a block, if the section overlaps another.
        for (; left > 0 && (line_open || addr % block_size != 0); left--) put_byte(addr++, *at++);
        for (; left >= block_size; left -= block_size, addr += block_size, at += block_size) {
            put_block(addr, at);
        }
        for (; left > 0; left--) put_byte(addr++, *at++);
    }

    // Prepares for a section at `addr`. If it begins in the block of the last line or before, it
    // continues that line. Otherwise that line ends, and a gap may follow.
    void go_to(uint32_t addr) {
        if (addr < next_block) return;
        if (line_open) end_line();
        while (bank.gap_fill && addr - next_block >= block_size) put_zero_line(next_block);
    }

    void put_byte(uint32_t addr, char byte) {
        if (!line_open) begin_line(partial, addr);
        hex_digits.put_byte(line + offset[addr % block_size], static_cast<uint8_t>(byte));
        if (addr % block_size == block_size - 1) end_line();
    }

    void put_block(uint32_t addr, const char* bytes) {
        begin_line(zero, addr);
        uint32_t words[4];
        memcpy(words, bytes, sizeof words);
        char* const to = line;
        for (size_t i = 0; i < 4; i++) hex_digits.put_word(to + i * word_step, words[i]);
        end_line();
    }

    void put_zero_line(uint32_t addr) {
        begin_line(zero, addr);
        end_line();
    }

    // Begins a line as a copy of the pattern, with its address; bytes replace its digits later.
    void begin_line(const char* pattern, uint32_t addr) {
        if (line == lines + flush_at) flush();
        memcpy(line, pattern, line_len);
        hex_digits.put_word(line + address_pos, addr);
        next_block = block_of(addr) + block_size;
        line_open = true;
    }

    void end_line() {
        line += line_len;
        line_open = false;
    }

    void flush() {
        const auto count = static_cast<size_t>(line - lines);
        if (fd >= 0 && !write_all(fd, lines, count) && error == 0) error = errno;
        len += count;
        line = lines;
        flush_at = std::min(2 * flush_at, sizeof lines);
    }
};

}  // namespace

bool CBank::in_bank(uint32_t addr, uint32_t& base) const {
    const uint32_t mask = all_bits ? UINT32_MAX : memory_mask;
    const uint32_t first = start & mask, masked = addr & mask;
    if (masked < first || masked > (end & mask)) return false;
    base = first;
    return true;
}

bool CBank::overlap(const CBank& other) const {
    return start <= other.end && other.start <= end;
}

// A walk from the front for each section would take 7 s instead of 0.04 s for 65,533 sections, and
// a copy would double the memory.
std::list<CSect>::iterator CBank::insert(std::list<CSect>::iterator from,
                                         std::list<CSect>& arriving) {
    const auto sect = arriving.begin();
    while (from != sections.end() && from->last() < sect->hdr.sh_addr) ++from;
    sections.splice(from, arriving, sect);
    return sect;
}

void CBank::print() const {
    printf("%s\t%08x %08x", name.c_str(), start, end);
    if (!prefix.empty()) printf(" (%s,%s)", prefix.c_str(), suffix.c_str());
    printf("\n");
}

std::string CBank::file_name() const {
    if (elfname.empty() || prefix.empty()) return name;
    return prefix + "_" + elfname + (suffix.empty() ? "" : "_" + suffix) + ".dat";
}

uint32_t CBank::zeros_from() const {
    const CSect& first = sections.front();
    return first.bank_base | region(first.hdr.sh_addr);
}

uint64_t CBank::image_len() const {
    image out{*this};
    out.put();
    return out.len;
}

bool CBank::write(const std::string& path) const {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (fd < 0) oops("Can't open file " + path);
    image out{*this, fd};
    out.put();
    errno = out.error;
    return close_written(fd, out.error == 0);
}

void CBank::write() const {
    if (!sections.empty()) write(file_name());
}
