// The steps of a run that bankimg-map and bankimg-check share, in run order.
#include "run.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "report.h"

// The command line.

static bool parse_gap(const char* text, bool map, const char* program) {
    // Only the lower 32 bits count, on every machine: 4294967297 is 1.
    const auto value = static_cast<int32_t>(strtoll(text, nullptr, 10));
    if (value != 0 && value != 1) run_usage(map, program);
    return value == 1;
}

run_options parse_run(int argc, char* argv[], bool map) {
    run_options opts;
    opts.map = map;
    unsetenv("POSIXLY_CORRECT");  // it would forbid options after the ELF file name
    optind = 0;                   // bankimg-check has read its own options by now
    int letter = 0;
    while ((letter = getopt(argc, argv, map ? "bc:C:g:hlnpPvwx:z" : "bc:C:g:hnpPvwz")) != -1) {
        switch (letter) {
            case 'b': opts.banks_only = true; break;
            case 'C': opts.new_cfg = true; [[fallthrough]];
            case 'c': opts.cfg_files.emplace_back(optarg); break;
            case 'g':
                opts.gap = parse_gap(optarg, map, argv[0]);
                opts.gap_text = optarg;
                break;
            case 'h': opts.help = true; return opts;
            case 'l': opts.load = true; break;
            case 'n': opts.complex_name = true; break;
            case 'p': opts.print_sect = true; break;
            case 'P': opts.print_full = true; break;
            case 'v': opts.version = true; return opts;
            case 'w': opts.write_sect = true; break;
            case 'x': opts.left_out.emplace_back(optarg); break;
            case 'z': opts.zstart = true; break;
            default: run_usage(map, argv[0]);
        }
    }
    if (argc <= 1) run_usage(map, argv[0]);
    opts.elf_path = argv[optind];  // null if no argument is left
    if (opts.elf_path != nullptr) opts.ignored = argv[optind + 1];
    return opts;
}

void run_usage(bool map, const char* name) {
    if (map) {
        printf(
            "bankimg-map runs like bankimg, but all 32 bits of an address count. Options of its "
            "own:\n"
            "  -l - place sections at their load addresses, leave out those without bytes\n"
            "  -x section - leave out this section\n");
    }
    usage(name);
}

// The input.

void read_banks(const run_options& opts, std::vector<CBank>& banks) {
    set_banks(banks, banks_name, ranges);
    if (opts.new_cfg) banks.clear();
    for (const std::string& file : opts.cfg_files) cfg2banks(banks, file.c_str());
}

static void refuse_crossing(const std::vector<CBank>& banks) {
    for (const CBank& bank : banks) {
        if ((bank.start ^ bank.end) >> 29 == 0) continue;
        char range[sizeof " 00000000 00000000"];
        snprintf(range, sizeof range, " %08x %08x", bank.start, bank.end);
        oops("bank " + bank.name + range + " crosses a multiple of 20000000: divide it there");
    }
}

void require_input(const run_options& opts, const std::vector<CBank>& banks) {
    if (opts.elf_path == nullptr) run_usage(opts.map, opts.map ? "bankimg-map" : "bankimg");
    if (opts.map) refuse_crossing(banks);
    if (!is_elf(opts.elf_path)) oops("is not ELF file");
}

bool is_left_out(const run_options& opts, const Shdr& shdr, const std::string& name) {
    if (opts.load && shdr.sh_type == SHT_NOBITS) return true;
    return std::find(opts.left_out.begin(), opts.left_out.end(), name) != opts.left_out.end();
}

const char* read_segments(int fd, const Ehdr& hdr, std::vector<Phdr>& segments) {
    segments.clear();
    if (hdr.e_phnum == 0) return nullptr;
    if (hdr.e_phentsize != sizeof(Phdr)) return "ELF program header size is not 32";
    std::vector<Phdr> table(hdr.e_phnum);
    const size_t len = table.size() * sizeof(Phdr);
    if (read_at(fd, hdr.e_phoff, table.data(), len) != len) {
        return "ELF program header table is cut short";
    }
    for (const Phdr& segment : table) {
        if (segment.p_type == PT_LOAD) segments.push_back(segment);
    }
    return nullptr;
}

