// bankimg: splits the loadable sections of a 32-bit ELF executable into memory-bank image files.
// This file holds the options and the run: a line for each step, in their order.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <list>
#include <new>
#include <string>
#include <vector>

#include "bankimg.h"
#include "report.h"

// The options of the command line.
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

static settings parse_options(int argc, char* argv[]) {
    const char* program = argc > 0 ? argv[0] : "bankimg";
    settings opts;
    unsetenv("POSIXLY_CORRECT");  // it would forbid options after the ELF file name
    int letter = 0;
    while ((letter = getopt(argc, argv, "bc:C:g:hnpPvwz")) != -1) {
        switch (letter) {
            case 'b': opts.banks_only = true; break;
            case 'C': opts.new_cfg = true; [[fallthrough]];
            case 'c': opts.cfg_files.emplace_back(optarg); break;
            case 'g':
                if (!parse_gap(optarg, opts.gap)) usage(program);
                break;
            case 'n': opts.complex_name = true; break;
            case 'p': opts.print_sect = true; break;
            case 'P': opts.print_full = true; break;
            case 'v': puts(version_line); exit(EXIT_SUCCESS);
            case 'w': opts.write_sect = true; break;
            case 'z': opts.zstart = true; break;
            default: usage(program);
        }
    }
    if (argc <= 1) usage(program);
    opts.elf_path = argv[optind];  // null if no argument is left
    return opts;
}

static void run(const settings& opts) {
    std::vector<CBank> banks;
    std::list<CSect> sections;

    set_banks(banks, banks_name, ranges);
    if (opts.new_cfg) banks.clear();
    for (const std::string& file : opts.cfg_files) cfg2banks(banks, file.c_str());
    if (opts.banks_only) {
        print_banks(banks);
        return;
    }

    if (opts.elf_path == nullptr) usage("bankimg");  // here it is not argv[0]
    if (!is_elf(opts.elf_path)) oops("is not ELF file");
    read_sections(opts.elf_path, sections);
    if (opts.print_sect) print_sections(sections);
    fflush(stdout);  // here and below: the listing appears even if a signal ends the next step
    if (opts.write_sect) {
        for (const CSect& sect : sections) sect.writev();
    }
    sec2banks(banks, sections);
    for (CBank& bank : banks) {
        bank.gap_fill = opts.gap;
        bank.zero_start = opts.zstart;
    }
    if (opts.complex_name) setelfname(banks, opts.elf_path);
    if (opts.print_full) full_print(banks);
    fflush(stdout);
    write_banks(banks);
}

int main(int argc, char* argv[]) {
    std::set_new_handler([] { oops("Out of memory"); });
    run(parse_options(argc, argv));
    return EXIT_SUCCESS;
}
