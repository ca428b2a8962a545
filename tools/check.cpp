// bankimg-check: what a run of bankimg or bankimg-map would silently get wrong, a line for each
// finding on stdout. It is written in front of the command to be checked. The run happens in here,
// up to its images: they are only measured, by the writer itself.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <unordered_map>

#include "files.h"
#include "line.h"
#include "report.h"
#include "run.h"

// The name and the range of a section, as a listing shows them.
static std::string label(const CSect& sect) {
    return "[" + sect.name + "] " + hex8(sect.hdr.sh_addr) + " " + hex8(sect.last());
}

// The check: its options, and what it has found.
struct findings {
    bool aliases = false;      // -a, or a MIPS file: the top three address bits do not count
    uint64_t most = 64 << 20;  // -m: characters of an image
    bool quiet = false;        // -q: no notes
    bool show_usage = false;   // -u
    bool failed = false;       // there was an error

    void error(const std::string& text) {
        printf("error: %s\n", text.c_str());
        failed = true;
    }
    void error(const CBank& bank, const CSect& sect, const std::string& text) {
        error(bank.name + ": " + label(sect) + " " + text);
    }
    void note(const std::string& text) const {
        if (!quiet) printf("note: %s\n", text.c_str());
    }
};

// The sections that occupy memory, at their run-time addresses and without their bytes. Those of -x
// and -l are missing, but not those that a run leaves out because of their names.
using section_table = std::vector<CSect>;

// Each file that a run reads or writes, by its identity, and what it is.
using file_owners = std::unordered_map<std::string, std::string>;

// Addresses.

static bool in_range(const CBank& bank, uint32_t addr) {
    return bank.start <= addr && addr <= bank.end;
}

static uint64_t size_of(const CBank& bank) {
    return uint64_t{bank.end} - bank.start + 1;
}

// The address after the last byte, beyond ffffffff where the listed one wraps.
static uint64_t end_of(const CSect& sect) {
    return uint64_t{sect.hdr.sh_addr} + sect.hdr.sh_size;
}

// Tells whether a section runs past the last address of its bank in the section's region.
static bool overflows(const CBank& bank, const CSect& sect) {
    const uint32_t addr = sect.hdr.sh_addr;
    const uint32_t alias = region(addr) | (bank.end & memory_mask);
    return end_of(sect) - 1 > (in_range(bank, addr) ? bank.end : alias);
}

// The usage of the banks (-u).

constexpr uint64_t bar_len = 40;

// Adds a section to the bar of its bank, in units of 1/40 byte, so that a full cell has as many
// units as the bank has bytes. Returns how many bytes of the bank the section takes.
static uint64_t add_to_bar(const CBank& bank, const CSect& sect, uint64_t bytes,
                           uint64_t (&cells)[bar_len]) {
    const uint32_t addr = sect.hdr.sh_addr, place = addr - bank.start;
    const uint64_t low = in_range(bank, addr) ? place : place & memory_mask;
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
    const uint64_t bytes = size_of(bank);
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
    for (const CBank& bank : banks) {
        if (!bank.sections.empty()) width = std::max(width, bank.name.size());
    }
    std::string free;
    for (const CBank& bank : banks) {
        if (bank.sections.empty()) {
            free += " " + bank.name;
        } else {
            show_usage_of(bank, static_cast<int>(width));
        }
    }
    if (!free.empty()) printf("free:%s\n", free.c_str());
}

// Findings about the file.

// Returns why a run would find nothing of use in the file, or null.
static const char* unfit(const Ehdr& hdr) {
    if (hdr.e_ident[EI_CLASS] == ELFCLASS64) {
        return "a 64-bit file: build for 32 bits, or convert it: objcopy -S -O elf32-...";
    }
    if (hdr.e_ident[EI_DATA] == ELFDATA2MSB) {
        return "a big-endian file: the words of images are little-endian";
    }
    if (hdr.e_type == ET_REL) {
        return "a relocatable file, whose sections have no addresses: link it first";
    }
    if (hdr.e_shnum == 0) return "a file without section headers: there is no image";
    return nullptr;
}

