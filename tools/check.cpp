// bankimg-check: what a run of bankimg or bankimg-map would silently get wrong, a line for each
// finding on stdout. It stands before the command that it checks. The run happens in here, up to
// its images: they go to /dev/null, and the writer tells their length.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <unordered_map>
#include <utility>

#include "report.h"
#include "run.h"

namespace fs = std::filesystem;

constexpr uint32_t memory_mask = 0x1fffffff;     // of an address, where aliases are one memory
constexpr uint16_t ET_REL = 1;                   // a value of `e_type`: relocatable
constexpr uint16_t EM_MIPS = 8, EM_RS3_LE = 10;  // values of `e_machine`
constexpr uint32_t SHF_TLS = 0x400;              // a flag of `sh_flags`: each thread has its own

namespace {

// The options of the check itself.
struct settings {
    bool aliases = false;      // -a, or a MIPS file: the top three address bits do not count
    uint64_t most = 64 << 20;  // -m: bytes of an image
    bool show_usage = false;   // -u
};

// A section as the file has it, at its run-time address.
struct file_section {
    std::string name;
    Shdr hdr{};
    bool loaded = false;  // or left out because of its name
};

// A look at the ELF file, apart from the run.
struct elf_headers {
    block_reader file;
    uint64_t size = 0;                   // of the file, in bytes
    std::vector<Phdr> segments;          // none if the table is damaged
    std::vector<file_section> sections;  // that occupy memory, without those of -x and -l
};

// Each file that a run reads or writes, by its path from the root, and what it is.
using file_owners = std::unordered_map<std::string, std::string>;

}  // namespace

// Findings.

static bool failed = false;

static void error(const std::string& text) {
    printf("error: %s\n", text.c_str());
    failed = true;
}

static void note(const std::string& text) {
    printf("note: %s\n", text.c_str());
}

// The name and the range of a CSect or a file_section, as a listing shows them.
template <class section>
static std::string label(const section& sect) {
    char span[sizeof " 00000000 00000000"];
    const uint32_t last = sect.hdr.sh_addr + sect.hdr.sh_size - 1;
    snprintf(span, sizeof span, " %08x %08x", sect.hdr.sh_addr, last);
    return "[" + sect.name + "]" + span;
}

static void misplaced(const CBank& bank, const CSect& sect, const std::string& text) {
    error(bank.name + ": " + label(sect) + " " + text);
}

// Addresses.

static bool in_range(const CBank& bank, uint32_t addr) {
    return bank.start <= addr && addr <= bank.end;
}

static uint32_t region(uint32_t addr) {
    return addr & ~memory_mask;
}

// The address after the last byte, beyond ffffffff where the listed one wraps.
static uint64_t end_of(const CSect& sect) {
    return uint64_t{sect.hdr.sh_addr} + sect.hdr.sh_size;
}

// The last address of the bank in the region of a section that it holds.
static uint32_t limit(const CBank& bank, const CSect& sect) {
    if (in_range(bank, sect.hdr.sh_addr)) return bank.end;
    return region(sect.hdr.sh_addr) | (bank.end & memory_mask);
}

// The usage of the banks (-u).

constexpr uint64_t bar_len = 40;

// Adds a section to the bar of its bank, in units of 1/40 byte, so that a full cell has as many
// units as the bank has bytes. Returns how many bytes of the bank the section takes.
static uint64_t add_to_bar(const CBank& bank, const CSect& sect, uint64_t bytes,
                           uint64_t (&cells)[bar_len]) {
    const uint32_t addr = sect.hdr.sh_addr;
    const uint64_t low = in_range(bank, addr) ? addr - bank.start
                                              : (addr & memory_mask) - (bank.start & memory_mask);
    const uint64_t high = std::min(low + sect.hdr.sh_size, bytes);
    for (uint64_t from = bar_len * low; from < bar_len * high;) {
        const uint64_t cell = from / bytes;
        const uint64_t to = std::min((cell + 1) * bytes, bar_len * high);
        cells[cell] += to - from;
        from = to;
    }
    return high - low;
}

