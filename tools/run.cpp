// The steps of a run that bankimg-map and bankimg-check share, in run order.
#include "run.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "report.h"

// The command line.

run_options parse_run(int argc, char* argv[], program command) {
    run_options opts;
    opts.command = command;
    const bool map = command == program::map;
    unsetenv("POSIXLY_CORRECT");  // it would forbid options after the ELF file name
    optind = 0;                   // bankimg-check has read its own options by now
    int letter = 0;
    while ((letter = getopt(argc, argv, map ? "bc:C:g:hlno:pPvwx:z" : "bc:C:g:hnpPvwz")) != -1) {
        switch (letter) {
            case 'b': opts.what = request::banks; break;
            case 'C': opts.new_cfg = true; [[fallthrough]];
            case 'c': opts.cfg_files.emplace_back(optarg); break;
            case 'g':
                if (!parse_gap(optarg, opts.gap)) run_usage(command, argv[0]);
                opts.gap_text = optarg;
                break;
            case 'h': opts.what = request::usage; return opts;
            case 'l': opts.load = true; break;
            case 'n': opts.complex_name = true; break;
            case 'o': opts.directory = optarg; break;
            case 'p': opts.print_sect = true; break;
            case 'P': opts.print_full = true; break;
            case 'v': opts.what = request::version; return opts;
            case 'w': opts.write_sect = true; break;
            case 'x': opts.left_out.emplace_back(optarg); break;
            case 'z': opts.zstart = true; break;
            default: run_usage(command, argv[0]);
        }
    }
    if (argc <= 1) run_usage(command, argv[0]);
    opts.elf_path = argv[optind];  // null if no argument is left
    if (opts.elf_path != nullptr) opts.ignored = argv[optind + 1];
    return opts;
}

void run_usage(program command, const char* name) {
    if (command == program::bankimg) usage(name);
    usage(name,
          "[-b] [-c config.txt] [-C config.txt] [-g n] [-h] [-l] [-n] [-o directory] [-p] [-P] [-v]"
          " [-w] [-x section] [-z]",
          "  -l - place sections at their load addresses, leave out those without bytes\n"
          "  -o directory - write all files below this directory, which is created\n"
          "  -x section - leave out this section\n"
          "All 32 bits of an address count.\n");
}

// The input.

void read_banks(const run_options& opts, std::vector<CBank>& banks) {
    set_banks(banks, banks_name, ranges);
    if (opts.new_cfg) banks.clear();
    for (const std::string& file : opts.cfg_files) cfg2banks(banks, file.c_str());
    for (CBank& bank : banks) {
        bank.all_bits = opts.command == program::map;
        bank.gap_fill = opts.gap;
        bank.zero_start = opts.zstart;
    }
    if (opts.complex_name && opts.elf_path != nullptr) setelfname(banks, opts.elf_path);
}

void require_input(const run_options& opts, const std::vector<CBank>& banks) {
    const bool map = opts.command == program::map;
    if (opts.elf_path == nullptr) run_usage(opts.command, map ? "bankimg-map" : "bankimg");
    for (const CBank& bank : banks) {
        if (!map || region(bank.start) == region(bank.end)) continue;
        oops("bank " + bank.name + " " + hex8(bank.start) + " " + hex8(bank.end) +
             " crosses a multiple of 20000000: divide it there");
    }
    if (!is_elf(opts.elf_path)) oops("is not ELF file");
}

bool is_left_out(const run_options& opts, const Shdr& shdr, const std::string& name) {
    if (opts.load && shdr.sh_type == SHT_NOBITS) return true;
    return std::find(opts.left_out.begin(), opts.left_out.end(), name) != opts.left_out.end();
}

const char* read_segments(const elf_input& elf, std::vector<Phdr>& segments) {
    segments.assign(elf.hdr.e_phnum, Phdr{});
    if (segments.empty()) return nullptr;
    if (elf.hdr.e_phentsize != sizeof(Phdr)) return "ELF program header size is not 32";
    const size_t len = segments.size() * sizeof(Phdr);
    const size_t count = read_at(elf.file.fd, elf.hdr.e_phoff, segments.data(), len);
    return count == len ? nullptr : "ELF program header table is cut short";
}

// Several segments may hold the bytes of a section: a segment of flash, for example, also those of
// .data between its first and its last ones. The section belongs to the one in which its run-time
// address lies as far from the segment's as its bytes do.
uint32_t load_address(const Shdr& shdr, const std::vector<Phdr>& segments) {
    const uint64_t end = uint64_t{shdr.sh_offset} + shdr.sh_size;
    const Phdr* holder = nullptr;
    for (const Phdr& segment : segments) {
        if (segment.p_type != PT_LOAD || shdr.sh_offset < segment.p_offset) continue;
        if (end > uint64_t{segment.p_offset} + segment.p_filesz) continue;
        const bool is_own = shdr.sh_addr - segment.p_vaddr == shdr.sh_offset - segment.p_offset;
        if (is_own || holder == nullptr) holder = &segment;
        if (is_own) break;
    }
    if (holder == nullptr) return shdr.sh_addr;
    return holder->p_paddr + (shdr.sh_offset - holder->p_offset);
}

static void tell_unknown(const run_options& opts, const std::vector<std::string>& names) {
    fflush(stdout);  // if both streams go to one file, this must follow what was printed before it
    for (const std::string& name : opts.left_out) {
        if (std::find(names.begin(), names.end(), name) != names.end()) continue;
        fprintf(stderr, "bankimg-map: no section is called %s\n", name.c_str());
    }
}

void load_sections(const run_options& opts, elf_input& elf, std::list<CSect>& sections) {
    tell_unknown(opts, elf.names);
    std::vector<Phdr> segments;
    const char* wrong = opts.load ? read_segments(elf, segments) : nullptr;
    if (wrong != nullptr) oops(wrong);

    for (size_t i = 0; i < elf.shdrs.size(); i++) {
        const Shdr& shdr = elf.shdrs[i];
        if (!is_loaded(shdr, elf.names[i]) || is_left_out(opts, shdr, elf.names[i])) continue;
        CSect& sect = sections.emplace_back();
        if (!read_section(elf, i, sect) && opts.command == program::map) {
            oops("bankimg-map: section " + sect.name + " is cut short");
        }
        if (opts.load) sect.hdr.sh_addr = load_address(shdr, segments);
    }
    sections.sort(sec_cmp);
}

// Output.

std::string output_path(const run_options& opts, const std::string& name) {
    if (opts.directory == nullptr) return name;
    return std::filesystem::path(opts.directory) / name;  // or `name` alone, if that is absolute
}