uint32_t load_address(const Shdr& shdr, const std::vector<Phdr>& segments) {
    const uint64_t end = uint64_t{shdr.sh_offset} + shdr.sh_size;
    for (const Phdr& segment : segments) {
        if (shdr.sh_offset < segment.p_offset) continue;
        if (end > uint64_t{segment.p_offset} + segment.p_filesz) continue;
        return segment.p_paddr + (shdr.sh_offset - segment.p_offset);
    }
    return shdr.sh_addr;
}

static void tell_unknown(const run_options& opts, const std::vector<std::string>& names) {
    fflush(stdout);  // if both streams go to one file, this must follow what was printed before it
    for (const std::string& name : opts.left_out) {
        if (std::find(names.begin(), names.end(), name) != names.end()) continue;
        fprintf(stderr, "bankimg-map: no section is called %s\n", name.c_str());
    }
}

// As read_sections, but without the sections that -x and -l leave out: they take no memory.
// Sections at one load address stay in the order of the file.
static void read_some_sections(const run_options& opts, std::list<CSect>& sections) {
    const int fd = openb(opts.elf_path, O_RDONLY);
    Ehdr hdr{};
    if (read_at(fd, 0, &hdr, sizeof hdr) != sizeof hdr) oops("ELF header is cut short");

    std::vector<Shdr> shdrs;
    std::vector<std::string> names;
    std::vector<Phdr> segments;
    block_reader file{fd};
    read_sechdrs(fd, &hdr, shdrs);
    read_secnames(file, &hdr, shdrs, names);
    const size_t count = filter_sec(shdrs, names);
    tell_unknown(opts, names);
    const char* wrong = opts.load ? read_segments(fd, hdr, segments) : nullptr;
    if (wrong != nullptr) oops(wrong);

    for (size_t i = 0; i < count; i++) {
        if (is_left_out(opts, shdrs[i], names[i])) continue;
        if (shdrs[i].sh_size > INT32_MAX) oops("Section " + names[i] + " is too large");
        CSect& sect = sections.emplace_back();
        sect.name = std::move(names[i]);
        sect.setfname();
        sect.hdr = shdrs[i];
        sect.readv(file);
        if (opts.load) sect.hdr.sh_addr = load_address(sect.hdr, segments);
    }
    close(fd);
    sections.sort(sec_cmp);
}

void load_sections(const run_options& opts, std::list<CSect>& sections) {
    if (opts.load || !opts.left_out.empty()) {
        read_some_sections(opts, sections);
    } else {
        read_sections(opts.elf_path, sections);
    }
}

// Placement.

// As sec2banks, but all 32 bits of an address count.
static void place_by_all_bits(std::vector<CBank>& banks, std::list<CSect>& sections) {
    std::vector<std::list<CSect>::iterator> resume;
    resume.reserve(banks.size());
    for (CBank& bank : banks) resume.push_back(bank.sections.begin());

    while (!sections.empty()) {
        CSect& sect = sections.front();
        const uint32_t addr = sect.hdr.sh_addr;
        size_t i = 0;
        while (i < banks.size() && (addr < banks[i].start || addr > banks[i].end)) i++;
        if (i == banks.size()) {
            // Among no banks, the library's placement ends the run with the message that fits.
            print_banks(banks);
            std::vector<CBank> none;
            return sec2banks(none, sections);
        }
        banks[i].in_bank(addr, sect.bank_base);
        resume[i] = banks[i].insert(resume[i], sections);
    }
}

void place_sections(const run_options& opts, std::vector<CBank>& banks,
                    std::list<CSect>& sections) {
    if (opts.map) {
        place_by_all_bits(banks, sections);
    } else {
        sec2banks(banks, sections);
    }
    for (CBank& bank : banks) {
        bank.gap_fill = opts.gap;
        bank.zero_start = opts.zstart;
    }
    if (opts.complex_name) setelfname(banks, opts.elf_path);
}
