// The steps of a run: the bank table, the configuration files, the ELF file and its sections, the
// sections in their banks, the banks' image files.
#include "bankimg.h"

#include <fcntl.h>
#include <strings.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <set>
#include <utility>

#include "report.h"
#include "xstring.h"

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

namespace {

void print_bank(const std::vector<CBank>& banks, size_t index) {
    printf("[%zu]: ", index);
    banks[index].print();
}

}  // namespace

void print_banks(const std::vector<CBank>& banks) {
    for (size_t i = 0; i < banks.size(); i++) print_bank(banks, i);
}

// Configuration files: one bank per line. A new bank is tested against all that are listed already.

namespace {

[[noreturn]] void cant_open(const char* path) {
    printf("Can't open file %s\n", path);
    exit(EXIT_FAILURE);
}

// The line that is being parsed, with its comment and its outer blanks.
std::string current;

// Reports an error in the current line and ends the run.
[[noreturn]] void oops2(const char* message) {
    oops((current + "\n" + message).c_str());
}

struct no_case_less {
    bool operator()(const std::string& a, const std::string& b) const {
        return strcasecmp(a.c_str(), b.c_str()) < 0;
    }
};

// Finds the listed bank that a new one might clash with, so that a file of many banks takes no
// comparison of each with each.
struct bank_index {
    std::set<std::string, no_case_less> names;
    std::map<uint32_t, size_t> by_start;  // first address to place in the list

    explicit bank_index(const std::vector<CBank>& banks) {
        for (size_t i = 0; i < banks.size(); i++) add(banks[i], i);
    }

    void add(const CBank& bank, size_t i) {
        names.insert(bank.name);
        by_start[bank.start] = i;
    }
};

// Tells whether `bank` shares neither name nor address with a listed bank.
bool check_bank(const std::vector<CBank>& banks, const bank_index& index, const CBank& bank) {
    if (index.names.count(bank.name) != 0) return false;
    // Listed ranges are apart from one another: if any reaches into the new one, then the last
    // of those that begin at or below its end.
    const auto above = index.by_start.upper_bound(bank.end);
    return above == index.by_start.begin() || !banks[std::prev(above)->second].overlap(bank);
}

CBank parse_bank(const std::vector<std::string>& fields) {
    if (fields.size() < 3) oops2("Bad cfg format");
    CBank bank;
    bank.name = fields[0];
    bank.start = atox(fields[1].c_str());
    bank.end = atox(fields[2].c_str());
    if (fields.size() > 3) bank.prefix = fields[3];
    if (fields.size() > 4) bank.suffix = fields[4];
    return bank;
}

}  // namespace

void cfg2banks(std::vector<CBank>& banks, const char* path) {
    FILE* file = fopen(path, "r");
    if (file == nullptr) cant_open(path);
    bank_index index(banks);
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
        if (bank.start >= bank.end) {
            print_banks(banks);
            oops2("Bad range");
        }
        if (!check_bank(banks, index, bank)) {
            print_banks(banks);
            oops2("Overlapped banks");
        }
        index.add(bank, banks.size());
        banks.push_back(bank);
    }
    if (ferror(file) != 0) oops(("Can't read file " + std::string(path)).c_str());
    fclose(file);
}

