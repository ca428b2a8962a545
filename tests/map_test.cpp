// bankimg-map: all 32 bits of addresses, load addresses, sections that are left out.
#include "test.h"

static const std::string bytes = ascending(16);
static const std::string line = "03020100 07060504 0b0a0908 0f0e0d0c //";

// Without their top three bits, three of the addresses are one.
static const file_map in_regions{{"fw.elf", elf_file({{".low", 0x100, bytes},
                                                      {".low.er", 0x140, "x"},
                                                      {".high", 0xe0000100, bytes},
                                                      {".middle", 0x20000100, bytes}})},
                                 {"banks", "high e0000000 ffffffff\nlow 0 1fffffff a,b c\n"},
                                 {"more", "middle 20000000 20000100"},
                                 {"low", "old\n"}};

TEST(map, all_bits_count) {
    EXPECT_EQ(terminal("POSIXLY_CORRECT=1 bankimg-map fw.elf another -pPnwz -C banks -g 0 -c more "
                       "-x .low.er; tail -n 1 high a,b_fw_c.dat middle; wc -l <middle; echo *.bin",
                       in_regions),
              "[.low] 00000100 0000010f (16,0x10)\n"
              "[.middle] 20000100 2000010f (16,0x10)\n"
              "[.high] e0000100 e000010f (16,0x10)\n"
              "[0]: high\te0000000 ffffffff\n"
              "[.high] e0000100 e000010f (16,0x10)\n"
              "[1]: low\t00000000 1fffffff (a,b,c)\n"
              "[.low] 00000100 0000010f (16,0x10)\n"
              "[2]: middle\t20000000 20000100\n"
              "[.middle] 20000100 2000010f (16,0x10)\n"
              "==> high <==\n" +
                  line + "e0000100\n\n==> a,b_fw_c.dat <==\n" + line +
                  "00000100\n\n==> middle <==\n" + line +
                  "20000100\n17\nhigh.bin low.bin middle.bin\n");
}

// Sections that overlap, share lines and leave gaps, with a bank file that changes nothing, one
// that cannot be read, and one with an error.
TEST(map, is_bankimg_where_all_sections_lie_in_one_region) {
    const file_map inputs{{"fw.elf", elf_file({{".b", 0x18440024, bytes},
                                               {".a", 0x18440020, bytes},
                                               {".c", 0x18440079, bytes},
                                               {".boot", 0x1fc00001, "x"}})},
                          {"more", "b.dat 30000000 30000001"},
                          {"bad", "b.dat"}};
    for (const std::string args : {"fw.elf", "fw.elf -pPwnz", "-g 0 fw.elf", "-g 4294967297 fw.elf",
                                   "-c more fw.elf", "-C more fw.elf", "-C bad fw.elf", "-c . -b",
                                   "-b missing.elf", "-pv -g 2", "more", "missing.elf"}) {
        const std::string rest = args + "; echo $?; tail -v -n +1 *.bin *.dat";
        EXPECT_EQ(terminal("bankimg-map " + rest, inputs), terminal("bankimg " + rest, inputs));
    }
    EXPECT_EQ(
        terminal("mkdir low.bin; bankimg-map -w -x .high -x .middle fw.elf >&-; echo *.bin *.dat",
                 in_regions),
        "low.bin low.er.bin bank0.dat\n");
}

// Lists the sections at their load addresses. .data and .text have segments. .part's bytes are the
// last of .data's; .tail reaches past them.
static std::string stored_in_flash(void change(headers&)) {
    const std::vector<elf_section> sections{
        {".data", 0x20000000, bytes, SHF_ALLOC, 1, 0, 0x08000300},
        {".part", 0x20000010, "", SHF_ALLOC, 1, 4},
        {".tail", 0x08000200, "", SHF_ALLOC, 1, 5},
        {".text", 0x08000100, bytes, SHF_ALLOC, 1, 0, 0x08000400},
        {".same", 0x08000000, "s", SHF_ALLOC, 1, 0, 0x08000400},
        {".no_bytes", 0x20000020, "", SHF_ALLOC, SHT_NOBITS, 1U << 31, 0x08000500}};
    const auto lay_out = [&](headers& h) {
        h.sections[2].sh_offset = h.sections[3].sh_offset = h.sections[1].sh_offset + 12;
        change(h);
    };
    return terminal("bankimg-map -lpC c fw.elf", {{"fw.elf", elf_file(sections, lay_out)},
                                                  {"c", "all 0 1fffffff\nRAM 20000000 3fffffff"}});
}

TEST(map, load_addresses_are_those_of_the_segment_that_holds_all_bytes) {
    const std::string tail = "[.tail] 08000200 08000204 (5,0x5)\n";
    const std::string data =
        "[.data] 08000300 0800030f (16,0x10)\n[.part] 0800030c 0800030f (4,0x4)\n";
    const std::string same = "[.same] 08000400 08000400 (1,0x1)\n";
    EXPECT_EQ(stored_in_flash([](headers&) {}),
              tail + data + "[.text] 08000400 0800040f (16,0x10)\n" + same);
    // .text's segment is another than a loaded one.
    EXPECT_EQ(stored_in_flash([](headers& h) { h.segments[1].p_type++; }),
              "[.text] 08000100 0800010f (16,0x10)\n" + tail + data + same);
    EXPECT_EQ(stored_in_flash([](headers& h) { h.file.e_phnum = h.file.e_phentsize = 0; }),
              "[.same] 08000000 08000000 (1,0x1)\n[.text] 08000100 0800010f (16,0x10)\n" + tail +
                  "[.data] 20000000 2000000f (16,0x10)\n[.part] 20000010 20000013 (4,0x4)\n");
    EXPECT_EQ(stored_in_flash([](headers& h) { h.file.e_phentsize = 56; }),
              "ELF program header size is not 32\nexit 1\n");
    EXPECT_EQ(stored_in_flash([](headers& h) { h.file.e_phoff = 0xfffffff0; }),
              "ELF program header table is cut short\nexit 1\n");
}

TEST(map, a_name_that_no_section_has_is_told) {
    EXPECT_EQ(terminal("bankimg-map -px .high -x .lo -x .high -x .middle -C /dev/null fw.elf",
                       in_regions),
              "bankimg-map: no section is called .lo\n"
              "[.low] 00000100 0000010f (16,0x10)\n"
              "[.low.er] 00000140 00000140 (1,0x1)\n"
              "Section .low 0x00000100 0x0000010f can't add to banks\nexit 1\n");
}

TEST(map, a_bank_lies_within_one_region) {
    const file_map inputs{{"c", "a.dat 1ffffff0 1fffffff\nb.dat 20000000 3fffffff"},
                          {"crossing", "c.dat dffffffe e0000000"}};
    EXPECT_EQ(terminal("bankimg-map -C c missing.elf 2>&-", inputs),
              "Can't open file missing.elf\nexit 1\n");
    EXPECT_EQ(
        terminal("bankimg-map -C c -c crossing missing.elf", inputs),
        "bank c.dat dffffffe e0000000 crosses a multiple of 20000000: divide it there\nexit 1\n");
    EXPECT_EQ(terminal("bankimg-map -C crossing -b", inputs), "[0]: c.dat\tdffffffe e0000000\n");
}
