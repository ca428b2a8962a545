// bankimg-words: an image's words in another width, one a line on stdout, as $readmemh reads them.
//
// Each line of an image becomes a block: the 32 digits of its sixteen bytes as one number, of which
// a word of any width is a part. -w 64 prints the right half of this block, then the left one:
//
//     03020100 07060504 0b0a0908 0f0e0d0c //18440000
//     0f0e0d0c0b0a09080706050403020100
//
// Memories side by side, the lanes, take the words in turn. One of them is printed as it comes, or,
// where its length is known, gathered first: lines may then come in any order.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

#include "report.h"

constexpr size_t line_len = 47;  // of an image's line, newline included
constexpr size_t address_pos = 38;
constexpr size_t block_digits = 32;
constexpr size_t block_size = 16;  // bytes

namespace {

// The options of the command line.
struct settings {
    size_t digits = 8;                 // of a word, from -w
    uint64_t lane = 0, lanes = 1;      // -l
    const char* first_text = nullptr;  // -a; null if not given
    uint64_t first = 0;                // the memory's first address
    const char* last_text = nullptr;   // -e; null if not given
    uint64_t last = 0;                 // the memory's last address
    bool has_depth = false;            // -n or -e
    uint64_t depth = 0;                // words of the lane
    std::string depth_text;            // the option that gave them
    const char* fill_text = nullptr;   // -f; null if not given
    std::string fill = "00";           // two digits
    const char* image = nullptr;       // null for stdin
};

// The lines of an image, one after the other.
struct image_reader {
    const char* name = nullptr;  // for messages
    FILE* file = nullptr;
    uint64_t number = 0;            // of the line, from 1
    uint32_t address = 0;           // of the line
    char block[block_digits] = {};  // of the line
    char* at = nullptr;             // the next line in `buffer`
    char* end = nullptr;
    char buffer[4096 * line_len] = {};

    bool next();
    bool fill();
    [[noreturn]] void refuse(const std::string& what) const;
};

// The words of the lane, on their way to stdout.
struct lane_words {
    const settings& opts;
    uint64_t in_block;        // words of a block, of all lanes
    size_t entry_len;         // bytes of a word and its newline
    std::string filler;       // the entry of a word that the image does not have
    uint64_t next_block = 0;  // number of the block after the last one
    uint64_t skip;            // words of other lanes in it, before the lane's next word
    uint64_t place = 0;       // of that word in the lane
    uint64_t end = 0;         // place after the word printed last
    uint64_t top = 0;         // words that the lane needs
    std::string gathered;     // entries of the lane from its start

    explicit lane_words(const settings& options);
    void put_block(uint64_t number, const char* block);
    void go_to(uint64_t number);
    void gather(const char* entries, size_t count);
    void print_gathered(const image_reader& image);
};

}  // namespace

[[noreturn]] static void fail(const std::string& message) {
    oops("bankimg-words: " + message);
}

// Options.

static void print_usage(FILE* stream) {
    fputs(
        "Usage: bankimg-words [-w BITS] [-l LANE/LANES] [-a FIRST] [-e LAST | -n WORDS] [-f BYTE]"
        " [IMAGE]\n"
        "Prints the words of an image, or of stdin, one a line.\n"
        "  -w BITS        bits of a word: 8, 16, 32 (default), 64 or 128\n"
        "  -l LANE/LANES  one of several lanes: 2/4 is every fourth word, from the third on\n"
        "  -a FIRST       the memory's first address, hexadecimal: gaps become @ records\n"
        "  -e LAST        the memory's last address, hexadecimal: print every word up to it\n"
        "  -n WORDS       the memory's length: print that many words\n"
        "  -f BYTE        with -e or -n: the byte that fills the memory, hexadecimal (default 00)\n"
        "  -h             print this text\n",
        stream);
}

// Reads a decimal number of at most nine digits.
static bool parse_number(const std::string& text, uint64_t& value) {
    if (text.empty() || text.size() > 9 || (text[0] == '0' && text.size() > 1)) return false;
    if (text.find_first_not_of("0123456789") != std::string::npos) return false;
    value = strtoull(text.c_str(), nullptr, 10);
    return true;
}