static section_table list_sections(const run_options& opts, const elf_input& elf) {
    section_table table;
    for (size_t i = 0; i < elf.shdrs.size(); i++) {
        const Shdr& shdr = elf.shdrs[i];
        if (shdr.sh_size == 0 || (shdr.sh_flags & SHF_ALLOC) == 0) continue;
        if (is_left_out(opts, shdr, elf.names[i])) continue;
        CSect& sect = table.emplace_back();
        sect.name = elf.names[i];
        sect.hdr = shdr;
        sect.setfname();
    }
    return table;
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

// Tells whether the section should have bytes in the file, but has none.
static bool is_stripped(const Shdr& shdr) {
    const bool is_variable = (shdr.sh_flags & (SHF_WRITE | SHF_EXECINSTR)) == SHF_WRITE;
    return shdr.sh_type == SHT_NOBITS && !is_variable;
}

static void check_bytes(findings& out, elf_input& elf, const CSect& sect, uint64_t size) {
    const bool has_bytes = sect.hdr.sh_type != SHT_NOBITS;
    if (!is_loaded(sect.hdr, sect.name)) {
        if (!has_bytes || !has_contents(elf.file, sect.hdr)) return;
        out.error(label(sect) + ": left out because of its name, but not empty: rename it");
    } else if (has_bytes && uint64_t{sect.hdr.sh_offset} + sect.hdr.sh_size > size) {
        out.error(label(sect) + ": the file ends before the section does");
    } else if (is_stripped(sect.hdr)) {
        out.error(label(sect) +
                  ": code or constants without bytes in the file, zeros are written: is it a file "
                  "of debugging information?");
    }
}

// Findings about the banks.

// The linker places the next section at the address of thread-local zeros, because these occupy no
// memory of the program.
static bool is_tls_zeros(const Shdr& shdr) {
    return (shdr.sh_flags & SHF_TLS) != 0 && shdr.sh_type == SHT_NOBITS;
}

static void report_overlap(findings& out, const CBank& bank, const CSect& sect,
                           const CSect& other) {
    const CSect& spare = is_tls_zeros(sect.hdr) ? sect : other;
    const std::string advice = ": leave it out: bankimg-map -x " + spare.name;
    out.error(bank, sect, "overlaps " + label(other) + (is_tls_zeros(spare.hdr) ? advice : ""));
}

// If a section overlaps one that begins no later, placement puts it before that one. If a section
// wraps past ffffffff, every later section at a higher address overlaps it.
static void check_overlaps(findings& out, const CBank& bank) {
    std::vector<const CSect*> open;
    const CSect* wraps = nullptr;
    for (const CSect& sect : bank.sections) {
        while (!open.empty() && open.back()->hdr.sh_addr >= sect.hdr.sh_addr) {
            report_overlap(out, bank, *open.back(), sect);
            open.pop_back();
        }
        if (wraps != nullptr && sect.hdr.sh_addr >= wraps->hdr.sh_addr) {
            report_overlap(out, bank, sect, *wraps);
        }
        if (end_of(sect) > uint64_t{1} << 32) wraps = &sect;
        open.push_back(&sect);
    }
}

// Reports a section that is in its bank only without the top three bits of its address.
static void check_alias(findings& out, const std::vector<CBank>& banks, const CBank& bank,
                        const CSect& sect) {
    if (!out.aliases) {
        return out.error(
            bank, sect,
            "is in the bank only without the top three address bits: use bankimg-map, or "
            "bankimg-check -a if these bits only select a window");
    }
    for (const CBank& other : banks) {
        if (!in_range(other, sect.hdr.sh_addr)) continue;
        out.error(bank, sect, "lies in the range of " + other.name + ": one memory needs one bank");
    }
}

static void check_sections(findings& out, const std::vector<CBank>& banks, const CBank& bank) {
    const CSect& first = bank.sections.front();
    const uint32_t window = region(first.hdr.sh_addr);
    bool differs = false;
    for (const CSect& sect : bank.sections) {
        if (overflows(bank, sect)) out.error(bank, sect, "runs past the end of the bank");
        if (!in_range(bank, sect.hdr.sh_addr)) check_alias(out, banks, bank, sect);
        if (!out.aliases || differs || region(sect.hdr.sh_addr) == window) continue;
        differs = true;
        out.error(bank, sect,
                  "differs from " + label(first) +
                      " in the top three address bits, so the gap between them is written out");
    }
}

// After the line at fffffff0 the writer expects address 0, so nothing can join that line any more.
static void check_last_line(findings& out, const CBank& bank) {
    constexpr uint32_t last_line = 0xfffffff0;
    bool begun = bank.zero_start && bank.zeros_from() < bank.sections.front().hdr.sh_addr;
    for (const CSect& sect : bank.sections) {
        if (begun && sect.hdr.sh_addr > last_line) {
            out.error(bank, sect,
                      "begins inside the last line of the address space: let one section hold "
                      "everything from fffffff0 on");
        }
        begun = end_of(sect) > last_line;
    }
}

static void check_start(findings& out, const CBank& bank) {
    if (bank.start % block_size != 0) {
        out.error(bank.name +
                  ": does not begin at a multiple of 16: under -z its words are shifted");
    }
    if (in_range(bank, bank.zeros_from()) && bank.zeros_from() != bank.start) {
        out.error(bank.name + ": under -z its image begins at " + hex8(bank.zeros_from()) +
                  ", not at its start: divide it at each multiple of 20000000");
    }
}

static void check_image(findings& out, const CBank& bank) {
    const uint64_t len = bank.image_len();
    if (len > out.most) {
        out.error(bank.name + ": the image takes " + std::to_string(len) + " bytes, more than " +
                  std::to_string(out.most));
    }
    const uint64_t words = len / line_len * 4, room = (size_of(bank) + 3) / 4;
    const bool is_whole = bank.start % block_size == 0 && size_of(bank) % block_size == 0;
    if (is_whole || words <= room) return;
    for (const CSect& sect : bank.sections) {
        if (overflows(bank, sect)) return;  // which is reported, and explains the length
    }
    out.error(bank.name + ": the image has " + std::to_string(words) + " words, the bank " +
              std::to_string(room) + ": let it begin and end at multiples of 16");
}

static void check_bank(findings& out, const std::vector<CBank>& banks, const CBank& bank) {
    if (bank.name.compare(0, 3, "\xef\xbb\xbf") == 0) {
        out.error(bank.name + ": the bank file begins with a byte order mark: save it without one");
    }
    if ((bank.end & memory_mask) < (bank.start & memory_mask)) {
        out.error(bank.name +
                  ": takes nothing: with the top three address bits cleared it ends below its "
                  "start: split it");
    }
    if (bank.sections.empty()) return;
    if (bank.zero_start) check_start(out, bank);
    check_overlaps(out, bank);
    check_sections(out, banks, bank);
    check_last_line(out, bank);
    check_image(out, bank);
}

// Findings about the files that are written, and notes.

// Claims the file for its owner, unless a later write loses nothing there, as in /dev/null.
static void claim(findings& out, file_owners& owners, const std::string& path,
                  const std::string& owner) {
    std::error_code ignored;
    if (fs::is_other(path, ignored)) return;
    std::string& listed = owners[identity(path)];
    if (!listed.empty()) out.error(path + ": " + listed + " and " + owner + " are one file");
    listed = owner;
}

static void check_output(findings& out, file_owners& owners, const run_options& opts,
                         const std::string& name, const std::string& owner) {
    const std::string path = output_path(opts, name);
    const int reason = why_not_written(path, opts.directory);
    if (reason == 0) return claim(out, owners, path, owner);
    out.error(path + ": " + owner + " cannot be written: " + strerror(reason));
}

static file_owners check_outputs(findings& out, const run_options& opts, const section_table& table,
                                 const std::vector<CBank>& banks) {
    file_owners owners{{identity(opts.elf_path), "the ELF file"}};
    for (const std::string& file : opts.cfg_files) owners[identity(file)] = "a bank file";
    for (const CBank& bank : banks) {
        if (bank.sections.empty()) continue;
        check_output(out, owners, opts, bank.file_name(), "the image of " + bank.name);
    }
    for (const CSect& sect : table) {
        if (!opts.write_sect || !is_loaded(sect.hdr, sect.name)) continue;
        if (sect.name.find('/') != std::string::npos) {
            out.error(label(sect) + ": -w takes its name as a path: rename it");
        } else {
            check_output(out, owners, opts, sect.fname, "the raw file of " + label(sect));
        }
    }
    return owners;
}

static void note_sections(const findings& out, const run_options& opts, const elf_input& elf,
                          const section_table& table) {
    std::vector<Phdr> segments;
    read_segments(elf, segments);  // of a damaged table what can be read
    for (const CSect& sect : table) {
        if (!is_loaded(sect.hdr, sect.name) || is_stripped(sect.hdr)) continue;
        if (sect.hdr.sh_type == SHT_NOBITS) {
            out.note(label(sect) + ": has no bytes in the file: zeros are written");
            continue;
        }
        const uint32_t addr = load_address(sect.hdr, segments);
        if (opts.load || addr == sect.hdr.sh_addr) continue;
        out.note(label(sect) + ": is stored at " + hex8(addr) +
                 " for the startup code to copy: bankimg-map -l puts it there");
    }
}

static void note_old_images(const findings& out, const run_options& opts, file_owners& owners,
                            const std::vector<CBank>& banks) {
    for (const CBank& bank : banks) {
        if (!bank.sections.empty()) continue;
        const std::string path = output_path(opts, bank.file_name());
        std::error_code ignored;
        if (!fs::is_regular_file(path, ignored)) continue;
        if (!owners.emplace(identity(path), "").second) continue;
        out.note(path + ": is an old image: its bank receives no section in this run");
    }
}

// Findings about the command.

static void check_command(findings& out, const run_options& opts) {
    if (opts.gap_text != "0" && opts.gap_text != "1") {
        out.note("-g takes " + opts.gap_text + " as its number: read as " + (opts.gap ? "1" : "0"));
    }
    if (opts.ignored == nullptr) return;
    const std::string first = opts.elf_path, second = opts.ignored;
    if (access(first.c_str(), R_OK) == 0 && !is_elf(first.c_str())) {
        out.error(
            second + ": ignored, because " + first +
            " comes first and is taken for the ELF file: is -C missing before the bank file?");
    } else {
        out.error(second + ": a second file name is ignored: is -C missing in front of it?");
    }
}

// The run.

// Returns whether it found no error.
static bool check(findings out, const run_options& opts) {
    std::vector<CBank> banks;
    std::list<CSect> sections;
    elf_input elf;

    // Reported first, because it usually explains why a run fails.
    if (opts.what != request::banks) check_command(out, opts);
    read_banks(opts, banks);
    if (opts.what == request::banks) return true;

    require_input(opts, banks);
    elf.file.fd = openb(opts.elf_path, O_RDONLY);
    const size_t len = read_at(elf.file.fd, 0, &elf.hdr, sizeof elf.hdr);
    const char* why = len == sizeof elf.hdr ? unfit(elf.hdr) : nullptr;
    if (why != nullptr) {
        out.error(why);
        return false;
    }
    read_headers(elf);
    load_sections(opts, elf, sections);
    if (sections.empty()) out.error("no section is loaded: there is no image");
    sec2banks(banks, sections);

    const section_table table = list_sections(opts, elf);
    if (elf.hdr.e_machine == EM_MIPS || elf.hdr.e_machine == EM_MIPS_RS3_LE) out.aliases = true;
    if (out.show_usage) show_usage(banks);
    const auto size = static_cast<uint64_t>(lseek(elf.file.fd, 0, SEEK_END));
    for (const CSect& sect : table) check_bytes(out, elf, sect, size);
    for (const CBank& bank : banks) check_bank(out, banks, bank);
    file_owners owners = check_outputs(out, opts, table, banks);
    note_sections(out, opts, elf, table);
    note_old_images(out, opts, owners, banks);
    return !out.failed;
}

// The command line.

[[noreturn]] static void usage(FILE* stream, int status) {
    fputs(
        "Usage: bankimg-check [-a] [-m BYTES] [-q] [-u] bankimg|bankimg-map [OPTION...] ELF-FILE\n"
        "Says what the command would silently get wrong; the OPTIONs are those of the command.\n"
        "  -a        the target ignores the top three address bits (as a MIPS core does)\n"
        "  -h        print this text\n"
        "  -m BYTES  report an image larger than BYTES as an error (default 67108864)\n"
        "  -q        report errors only, no notes\n"
        "  -u        first show what each bank holds\n",
        stream);
    exit(status);
}

static uint64_t parse_most(const std::string& text) {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) {
        oops("bankimg-check: -m " + text + ": not a number of bytes");
    }
    return strtoull(text.c_str(), nullptr, 10);
}

