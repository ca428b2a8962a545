// bankimg-words: an image's words in another width, one a line on stdout, as $readmemh reads them.
//
// Each line of an image becomes a block: the 32 digits of its sixteen bytes as one number, of which
// a word of any width is a part. -w 64 prints the right half of this block, then the left one:
//
//     03020100 07060504 0b0a0908 0f0e0d0c //18440000
//     0f0e0d0c0b0a09080706050403020100
//
// Memories side by side, the lanes, take the words in turn. The chosen lane is printed as it comes
// or, where its length is known, sorted first: lines may then come in any order.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "line.h"
#include "report.h"

constexpr size_t block_digits = 32;
constexpr char hex_digits[] = "0123456789abcdef";

// A number from the command line, and the option that gave it, for messages.
struct number {
    std::string text;
    uint64_t value = 0;
};

// A check bit: the parity of some bits of a word.
struct check_bit {
    std::string text;  // for messages
    std::string mask;  // of these bits: as many digits as the widest word has
    bool is_inverted;  // the complement of the parity
};

// The options of the command line.
struct settings {
    size_t digits = 8;              // of a word, from -w
    uint64_t lane = 0, lanes = 1;   // -l
    std::optional<number> first;    // -a: the memory's first address
    std::optional<number> last;     // -e: the memory's last address
    std::optional<number> depth;    // -n or -e: words of the lane
    std::optional<number> fill;     // -f: a byte
    std::vector<check_bit> checks;  // -c: the lowest bit first
    const char* image = nullptr;    // null for stdin
};

[[noreturn]] static void fail(const std::string& message) {
    oops("bankimg-words: " + message);
}

// Options.

[[noreturn]] static void usage(FILE* stream, int status) {
    fputs(
        "Usage: bankimg-words [-w BITS] [-l LANE/LANES] [-a FIRST] [-e LAST | -n WORDS] [-f BYTE]\n"
        "                     [-c MASK,...] [IMAGE]\n"
        "Prints the words of an image, or of stdin, one a line.\n"
        "  -w BITS        bits of a word: 8, 16, 32 (default), 64 or 128\n"
        "  -l LANE/LANES  one of several lanes: 2/4 is every fourth word, from the third on\n"
        "  -a FIRST       the memory's first address, hexadecimal: gaps become @ records\n"
        "  -e LAST        the memory's last address, hexadecimal: print every word up to it\n"
        "  -n WORDS       the memory's length: print that many words\n"
        "  -f BYTE        with -e or -n: the byte that fills the memory, hexadecimal (default 00)\n"
        "  -c MASK,...    check bits above each word, lowest first: the parity of the bits in\n"
        "                 each hexadecimal MASK, or with ~ before it the complement\n"
        "  -h             print this text\n",
        stream);
    exit(status);
}

// Reads a decimal number of at most nine digits.
static bool parse_number(const std::string& text, uint64_t& value) {
    if (text.empty() || text.size() > 9 || (text[0] == '0' && text.size() > 1)) return false;
    if (text.find_first_not_of("0123456789") != std::string::npos) return false;
    value = strtoull(text.c_str(), nullptr, 10);
    return true;
}

// Returns the digits of a hexadecimal number, which "0x" or "0X" may precede; none if it is not one
// of at most `most` digits.
static std::string strip_0x(const std::string& text, size_t most) {
    const bool prefixed = text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    std::string digits = text.substr(prefixed ? 2 : 0);
    const bool is_hex = digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    if (!is_hex || digits.size() > most) digits.clear();
    return digits;
}

static number parse_hex(const std::string& option, const std::string& text, size_t most,
                        const std::string& why) {
    const std::string digits = strip_0x(text, most);
    if (digits.empty()) fail(option + " " + text + ": " + why);
    return {option + " " + text, strtoull(digits.c_str(), nullptr, 16)};
}