// Reads a hexadecimal number of at most `most` digits, which "0x" or "0X" may precede.
static bool parse_hex(const char* text, size_t most, uint64_t& value) {
    if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) text += 2;
    const size_t len = strlen(text);
    if (len == 0 || len > most || strspn(text, "0123456789abcdefABCDEF") != len) return false;
    value = strtoull(text, nullptr, 16);
    return true;
}

static void set_width(settings& opts, const std::string& text) {
    for (const unsigned bits : {8U, 16U, 32U, 64U, 128U}) {
        if (text != std::to_string(bits)) continue;
        opts.digits = bits / 4;
        return;
    }
    fail("-w " + text + ": not 8, 16, 32, 64 or 128");
}

static void set_lane(settings& opts, const std::string& text) {
    const size_t slash = text.find('/');
    if (slash != std::string::npos && parse_number(text.substr(0, slash), opts.lane) &&
        parse_number(text.substr(slash + 1), opts.lanes) && opts.lane < opts.lanes) {
        return;
    }
    fail("-l " + text + ": not LANE/LANES, with LANE from 0 to LANES-1");
}

static void set_address(const char* option, const char* text, uint64_t& address) {
    if (parse_hex(text, 8, address)) return;
    fail(std::string(option) + " " + text + ": not a hexadecimal address");
}

static void set_fill(settings& opts, const char* text) {
    uint64_t byte = 0;
    if (!parse_hex(text, 2, byte)) {
        fail("-f " + std::string(text) + ": not a byte of two hexadecimal digits");
    }
    opts.fill = {"0123456789abcdef"[byte / 16], "0123456789abcdef"[byte % 16]};
    opts.fill_text = text;
}

static void set_depth(settings& opts, const std::string& text) {
    if (!parse_number(text, opts.depth)) fail("-n " + text + ": not a number of words");
    opts.has_depth = true;
    opts.depth_text = "-n " + text;
}

// Makes a number of words of the last address.
static void measure(settings& opts) {
    const std::string option = "-e " + std::string(opts.last_text);
    if (opts.first_text == nullptr) fail(option + ": -a FIRST is missing");
    if (opts.has_depth) fail(option + ": -n tells the length, too");
    if (opts.last < opts.first) fail(option + ": lies below the first address of -a");
    const uint64_t bytes = opts.last - opts.first + 1, row = opts.digits / 2 * opts.lanes;
    if (bytes % row != 0) fail(option + ": not a whole number of words of each lane");
    opts.depth = bytes / row;
    opts.depth_text = "the " + std::to_string(opts.depth) + " up to " + option;
    opts.has_depth = true;
}

static settings parse_options(int argc, char* argv[]) {
    settings opts;
    unsetenv("POSIXLY_CORRECT");  // it would forbid options after the image
    int letter = 0;
    while ((letter = getopt(argc, argv, "a:e:f:hl:n:w:")) != -1) {
        switch (letter) {
            case 'a': set_address("-a", opts.first_text = optarg, opts.first); break;
            case 'e': set_address("-e", opts.last_text = optarg, opts.last); break;
            case 'f': set_fill(opts, optarg); break;
            case 'h': print_usage(stdout); exit(EXIT_SUCCESS);
            case 'l': set_lane(opts, optarg); break;
            case 'n': set_depth(opts, optarg); break;
            case 'w': set_width(opts, optarg); break;
            default: print_usage(stderr); exit(EXIT_FAILURE);
        }
    }
    if (argc - optind > 1) {
        print_usage(stderr);
        exit(EXIT_FAILURE);
    }
    if (opts.first % block_size != 0) {
        fail("-a " + std::string(opts.first_text) + ": not a multiple of 16");
    }
    if (opts.last_text != nullptr) measure(opts);
    if (opts.fill_text != nullptr && !opts.has_depth) {
        fail("-f " + std::string(opts.fill_text) + ": -n or -e is missing");
    }
    opts.image = argv[optind];  // null if no argument is left
    return opts;
}

