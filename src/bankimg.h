// The steps of a run, in the order in which main takes them, and their helpers. A function that
// fails prints its message and ends the process with exit status 1.
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "bank.h"
#include "file.h"
#include "sect.h"

/// The built-in banks: file name, prefix and suffix of each, closed by a null pointer, and in the
/// same order the first and last address of each.
extern const char* const banks_name[];
extern const uint32_t ranges[][2];

/// Replaces `banks` by one bank for each row of the two tables.
void set_banks(std::vector<CBank>& banks, const char* const* names, const uint32_t (*spans)[2]);

/// Prints the listing line of every bank, numbered from 0, on stdout.
void print_banks(const std::vector<CBank>& banks);

/// Reads the bank configuration file `path` and appends its banks. Ends the run if it cannot be
/// read, or at the first line that is wrong or whose bank clashes with another one.
void cfg2banks(std::vector<CBank>& banks, const char* path);

/// Returns the value of a hexadecimal field: at most eight digits, which "0x" may precede; "0x"
/// alone is 0. Ends the run at any other text and shows its line.
uint32_t atox(const char* field);

/// Sets `gap` by the argument of -g. Returns false if it is neither 0 nor 1.
bool parse_gap(const char* text, bool& gap);

/// Opens `path` with the flags of open(2) and returns the descriptor. Ends the run if the file
/// cannot be opened.
int openb(const char* path, int flags);

/// Tells whether bytes 1 to 3 of the file are "ELF". Ends the run if it cannot be opened.
bool is_elf(const char* path);

/// An ELF file that is open for reading, its header, and its section headers with their names.
struct elf_input {
    block_reader file;
    Ehdr hdr{};
    std::vector<Shdr> shdrs;
    std::vector<std::string> names;
};

/// Reads the headers and names of the file that is open. Ends the run if they are damaged.
void read_headers(elf_input& elf);

/// Fills `sect` with the section of header `index`. Returns whether the file holds all of its
/// bytes. Ends the run if it has 2^31 bytes or more.
bool read_section(elf_input& elf, size_t index, CSect& sect);

/// Replaces `sections` by the ELF file's loadable sections and their bytes, in ascending address
/// order. Ends the run at a damaged header or a section of 2^31 bytes or more.
void read_sections(const char* path, std::list<CSect>& sections);

/// Reads the section header table. Ends the run if an entry does not have 40 bytes or the file
/// ends before the table does.
void read_sechdrs(int fd, const Ehdr* hdr, std::vector<Shdr>& shdrs);

/// Reads the name of every section header; a name ends at a zero byte or with the file. Ends the
/// run if the index of the name section is out of range.
void read_secnames(block_reader& file, const Ehdr* hdr, const std::vector<Shdr>& shdrs,
                   std::vector<std::string>& names);

/// Tells whether a section is loaded: it is not empty, it occupies target memory, and it is not
/// named like .bss, .sbss or .stack.
bool is_loaded(const Shdr& shdr, const std::string& name);

/// Removes from both tables the sections that are not loaded. Returns the number kept.
size_t filter_sec(std::vector<Shdr>& shdrs, std::vector<std::string>& names);

/// Tells whether `a` begins at a lower address than `b`.
bool sec_cmp(const CSect& a, const CSect& b);

/// Prints the listing line of every section on stdout.
void print_sections(const std::list<CSect>& sections);

/// Returns the index of the first bank whose range holds the section's first address, and sets the
/// section's `bank_base`. Ends the run, after listing the banks, if there is none.
size_t find_bank(const std::vector<CBank>& banks, CSect& sect);

/// Moves each section into the first bank whose range holds its first address; `sections` is empty
/// afterwards. Ends the run, after listing the banks, at a section that fits none.
void sec2banks(std::vector<CBank>& banks, std::list<CSect>& sections);

/// Returns the part of `path` after its last "/", up to the first "." of that part.
std::string only_name(const std::string& path);

/// Gives every bank the ELF file's base name, for the name of its image.
void setelfname(std::vector<CBank>& banks, const std::string& elf_path);

/// Prints every bank, numbered from 0, and the sections it holds on stdout.
void full_print(const std::vector<CBank>& banks);

/// Writes the image file of every bank that holds sections, in list order. Ends the run if one
/// cannot be created.
void write_banks(const std::vector<CBank>& banks);