static void show_usage_of(const CBank& bank, int width) {
    const uint64_t bytes = uint64_t{bank.end} - bank.start + 1;
    uint64_t used = 0, cells[bar_len] = {};
    for (const CSect& sect : bank.sections) used += add_to_bar(bank, sect, bytes, cells);
    std::string bar;
    for (const uint64_t cell : cells) bar += cell == 0 ? '.' : cell < bytes ? '+' : '#';
    printf("%-*s  %08x %08x %10" PRIu64 " of %10" PRIu64 " bytes %5.1f%%  [%s]\n", width,
           bank.name.c_str(), bank.start, bank.end, used, bytes,
           100 * static_cast<double>(used) / static_cast<double>(bytes), bar.c_str());
}

static void show_usage(const std::vector<CBank>& banks) {
    size_t width = 0;
    std::string free;
    for (const CBank& bank : banks) {
        if (bank.sections.empty()) {
            free += " " + bank.name;
        } else {
            width = std::max(width, bank.name.size());
        }
    }
    for (const CBank& bank : banks) {
        if (!bank.sections.empty()) show_usage_of(bank, static_cast<int>(width));
    }
    if (!free.empty()) printf("free:%s\n", free.c_str());
}

// Findings about the file.

// Returns why a run would find nothing of use in the file, or null.
static const char* unfit(const Ehdr& hdr) {
    if (hdr.e_ident[4] != 1) {
        return "a 64-bit file: build for 32 bits, or convert it: objcopy -S -O elf32-...";
    }
    if (hdr.e_ident[5] != 1) return "a big-endian file: the words of images are little-endian";
    if (hdr.e_type == ET_REL) {
        return "a relocatable file, whose sections have no addresses: link it first";
    }
    if (hdr.e_shnum == 0) return "a file without section headers: there is no image";
    return nullptr;
}

// Tells whether the name lets a run load the section, by the run's own rule.
static bool is_loaded(const Shdr& shdr, const std::string& name) {
    static std::vector<Shdr> shdrs;  // static: 60,000 sections allocate them once
    static std::vector<std::string> names;
    shdrs.assign(1, shdr);
    names.assign(1, name);
    return filter_sec(shdrs, names) == 1;
}

static elf_headers read_headers(const run_options& opts, int fd, const Ehdr& hdr) {
    elf_headers elf;
    elf.file.fd = fd;
    struct stat status {};
    if (fstat(fd, &status) == 0) elf.size = static_cast<uint64_t>(status.st_size);
    read_segments(fd, hdr, elf.segments);

    std::vector<Shdr> shdrs;
    std::vector<std::string> names;
    read_sechdrs(fd, &hdr, shdrs);
    read_secnames(elf.file, &hdr, shdrs, names);
    elf.sections.reserve(shdrs.size());
    for (size_t i = 0; i < shdrs.size(); i++) {
        const Shdr& shdr = shdrs[i];
        if (shdr.sh_size == 0 || (shdr.sh_flags & SHF_ALLOC) == 0) continue;
        if (is_left_out(opts, shdr, names[i])) continue;
        file_section& section = elf.sections.emplace_back();
        section.loaded = is_loaded(shdr, names[i]);
        section.hdr = shdr;
        section.name = std::move(names[i]);
    }
    return elf;
}

// Tells whether the file has a byte of the section that is not 0.
static bool has_contents(block_reader& file, const Shdr& shdr) {
    size_t count = 0;
    for (uint64_t done = 0; done < shdr.sh_size; done += count) {
        const char* part = file.peek(shdr.sh_offset + done, count);
        if (count == 0) return false;
        const char* const end = part + std::min<uint64_t>(count, shdr.sh_size - done);
        if (std::any_of(part, end, [](char byte) { return byte != 0; })) return true;
    }
    return false;
}

