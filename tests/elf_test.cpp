// The ELF file: which sections are taken, in which order, under which names, and damage.
#include "test.h"

using namespace std::string_literals;

TEST(elf, takes_loadable_sections_in_address_order) {
    const std::string long_name = ".high" + std::string(5000, 'n');  // more than one read of names
    const std::string elf = elf_file({{long_name, 0xbfc00000, "no file can have such a name"},
                                      {".boot", 0x1fc00000, "12"},
                                      {".comment", 0, "x", 0x30},
                                      {".empty", 0x10, ""},
                                      {".bss", 0x20, "", SHF_ALLOC, SHT_NOBITS, 1U << 31},
                                      {"my.sbss2", 0x20, "x"},
                                      {"x.stack_dummy", 0x20, "x"},
                                      {".mystack", 0x30, "taken"},
                                      {".tbss", 0x40, "", SHF_ALLOC, SHT_NOBITS, 3},
                                      {"..x", 0x50, "a", SHF_ALLOC | 4},
                                      {"%s too", 0x50, "\0\n"s},
                                      {"", 0x60, "c"},
                                      {"boot", 0x70, "longer, and of the same name"}});
    EXPECT_EQ(terminal("umask 0; bankimg -pw -g 0 fw.elf <&- && stat -c %a tbss.bin bank0.dat\n"
                       "tail -v -c +1 .bin .x.bin *.bin",
                       {{"fw.elf", elf}}),
              "[.mystack] 00000030 00000034 (5,0x5)\n"
              "[.tbss] 00000040 00000042 (3,0x3)\n"
              "[..x] 00000050 00000050 (1,0x1)\n"
              "[%s too] 00000050 00000051 (2,0x2)\n"
              "[] 00000060 00000060 (1,0x1)\n"
              "[boot] 00000070 0000008b (28,0x1c)\n"
              "[.boot] 1fc00000 1fc00001 (2,0x2)\n"
              "[" +
                  long_name +
                  "] bfc00000 bfc0001b (28,0x1c)\n"
                  "600\n666\n"
                  "==> .bin <==\nc\n==> .x.bin <==\na\n==> %s too.bin <==\n\0\n\n"
                  "==> boot.bin <==\n12\n==> mystack.bin <==\ntaken\n==> tbss.bin <==\n\0\0\0"s);
}

TEST(elf, bytes_and_names_may_end_with_the_file) {
    const std::string front(500, 'x');
    std::string elf = elf_file({{"", 0, front, 0}, {"last", 0x20, "y", SHF_ALLOC, 1, 0x1000}});
    elf.pop_back();  // the zero byte that ends the name
    std::string bytes = elf.substr(sizeof(Ehdr) + front.size());
    bytes.resize(0x1000);
    EXPECT_EQ(terminal("MALLOC_PERTURB_=85 bankimg -pw fw.elf; cat last.bin", {{"fw.elf", elf}}),
              "[last] 00000020 0000101f (4096,0x1000)\n" + bytes);
}

TEST(elf, damaged_headers_are_refused) {
    const std::pair<std::string, std::string> cases[] = {
        {elf_file({}).substr(0, 51), "ELF header is cut short"},
        {elf_file({}, [](headers& h) { h.file.e_shentsize = 64; }),
         "ELF section header size is not 40"},
        {elf_file({}).substr(0, 130), "ELF section header table is cut short"},
        {elf_file({}, [](headers& h) { h.file.e_shstrndx = 2; }),
         "ELF section name index is out of range"},
        {elf_file({{"big", 0, "", SHF_ALLOC, 1, 1U << 31}}), "Section big is too large"},
    };
    for (const auto& [file, message] : cases) {
        for (const std::string run : {"bankimg a", "bankimg-map -l a"}) {
            EXPECT_EQ(terminal(run, {{"a", file}}), message + "\nexit 1\n");
        }
    }
    // No sections at all, and no 0x7f before "ELF".
    EXPECT_EQ(terminal("bankimg a", {{"a", ".ELF" + std::string(48, '\0')}}), "");
}

TEST(elf, strange_headers_are_not) {
    // Header 0 is like any other. The sum that leads to a name wraps at 2^32, here back to the
    // section's own bytes; the section's offset is beyond the end of the file.
    const std::string elf = elf_file({{"", 0x10, "name\0"s}}, [](headers& h) {
        h.sections[1].sh_name = uint32_t{sizeof(Ehdr)} - h.sections[2].sh_offset;
        h.sections[1].sh_offset = 0xfffffffe;
        h.sections[0] = h.sections[1];
    });
    const std::string line = "[name] 00000010 00000014 (5,0x5)\n";
    EXPECT_EQ(terminal("MALLOC_PERTURB_=85 bankimg -pw a; cat name.bin", {{"a", elf}}),
              line + line + "\0\0\0\0\0"s);
}
