// The usage text and the messages that end a run. Apart from getopt, nothing else in bankimg writes
// to stderr.
#include "report.h"

#include <cstdio>
#include <cstdlib>

std::string hex8(uint32_t address) {
    char digits[sizeof "00000000"];
    snprintf(digits, sizeof digits, "%08x", address);
    return digits;
}

void usage(const char* name) {
    usage(name, "[-b] [-c config.txt] [-C config.txt] [-g] [-h] [-n] [-p] [-P] [-v] [-w] [-z]", "");
}

void usage(const char* name, const char* synopsis, const char* more) {
    printf(
        "\n"
        "Usage: %s  %s elf-file\n"
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
        "  -z - zeroes start bank (default=off)\n"
        "%s",
        name, synopsis, more);
    exit(EXIT_FAILURE);
}

void oops(const std::string& message) {
    // If both streams go to one file, the message must follow what was printed before it.
    fflush(stdout);
    fprintf(stderr, "%s\n", message.c_str());
    exit(EXIT_FAILURE);
}

void cant_open(const std::string& path) {
    printf("Can't open file %s\n", path.c_str());
    exit(EXIT_FAILURE);
}