uint32_t atox(const char* text) {
    if (strncmp(text, "0x", 2) == 0) text += 2;
    const size_t len = strlen(text);
    if (len > 8 || strspn(text, "0123456789abcdefABCDEF") != len) oops2("Bad hex format");
    return static_cast<uint32_t>(strtoul(text, nullptr, 16));
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

void read_sections(const char* path, std::list<CSect>& sections) {
    sections.clear();
    const int fd = openb(path, O_RDONLY);
    Ehdr hdr{};
    if (read_at(fd, 0, &hdr, sizeof hdr) != sizeof hdr) oops("ELF header is cut short");

    std::vector<Shdr> shdrs;
    std::vector<std::string> names;
    read_sechdrs(fd, &hdr, shdrs);
    read_secnames(fd, &hdr, shdrs, names);
    filter_sec(shdrs, names);

    for (size_t i = 0; i < shdrs.size(); i++) {
        if (shdrs[i].sh_size > INT32_MAX) oops(("Section " + names[i] + " is too large").c_str());
        CSect& sect = sections.emplace_back();
        sect.name = std::move(names[i]);
        sect.setfname();
        sect.hdr = shdrs[i];
        sect.readv(fd);
    }
    close(fd);
    sections.sort(sec_cmp);
}

int read_sechdrs(int fd, const Ehdr* hdr, std::vector<Shdr>& shdrs) {
    shdrs.assign(hdr->e_shnum, Shdr{});
    if (shdrs.empty()) return 0;
    if (hdr->e_shentsize != sizeof(Shdr)) oops("ELF section header size is not 40");
    const size_t len = shdrs.size() * sizeof(Shdr);
    if (read_at(fd, hdr->e_shoff, shdrs.data(), len) != len) {
        oops("ELF section header table is cut short");
    }
    return hdr->e_shnum;
}

namespace {

// The part of the file that names were read from last. Most names follow one another, so that
// one read serves many of them.
struct name_block {
    uint64_t pos = 0;  // file offset of the first byte
    size_t len = 0;
    char bytes[512] = {};
};

std::string read_name(int fd, name_block& block, uint64_t pos) {
    std::string name;
    for (;;) {
        if (pos < block.pos || pos >= block.pos + block.len) {
            block.pos = pos;
            block.len = read_at(fd, pos, block.bytes, sizeof block.bytes);
            if (block.len == 0) return name;
        }
        const size_t skip = pos - block.pos;
        const size_t len = strnlen(block.bytes + skip, block.len - skip);
        name.append(block.bytes + skip, len);
        if (skip + len < block.len) return name;
        pos += len;
    }
}

}  // namespace

int read_secnames(int fd, const Ehdr* hdr, const std::vector<Shdr>& shdrs,
                  std::vector<std::string>& names) {
    names.clear();
    if (hdr->e_shnum == 0) return 0;
    if (hdr->e_shstrndx >= hdr->e_shnum) oops("ELF section name index is out of range");
    const uint32_t base = shdrs[hdr->e_shstrndx].sh_offset;
    name_block block;
    names.reserve(shdrs.size());
    for (const Shdr& shdr : shdrs) {
        const uint32_t pos = base + shdr.sh_name;
        names.push_back(read_name(fd, block, pos));
    }
    return hdr->e_shnum;
}

namespace {

bool is_loaded(const Shdr& shdr, const std::string& name) {
    if (shdr.sh_size == 0 || (shdr.sh_flags & SHF_ALLOC) == 0) return false;
    for (const char* left_out : {".bss", ".sbss", ".stack"}) {
        if (name.find(left_out) != std::string::npos) return false;
    }
    return true;
}

}  // namespace

int filter_sec(std::vector<Shdr>& shdrs, std::vector<std::string>& names) {
    size_t kept = 0;
    for (size_t i = 0; i < shdrs.size(); i++) {
        if (!is_loaded(shdrs[i], names[i])) continue;
        if (kept != i) {
            shdrs[kept] = shdrs[i];
            names[kept] = std::move(names[i]);
        }
        kept++;
    }
    shdrs.resize(kept);
    names.resize(kept);
    return static_cast<int>(kept);
}

bool sec_cmp(const CSect& a, const CSect& b) {
    return a.hdr.sh_addr < b.hdr.sh_addr;
}

void print_sections(const std::list<CSect>& sections) {
    for (const CSect& sect : sections) sect.print(stdout);
}

// Placement: every section goes into a bank.

namespace {

// Gives back the index of the first bank that takes `sect`, which receives that bank's base. Maps
// have few banks: a plain search in list order will do.
size_t find_bank(const std::vector<CBank>& banks, CSect& sect) {
    for (size_t i = 0; i < banks.size(); i++) {
        if (banks[i].in_bank(sect.hdr.sh_addr, sect.bank_base)) return i;
    }
    print_banks(banks);
    char span[sizeof " 0x00000000 0x00000000"];
    snprintf(span, sizeof span, " 0x%08x 0x%08x", sect.hdr.sh_addr, sect.last());
    oops(("Section " + sect.name + span + " can't add to banks").c_str());
}

}  // namespace

void sec2banks(std::vector<CBank>& banks, std::list<CSect>& sections) {
    // Sections arrive in ascending address order, so what one insertion walked past
    // stays behind every later one: each bank resumes where its last insertion ended.
    std::vector<std::list<CSect>::iterator> resume;
    resume.reserve(banks.size());
    for (CBank& bank : banks) resume.push_back(bank.sections.begin());

    while (!sections.empty()) {
        const auto sect = sections.begin();
        const size_t i = find_bank(banks, *sect);
        const auto place = banks[i].place(resume[i], sect->hdr.sh_addr);
        banks[i].sections.splice(place, sections, sect);
        resume[i] = sect;
    }
}

// Output: names, listing, image files.

void only_name(const std::string& path, std::string& result) {
    const size_t slash = path.rfind('/');
    result = slash == std::string::npos ? path : path.substr(slash + 1);
    result = result.substr(0, result.find('.'));
}

void setelfname(std::vector<CBank>& banks, const std::string& elf_path) {
    std::string elfname;
    only_name(elf_path, elfname);
    for (CBank& bank : banks) bank.elfname = elfname;
}

void full_print(const std::vector<CBank>& banks) {
    for (size_t i = 0; i < banks.size(); i++) {
        print_bank(banks, i);
        print_sections(banks[i].sections);
    }
}

void write_banks(std::vector<CBank>& banks) {
    for (CBank& bank : banks) bank.write();
}