// Input.

static constexpr uint64_t eight_times(int byte) {
    return static_cast<uint64_t>(byte) * 0x0101010101010101;
}

// Tells whether the eight characters at `text` are hexadecimal digits in lower case. It looks at
// all of them at once: the top bit of a byte is set if adding 80 - n reaches it, that is from n on.
static bool is_field(const char* text) {
    uint64_t chars = 0;
    memcpy(&chars, text, sizeof chars);
    constexpr uint64_t tops = eight_times(0x80);
    const uint64_t from_0 = chars + eight_times(0x80 - '0');
    const uint64_t past_9 = chars + eight_times(0x80 - '9' - 1);
    const uint64_t from_a = chars + eight_times(0x80 - 'a');
    const uint64_t past_f = chars + eight_times(0x80 - 'f' - 1);
    return (chars & tops) == 0 && (((from_0 & ~past_9) | (from_a & ~past_f)) & tops) == tops;
}

static bool is_line(const char* text) {
    return is_field(text) && is_field(text + 9) && is_field(text + 18) && is_field(text + 27) &&
           is_field(text + address_pos) && text[8] == ' ' && text[17] == ' ' && text[26] == ' ' &&
           memcmp(text + 35, " //", 3) == 0 && text[line_len - 1] == '\n';
}

// Reads the next line. Returns false after the last one.
bool image_reader::next() {
    if (at == end && !fill()) return false;
    number++;
    if (static_cast<size_t>(end - at) < line_len || !is_line(at)) {
        refuse("not a line of an image");
    }
    for (size_t i = 0; i < 4; i++) memcpy(block + block_digits - 8 * (i + 1), at + 9 * i, 8);
    address = 0;
    for (size_t i = address_pos; i < address_pos + 8; i++) {
        const auto digit = static_cast<uint8_t>(at[i]);
        address = address << 4 | ((digit & 15) + (digit > '9' ? 9 : 0));
    }
    at += line_len;
    return true;
}

// Replaces the buffer by what the file has next. Returns false at its end.
bool image_reader::fill() {
    at = buffer;
    end = buffer + fread(buffer, 1, sizeof buffer, file);
    if (ferror(file) != 0) fail(std::string(name) + ": cannot be read");
    // The last line needs no newline.
    if (static_cast<size_t>(end - buffer) % line_len == line_len - 1) *end++ = '\n';
    return end != buffer;
}

void image_reader::refuse(const std::string& what) const {
    fail(std::string(name) + ":" + std::to_string(number) + ": " + what);
}

// Output.

// Output that waits to be written. Words go straight into it, because a call of stdio for each line
// takes longer.
static char out[256 << 10];
static size_t out_len = 0;

static void flush() {
    if (fwrite(out, 1, out_len, stdout) != out_len || fflush(stdout) != 0) {
        fail("cannot write: " + std::string(strerror(errno)));
    }
    out_len = 0;
}

// Returns room for `len` bytes that will be written.
static char* reserve(size_t len) {
    if (out_len + len > sizeof out) flush();
    out_len += len;
    return out + out_len - len;
}

static void print(const char* text, size_t len) {
    memcpy(reserve(len), text, len);
}

lane_words::lane_words(const settings& options)
    : opts(options),
      in_block(block_digits / opts.digits),
      entry_len(opts.digits + 1),
      skip(opts.lane) {
    while (filler.size() < opts.digits) filler += opts.fill;
    filler += '\n';
}

// Puts `count` words of a block, from word `skip` on and one for each turn of the lanes, at `to`,
// each with a newline. One lane alone has all words, in a loop that the compiler can unroll.
template <size_t digits>
static void put_words(char* to, size_t count, const char* block, uint64_t skip, uint64_t lanes) {
    constexpr size_t all = block_digits / digits;
    const auto put_word = [&](size_t i, uint64_t word) {
        memcpy(to + i * (digits + 1), block + block_digits - (word + 1) * digits, digits);
        to[i * (digits + 1) + digits] = '\n';
    };
    if (count == all) {
        for (size_t i = 0; i < all; i++) put_word(i, i);
    } else {
        for (size_t i = 0; i < count; i++) put_word(i, skip + i * lanes);
    }
}

