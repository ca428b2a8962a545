// bankimg-check: what it finds in a run, and what it lets pass.
#include <random>

#include "test.h"

static elf_section sect(const std::string& name, uint32_t addr, size_t size = 16,
                        uint32_t load = 0) {
    return {name, addr, ascending(size, 1), SHF_ALLOC, 1, 0, load};
}

static elf_section nobits(const std::string& name, uint32_t addr, uint32_t size,
                          uint32_t flags = SHF_ALLOC, uint32_t load = 0) {
    return {name, addr, "", flags, SHT_NOBITS, size, load};
}

// Shows the findings of "bankimg-check COMMAND fw.elf"; the file c holds `banks`.
static std::string check(const std::string& command, const std::vector<elf_section>& sections,
                         const std::string& banks = "", const damage& change = nullptr) {
    return terminal("bankimg-check " + command + " fw.elf",
                    {{"fw.elf", elf_file(sections, change)}, {"c", banks}});
}

static const std::vector<elf_section> good{sect(".text", 0x18440000), sect(".boot", 0x1fc00000)};

TEST(check, has_nothing_to_say_of_a_good_run_and_writes_nothing) {
    for (const std::string command :
         {"bankimg fw.elf -pPwzn -g 0 -g 1", "bankimg-map fw.elf -lw -x .boot",
          "-u bankimg -b missing.elf c", "bankimg -h -g 2", "bankimg-map -v"}) {
        EXPECT_EQ(terminal("POSIXLY_CORRECT=1 bankimg-check " + command + "; ls",
                           {{"fw.elf", elf_file(good)}}),
                  "fw.elf\n");
    }
}

TEST(check, shows_how_full_the_banks_are) {
    EXPECT_EQ(check("-ua bankimg -g 0 -C c fw.elf",
                    {sect(".rodata", 0x98400100, 64), sect(".data", 0x98400180, 24),
                     sect(".text", 0x18440000, 248), sect(".boot", 0x1fc00007, 20),
                     sect(".low", 0xc4000000, 32), sect(".high", 0xe4000000)},
                    "ram.dat 18400100 1840019f\nROM 18440000 184400f6\nfree.dat 0 1\n"
                    "odd.dat 1fc00007 1fc00021\nspare.dat 2 3\ntwo.dat c4000000 e400000f"),
              "error: fw.elf: a second file name is ignored: is -C missing in front of it?\n"
              "ram.dat  18400100 1840019f         88 of        160 bytes  55.0%  "
              "[################................######..]\n"
              "ROM      18440000 184400f6        247 of        247 bytes 100.0%  "
              "[########################################]\n"
              "odd.dat  1fc00007 1fc00021         20 of         27 bytes  74.1%  "
              "[#############################+..........]\n"
              "two.dat  c4000000 e400000f         48 of  536870928 bytes   0.0%  "
              "[+......................................+]\n"
              "free: free.dat spare.dat\n"
              "error: ROM: [.text] 18440000 184400f7 runs past the end of the bank\n"
              "error: two.dat: [.high] e4000000 e400000f differs from [.low] c4000000 c400001f in "
              "the top three address bits, which count in gaps\nexit 1\n");
}

TEST(check, files_that_a_run_takes_for_others) {
    const std::pair<damage, std::string> cases[] = {
        {[](headers& h) { h.file.e_ident[4] = 2, h.file.e_shentsize = 64; },
         "a 64-bit file: build for 32 bits, or convert it: objcopy -S -O elf32-..."},
        {[](headers& h) { h.file.e_ident[5] = 2; },
         "a big-endian file: the words of images are little-endian"},
        {[](headers& h) { h.file.e_type = 1; },
         "a relocatable file, whose sections have no addresses: link it first"},
        {[](headers& h) { h.file.e_shnum = 0; },
         "a file without section headers: there is no image"},
    };
    for (const auto& [change, finding] : cases) {
        EXPECT_EQ(check("-u bankimg-map", good, "", change), "error: " + finding + "\nexit 1\n");
    }
}