static void check_file(elf_headers& elf, const std::vector<CBank>& banks) {
    const auto is_empty = [](const CBank& bank) { return bank.sections.empty(); };
    if (std::all_of(banks.begin(), banks.end(), is_empty)) {
        error("no section is loaded: there is no image");
    }
    for (const file_section& sect : elf.sections) {
        if (sect.hdr.sh_type == SHT_NOBITS) continue;
        if (!sect.loaded && has_contents(elf.file, sect.hdr)) {
            error(label(sect) + ": left out because of its name, but not empty: rename it");
        } else if (sect.loaded && uint64_t{sect.hdr.sh_offset} + sect.hdr.sh_size > elf.size) {
            error(label(sect) + ": the file ends before the section does");
        }
    }
}

// Findings about the banks.

// The linker places the next section at the address of thread-local zeros, because these occupy no
// memory of the program.
static std::string advice_on_overlap(const CSect& a, const CSect& b) {
    for (const CSect* sect : {&a, &b}) {
        if ((sect->hdr.sh_flags & SHF_TLS) == 0 || sect->hdr.sh_type != SHT_NOBITS) continue;
        return ": leave it out: bankimg-map -x " + sect->name;
    }
    return "";
}

static void overlapping(const CBank& bank, const CSect& sect, const CSect& other) {
    misplaced(bank, sect, "overlaps " + label(other) + advice_on_overlap(sect, other));
}

// If a section overlaps one that begins no later, placement puts it before that one. If a section
// wraps past ffffffff, every later section at a higher address overlaps it.
static void check_overlaps(const CBank& bank) {
    std::vector<const CSect*> open;
    const CSect* wraps = nullptr;
    for (const CSect& sect : bank.sections) {
        while (!open.empty() && open.back()->hdr.sh_addr >= sect.hdr.sh_addr) {
            overlapping(bank, *open.back(), sect);
            open.pop_back();
        }
        if (wraps != nullptr && sect.hdr.sh_addr >= wraps->hdr.sh_addr) {
            overlapping(bank, sect, *wraps);
        }
        if (end_of(sect) > uint64_t{1} << 32) wraps = &sect;
        open.push_back(&sect);
    }
}

// A section that is in its bank only without the top three bits of its address.
static void check_alias(const settings& own, const std::vector<CBank>& banks, const CBank& bank,
                        const CSect& sect) {
    if (!own.aliases) {
        misplaced(bank, sect,
                  "is in the bank only without the top three address bits: use bankimg-map, or -a "
                  "if both are one memory");
        return;
    }
    for (const CBank& other : banks) {
        if (!in_range(other, sect.hdr.sh_addr)) continue;
        misplaced(bank, sect, "lies in the range of " + other.name + ": one memory needs one bank");
    }
}

static void check_sections(const settings& own, const std::vector<CBank>& banks,
                           const CBank& bank) {
    const CSect& first = bank.sections.front();
    bool differs = false;
    for (const CSect& sect : bank.sections) {
        if (end_of(sect) - 1 > limit(bank, sect)) {
            misplaced(bank, sect, "runs past the end of the bank");
        }
        if (!in_range(bank, sect.hdr.sh_addr)) check_alias(own, banks, bank, sect);
        if (!own.aliases || differs) continue;
        differs = region(sect.hdr.sh_addr) != region(first.hdr.sh_addr);
        if (!differs) continue;
        misplaced(
            bank, sect,
            "differs from " + label(first) + " in the top three address bits, which count in gaps");
    }
}

// After the line at fffffff0 the writer expects address 0, so nothing can join that line any more.
static void check_last_line(const CBank& bank) {
    constexpr uint32_t last_line = 0xfffffff0;
    const uint32_t first_addr = bank.sections.front().hdr.sh_addr;
    const uint32_t zeros_from = region(first_addr) | (bank.start & memory_mask);
    bool begun = bank.zero_start && zeros_from < first_addr;
    for (const CSect& sect : bank.sections) {
        if (begun && sect.hdr.sh_addr > last_line) {
            misplaced(bank, sect,
                      "begins inside the last line of the address space: begin it at fffffff0");
        }
        begun = end_of(sect) > last_line;
    }
}

