// Writes the ELF files that fuzzing starts from into the current directory, each with a
// different trait.
#include <fstream>

#include "elf_file.h"

static void write_seed(const char* name, const std::string& bytes) {
    std::ofstream(name, std::ios::binary) << bytes;
}

int main() {
    const std::string bytes = ascending(40);
    write_seed("empty", elf_file({}));
    write_seed("aligned", elf_file({{".text", 0x18440000, bytes}, {".boot", 0x1fc00000, bytes}}));
    write_seed("gap", elf_file({{".a", 0x18400028, bytes}, {".b", 0x184000f4, bytes}}));
    write_seed("overlap", elf_file({{".a", 0, bytes}, {".b", 8, bytes}, {".c", 8, bytes}}));
    write_seed("nobits", elf_file({{".bss", 0, "", SHF_ALLOC, SHT_NOBITS, 64},
                                   {".tbss", 64, "", SHF_ALLOC, SHT_NOBITS, 64}}));
    write_seed("alias", elf_file({{"a", 0x1fc00010, "x"}, {"b", 0x1fc00020, "y"}}));
    write_seed("wrap", elf_file({{"a", 0xfffffff8, bytes}}));
    write_seed("outside", elf_file({{"a", 0x18450000, bytes}}));
    write_seed("stored", elf_file({{".text", 0x18440000, bytes, SHF_ALLOC, 1, 0, 0x18440000},
                                   {".data", 0x18400000, bytes, SHF_ALLOC, 1, 0, 0x18440028},
                                   {"a/b", 0x18400020, "x"}}));
    write_seed("cut", elf_file({{"a", 0, "x", SHF_ALLOC, 1, 0x1000}}));
}