TEST(check, run_that_fails_says_what_it_would_say) {
    const file_map inputs{{"fw.elf", elf_file({sect(".a", 0x1fffffff, 1), sect(".b", 0x20000000)})},
                          {"c", "a.dat 10000000 1fffffff\nb.dat 3fffffff 40000000\n"},
                          {"cut", elf_file({}).substr(0, 51)}};
    const std::pair<std::string, std::string> cases[] = {
        {"bankimg missing", "Can't open file missing\n"},
        {"bankimg -b -C missing", "Can't open file missing\n"},
        {"bankimg c c",
         "error: c: a second file name is ignored: is -C missing in front of it?\n"
         "is not ELF file\n"},
        {"-u bankimg cut", "ELF header is cut short\n"},
        {"bankimg-map -C c fw.elf",
         "bank b.dat 3fffffff 40000000 crosses a multiple of 20000000: divide it there\n"},
        {"bankimg -C c fw.elf",
         "[0]: a.dat\t10000000 1fffffff\n[1]: b.dat\t3fffffff 40000000\n"
         "Section .b 0x20000000 0x2000000f can't add to banks\n"},
        {"./bankimg -g 2", terminal("ln -s \"$(command -v bankimg)\" .; ./bankimg -g 2; true")},
        {"bankimg -l", "bankimg: invalid option -- 'l'\n" + terminal("bankimg; true")},
    };
    for (const auto& [command, said] : cases) {
        EXPECT_EQ(terminal("bankimg-check " + command, inputs), said + "exit 1\n") << command;
    }
}

TEST(check, bytes_that_no_image_has) {
    elf_section zeros = sect(".bss", 0), debug = sect(".debug.bss", 0), sbss = sect("my.sbss", 32);
    zeros.data = std::string(5000, '\0'), sbss.data = zeros.data + "x", debug.flags = 0;
    // The section of names, which ends with the file, is loaded. .far ends at 2^32.
    const auto change = [](headers& h) {
        h.sections.back().sh_flags = SHF_ALLOC;
        h.sections[8].sh_offset = h.segments[1].p_offset = 0xfffffff0;
    };
    EXPECT_EQ(check("bankimg-map -x .bss.x -x .none fw.elf",
                    {zeros,
                     sbss,
                     nobits(".stack", 0, 4),
                     sect(".bss.x", 0),
                     debug,
                     sect(".text", 0x6000, 16, 0x6000),
                     {".cut", 0x7000, "x", SHF_ALLOC, 1, 4096},
                     sect(".far", 0x8000, 16, 0x9000)},
                    "", change),
              "error: fw.elf: a second file name is ignored: is -C missing in front of it?\n"
              "bankimg-map: no section is called .bss.x\nbankimg-map: no section is called .none\n"
              "error: [my.sbss] 00000020 000013a8: left out because of its name, but not empty: "
              "rename it\n"
              "error: [.cut] 00007000 00007fff: the file ends before the section does\n"
              "error: [.far] 00008000 0000800f: the file ends before the section does\n"
              "note: [.far] 00008000 0000800f: is stored at 00009000 for the startup code to copy: "
              "bankimg-map -l puts it there\nexit 1\n");
    EXPECT_EQ(check("bankimg-map -x .heap", {nobits(".heap", 0, 1U << 31), sect(".text", 0)}), "");
    EXPECT_EQ(check("bankimg-map -x .text", {sect(".text", 0), zeros}),
              "error: no section is loaded: there is no image\nexit 1\n");
}

static const std::string in_last_line =
    " begins inside the last line of the address space: begin it at fffffff0\n";

