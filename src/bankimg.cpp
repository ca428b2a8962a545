// The steps of a run: the banks, the ELF file and its sections, the sections in their banks, the
// banks' image files.
#include "bankimg.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <utility>

#include "report.h"

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

// The ELF file: header, section header table, names, bytes.

int openb(const char* path, int flags) {
    const int fd = open(path, flags);
    if (fd < 0) {
        printf("Can't open file %s\n", path);
        exit(EXIT_FAILURE);
    }
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
    char bytes[4096];
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

// Gives back the index of the first bank that takes `sect`, which receives that bank's base.
size_t find_bank(const std::vector<CBank>& banks, CSect& sect) {
    for (size_t i = 0; i < banks.size(); i++) {
        if (banks[i].in_bank(sect.hdr.sh_addr, sect.bank_base)) return i;
    }
    print_banks(banks);
    fflush(stdout);
    fprintf(stderr, "Section %s 0x%08x 0x%08x can't add to banks\n", sect.name.c_str(),
            sect.hdr.sh_addr, sect.last());
    exit(EXIT_FAILURE);
}

}  // namespace

void sec2banks(std::vector<CBank>& banks, std::list<CSect>& sections) {
    // Sections arrive in ascending address order, so what one insertion walked past
    // stays behind every later one: each bank resumes where its last insertion ended.
    std::vector<std::list<CSect>::iterator> resume;
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
