// bankimg-map: bankimg, but all 32 bits of an address count when a section looks for its bank,
// sections can go to their load addresses or be left out, and files can go into a directory. The
// steps are those of bankimg, but what cannot be read or written completely ends the run.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>

#include "report.h"
#include "run.h"

[[noreturn]] static void cant_write(const std::string& path) {
    oops("bankimg-map: " + path + ": cannot be written: " + strerror(errno));
}

// Creates the directory of -o. A run that finds no bank for a section creates nothing, and raw
// files are written before placement: hence the look for the banks.
static void create_directory(const run_options& opts, const std::vector<CBank>& banks,
                             std::list<CSect>& sections) {
    if (opts.directory == nullptr) return;
    for (CSect& sect : sections) find_bank(banks, sect);
    std::error_code error;
    std::filesystem::create_directories(opts.directory, error);
    if (!error) return;
    oops(std::string("bankimg-map: ") + opts.directory + ": cannot be created: " + error.message());
}

static void write_raw_files(const run_options& opts, std::list<CSect>& sections) {
    for (CSect& sect : sections) {
        sect.fname = output_path(opts, sect.fname);
        if (!sect.writev()) cant_write(sect.fname);
    }
}

static void write_images(const run_options& opts, const std::vector<CBank>& banks) {
    for (const CBank& bank : banks) {
        if (bank.sections.empty()) continue;
        const std::string path = output_path(opts, bank.file_name());
        if (!bank.write(path)) cant_write(path);
    }
}

static void run(const run_options& opts) {
    std::vector<CBank> banks;
    std::list<CSect> sections;

    read_banks(opts, banks);
    if (opts.what == request::banks) {
        print_banks(banks);
        return;
    }

    require_input(opts, banks);
    elf_input elf;
    elf.file.fd = openb(opts.elf_path, O_RDONLY);
    read_headers(elf);
    load_sections(opts, elf, sections);
    close(elf.file.fd);
    if (opts.print_sect) print_sections(sections);
    fflush(stdout);  // here and below: the listing appears even if a signal ends the next step
    create_directory(opts, banks, sections);
    if (opts.write_sect) write_raw_files(opts, sections);
    sec2banks(banks, sections);
    if (opts.print_full) full_print(banks);
    fflush(stdout);
    write_images(opts, banks);
}

int main(int argc, char* argv[]) {
    std::set_new_handler([] { oops("Out of memory"); });
    const run_options opts = parse_run(argc, argv, program::map);
    if (opts.what == request::usage) run_usage(opts.command, argv[0]);
    if (opts.what == request::version) {
        puts(version_line);
    } else {
        run(opts);
    }
    return EXIT_SUCCESS;
}