TEST(check, sections_that_overlap) {
    // g begins inside f, which wraps: it follows f in the bank.
    EXPECT_EQ(check("bankimg-map -g 0 -C c",
                    {sect("b", 0xf0000010), sect("c", 0xf000001c), sect("d", 0xf0000020),
                     sect("f", 0xfffffff8), sect("g", 0xfffffffc, 1)},
                    "top f0000000 ffffffff"),
              "error: top: [d] f0000020 f000002f overlaps [c] f000001c f000002b\n"
              "error: top: [c] f000001c f000002b overlaps [b] f0000010 f000001f\n"
              "error: top: [g] fffffffc fffffffc overlaps [f] fffffff8 00000007\n"
              "error: top: [f] fffffff8 00000007 runs past the end of the bank\n"
              "error: top: [g] fffffffc fffffffc" +
                  in_last_line + "exit 1\n");
    constexpr uint32_t tls = SHF_ALLOC | 0x400;
    const auto overlap = [](const elf_section& a, const elf_section& b) {
        const std::string said = check("bankimg -C c", {a, b}, "r 20000000 2000000f");
        return said.substr(0, said.find('\n'));
    };
    const elf_section zeros = nobits(".tbss", 0x20000000, 4, tls);
    EXPECT_EQ(overlap(sect("a", 0x20000000), zeros),
              "error: r: [.tbss] 20000000 20000003 overlaps [a] 20000000 2000000f: "
              "leave it out: bankimg-map -x .tbss");
    EXPECT_EQ(overlap(zeros, nobits("a", 0x20000000, 4)),
              "error: r: [a] 20000000 20000003 overlaps [.tbss] 20000000 20000003: "
              "leave it out: bankimg-map -x .tbss");
    EXPECT_EQ(overlap({".tdata", 0x20000000, "x", tls}, sect("a", 0x20000000)),
              "error: r: [a] 20000000 2000000f overlaps [.tdata] 20000000 20000000");
}

TEST(check, addresses_that_only_their_top_three_bits_tell_apart) {
    const std::vector<elf_section> arm{sect(".text", 0), sect(".data", 0x20000010)};
    const std::string map = "low.dat 0 ff\nhigh.dat 20000000 200000ff\n";
    EXPECT_EQ(check("bankimg -g 0 -C c", arm, map),
              "error: low.dat: [.data] 20000010 2000001f is in the bank only without the top three "
              "address bits: use bankimg-map, or -a if both are one memory\nexit 1\n");
    EXPECT_EQ(check("-a bankimg-map -C c", arm, map), "");
    const std::string aliases =
        "error: low.dat: [.data] 20000010 2000001f lies in the range of high.dat: one memory needs "
        "one bank\n"
        "error: low.dat: [.data] 20000010 2000001f differs from [.text] 00000000 0000000f in the "
        "top three address bits, which count in gaps\n";
    EXPECT_EQ(check("-a -m 94 bankimg -g 0 -C c", arm, map), aliases + "exit 1\n");
    for (const uint16_t mips : {uint16_t{8}, uint16_t{10}}) {
        const auto is_mips = [&](headers& h) { h.file.e_machine = mips; };
        EXPECT_EQ(check("-m 93 bankimg -g 0 -C c", arm, map, is_mips),
                  aliases + "error: low.dat: the image takes 94 bytes, more than 93\nexit 1\n");
    }
    // The bank has other top bits than its sections, of which only the first is told.
    EXPECT_EQ(check("-a bankimg -g 0 -C c",
                    {sect("a", 0x80000000, 1), sect("b", 0x80000020, 2), sect("c", 0xa0000010, 1),
                     sect("d", 0xa0000011, 1)},
                    "x 20000000 20000020\nnone 3fffffff 40000000"),
              "error: x: [b] 80000020 80000021 runs past the end of the bank\n"
              "error: x: [c] a0000010 a0000010 differs from [a] 80000000 80000000 in the top three "
              "address bits, which count in gaps\n"
              "error: none: takes nothing: without the top three address bits it ends below its "
              "start: divide it\nexit 1\n");
}

