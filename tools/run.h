// A run of bankimg or bankimg-map up to its images: the options, the banks, the sections in them.
// bankimg-map goes on and writes; bankimg-check only inspects. A function that fails prints its
// message and ends the process with exit status 1.
//
// src/main.cpp has options and a run sequence of its own: bankimg does not change any more, and
// whoever reads it should meet nothing that serves another program.
#pragma once

#include <list>
#include <string>
#include <vector>

#include "bankimg.h"

/// The program that runs.
enum class program { bankimg, map };

/// What a command line asks for.
enum class request { images, banks, usage, version };

/// The options of a command line.
struct run_options {
    program command = program::bankimg;
    request what = request::images;      // -b, -h and -v; nothing after -h or -v was read
    std::vector<std::string> cfg_files;  // -c and -C, in command-line order
    bool new_cfg = false;                // -C: without the built-in banks
    bool gap = true;                     // -g
    std::string gap_text = "1";          // the argument of the last -g
    bool load = false;                   // -l, of bankimg-map: load addresses
    bool complex_name = false;           // -n
    const char* directory = nullptr;     // -o, of bankimg-map: where files go; null if not given
    bool print_sect = false;             // -p
    bool print_full = false;             // -P
    bool write_sect = false;             // -w
    std::vector<std::string> left_out;   // -x, of bankimg-map: names of sections
    bool zstart = false;                 // -z
    const char* elf_path = nullptr;      // null if no ELF file is named
    const char* ignored = nullptr;       // a second file name, which a run ignores; null if none
};

/// Reads the command line of a program. Ends the run with the usage text at an option that is wrong
/// or if there is no argument.
run_options parse_run(int argc, char* argv[], program command);

/// Prints the program's usage text, under `name`, and ends the process.
[[noreturn]] void run_usage(program command, const char* name);

/// Fills `banks` with the built-in ones, unless -C drops them, and those of the bank files. Sets
/// their flags and, under -n, the ELF file's base name.
void read_banks(const run_options& opts, std::vector<CBank>& banks);

/// Ends the run if no ELF file is named, a bank of bankimg-map crosses a multiple of 20000000, or
/// the file is no ELF file.
void require_input(const run_options& opts, const std::vector<CBank>& banks);

/// Fills `sections`, which is empty, with those that the run loads, in ascending order of the
/// addresses at which it places them; at one address they stay in the order of the file. Warns on
/// stderr about -x names that match no section.
void load_sections(const run_options& opts, elf_input& elf, std::list<CSect>& sections);

/// Returns the path at which the run writes a file: below the directory of -o, if there is one.
std::string output_path(const run_options& opts, const std::string& name);

/// Replaces `segments` by the program headers. Returns null, or what is wrong with the table; those
/// that cannot be read are PT_NULL.
const char* read_segments(const elf_input& elf, std::vector<Phdr>& segments);

/// Returns the load address of a section's first byte, by a PT_LOAD segment that holds all of its
/// bytes; `sh_addr` if none does.
uint32_t load_address(const Shdr& shdr, const std::vector<Phdr>& segments);

/// Tells whether -x or -l leaves a section out.
bool is_left_out(const run_options& opts, const Shdr& shdr, const std::string& name);