static void check_image(const settings& own, const CBank& bank, int null) {
    const uint64_t bytes = bank.write(null);
    if (bytes <= own.most) return;
    error(bank.name + ": the image takes " + std::to_string(bytes) + " bytes, more than " +
          std::to_string(own.most));
}

static void check_banks(const settings& own, const std::vector<CBank>& banks) {
    const int null = openb("/dev/null", O_WRONLY);
    for (const CBank& bank : banks) {
        if (bank.name.compare(0, 3, "\xef\xbb\xbf") == 0) {
            error(bank.name + ": the bank file begins with a byte order mark: save it without one");
        }
        if ((bank.end & memory_mask) < (bank.start & memory_mask)) {
            error(bank.name +
                  ": takes nothing: without the top three address bits it ends below its start: "
                  "divide it");
        }
        if (bank.sections.empty()) continue;
        if (bank.zero_start && bank.start % 16 != 0) {
            error(bank.name +
                  ": does not begin at a multiple of 16: under -z its words are shifted");
        }
        check_overlaps(bank);
        check_sections(own, banks, bank);
        check_last_line(bank);
        check_image(own, bank, null);
    }
    close(null);
}

// Findings about the files that are written, and notes.

// The path from the root, without "." and "..".
static std::string absolute(const std::string& path) {
    static std::error_code ignored;  // in a directory that is gone, paths stay relative
    static const fs::path here = fs::current_path(ignored);
    return (here / path).lexically_normal().string();
}

// Tells whether the path was free.
static bool claim(file_owners& owners, const std::string& path, const std::string& owner) {
    std::string& listed = owners[absolute(path)];
    const bool is_free = listed.empty();
    if (!is_free) error(path + ": " + listed + " and " + owner + " are one file");
    listed = owner;
    return is_free;
}

static bool can_be_written(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) {
        return !S_ISDIR(status.st_mode) && access(path.c_str(), W_OK) == 0;
    }
    if (errno != ENOENT) return false;
    const size_t slash = path.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    return access(directory.c_str(), W_OK | X_OK) == 0;
}

static void check_image_file(file_owners& owners, const CBank& bank) {
    const std::string path = bank.file_name();
    if (!claim(owners, path, "the image of " + bank.name) || can_be_written(path)) return;
    error(path + ": the image of " + bank.name + " cannot be written");
}

static void check_raw_file(file_owners& owners, const file_section& sect) {
    CSect raw;
    raw.name = sect.name;
    raw.setfname();
    if (sect.name.find('/') != std::string::npos) {
        error(label(sect) + ": -w takes its name as a path: rename it");
    } else if (!can_be_written(raw.fname)) {
        error(raw.fname + ": the raw file of [" + sect.name + "] cannot be written");
    }
    claim(owners, raw.fname, "the raw file of " + label(sect));
}

static file_owners check_outputs(const run_options& opts, const elf_headers& elf,
                                 const std::vector<CBank>& banks) {
    file_owners owners{{absolute(opts.elf_path), "the ELF file"}};
    for (const std::string& file : opts.cfg_files) owners[absolute(file)] = "a bank file";
    for (const CBank& bank : banks) {
        if (!bank.sections.empty()) check_image_file(owners, bank);
    }
    if (!opts.write_sect) return owners;
    for (const file_section& sect : elf.sections) {
        if (sect.loaded) check_raw_file(owners, sect);
    }
    return owners;
}

static void note_sections(const run_options& opts, const elf_headers& elf) {
    for (const file_section& sect : elf.sections) {
        if (!sect.loaded) continue;
        if (sect.hdr.sh_type == SHT_NOBITS) {
            note(label(sect) + ": has no bytes in the file: zeros are written");
            continue;
        }
        const uint32_t addr = load_address(sect.hdr, elf.segments);
        if (opts.load || addr == sect.hdr.sh_addr) continue;
        char digits[sizeof "00000000"];
        snprintf(digits, sizeof digits, "%08x", addr);
        note(label(sect) + ": is stored at " + digits +
             " for the startup code to copy: bankimg-map -l puts it there");
    }
}

