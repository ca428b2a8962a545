// bankimg-map: all 32 bits of addresses, load addresses, sections that are left out.
#include "test.h"

// Without their top three bits, three of the addresses are one.
TEST(map, all_bits_count) {
    const file_map inputs{
        {"fw.elf", elf_file({sect(".low", 0x100), sect(".low.er", 0x140, 1),
                             sect(".high", 0xe0000100), sect(".middle", 0x20000100)})},
        {"banks", "high e0000000 ffffffff\nlow 0 1fffffff a,b c\n"},
        {"more", "middle 20000000 20000100"}};
    EXPECT_EQ(
        terminal(
            "POSIXLY_CORRECT=1 bankimg-map fw.elf another -Pnwz -C banks -g 0 -c more "
            "-x .low.er -x .lo -o new/out && cd new/out && tail -qn 1 high a,b_fw_c.dat middle\n"
            "wc -l <middle; echo *.bin",
            inputs),
        "bankimg-map: no section is called .lo\n"
        "[0]: high\te0000000 ffffffff\n[.high] e0000100 e000010f (16,0x10)\n"
        "[1]: low\t00000000 1fffffff (a,b,c)\n[.low] 00000100 0000010f (16,0x10)\n"
        "[2]: middle\t20000000 20000100\n[.middle] 20000100 2000010f (16,0x10)\n"
        "04030201 08070605 0c0b0a09 100f0e0d //e0000100\n"
        "04030201 08070605 0c0b0a09 100f0e0d //00000100\n"
        "04030201 08070605 0c0b0a09 100f0e0d //20000100\n17\nhigh.bin low.bin middle.bin\n");
}

TEST(map, run_that_ends_before_its_images_creates_no_directory) {
    const file_map inputs{{"fw.elf", elf_file({sect(".text", 0), sect(".data", 0x20000000)})},
                          {"cut.elf", elf_file({{"cut", 0, "", SHF_ALLOC, SHT_PROGBITS, 999}})},
                          {"c", "low.dat 0 fff"}};
    const auto run = [&](const std::string& args) {
        return terminal("bankimg-map -o new " + args + " && echo *; ! ls -d new 2>&-", inputs);
    };
    EXPECT_EQ(run("-bC c >&-"), "c cut.elf fw.elf\n");
    EXPECT_EQ(run("-wC c fw.elf >&-"), "Section .data 0x20000000 0x2000000f can't add to banks\n");
    EXPECT_EQ(run("-pw cut.elf"), "bankimg-map: section cut is cut short\n");
    EXPECT_EQ(run("-wx .data fw.elf -o c/d"),
              "bankimg-map: c/d: cannot be created: Not a directory\n");
}

TEST(map, files_that_cannot_be_written_end_the_run) {
    const file_map inputs{{"fw.elf", elf_file({sect(".text", 0)})},
                          {"full", "/dev/full 0 f"},
                          {"null", "/dev/null 0 f"}};
    const std::string setup = "mkdir -p d/bank0.dat d/text.bin; trap '' XFSZ; ulimit -f 0\n";
    const auto run = [&](const std::string& args) {
        return terminal(setup + "bankimg-map -o d fw.elf " + args, inputs);
    };
    EXPECT_EQ(run(""), "Can't open file d/bank0.dat\nexit 1\n");
    EXPECT_EQ(run("-w"), "bankimg-map: d/text.bin: cannot be written: Is a directory\nexit 1\n");
    EXPECT_EQ(run("-wo ."), "bankimg-map: ./text.bin: cannot be written: File too large\nexit 1\n");
    EXPECT_EQ(run("-C full"),
              "bankimg-map: /dev/full: cannot be written: No space left on device\nexit 1\n");
    EXPECT_EQ(run("-C null"), "");
}

