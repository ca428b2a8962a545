// A run of bankimg or bankimg-map up to its images: the options, the banks, the sections in them.
// bankimg-map goes on and writes; bankimg-check looks. A function that fails prints its message and
// ends the process with exit status 1.
#pragma once

#include <list>
#include <string>
#include <vector>

#include "bankimg.h"

/// The options of a command line.
struct run_options {
    bool map = false;                    // a run of bankimg-map: all 32 bits of an address count
    bool help = false;                   // -h; nothing after it was read
    bool version = false;                // -v; nothing after it was read
    std::vector<std::string> cfg_files;  // -c and -C, in command-line order
    bool new_cfg = false;                // -C: without the built-in banks
    bool banks_only = false;             // -b
    bool gap = true;                     // -g
    const char* gap_text = "1";          // the argument of the last -g
    bool load = false;                   // -l, of bankimg-map: load addresses
    bool complex_name = false;           // -n
    bool print_sect = false;             // -p
    bool print_full = false;             // -P
    bool write_sect = false;             // -w
    std::vector<std::string> left_out;   // -x, of bankimg-map: names of sections
    bool zstart = false;                 // -z
    const char* elf_path = nullptr;      // null if no ELF file is named
    const char* ignored = nullptr;       // a second file name, which a run ignores; null if none
};

/// Reads the command line of bankimg-map if `map`, else of bankimg. Ends the run with the usage
/// text at an option that is wrong or if there is no argument.
run_options parse_run(int argc, char* argv[], bool map);

/// Prints the usage text of bankimg-map if `map`, else of bankimg, and ends the process.
[[noreturn]] void run_usage(bool map, const char* name);

/// Fills `banks` with the built-in ones, unless -C drops them, and those of the bank files.
void read_banks(const run_options& opts, std::vector<CBank>& banks);

/// Ends the run if no ELF file is named, a bank of bankimg-map crosses a multiple of 20000000, or
/// the file is no ELF file.
void require_input(const run_options& opts, const std::vector<CBank>& banks);

/// Fills `sections`, which is empty, with those that the run loads, in ascending order of the
/// addresses at which it places them. Says on stderr which names of -x no section has.
void load_sections(const run_options& opts, std::list<CSect>& sections);

/// Moves the sections into their banks, and sets the banks' flags and the ELF file's base name.
void place_sections(const run_options& opts, std::vector<CBank>& banks, std::list<CSect>& sections);

/// Replaces `segments` by the program headers of type PT_LOAD. Returns null, or what is wrong with
/// the table; `segments` is empty then.
const char* read_segments(int fd, const Ehdr& hdr, std::vector<Phdr>& segments);

/// Returns the load address of a section's first byte, by the first segment that holds all of its
/// bytes; `sh_addr` if none does.
uint32_t load_address(const Shdr& shdr, const std::vector<Phdr>& segments);

/// Tells whether -x or -l leaves a section out.
bool is_left_out(const run_options& opts, const Shdr& shdr, const std::string& name);
