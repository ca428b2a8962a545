// The usage text, and the one place from which messages go to stderr.
#include "report.h"

#include <cstdio>
#include <cstdlib>

void usage(const char* name) {
    printf(
        "\n"
        "Usage: %s  [-b] [-c config.txt] [-C config.txt] [-g] [-h] [-n] [-p] [-P] [-v] [-w] [-z]"
        " elf-file\n"
        "Options:\n"
        "  -b - print banks\n"
        "  -c config.txt - add banks config\n"
        "  -C config.txt - new banks config\n"
        "  -g n - zeroes gaps between sections (n=0 or 1) (default=1)\n"
        "  -h - usage\n"
        "  -n - complex bank name (prefix_elf_suffix.dat)\n"
        "  -p - print sections\n"
        "  -P - print banks and sections\n"
        "  -v - print version\n"
        "  -w - write sections to binary files (default=off)\n"
        "  -z - zeroes start bank (default=off)\n",
        name);
    exit(EXIT_FAILURE);
}

void oops(const char* message) {
    // Both streams may end in one file: lines appear there in the order they were produced.
    fflush(stdout);
    fprintf(stderr, "%s\n", message);
    exit(EXIT_FAILURE);
}