// Returns the program that the command names. Ends the process if it is none that can be checked.
static program program_of(const std::string& command) {
    const std::string name = command.substr(command.rfind('/') + 1);  // npos + 1 is 0: all of it
    if (name == "bankimg") return program::bankimg;
    if (name == "bankimg-map") return program::map;
    oops("bankimg-check: " + command + ": not bankimg or bankimg-map");
}

int main(int argc, char* argv[]) {
    std::set_new_handler([] { oops("Out of memory"); });
    findings out;
    int letter = 0;
    while ((letter = getopt(argc, argv, "+ahm:qu")) != -1) {
        switch (letter) {
            case 'a': out.aliases = true; break;
            case 'h': usage(stdout, EXIT_SUCCESS);
            case 'm': out.most = parse_most(optarg); break;
            case 'q': out.quiet = true; break;
            case 'u': out.show_usage = true; break;
            default: usage(stderr, EXIT_FAILURE);
        }
    }
    if (optind >= argc) usage(stderr, EXIT_FAILURE);
    const run_options opts = parse_run(argc - optind, argv + optind, program_of(argv[optind]));
    const bool runs = opts.what == request::images || opts.what == request::banks;
    return !runs || check(out, opts) ? EXIT_SUCCESS : EXIT_FAILURE;
}