// Sections that overlap, share lines and leave gaps, with a bank file that changes nothing, one
// that cannot be read, and one with an error.
TEST(map, is_bankimg_where_all_sections_lie_in_one_region) {
    const file_map inputs{
        {"fw.elf", elf_file({sect(".b", 0x18440024), sect(".a", 0x18440020), sect(".c", 0x18440079),
                             sect(".boot", 0x1fc00001, 1)})},
        {"more", "b.dat 30000000 30000001"},
        {"bad", "b.dat"}};
    for (const std::string args : {"fw.elf", "fw.elf -pPwnz", "-g 0 fw.elf", "-g 4294967297 fw.elf",
                                   "-c more fw.elf", "-C more fw.elf", "-C bad fw.elf", "-c . -b",
                                   "-b missing.elf", "-pv -g 2", "more", "missing.elf"}) {
        const std::string rest = args + "; echo $?; tail -v -n +1 *.bin *.dat";
        EXPECT_EQ(terminal("bankimg-map " + rest, inputs), terminal("bankimg " + rest, inputs));
    }
}

// Shows the load addresses of sections. data, text and same have segments. inner's bytes are the
// last of data's; tail reaches past them.
static std::string stored_in_flash(void change(headers&)) {
    const auto lay_out = [&](headers& h) {
        h.sections[2].sh_offset = h.sections[3].sh_offset = h.sections[1].sh_offset + 12;
        change(h);
    };
    const std::string elf =
        elf_file({sect("data", 0x20000000, 16, 0x08000300), sect("inner", 0x20000010, 4),
                  sect("tail", 0x08000200, 5), sect("text", 0x08000100, 16, 0x08000400),
                  sect("same", 0x08000000, 1, 0x08000400),
                  nobits("no_bytes", 0x20000020, 1U << 31, SHF_ALLOC, 0x08000500)},
                 lay_out);
    return terminal("echo $(bankimg-map -lpC c fw.elf 2>&1 | tr -d '[]' | sed 's/ [^ ]* (.*//')",
                    {{"fw.elf", elf}, {"c", "all 0 1fffffff\nRAM 20000000 3fffffff"}});
}

TEST(map, load_addresses_are_those_of_the_segment_that_holds_all_bytes) {
    EXPECT_EQ(stored_in_flash([](headers&) {}),
              "tail 08000200 data 08000300 inner 0800030c text 08000400 same 08000400\n");
    // text's segment is another than a loaded one.
    EXPECT_EQ(stored_in_flash([](headers& h) { h.segments[1].p_type++; }),
              "text 08000100 tail 08000200 data 08000300 inner 0800030c same 08000400\n");
    // The first segment holds the bytes of all, not only of its own section.
    const auto enclosing = [](headers& h) {
        std::swap(h.segments[0], h.segments[2]);
        h.segments[0].p_offset = h.sections[1].sh_offset, h.segments[0].p_filesz = 99;
    };
    EXPECT_EQ(stored_in_flash(enclosing),
              "data 08000300 text 08000400 inner 0800040c tail 0800040c same 08000429\n");
    EXPECT_EQ(stored_in_flash([](headers& h) { h.file.e_phnum = h.file.e_phentsize = 0; }),
              "same 08000000 text 08000100 tail 08000200 data 20000000 inner 20000010\n");
    EXPECT_EQ(stored_in_flash([](headers& h) { h.file.e_phentsize = 56; }),
              "ELF program header size is not 32\n");
    EXPECT_EQ(stored_in_flash([](headers& h) { h.file.e_phoff = 0xfffffff0; }),
              "ELF program header table is cut short\n");
}

TEST(map, a_bank_lies_within_one_region) {
    const file_map inputs{{"c", "a.dat 1ffffff0 1fffffff\nb.dat 20000000 3fffffff"},
                          {"crossing", "c dffffffe e0000000"}};
    EXPECT_EQ(terminal("bankimg-map -C c x 2>&-", inputs), "Can't open file x\nexit 1\n");
    EXPECT_EQ(terminal("bankimg-map -C c -c crossing missing", inputs),
              "bank c dffffffe e0000000 crosses a multiple of 20000000: divide it there\nexit 1\n");
    EXPECT_EQ(terminal("bankimg-map -C crossing -b", inputs), "[0]: c\tdffffffe e0000000\n");
}
