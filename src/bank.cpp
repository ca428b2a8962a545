// Banks: which addresses belong to one, in which order it holds its sections, and its image.
//
// An image file is text, one line for each 16-byte block that a section touches, and for those
// between two sections unless gaps are left out:
//
//     03020100 07060504 0b0a0908 0f0e0d0c //18440000
//
// Four words, so that the bytes of each stand in descending address order, and the address of
// the first byte that was put into the line. A byte travels from CSect::readv, which fetched it,
// through image::put_section, which deals a section out to lines, to image::put_block or, at the
// ragged ends of a section, image::put_byte.
#include "bank.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "report.h"

namespace {

// The top three bits of an address select how the core reaches the memory (cached or not, for
// example), not which memory it reaches.
constexpr uint32_t memory_mask = 0x1fffffff;

// A line that has yet to get its bytes and its address: where it gets no byte, it shows zeros or
// blanks.
constexpr char zero[] = "00000000 00000000 00000000 00000000 //00000000\n";
constexpr char space[] = "                                    //00000000\n";
static_assert(sizeof zero == sizeof space);
constexpr size_t line_len = sizeof zero - 1;
constexpr size_t address_pos = 38;
constexpr uint32_t block_size = 16;  // bytes of the bank in a line

// Where in a line the two digits of a byte go, by the low four bits of its address.
constexpr int offset[block_size] = {6, 4, 2, 0, 15, 13, 11, 9, 24, 22, 20, 18, 33, 31, 29, 27};

// The two hexadecimal digits of every byte value.
struct digit_table {
    char pair[256][2] = {};
    constexpr digit_table() {
        for (int i = 0; i < 256; i++) {
            pair[i][0] = "0123456789abcdef"[i / 16];
            pair[i][1] = "0123456789abcdef"[i % 16];
        }
    }
};
constexpr digit_table digits;

void put_digits(char* to, uint8_t byte) {
    memcpy(to, digits.pair[byte], 2);
}

void put_word(char* to, uint32_t word) {
    for (int shift = 24; shift >= 0; shift -= 8, to += 2) {
        put_digits(to, static_cast<uint8_t>(word >> shift));
    }
}

// Lines on their way to the image file, of which one is written at a time.
char text[16384 * line_len];

// An image file while it is written. Lines gather in `text` and leave for the file many at a
// time; the line that is begun but not ended, if any, is the one behind them.
struct image {
    size_t used = 0;               // bytes of the lines that are ended
    size_t room = 512 * line_len;  // bytes to gather; grows, so that a small image touches little
    bool begun = false;
    uint32_t line = 0;  // address of the line begun last
    const char* blank;  // pattern of a line that a ragged end begins: zero or space
    int fd;

    image(const std::string& path, bool zero_fill);
    void put_section(const CSect& sect);
    void go_to(uint32_t addr, bool gap_fill);
    void finish();

    void put_byte(uint32_t addr, char byte);
    void put_block(uint32_t addr, const char* bytes);
    void fill_gap(uint32_t addr, int32_t count);
    void begin_line(const char* pattern, uint32_t addr);
    void end_line();
    void flush();
};

image::image(const std::string& path, bool zero_fill)
    : blank(zero_fill ? zero : space), fd(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666)) {
    if (fd < 0) oops(("Can't open file " + path).c_str());
}

void image::put_section(const CSect& sect) {
    uint32_t addr = sect.hdr.sh_addr;
    const char* at = sect.data.data();
    const char* const end = at + sect.data.size();
    while (at != end && (begun || addr % block_size != 0)) put_byte(addr++, *at++);
    for (; end - at >= block_size; addr += block_size, at += block_size) put_block(addr, at);
    while (at != end) put_byte(addr++, *at++);
}

// Gets ready for a section at `addr`, behind another one: a section that begins in the block of
// the last line goes on in that line, any other ends it and leaves a gap.
void image::go_to(uint32_t addr, bool gap_fill) {
    const uint32_t next_block = (line & ~(block_size - 1)) + block_size;
    if (addr < next_block) return;
    if (begun) end_line();
    if (gap_fill) fill_gap(next_block, static_cast<int32_t>((addr - next_block) / block_size));
}

void image::finish() {
    if (begun) end_line();
    flush();
    close(fd);
}

void image::put_byte(uint32_t addr, char byte) {
    if (!begun) begin_line(blank, addr);
    put_digits(text + used + offset[addr % block_size], static_cast<uint8_t>(byte));
    if (addr % block_size == block_size - 1) end_line();
}

void image::put_block(uint32_t addr, const char* bytes) {
    begin_line(zero, addr);
    uint32_t words[4];
    memcpy(words, bytes, sizeof words);
    char* to = text + used;
    for (uint32_t word : words) {
        put_word(to, word);
        to += 9;  // eight digits and a blank
    }
    end_line();
}

void image::fill_gap(uint32_t addr, int32_t count) {
    for (; count > 0; count--, addr += block_size) {
        begin_line(zero, addr);
        end_line();
    }
}

// Begins a line with all of its characters: the pattern's stand where bytes are to come.
inline void image::begin_line(const char* pattern, uint32_t addr) {
    if (used == room) flush();
    char* const to = text + used;
    memcpy(to, pattern, line_len);
    put_word(to + address_pos, addr);
    line = addr;
    begun = true;
}

void image::end_line() {
    used += line_len;
    begun = false;
}

void image::flush() {
    write_all(fd, text, used);
    used = 0;
    room = std::min(2 * room, sizeof text);
}

}  // namespace

bool CBank::in_bank(uint32_t addr, uint32_t& base) const {
    const uint32_t masked = addr & memory_mask;
    if (masked < (start & memory_mask) || masked > (end & memory_mask)) return false;
    base = start & memory_mask;
    return true;
}

bool CBank::overlap(const CBank& other) const {
    return start <= other.end && other.start <= end;
}

std::list<CSect>::iterator CBank::place(std::list<CSect>::iterator from, uint32_t addr) {
    while (from != sections.end() && from->last() < addr) ++from;
    return from;
}

void CBank::print() const {
    printf("%s\t%08x %08x", name.c_str(), start, end);
    if (!prefix.empty() || !suffix.empty()) printf(" (%s,%s)", prefix.c_str(), suffix.c_str());
    printf("\n");
}

std::string CBank::file_name() const {
    if (elfname.empty() || prefix.empty()) return name;
    return prefix + "_" + elfname + (suffix.empty() ? "" : "_" + suffix) + ".dat";
}

void CBank::write() {
    if (sections.empty()) return;
    // The zeros come first: should memory run out here, the image of an earlier run survives.
    if (zero_start) add_zero_start();
    image out(file_name(), zero_fill);
    for (const CSect& sect : sections) {
        if (&sect != &sections.front()) out.go_to(sect.hdr.sh_addr, gap_fill);
        out.put_section(sect);
    }
    out.finish();
}

void CBank::add_zero_start() {
    const CSect& first = sections.front();
    const uint32_t first_addr = first.hdr.sh_addr & memory_mask;
    if (first.bank_base >= first_addr) return;
    CSect zeros;
    zeros.fill_zero(first.bank_base | (first.hdr.sh_addr & ~memory_mask),
                    first_addr - first.bank_base);
    sections.push_front(std::move(zeros));
}