TEST(check, lengths_are_those_of_the_images) {
    const std::string compared =
        " | grep -o 'takes [0-9]*' | cut -d ' ' -f 2 | sort >told; bankimg $args\n"
        "stat -c %s *.dat | sort | diff told -";
    const std::string banks = "a.dat 0 1f\nb.dat 20 ffff\nc.dat 183ffff8 1fffffff";
    std::mt19937 random(1);
    for (int i = 0; i < 32; i++) {
        std::vector<elf_section> sections;
        for (auto count = 1 + random() % 6; count > 0; count--) {
            const auto addr = static_cast<uint32_t>(random() % 2 * 0x18400000 + random() % 200);
            sections.push_back(sect("s", addr, 1 + random() % 50));
        }
        const std::string options[] = {"", " -z", " -g 0", " -z -g 0"};
        EXPECT_EQ(terminal("args='-C c fw.elf" + options[i % 4] +
                               "'\nbankimg-check -m 0 bankimg $args" + compared,
                           {{"fw.elf", elf_file(sections)}, {"c", banks}}),
                  "");
    }
    // Without -m, 64 MiB. A line has 47 bytes.
    constexpr uint32_t lines = (64 << 20) / 47;
    EXPECT_EQ(check("bankimg-map", {sect("a", 0), sect("b", 16 * (lines - 1)),
                                    sect("c", 0x08000000), sect("d", 0x08000000 + 16 * lines)}),
              "error: bank1.dat: the image takes 67108903 bytes, more than 67108864\nexit 1\n");
}

TEST(check, outputs_of_one_name) {
    const std::vector<elf_section> sections{sect("rom", 0), sect(".rom", 0x100),
                                            sect(".fw", 0x200)};
    EXPECT_EQ(
        check("bankimg -C ././c", sections, "c 0 ff\n./b/../fw.elf 100 1ff\nx 200 2ff"),
        "error: c: a bank file and the image of c are one file\n"
        "error: ./b/../fw.elf: the ELF file and the image of ./b/../fw.elf are one file\nexit 1\n");
    EXPECT_EQ(
        check("bankimg -n -C c", sections,
              "a.dat 0 ff a,b c\nb.dat 100 1ff a,b c\nc.dat 200 2ff a b,c"),
        "error: a,b_fw_c.dat: the image of a.dat and the image of b.dat are one file\nexit 1\n");
    EXPECT_EQ(check("bankimg -w -C c", sections, "./rom.bin 0 2ff\nfw.bin 400 4ff"),
              "error: rom.bin: the image of ./rom.bin and the raw file of [rom] 00000000 0000000f "
              "are one file\n"
              "error: rom.bin: the raw file of [rom] 00000000 0000000f and the raw file of [.rom] "
              "00000100 0000010f are one file\nexit 1\n");
}

TEST(check, files_that_cannot_be_written) {
    EXPECT_EQ(check("bankimg -C c", good, "none/x 18440000 1844ffff\n.. 1fc00000 1fc0ffff"),
              "error: none/x: the image of none/x cannot be written\n"
              "error: ..: the image of .. cannot be written\nexit 1\n");
    const std::string longest(251, 'n'), too_long(252, 'n');
    const file_map inputs{{"fw.elf", elf_file(good)},
                          {"w.elf", elf_file({sect("a/b", 0), sect(".dir", 16), sect(longest, 32),
                                              sect(too_long, 48), nobits("left/out.bss", 64, 4)})},
                          {"c", "../x 18440000 1844ffff\n/dev/null 1fc00000 1fc0ffff"},
                          {"protected", "x 18440000 1844ffff\nd/x 1fc00000 1fc0ffff"},
                          {"x", ""}};
    EXPECT_EQ(terminal("mkdir d; cd d; bankimg-check bankimg -C ../c ../fw.elf", inputs), "");
    EXPECT_EQ(terminal("mkdir -m 555 d; chmod 444 x\n"
                       "[ $(id -u) != 0 ] || unprivileged='setpriv --bounding-set -all'\n"
                       "$unprivileged bankimg-check bankimg -C protected fw.elf",
                       inputs),
              "error: x: the image of x cannot be written\n"
              "error: d/x: the image of d/x cannot be written\nexit 1\n");
    const std::string command = "bankimg-check bankimg w.elf";
    EXPECT_EQ(terminal("mkdir dir.bin; " + command + " && " + command + " -w", inputs),
              "error: [a/b] 00000000 0000000f: -w takes its name as a path: rename it\n"
              "error: dir.bin: the raw file of [.dir] cannot be written\nerror: " +
                  too_long + ".bin: the raw file of [" + too_long +
                  "] cannot be written\nexit 1\n");
}

