// bankimg: splits the loadable sections of a 32-bit ELF executable into memory-bank image files.
// This file holds the options and the run: each step a line, in the order in which it happens.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <new>
#include <string>
#include <vector>

#include "bankimg.h"
#include "report.h"

namespace {

// What the command line asks for.
struct settings {
    std::vector<std::string> cfg_files;  // -c and -C, in command-line order
    bool new_cfg = false;                // -C: without the built-in banks
    bool banks_only = false;             // -b
    bool gap = true;                     // -g
    bool complex_name = false;           // -n
    bool print_sect = false;             // -p
    bool print_full = false;             // -P
    bool write_sect = false;             // -w
    bool zstart = false;                 // -z
    const char* elf_path = nullptr;      // null if no ELF file is named
};

[[noreturn]] void print_version() {
    printf("v.%s %s\n", "2.09", "14/08/2013");
    exit(EXIT_SUCCESS);
}

bool parse_gap(const char* text, const char* program) {
    const auto value = static_cast<int32_t>(strtol(text, nullptr, 10));
    if (value != 0 && value != 1) usage(program);
    return value == 1;
}

settings parse_options(int argc, char* argv[]) {
    const char* program = argc > 0 ? argv[0] : "bankimg";
    settings set;
    unsetenv("POSIXLY_CORRECT");  // options may follow the ELF file name, whatever it says
    for (int letter = 0; (letter = getopt(argc, argv, "bc:C:g:hnpPvwz")) != -1;) {
        switch (letter) {
            case 'b': set.banks_only = true; break;
            case 'C': set.new_cfg = true; [[fallthrough]];
            case 'c': set.cfg_files.emplace_back(optarg); break;
            case 'g': set.gap = parse_gap(optarg, program); break;
            case 'n': set.complex_name = true; break;
            case 'p': set.print_sect = true; break;
            case 'P': set.print_full = true; break;
            case 'v': print_version();
            case 'w': set.write_sect = true; break;
            case 'z': set.zstart = true; break;
            default: usage(program);
        }
    }
    if (argc <= 1) usage(program);
    if (optind < argc) set.elf_path = argv[optind];
    return set;
}

void set_flags(CBank& bank, const settings& set) {
    bank.gap_fill = set.gap;
    bank.zero_fill = true;
    if (set.zstart) bank.zero_start = true;
}

void run(const settings& set) {
    std::vector<CBank> banks;
    std::list<CSect> sections;

    set_banks(banks, banks_name, ranges);
    if (set.new_cfg) banks.clear();
    for (const std::string& file : set.cfg_files) cfg2banks(banks, file.c_str());
    if (set.banks_only) return print_banks(banks);

    if (set.elf_path == nullptr) usage("bankimg");
    if (!is_elf(set.elf_path)) oops("is not ELF file");
    read_sections(set.elf_path, sections);
    if (set.print_sect) print_sections(sections);
    if (set.write_sect) {
        for (const CSect& sect : sections) sect.writev();
    }
    sec2banks(banks, sections);
    for (CBank& bank : banks) set_flags(bank, set);
    if (set.complex_name) setelfname(banks, set.elf_path);
    if (set.print_full) full_print(banks);
    write_banks(banks);
}

}  // namespace

int main(int argc, char* argv[]) {
    try {
        run(parse_options(argc, argv));
    } catch (const std::bad_alloc&) {
        oops("Out of memory");
    }
    return EXIT_SUCCESS;
}