static void note_old_images(file_owners& owners, const std::vector<CBank>& banks) {
    for (const CBank& bank : banks) {
        const std::string path = bank.file_name();
        struct stat status {};
        if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) continue;
        if (!owners.emplace(absolute(path), "").second) continue;
        note(path + ": is there already, and its bank receives nothing now");
    }
}

static void note_gap(const run_options& opts) {
    const std::string text = opts.gap_text;
    if (text == "0" || text == "1") return;
    note("-g " + text + ": read as " + (opts.gap ? "1" : "0"));
}

// The run.

static void check(settings own, const run_options& opts) {
    std::vector<CBank> banks;
    std::list<CSect> sections;

    // Reported first, because it usually explains why a run fails.
    if (opts.ignored != nullptr && !opts.banks_only) {
        error(opts.ignored +
              std::string(": a second file name is ignored: is -C missing in front of it?"));
    }
    read_banks(opts, banks);
    if (opts.banks_only) return;

    require_input(opts, banks);
    const int fd = openb(opts.elf_path, O_RDONLY);
    Ehdr hdr{};
    const bool complete = read_at(fd, 0, &hdr, sizeof hdr) == sizeof hdr;
    const char* why = complete ? unfit(hdr) : nullptr;
    if (why != nullptr) {
        error(why);
        return;
    }
    load_sections(opts, sections);
    place_sections(opts, banks, sections);

    elf_headers elf = read_headers(opts, fd, hdr);
    if (hdr.e_machine == EM_MIPS || hdr.e_machine == EM_RS3_LE) own.aliases = true;
    if (own.show_usage) show_usage(banks);
    check_file(elf, banks);
    check_banks(own, banks);
    file_owners owners = check_outputs(opts, elf, banks);
    note_gap(opts);
    note_sections(opts, elf);
    note_old_images(owners, banks);
    close(fd);
}

// The command line.

static void print_usage(FILE* stream) {
    fputs(
        "Usage: bankimg-check [-a] [-m BYTES] [-u] bankimg|bankimg-map [OPTION...] ELF-FILE\n"
        "Says what the command would silently get wrong; the OPTIONs are those of the command.\n"
        "  -a        the target ignores the top three address bits (as a MIPS core does)\n"
        "  -h        print this text\n"
        "  -m BYTES  call an image of more than BYTES bytes an error (default 67108864)\n"
        "  -u        show first what each bank holds\n",
        stream);
}

static uint64_t parse_most(const std::string& text) {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) {
        oops("bankimg-check: -m " + text + ": not a number of bytes");
    }
    return strtoull(text.c_str(), nullptr, 10);
}

// Tells whether the command is bankimg-map. Ends the process if it is not bankimg either.
static bool is_map(const std::string& command) {
    const std::string name = command.substr(command.rfind('/') + 1);  // npos + 1 is 0: all of it
    if (name != "bankimg" && name != "bankimg-map") {
        oops("bankimg-check: " + command + ": not bankimg or bankimg-map");
    }
    return name == "bankimg-map";
}

int main(int argc, char* argv[]) {
    try {
        settings own;
        int letter = 0;
        while ((letter = getopt(argc, argv, "+ahm:u")) != -1) {
            switch (letter) {
                case 'a': own.aliases = true; break;
                case 'h': print_usage(stdout); return EXIT_SUCCESS;
                case 'm': own.most = parse_most(optarg); break;
                case 'u': own.show_usage = true; break;
                default: print_usage(stderr); return EXIT_FAILURE;
            }
        }
        if (optind >= argc) {
            print_usage(stderr);
            return EXIT_FAILURE;
        }
        char** command = argv + optind;
        const run_options opts = parse_run(argc - optind, command, is_map(command[0]));
        if (!opts.help && !opts.version) check(own, opts);
    } catch (const std::bad_alloc&) {
        oops("Out of memory");
    }
    return failed ? EXIT_FAILURE : EXIT_SUCCESS;
}