// Nothing can join the line at fffffff0, neither after zeros nor after another section.
TEST(check, last_line_of_the_address_space) {
    const elf_section end = sect("end", 0xfffffff4, 1);
    const std::string found = "error: top: [end] fffffff4 fffffff4" + in_last_line + "exit 1\n";
    const std::string command = "bankimg-map -g 0 -C c", bank = "top ffffffe0 ffffffff";
    EXPECT_EQ(check(command, {sect("a", 0xffffffe4, 13), end}, bank), found);
    EXPECT_EQ(check(command, {sect("a", 0xffffffe4, 12), end}, bank), "");
    EXPECT_EQ(check(command + " -z", {end}, bank), found);
    EXPECT_EQ(check(command + " -z", {sect("end", 0xfffffff0, 1)}, bank), "");
}

TEST(check, banks_that_are_not_as_meant) {
    const std::string found =
        "error: \xef\xbb\xbf: the bank file begins with a byte order mark: save it without one\n"
        "error: \xef\xbb\xbf: does not begin at a multiple of 16: under -z its words are shifted\n";
    EXPECT_EQ(check("bankimg -zC c", {sect("s", 0x108)}, "\xef\xbb\xbf 104 1ff\nodd 208 2ff"),
              found + "exit 1\n");
}

TEST(check, notes_end_no_build) {
    const std::string elf = elf_file({sect(".data", 0x18400000, 16, 0x18440100),
                                      sect(".text", 0x18440000, 16, 0x18440000),
                                      nobits(".noinit", 0x18400100, 4, SHF_ALLOC, 0x18440200)});
    const file_map inputs{{"fw.elf", elf}, {"bank0.dat", ""}, {"text_fw_1.dat", ""}};
    const std::string sections_said =
        "note: [.data] 18400000 1840000f: is stored at 18440100 for the startup code to copy: "
        "bankimg-map -l puts it there\n"
        "note: [.noinit] 18400100 18400103: has no bytes in the file: zeros are written\n";
    const std::string old = ": is there already, and its bank receives nothing now\n";
    EXPECT_EQ(terminal("mkdir bank1.dat; bankimg-check bankimg fw.elf", inputs),
              sections_said + "note: bank0.dat" + old);
    EXPECT_EQ(terminal("bankimg-check bankimg -g 1x -g 0x1 -n fw.elf", inputs),
              "note: -g 0x1: read as 0\n" + sections_said + "note: text_fw_1.dat" + old +
                  "note: bank0.dat" + old);
    EXPECT_EQ(terminal("bankimg-check bankimg-map -g x -g ' 1' -lx .text fw.elf", inputs),
              "note: -g  1: read as 1\nnote: bank0.dat" + old);
}

TEST(check, its_own_command_line) {
    EXPECT_EQ(terminal("bankimg-check fw.elf"),
              "bankimg-check: fw.elf: not bankimg or bankimg-map\nexit 1\n");
    for (const std::string text : {"", "-1", "64K"}) {
        EXPECT_EQ(terminal("bankimg-check -m '" + text + "' bankimg"),
                  "bankimg-check: -m " + text + ": not a number of bytes\nexit 1\n");
    }
}