static size_t parse_width(const std::string& text) {
    for (const unsigned bits : {8U, 16U, 32U, 64U, 128U}) {
        if (text == std::to_string(bits)) return bits / 4;
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

static number parse_depth(const std::string& text) {
    uint64_t value = 0;
    if (!parse_number(text, value)) fail("-n " + text + ": not a number of words");
    return {"-n " + text, value};
}

static check_bit parse_check(const std::string& list, const std::string& text) {
    const bool is_inverted = text[0] == '~';
    const std::string mask = strip_0x(text.substr(is_inverted ? 1 : 0), block_digits);
    if (mask.empty()) fail("-c " + list + ": not hexadecimal masks with commas between them");
    return {text, std::string(block_digits - mask.size(), '0') + mask, is_inverted};
}

static std::vector<check_bit> parse_checks(const std::string& list) {
    std::vector<check_bit> checks;
    for (size_t from = 0, to = 0; to != std::string::npos; from = to + 1) {
        to = list.find(',', from);
        checks.push_back(parse_check(list, list.substr(from, to - from)));
    }
    if (checks.size() > 64) fail("-c " + list + ": more than 64 masks");
    return checks;
}

// Converts the last address to a number of words.
static number measure(const settings& opts) {
    const std::string& given = opts.last->text;
    if (!opts.first) fail(given + ": -a FIRST is missing");
    if (opts.depth) fail(given + ": cannot be combined with -n");
    const uint64_t first = opts.first->value, last = opts.last->value;
    if (last < first) fail(given + ": lies below the first address of -a");
    const uint64_t bytes = last - first + 1, turn = opts.digits / 2 * opts.lanes;
    if (bytes % turn != 0) fail(given + ": not a whole number of words of each lane");
    const uint64_t words = bytes / turn;
    return {"the " + std::to_string(words) + " up to " + given, words};
}

// Checks the options against each other.
static void complete(settings& opts) {
    if (opts.first && opts.first->value % block_size != 0) {
        fail(opts.first->text + ": not a multiple of 16");
    }
    if (opts.last) opts.depth = measure(opts);
    if (opts.fill && !opts.depth) fail(opts.fill->text + ": -n or -e is missing");
    for (const check_bit& check : opts.checks) {
        // A mask of zeros has none: npos, which is above all.
        const size_t highest = check.mask.find_first_not_of('0');
        if (highest < block_digits - opts.digits) fail("-c " + check.text + ": wider than a word");
    }
}

static settings parse_options(int argc, char* argv[]) {
    settings opts;
    unsetenv("POSIXLY_CORRECT");  // it would forbid options after the image
    int letter = 0;
    while ((letter = getopt(argc, argv, "a:c:e:f:hl:n:w:")) != -1) {
        switch (letter) {
            case 'a': opts.first = parse_hex("-a", optarg, 8, "not a hexadecimal address"); break;
            case 'c': opts.checks = parse_checks(optarg); break;
            case 'e': opts.last = parse_hex("-e", optarg, 8, "not a hexadecimal address"); break;
            case 'f': opts.fill = parse_hex("-f", optarg, 2, "not a hexadecimal byte"); break;
            case 'h': usage(stdout, EXIT_SUCCESS);
            case 'l': set_lane(opts, optarg); break;
            case 'n': opts.depth = parse_depth(optarg); break;
            case 'w': opts.digits = parse_width(optarg); break;
            default: usage(stderr, EXIT_FAILURE);
        }
    }
    if (argc - optind > 1) usage(stderr, EXIT_FAILURE);
    complete(opts);
    opts.image = argv[optind];  // null if no argument is left
    return opts;
}

// Input.

// Tells whether the eight characters at `text` are hexadecimal digits in lower case. It looks at
// all of them at once: the top bit of a byte is set if adding 0x80 - n reaches it, that is from n
// on. A byte that has it from the start is no digit by any of the four sums; only after such a byte
// can a sum carry into the next one.
static bool is_field(const char* text) {
    uint64_t chars = 0;
    memcpy(&chars, text, sizeof chars);
    constexpr uint64_t each = 0x0101010101010101, tops = each * 0x80;
    const uint64_t from_0 = chars + each * (0x80 - '0'), past_9 = chars + each * (0x7f - '9');
    const uint64_t from_a = chars + each * (0x80 - 'a'), past_f = chars + each * (0x7f - 'f');
    return (((from_0 & ~past_9) | (from_a & ~past_f)) & tops) == tops;
}

static bool is_line(const char* text) {
    for (size_t i = 0; i < 4; i++) {
        const char* const word = text + i * word_step;
        if (!is_field(word) || word[8] != ' ') return false;
    }
    return memcmp(text + address_pos - 2, "//", 2) == 0 && is_field(text + address_pos) &&
           text[line_len - 1] == '\n';
}

// Returns the value of a hexadecimal digit in lower case.
static uint32_t value_of(char digit) {
    return (static_cast<uint8_t>(digit) & 15U) + (digit > '9' ? 9 : 0);
}

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

    // Reads the next line. Returns false after the last one.
    bool next() {
        if (at == end && !fill()) return false;
        number++;
        if (end - at < ptrdiff_t{line_len} || !is_line(at)) refuse("not a line of an image");
        for (size_t i = 0; i < 4; i++) {
            memcpy(block + block_digits - 8 * (i + 1), at + word_step * i, 8);
        }
        address = 0;
        for (size_t i = address_pos; i < address_pos + 8; i++) {
            address = address << 4 | value_of(at[i]);
        }
        at += line_len;
        return true;
    }

    // Replaces the buffer by what the file has next. Returns false at its end.
    bool fill() {
        at = buffer;
        end = buffer + fread(buffer, 1, sizeof buffer, file);
        if (ferror(file) != 0) fail(std::string(name) + ": cannot be read");
        // The last line needs no newline.
        if (static_cast<size_t>(end - buffer) % line_len == line_len - 1) *end++ = '\n';
        return end != buffer;
    }

    [[noreturn]] void refuse(const std::string& what) const {
        fail(std::string(name) + ":" + std::to_string(number) + ": " + what);
    }
};

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

// The words of the lane in one block.
struct lane_part {
    uint64_t place;  // of the first one in the lane
    size_t skip;     // words of other lanes before it
    size_t count;
    char block[block_digits];

    bool operator<(const lane_part& other) const { return place < other.place; }
};

// The words of the lane, on their way to stdout. Each becomes an entry: check bits, word, newline.
struct lane_words {
    const settings& opts;
    size_t in_block = block_digits / opts.digits;        // words of a block, of all lanes
    size_t check_digits = (opts.checks.size() + 3) / 4;  // of an entry
    size_t entry_len = check_digits + opts.digits + 1;   // characters
    uint64_t end = 0;                                    // place after the word printed last
    std::deque<lane_part> parts;  // if the length is known: those that wait to be sorted
    std::string fillers;          // many entries of a word that the image does not have

    // What each digit of a word contributes to the check bits, by its place and the low five bits
    // of its character. Parity is linear: the check bits are the exclusive or of all contributions.
    uint64_t shares[block_digits][32] = {};
    uint64_t inverted = 0;  // the check bits that are the complement

    explicit lane_words(const settings& options) : opts(options) {
        for (size_t i = 0; i < opts.checks.size(); i++) add_check(i, opts.checks[i]);
        if (!opts.depth) return;
        const std::string fill = hex8(static_cast<uint32_t>(opts.fill.value_or(number{}).value));
        lane_part part{0, 0, 1, {}};
        for (size_t i = 0; i < block_digits; i++) part.block[i] = fill[6 + i % 2];
        fillers.resize(entry_len);
        put_part(fillers.data(), part);
        while (fillers.size() < sizeof out / 2) fillers += fillers;
    }

    void add_check(size_t index, const check_bit& check) {
        const uint64_t bit = uint64_t{1} << index;
        if (check.is_inverted) inverted |= bit;
        for (size_t i = 0; i < opts.digits; i++) {
            const uint32_t mask = value_of(check.mask[block_digits - opts.digits + i]);
            for (const char digit : std::string_view(hex_digits)) {
                if (__builtin_parity(value_of(digit) & mask) != 0) shares[i][digit % 32] |= bit;
            }
        }
    }

    // Puts the check bits of a word at `to`. Returns the place after them.
    template <size_t digits>
    char* put_checks(char* to, const char* word) const {
        uint64_t bits = inverted;
        for (size_t i = 0; i < digits; i++) bits ^= shares[i][word[i] % 32];
        for (size_t i = check_digits; i > 0; bits >>= 4) to[--i] = hex_digits[bits % 16];
        return to + check_digits;
    }

    template <size_t digits>
    void put_words(char* to, const lane_part& part) const {
        const bool has_checks = check_digits > 0;
        const uint64_t lanes = opts.lanes;
        uint64_t index = part.skip;
        for (size_t left = part.count; left > 0; left--, index += lanes) {
            const char* const word = part.block + block_digits - (index + 1) * digits;
            if (has_checks) to = put_checks<digits>(to, word);
            memcpy(to, word, digits);
            to[digits] = '\n';
            to += digits + 1;
        }
    }

    void put_part(char* to, const lane_part& part) const {
        switch (opts.digits) {
            case 2: return put_words<2>(to, part);
            case 4: return put_words<4>(to, part);
            case 8: return put_words<8>(to, part);
            case 16: return put_words<16>(to, part);
            default: return put_words<32>(to, part);
        }
    }

    // Returns the place in the lane of its first word from a word of the memory on.
    uint64_t place_of(uint64_t word) const {
        return (word + opts.lanes - 1 - opts.lane) / opts.lanes;
    }

    // Prints the lane's words in block `number` of the memory, or keeps them.
    void put_block(uint64_t number, const char* block) {
        const uint64_t first = number * in_block, place = place_of(first);
        const uint64_t count = place_of(first + in_block) - place;
        if (count == 0) return;
        const uint64_t skip = place * opts.lanes + opts.lane - first;
        lane_part part{place, static_cast<size_t>(skip), static_cast<size_t>(count), {}};
        memcpy(part.block, block, block_digits);
        if (opts.depth) return parts.push_back(part);
        if (place != end) print_record(place);
        print_part(part);
    }

    void print_part(const lane_part& part) {
        put_part(reserve(part.count * entry_len), part);
        end = part.place + part.count;
    }

    void print_record(uint64_t place) {
        char record[sizeof "@0123456789abcdef\n"];
        const int len = snprintf(record, sizeof record, "@%" PRIx64 "\n", place);
        print(record, static_cast<size_t>(len));
    }

    void print_fill(uint64_t count) {
        const uint64_t most = fillers.size() / entry_len;
        for (; count > most; count -= most) print(fillers.data(), fillers.size());
        print(fillers.data(), static_cast<size_t>(count) * entry_len);
    }

    // Prints the whole memory. Of several lines for one block the last one counts.
    void print_memory(const image_reader& image) {
        if (!std::is_sorted(parts.begin(), parts.end())) {
            std::stable_sort(parts.begin(), parts.end());
        }
        const uint64_t needed = parts.empty() ? 0 : parts.back().place + parts.back().count;
        if (needed > opts.depth->value) {
            image.refuse("needs " + std::to_string(needed) + " words, more than " +
                         opts.depth->text);
        }
        for (size_t i = 0; i < parts.size(); i++) {
            if (i + 1 < parts.size() && parts[i + 1].place == parts[i].place) continue;
            print_fill(parts[i].place - end);
            print_part(parts[i]);
        }
        print_fill(opts.depth->value - end);
    }
};

// Returns the number of the line's block in the memory. `last` is the address of the line before.
static uint64_t block_number(const settings& opts, const image_reader& image, uint32_t last) {
    if (opts.first) {
        const uint64_t first = opts.first->value;
        if (image.address < first) image.refuse("lies below the first address of -a");
        return (image.address - first) / block_size;
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
    if (opts.depth) words.print_memory(image);
    flush();
}

int main(int argc, char* argv[]) {
    try {
        run(parse_options(argc, argv));
    } catch (const std::exception&) {  // on 32-bit machines also: too many blocks
        oops("Out of memory");
    }
    return EXIT_SUCCESS;
}
