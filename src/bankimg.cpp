// The steps of a run: the bank table, the configuration files, the ELF file and its sections, their
// placement into banks, the image files.
#include "bankimg.h"

#include <fcntl.h>
#include <strings.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <utility>

#include "report.h"
#include "xstring.h"

bool parse_gap(const char* text, bool& gap) {
    // Only the lower 32 bits count, on every machine: 4294967297 is 1.
    const auto value = static_cast<int32_t>(strtoll(text, nullptr, 10));
    gap = value == 1;
    return gap || value == 0;
}

// The bank table.

const char* const banks_name[] = {
    "pram0.dat", "text", "0",  //
    "xram0.dat", "data", "0",  //
    "pram1.dat", "text", "1",  //
    "xram1.dat", "data", "1",  //
    "cram.dat",  "",     "",   //
    "bank0.dat", "",     "",   //
    "bank1.dat", "",     "",   //
    "bank2.dat", "",     "",   //
    "bank3.dat", "",     "",   //
    nullptr,
};

const uint32_t ranges[][2] = {
    {0x18440000, 0x1844ffff},  // pram0
    {0x18400000, 0x1842ffff},  // xram0
    {0x18840000, 0x1884ffff},  // pram1
    {0x18800000, 0x1882ffff},  // xram1
    {0x18000000, 0x18010000},  // cram
    {0x00000000, 0x07ffffff},  // bank0
    {0x08000000, 0x0fffffff},  // bank1
    {0x10000000, 0x17ffffff},  // bank2
    {0x1fc00000, 0x1fffffff},  // bank3
};
static_assert(std::size(banks_name) == 3 * std::size(ranges) + 1, "a range for each name");

void set_banks(std::vector<CBank>& banks, const char* const* names, const uint32_t (*spans)[2]) {
    banks.clear();
    for (; *names != nullptr; names += 3, spans++) {
        CBank& bank = banks.emplace_back();
        bank.name = names[0];
        bank.prefix = names[1];
        bank.suffix = names[2];
        bank.start = (*spans)[0];
        bank.end = (*spans)[1];
    }
}

static void print_bank(const std::vector<CBank>& banks, size_t index) {
    printf("[%zu]: ", index);
    banks[index].print();
}

void print_banks(const std::vector<CBank>& banks) {
    for (size_t i = 0; i < banks.size(); i++) print_bank(banks, i);
}

// Configuration files: one bank per line. A new bank must not clash with an earlier one.

// The line that is being parsed, with its comment and outer blanks.
static std::string current;

// Reports an error in the current line and ends the run.
[[noreturn]] static void oops2(const char* message) {
    oops(current + "\n" + message);
}

// The same for a bank that cannot join `banks`. Lists them first.
[[noreturn]] static void refuse(const std::vector<CBank>& banks, const char* message) {
    print_banks(banks);
    oops2(message);
}

static CBank parse_bank(const std::vector<std::string>& fields) {
    if (fields.size() < 3) oops2("Bad cfg format");
    CBank bank;
    bank.name = fields[0];
    bank.start = atox(fields[1].c_str());
    bank.end = atox(fields[2].c_str());
    if (fields.size() > 3) bank.prefix = fields[3];
    if (fields.size() > 4) bank.suffix = fields[4];
    return bank;
}

// Tells whether `bank` shares neither name nor address with a listed bank.
static bool check_bank(const std::vector<CBank>& banks, const CBank& bank) {
    for (const CBank& listed : banks) {
        if (strcasecmp(listed.name.c_str(), bank.name.c_str()) == 0) return false;
        if (listed.overlap(bank)) return false;
    }
    return true;
}

void cfg2banks(std::vector<CBank>& banks, const char* path) {
    FILE* file = fopen(path, "r");
    if (file == nullptr) cant_open(path);
    // Not getline: a line of more than 1023 bytes counts as several, and a zero byte ends one.
    char buf[1024];
    xstring line;
    std::vector<std::string> fields;
    while (fgets(buf, sizeof buf, file) != nullptr) {
        line = buf;
        line.remove_crlf();
        current = line;
        line.remove_comments();
        line.trim();
        if (line.empty()) continue;
        line.tokenize(fields);
        const CBank bank = parse_bank(fields);
        if (bank.start >= bank.end) refuse(banks, "Bad range");
        if (!check_bank(banks, bank)) refuse(banks, "Overlapped banks");
        banks.push_back(bank);
    }
    if (ferror(file) != 0) oops("Can't read file " + std::string(path));
    fclose(file);
}

uint32_t atox(const char* field) {
    const char* digits = strncmp(field, "0x", 2) == 0 ? field + 2 : field;
    const size_t len = strlen(digits);
    if (len > 8 || strspn(digits, "0123456789abcdefABCDEF") != len) oops2("Bad hex format");
    return static_cast<uint32_t>(strtoul(digits, nullptr, 16));
}

// The ELF file: header, section header table, names, bytes.

int openb(const char* path, int flags) {
    const int fd = open(path, flags);
    if (fd < 0) cant_open(path);
    return fd;
}

bool is_elf(const char* path) {
    const int fd = openb(path, O_RDONLY);
    Ehdr hdr{};
    read_at(fd, 0, &hdr, sizeof hdr);
    close(fd);
    return memcmp(hdr.e_ident + 1, "ELF", 3) == 0;
}

