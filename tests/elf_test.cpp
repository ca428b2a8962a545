// The ELF file: which sections are taken, in which order, under which names, and damage.
#include "test.h"

using namespace std::string_literals;

TEST(elf, takes_loadable_sections_in_address_order) {
    const std::string long_name = ".high" + std::string(5000, 'n');  // more than one read of names
    const std::string elf =
        elf_file({sect(long_name, 0xbfc00000), sect(".boot", 0x1fc00000, 2),
                  sect(".comment", 0, 1, 0, SHF_MERGE | SHF_STRINGS), sect(".empty", 16, 0),
                  nobits(".bss", 32, 1U << 31), sect("my.sbss2", 32), sect("x.stack_dummy", 32),
                  sect(".mystack", 0x30, 5), nobits(".tbss", 64, 3),
                  sect("..x", 0x50, 1, 0, SHF_ALLOC | SHF_EXECINSTR), sect("%s too", 0x50, 12),
                  sect("", 0x60, 1), sect("boot", 0x70, 40)});
    EXPECT_EQ(
        terminal("umask 0; bankimg -pw -g 0 fw.elf <&- >said\n"
                 "echo $(sed 's/ [^ ]* [^ ]*$//; s/n\\{5000\\}/ and 5000 n/' said)\n"
                 "stat -c %a tbss.bin bank0.dat; tail -v -c +1 .bin .x.bin *.bin",
                 {{"fw.elf", elf}}),
        "[.mystack] 00000030 [.tbss] 00000040 [..x] 00000050 [%s too] 00000050 [] 00000060 [boot] "
        "00000070 [.boot] 1fc00000 [.high and 5000 n] bfc00000\n600\n666\n"
        "==> .bin <==\n\1\n==> .x.bin <==\n\1\n==> %s too.bin <==\n\1\2\3\4\5\6\a\b\t\n\v\f\n"
        "==> boot.bin <==\n\1\2\n==> mystack.bin <==\n\1\2\3\4\5\n==> tbss.bin <==\n\0\0\0"s);
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
    const auto refused = [](const std::string& message, const std::string& file) {
        EXPECT_EQ(terminal("bankimg a || bankimg-map -l a", {{"a", file}}),
                  message + "\n" + message + "\nexit 1\n");
    };
    refused("ELF header is cut short", elf_file({}).substr(0, 51));
    refused("ELF section header size is not 40",
            elf_file({}, [](headers& h) { h.file.e_shentsize = 64; }));
    refused("ELF section header table is cut short", elf_file({}).substr(0, 130));
    refused("ELF section name index is out of range",
            elf_file({}, [](headers& h) { h.file.e_shstrndx = 2; }));
    refused("Section big is too large", elf_file({{"big", 0, "", SHF_ALLOC, 1, 1U << 31}}));
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
