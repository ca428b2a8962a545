// bankimg-map: bankimg, but all 32 bits of an address count when a section looks for its bank, and
// sections can go to their load addresses or be left out. The steps are those of bankimg.
#include <cstdio>
#include <cstdlib>
#include <new>

#include "report.h"
#include "run.h"

static void run(const run_options& opts) {
    std::vector<CBank> banks;
    std::list<CSect> sections;

    read_banks(opts, banks);
    if (opts.banks_only) {
        print_banks(banks);
        return;
    }

    require_input(opts, banks);
    load_sections(opts, sections);
    if (opts.print_sect) print_sections(sections);
    fflush(stdout);  // here and below: the listing appears even if a signal ends the next step
    if (opts.write_sect) {
        for (const CSect& sect : sections) sect.writev();
    }
    place_sections(opts, banks, sections);
    if (opts.print_full) full_print(banks);
    fflush(stdout);
    write_banks(banks);
}

int main(int argc, char* argv[]) {
    try {
        const run_options opts = parse_run(argc, argv, /*map=*/true);
        if (opts.help) run_usage(/*map=*/true, argv[0]);
        if (opts.version) {
            puts("v.2.09 14/08/2013");
        } else {
            run(opts);
        }
    } catch (const std::bad_alloc&) {
        oops("Out of memory");
    }
    return EXIT_SUCCESS;
}