// Prints or gathers the lane's words in block `number` of the memory.
void lane_words::put_block(uint64_t number, const char* block) {
    if (number != next_block) go_to(number);
    next_block = number + 1;
    if (skip >= in_block) {
        skip -= in_block;
        return;
    }
    const auto count = static_cast<size_t>((in_block - skip + opts.lanes - 1) / opts.lanes);
    if (!opts.has_depth && place != end) {
        char record[sizeof "@0123456789abcdef\n"];
        const int len = snprintf(record, sizeof record, "@%" PRIx64 "\n", place);
        print(record, static_cast<size_t>(len));
    }
    char entries[block_size * sizeof "00"];
    char* to = opts.has_depth ? entries : reserve(count * entry_len);
    switch (opts.digits) {
        case 2: put_words<2>(to, count, block, skip, opts.lanes); break;
        case 4: put_words<4>(to, count, block, skip, opts.lanes); break;
        case 8: put_words<8>(to, count, block, skip, opts.lanes); break;
        case 16: put_words<16>(to, count, block, skip, opts.lanes); break;
        default: put_words<32>(to, count, block, skip, opts.lanes);
    }
    if (opts.has_depth) gather(entries, count);
    place += count;
    end = place;
    skip += count * opts.lanes - in_block;
}

// Moves to a block that does not follow the last one.
void lane_words::go_to(uint64_t number) {
    const uint64_t first = number * in_block;
    skip = (opts.lanes - first % opts.lanes + opts.lane) % opts.lanes;
    place = (first + skip) / opts.lanes;
}

void lane_words::gather(const char* entries, size_t count) {
    top = std::max(top, place + count);
    if (top > opts.depth) return;  // an error, told when all lines are known
    while (gathered.size() < top * entry_len) gathered += filler;
    const auto from = static_cast<size_t>(place * entry_len);  // fits: it is in memory
    gathered.replace(from, count * entry_len, entries, count * entry_len);
}

void lane_words::print_gathered(const image_reader& image) {
    if (top > opts.depth) {
        image.refuse("needs " + std::to_string(top) + " words, more than " + opts.depth_text);
    }
    for (size_t i = 0; i < gathered.size(); i += entry_len) print(gathered.data() + i, entry_len);
    for (uint64_t i = top; i < opts.depth; i++) print(filler.data(), entry_len);
}

// Returns the number of the line's block in the memory. `last` is the address of the line before.
static uint64_t block_number(const settings& opts, const image_reader& image, uint32_t last) {
    if (opts.first_text != nullptr) {
        if (image.address < opts.first) image.refuse("lies below the first address of -a");
        return (image.address - opts.first) / block_size;
    }
    const uint32_t expected = last + block_size;  // after fffffff0 comes 0
    if (image.number > 1 && image.address / block_size != expected / block_size) {
        image.refuse("does not follow the line before: -a FIRST is needed");
    }
    return image.number - 1;
}

static void run(const settings& opts) {
    FILE* file = opts.image == nullptr ? stdin : fopen(opts.image, "r");
    if (file == nullptr) fail(std::string(opts.image) + ": cannot be opened");
    image_reader image{opts.image == nullptr ? "stdin" : opts.image, file};
    lane_words words(opts);
    uint32_t last = 0;
    while (image.next()) {
        words.put_block(block_number(opts, image, last), image.block);
        last = image.address;
    }
    if (opts.has_depth) words.print_gathered(image);
    flush();
}

int main(int argc, char* argv[]) {
    try {
        run(parse_options(argc, argv));
    } catch (const std::exception&) {  // on 32-bit machines also: a string becomes too long
        oops("Out of memory");
    }
    return EXIT_SUCCESS;
}