void read_headers(elf_input& elf) {
    const int fd = elf.file.fd;
    if (read_at(fd, 0, &elf.hdr, sizeof elf.hdr) != sizeof elf.hdr) oops("ELF header is cut short");
    read_sechdrs(fd, &elf.hdr, elf.shdrs);
    read_secnames(elf.file, &elf.hdr, elf.shdrs, elf.names);
}

bool read_section(elf_input& elf, size_t index, CSect& sect) {
    sect.name = elf.names[index];
    sect.hdr = elf.shdrs[index];
    if (sect.hdr.sh_size > INT32_MAX) oops("Section " + sect.name + " is too large");
    sect.setfname();
    return sect.readv(elf.file);
}

void read_sections(const char* path, std::list<CSect>& sections) {
    sections.clear();
    elf_input elf;
    elf.file.fd = openb(path, O_RDONLY);
    read_headers(elf);
    const size_t count = filter_sec(elf.shdrs, elf.names);
    for (size_t i = 0; i < count; i++) read_section(elf, i, sections.emplace_back());
    close(elf.file.fd);
    sections.sort(sec_cmp);  // stable: sections at one address stay in file order
}

void read_sechdrs(int fd, const Ehdr* hdr, std::vector<Shdr>& shdrs) {
    shdrs.assign(hdr->e_shnum, Shdr{});
    if (shdrs.empty()) return;
    if (hdr->e_shentsize != sizeof(Shdr)) oops("ELF section header size is not 40");
    const size_t len = shdrs.size() * sizeof(Shdr);
    if (read_at(fd, hdr->e_shoff, shdrs.data(), len) != len) {
        oops("ELF section header table is cut short");
    }
}

static std::string read_name(block_reader& file, uint64_t pos) {
    std::string name;
    for (;;) {
        size_t count = 0;
        const char* part = file.peek(pos, count);
        const size_t len = strnlen(part, count);
        name.append(part, len);
        if (len < count || count == 0) return name;
        pos += len;
    }
}

void read_secnames(block_reader& file, const Ehdr* hdr, const std::vector<Shdr>& shdrs,
                   std::vector<std::string>& names) {
    names.clear();
    if (shdrs.empty()) return;
    if (hdr->e_shstrndx >= hdr->e_shnum) oops("ELF section name index is out of range");
    const uint32_t base = shdrs[hdr->e_shstrndx].sh_offset;
    for (const Shdr& shdr : shdrs) {
        // Offsets in the file have 32 bits, and so does their sum: it wraps.
        const uint32_t pos = base + shdr.sh_name;
        names.push_back(read_name(file, pos));
    }
}

bool is_loaded(const Shdr& shdr, const std::string& name) {
    if (shdr.sh_size == 0 || (shdr.sh_flags & SHF_ALLOC) == 0) return false;
    for (const char* left_out : {".bss", ".sbss", ".stack"}) {
        if (name.find(left_out) != std::string::npos) return false;
    }
    return true;
}

size_t filter_sec(std::vector<Shdr>& shdrs, std::vector<std::string>& names) {
    size_t kept = 0;
    for (size_t i = 0; i < shdrs.size(); i++) {
        if (!is_loaded(shdrs[i], names[i])) continue;
        shdrs[kept] = shdrs[i];
        names[kept].swap(names[i]);
        kept++;
    }
    shdrs.resize(kept);
    names.resize(kept);
    return kept;
}

bool sec_cmp(const CSect& a, const CSect& b) {
    return a.hdr.sh_addr < b.hdr.sh_addr;
}

void print_sections(const std::list<CSect>& sections) {
    for (const CSect& sect : sections) sect.print(stdout);
}

// Placement: every section goes into a bank.

// Maps have few banks, so a plain search will do.
size_t find_bank(const std::vector<CBank>& banks, CSect& sect) {
    for (size_t i = 0; i < banks.size(); i++) {
        if (banks[i].in_bank(sect.hdr.sh_addr, sect.bank_base)) return i;
    }
    print_banks(banks);
    oops("Section " + sect.name + " 0x" + hex8(sect.hdr.sh_addr) + " 0x" + hex8(sect.last()) +
         " can't add to banks");
}

void sec2banks(std::vector<CBank>& banks, std::list<CSect>& sections) {
    // Sections arrive in ascending address order, so what one insertion walked past
    // stays below every later one: each bank resumes where its last insertion ended.
    std::vector<std::list<CSect>::iterator> resume;
    resume.reserve(banks.size());
    for (CBank& bank : banks) resume.push_back(bank.sections.begin());

    while (!sections.empty()) {
        const size_t i = find_bank(banks, sections.front());
        resume[i] = banks[i].insert(resume[i], sections);
    }
}

// Output: names, listing, image files.

std::string only_name(const std::string& path) {
    const std::string file = path.substr(path.rfind('/') + 1);  // npos + 1 is 0: all of it
    return file.substr(0, file.find('.'));
}

void setelfname(std::vector<CBank>& banks, const std::string& elf_path) {
    const std::string elfname = only_name(elf_path);
    for (CBank& bank : banks) bank.elfname = elfname;
}

void full_print(const std::vector<CBank>& banks) {
    for (size_t i = 0; i < banks.size(); i++) {
        print_bank(banks, i);
        print_sections(banks[i].sections);
    }
}

void write_banks(const std::vector<CBank>& banks) {
    for (const CBank& bank : banks) bank.write();
}
