// The ELF file: which sections are taken, in which order, under which names, and damage.
#include <gtest/gtest.h>

#include "elf_file.h"
#include "run.h"

namespace {

TEST(elf, takes_loadable_sections_in_address_order) {
    const std::string long_name = ".high" + std::string(1300, 'n');
    const std::string elf = elf_file({{long_name, 0xbfc00000, "1234"},
                                      {".boot", 0x1fc00000, "12"},
                                      {".comment", 0, "x", 0},
                                      {".empty", 0x10, ""},
                                      {".bss", 0x20, "x"},
                                      {"my.sbss2", 0x20, "x"},
                                      {"x.stack_dummy", 0x20, "x"},
                                      {".mystack", 0x30, "taken"},
                                      {".tbss", 0x40, "", SHF_ALLOC, SHT_NOBITS, 3},
                                      {"same", 0x50, "a", SHF_ALLOC | 4},
                                      {"same too", 0x50, "bb"},
                                      {"", 0x60, "c"}});
    EXPECT_EQ(run_elf("-p -g 0", elf).out,
              "[.mystack] 00000030 00000034 (5,0x5)\n"
              "[.tbss] 00000040 00000042 (3,0x3)\n"
              "[same] 00000050 00000050 (1,0x1)\n"
              "[same too] 00000050 00000051 (2,0x2)\n"
              "[] 00000060 00000060 (1,0x1)\n"
              "[.boot] 1fc00000 1fc00001 (2,0x2)\n"
              "[" +
                  long_name + "] bfc00000 bfc00003 (4,0x4)\n");
}

TEST(elf, raw_files_hold_the_bytes_of_the_sections) {
    const std::string elf = elf_file({{".text", 0x100, "code"},
                                      {"..x", 0x200, std::string("\0\n", 2)},
                                      {"data", 0x300, "", SHF_ALLOC, SHT_NOBITS, 2},
                                      {"no/folder", 0x400, "passed over"},
                                      {"%s%n", 0x500, "e"}});
    const outcome got = run("umask 0; bankimg -w fw.elf && stat -c %a data.bin *.dat; rm *.dat",
                            {{"fw.elf", elf}, {"text.bin", "older and longer"}});
    EXPECT_EQ(got.out, "600\n666\n");
    EXPECT_EQ(got.files, (file_map{{"text.bin", "code"},
                                   {".x.bin", std::string("\0\n", 2)},
                                   {"data.bin", std::string("\0\0", 2)},
                                   {"%s%n.bin", "e"}}));
}

TEST(elf, bytes_and_names_may_end_with_the_file) {
    std::string elf = elf_file({{"last", 0x20, "y", SHF_ALLOC, 1, 0x1000}});
    elf.pop_back();  // the zero byte that ends the name
    const outcome got = run("MALLOC_PERTURB_=85 bankimg -pw fw.elf", {{"fw.elf", elf}});
    EXPECT_EQ(got.out, "[last] 00000020 0000101f (4096,0x1000)\n");
    std::string bytes = elf.substr(sizeof(Ehdr));
    bytes.resize(0x1000);
    EXPECT_EQ(got.files.at("last.bin"), bytes);
}

TEST(elf, damaged_headers_are_refused) {
    const std::string elf = elf_file({{".text", 0x100, "code"}});
    const auto with = [&](size_t field, uint16_t value) { return patched(elf, field, value); };
    const std::pair<std::string, std::string> cases[] = {
        {elf.substr(0, 51), "ELF header is cut short"},
        {with(offsetof(Ehdr, e_shentsize), 64), "ELF section header size is not 40"},
        {elf.substr(0, elf.size() - 20), "ELF section header table is cut short"},
        {with(offsetof(Ehdr, e_shoff) + 2, 0xffff), "ELF section header table is cut short"},
        {with(offsetof(Ehdr, e_shstrndx), 3), "ELF section name index is out of range"},
        {elf_file({{"big", 0, "", SHF_ALLOC, SHT_NOBITS, 1U << 31}}), "Section big is too large"},
    };
    for (const auto& [file, message] : cases) {
        EXPECT_EQ(terminal("bankimg a", {{"a", file}}), message + "\nexit 1\n");
    }
    EXPECT_EQ(terminal("bankimg a", {{"a", with(offsetof(Ehdr, e_shnum), 0)}}), "");
}

}  // namespace
