// bankimg-check: what it finds in a run, and what it lets pass.
#include "test.h"

// Shows the findings of "bankimg-check COMMAND fw.elf"; the file c holds `banks`.
static std::string check(const std::string& command, const std::vector<elf_section>& sections,
                         const std::string& banks = "", const damage& change = nullptr) {
    return terminal("bankimg-check " + command + " fw.elf",
                    {{"fw.elf", elf_file(sections, change)}, {"c", banks}});
}

static const std::vector<elf_section> good{sect(".text", 0x18440000), sect(".boot", 0x1fffffff, 1)};

TEST(check, has_nothing_to_say_of_a_good_run_and_writes_nothing) {
    // Neither 1 nor 2 in these two bytes is no finding.
    const auto other = [](headers& h) { h.file.e_ident[EI_CLASS] = h.file.e_ident[EI_DATA] = 0; };
    for (const std::string command :
         {"bankimg fw.elf -pPwzn -g 0 -g 1", "bankimg-map fw.elf -lw -x .boot -o a/b",
          "-u bankimg -b x c", "bankimg -h -g 2", "bankimg-map -v", "bankimg-map fw.elf -o ."}) {
        EXPECT_EQ(terminal("POSIXLY_CORRECT=1 bankimg-check " + command + "; ls",
                           {{"fw.elf", elf_file(good, other)}}),
                  "fw.elf\n");
    }
}

TEST(check, shows_how_full_the_banks_are) {
    EXPECT_EQ(check("-ua bankimg -g 0 -C c fw.elf",
                    {sect(".rodata", 0x98400100, 64), sect(".data", 0x98400180, 24),
                     sect(".text", 0x18440000, 248), sect(".boot", 0x1fc00007, 20),
                     sect(".low", 0xc4000000, 32), sect(".high", 0xe4000000)},
                    "ram.dat 18400100 1840019f\nROM 18440000 184400f6\nfree.dat 0 1\n"
                    "odd.dat 1fc00007 1fc00022\nspare.dat 2 3\ntwo.dat c4000000 e400000f"),
              "error: fw.elf: a second file name is ignored: is -C missing in front of it?\n"
              "ram.dat  18400100 1840019f         88 of        160 bytes  55.0%  "
              "[################................######..]\n"
              "ROM      18440000 184400f6        247 of        247 bytes 100.0%  "
              "[########################################]\n"
              "odd.dat  1fc00007 1fc00022         20 of         28 bytes  71.4%  "
              "[############################+...........]\n"
              "two.dat  c4000000 e400000f         48 of  536870928 bytes   0.0%  "
              "[+......................................+]\n"
              "free: free.dat spare.dat\n"
              "error: ROM: [.text] 18440000 184400f7 runs past the end of the bank\n"
              "error: odd.dat: the image has 8 words, the bank 7: let it begin and end at "
              "multiples of 16\n"
              "error: two.dat: [.high] e4000000 e400000f differs from [.low] c4000000 c400001f in "
              "the top three address bits, so the gap between them is written out\nexit 1\n");
}

TEST(check, files_that_a_run_takes_for_others) {
    const auto refused = [](const std::string& finding, void change(headers&)) {
        EXPECT_EQ(check("-u bankimg-map", good, "", change), "error: " + finding + "\nexit 1\n");
    };
    refused("a 64-bit file: build for 32 bits, or convert it: objcopy -S -O elf32-...",
            [](headers& h) { h.file.e_ident[EI_CLASS] = ELFCLASS64, h.file.e_shentsize = 64; });
    refused("a big-endian file: the words of images are little-endian",
            [](headers& h) { h.file.e_ident[EI_DATA] = ELFDATA2MSB; });
    refused("a relocatable file, whose sections have no addresses: link it first",
            [](headers& h) { h.file.e_type = ET_REL; });
    refused("a file without section headers: there is no image",
            [](headers& h) { h.file.e_shnum = 0; });
}

TEST(check, run_that_fails_says_what_it_would_say) {
    const file_map inputs{{"fw.elf", elf_file({sect(".a", 0x1fffffff, 1), sect(".b", 0x20000000)})},
                          {"c", "a.dat 10000000 1fffffff\nb.dat 3fffffff 40000000\n"},
                          {"short", elf_file({}).substr(0, 51)},
                          {"cut", elf_file({{".c", 0, "", SHF_ALLOC, SHT_PROGBITS, 999}})}};
    for (const std::string command :
         {"bankimg missing", "bankimg -b -C missing", "bankimg short", "bankimg-map -C c fw.elf",
          "bankimg -C c fw.elf", "bankimg-map cut", BANKIMG_DIR "/bankimg -g 2", "bankimg -l"}) {
        EXPECT_EQ(terminal("bankimg-check " + command, inputs), terminal(command, inputs));
    }
    EXPECT_EQ(terminal("bankimg-check bankimg missing c", inputs),
              "error: c: a second file name is ignored: is -C missing in front of it?\n"
              "Can't open file missing\nexit 1\n");
    EXPECT_EQ(terminal("bankimg-check bankimg c -g fw.elf short", inputs),
              "note: -g takes fw.elf as its number: read as 0\n"
              "error: short: ignored, because c comes first and is taken for the ELF file: is -C "
              "missing before the bank file?\nis not ELF file\nexit 1\n");
}

static const std::string stored = " for the startup code to copy: bankimg-map -l puts it there\n";
static const std::string stripped =
    ": code or constants without bytes in the file, zeros are written: is it a file of debugging "
    "information?\n";
static const std::string zeros = ": has no bytes in the file: zeros are written\n";
constexpr uint32_t ram = SHF_ALLOC | SHF_WRITE;

TEST(check, bytes_that_no_image_has) {
    elf_section empty = sect(".bss", 0), sbss = sect("s.bss", 32);
    empty.data = std::string(5000, '\0'), sbss.data = empty.data + "x";
    // The section of names, which ends with the file, is loaded. .far ends at 2^32.
    const auto change = [](headers& h) {
        h.sections.back().sh_flags = SHF_ALLOC;
        h.sections[5].sh_size = 4096, h.segments[1].p_vaddr = 0;
        h.sections[6].sh_offset = h.segments[1].p_offset = 0xfffffff0;
    };
    EXPECT_EQ(
        check("bankimg",
              {empty, sbss, sect(".debug.bss", 0, 16, 0, 0), sect(".text", 0x6000, 16, 0x6000),
               sect(".cut", 0x7000), sect(".far", 0x8000, 16, 0x9000), nobits(".stack", 0, 4),
               nobits(".rodata", 0x9000, 4), nobits(".noinit", 0xa000, 4, ram),
               nobits(".code", 0xb000, 4, ram | SHF_EXECINSTR)},
              "", change),
        "error: [s.bss] 00000020 000013a8: left out because of its name, but not empty: rename it\n"
        "error: [.cut] 00007000 00007fff: the file ends before the section does\n"
        "error: [.far] 00008000 0000800f: the file ends before the section does\n"
        "error: [.rodata] 00009000 00009003" +
            stripped + "error: [.code] 0000b000 0000b003" + stripped +
            "note: [.far] 00008000 0000800f: is stored at 00009000" + stored +
            "note: [.noinit] 0000a000 0000a003" + zeros + "exit 1\n");
    EXPECT_EQ(check("bankimg-map -x .heap -x .bss -x .none fw.elf",
                    {nobits(".heap", 0, 1U << 31), sect(".bss", 0), sect(".text", 0)}),
              "error: fw.elf: a second file name is ignored: is -C missing in front of it?\n"
              "bankimg-map: no section is called .none\nexit 1\n");
    EXPECT_EQ(check("bankimg-map -x .text", {sect(".text", 0), empty}),
              "error: no section is loaded: there is no image\nexit 1\n");
}

TEST(check, sections_that_overlap) {
    // g begins inside f, which wraps: it follows f in the bank.
    EXPECT_EQ(check("bankimg-map -g 0 -C c",
                    {sect("b", 0xf0000010), sect("c", 0xf000001c), sect("d", 0xf0000020),
                     sect("f", 0xffffffe8, 32), sect("g", 0xffffffec, 1)},
                    "top f0000000 ffffffff"),
              "error: top: [d] f0000020 f000002f overlaps [c] f000001c f000002b\n"
              "error: top: [c] f000001c f000002b overlaps [b] f0000010 f000001f\n"
              "error: top: [g] ffffffec ffffffec overlaps [f] ffffffe8 00000007\n"
              "error: top: [f] ffffffe8 00000007 runs past the end of the bank\nexit 1\n");
    EXPECT_EQ(check("-q bankimg -C c",
                    {sect("a", 0), nobits(".tbss", 0, 4, ram | SHF_TLS),
                     nobits("t", 16, 4, ram | SHF_TLS), nobits("b", 16, 4, ram),
                     sect(".tdata", 32, 1, 0, ram | SHF_TLS), sect("c", 32)},
                    "r 0 2f"),
              "error: r: [.tbss] 00000000 00000003 overlaps [a] 00000000 0000000f: leave it out: "
              "bankimg-map -x .tbss\n"
              "error: r: [b] 00000010 00000013 overlaps [t] 00000010 00000013: leave it out: "
              "bankimg-map -x t\n"
              "error: r: [c] 00000020 0000002f overlaps [.tdata] 00000020 00000020\nexit 1\n");
}

TEST(check, addresses_that_only_their_top_three_bits_tell_apart) {
    const std::vector<elf_section> arm{sect("t", 0), sect("d", 0x20000010)};
    const std::string map = "low 0 ff\nhigh 20000000 200000ff\n";
    EXPECT_EQ(
        check("bankimg -g 0 -C c", arm, map),
        "error: low: [d] 20000010 2000001f is in the bank only without the top three address "
        "bits: use bankimg-map, or bankimg-check -a if these bits only select a window\nexit 1\n");
    EXPECT_EQ(check("-a bankimg-map -C c", arm, map), "");
    const std::string differs =
        " in the top three address bits, so the gap between them is written out\n";
    const std::string aliases =
        "error: low: [d] 20000010 2000001f lies in the range of high: one memory needs one bank\n"
        "error: low: [d] 20000010 2000001f differs from [t] 00000000 0000000f" +
        differs;
    EXPECT_EQ(check("-a -m 94 bankimg -g 0 -C c", arm, map), aliases + "exit 1\n");
    for (const auto mips : {Elf32_Half{EM_MIPS}, Elf32_Half{EM_MIPS_RS3_LE}}) {
        const auto is_mips = [&](headers& h) { h.file.e_machine = mips; };
        EXPECT_EQ(check("-m 93 bankimg -g 0 -C c", arm, map, is_mips),
                  aliases + "error: low: the image takes 94 bytes, more than 93\nexit 1\n");
    }
    // The bank has other top bits than its sections, of which only the first is told.
    EXPECT_EQ(
        check("-a bankimg -g 0 -C c",
              {sect("a", 0x80000000, 1), sect("b", 0x80000020, 2), sect("c", 0xa0000010, 1),
               sect("d", 0xa0000011, 1)},
              "x 20000000 20000020\nnone 3fffffff 40000000"),
        "error: x: [b] 80000020 80000021 runs past the end of the bank\n"
        "error: x: [c] a0000010 a0000010 differs from [a] 80000000 80000000" +
            differs +
            "error: none: takes nothing: with the top three address bits cleared it ends below "
            "its start: split it\nexit 1\n");
}

TEST(check, images_that_are_too_long) {
    constexpr uint32_t lines = (64 << 20) / 47;  // that have no more than 64 MiB
    EXPECT_EQ(check("bankimg-map -z", {sect("a", 20), sect("b", 16 * (lines - 1)),
                                       sect("c", 0x08000010), sect("d", 0x08000000 + 16 * lines)}),
              "error: bank1.dat: the image takes 67108903 bytes, more than 67108864\nexit 1\n");
}

// A link is the file to which it leads, or will lead.
TEST(check, outputs_that_are_one_file) {
    const file_map inputs{
        {"fw.elf", elf_file({sect("a", 0), sect(".a", 16), sect("c", 32), sect("d", 48),
                             sect("e", 64), sect(".fw", 80)})},
        {"links", "links 0 f\nsoft 10 1f\nhard 20 2f\nnew 30 3f\n./e/x 40 4f\nd/up/../x 50 5f"},
        {"names", "a 0 f a,b c\nb 10 1f a,b c\n/dev/null 20 2f\n/dev/./null 30 3f\nx 40 5f b,a c"},
        {"raw", "./a.bin 0 7f\nfw.bin 80 ff"}};
    EXPECT_EQ(
        terminal("mkdir d e; ln -s fw.elf soft; ln fw.elf hard; ln -s e/x new; ln -s ../e d/up\n"
                 "bankimg-check bankimg -C ././links fw.elf",
                 inputs),
        "error: links: a bank file and the image of links are one file\n"
        "error: soft: the ELF file and the image of soft are one file\n"
        "error: hard: the image of soft and the image of hard are one file\n"
        "error: ./e/x: the image of new and the image of ./e/x are one file\nexit 1\n");
    EXPECT_EQ(terminal("bankimg-check bankimg -nC names fw.elf", inputs),
              "error: a,b_fw_c.dat: the image of a and the image of b are one file\nexit 1\n");
    EXPECT_EQ(terminal("bankimg-check bankimg-map -wC raw -o o/o/ fw.elf", inputs),
              "error: o/o/a.bin: the image of ./a.bin and the raw file of [a] 00000000 0000000f "
              "are one file\n"
              "error: o/o/a.bin: the raw file of [a] 00000000 0000000f and the raw file of [.a] "
              "00000010 0000001f are one file\nexit 1\n");
}

TEST(check, files_that_cannot_be_written) {
    const std::string longest(251, 'q'), too_long(252, 'q');
    const file_map inputs{
        {"fw.elf",
         elf_file({sect("a/b", 0), sect(".dir", 16), sect(longest, 32), sect(too_long, 48),
                   sect("e", 64), sect("f", 80), nobits("left/out.bss", 96, 4)})},
        {"c", "old 0 f\nlocked/x 10 1f\nnone/x 20 2f\n.. 30 3f\nloop 40 4f\n../bankimg-new 50 5f"},
        {"old", ""}};
    EXPECT_EQ(
        terminal(
            "mkdir -m 555 locked; chmod 444 old; ln -s loop loop\n"
            "[ $(id -u) != 0 ] || user='setpriv --bounding-set -all'\n"
            "for command in 'bankimg -C c' 'bankimg-map -o locked/new' 'bankimg-map -o c/y'; do\n"
            "$user bankimg-check $command fw.elf; done",
            inputs),
        "error: old: the image of old cannot be written: Permission denied\n"
        "error: locked/x: the image of locked/x cannot be written: Permission denied\n"
        "error: none/x: the image of none/x cannot be written: No such file or directory\n"
        "error: ..: the image of .. cannot be written: Is a directory\n"
        "error: loop: the image of loop cannot be written: Too many levels of symbolic links\n"
        "error: locked/new/bank0.dat: the image of bank0.dat cannot be written: Permission denied\n"
        "error: c/y/bank0.dat: the image of bank0.dat cannot be written: Not a directory\n"
        "exit 1\n");
    EXPECT_EQ(terminal("mkdir dir.bin; for w in -P -w; do bankimg-check bankimg fw.elf $w; done | "
                       "sed s/qq*/Q/g",
                       inputs),
              "error: [a/b] 00000000 0000000f: -w takes its name as a path: rename it\n"
              "error: dir.bin: the raw file of [.dir] 00000010 0000001f cannot be written: Is a "
              "directory\n"
              "error: Q.bin: the raw file of [Q] 00000030 0000003f cannot be written: File name "
              "too long\n");
}

// Nothing can join the line at fffffff0, neither after zeros nor after another section.
TEST(check, last_line_of_the_address_space) {
    const elf_section end = sect("end", 0xfffffff4, 1);
    const std::string found =
        "error: top: [end] fffffff4 fffffff4 begins inside the last line of the address space: "
        "let one section hold everything from fffffff0 on\nexit 1\n";
    const std::string command = "bankimg-map -g 0 -C c", bank = "top ffffffe0 ffffffff";
    EXPECT_EQ(check(command, {sect("a", 0xffffffe4, 13), end}, bank), found);
    EXPECT_EQ(check(command, {sect("a", 0xffffffe4, 12), end}, bank), "");
    EXPECT_EQ(check(command, {end}, bank), "");
    EXPECT_EQ(check(command + " -z", {end}, bank), found);
    EXPECT_EQ(check(command + " -z", {sect("end", 0xfffffff0, 1)}, bank), "");
}

TEST(check, banks_that_are_not_as_meant) {
    EXPECT_EQ(
        check("bankimg -zC c", {sect("s", 0x108), sect("t", 0x20000310)},
              "\xef\xbb\xbf 104 122\nodd 208 2ff\ntwo 300 20000fff"),
        "error: \xef\xbb\xbf: the bank file begins with a byte order mark: save it without one\n"
        "error: \xef\xbb\xbf: does not begin at a multiple of 16: under -z its words are shifted\n"
        "error: two: under -z its image begins at 20000300, not at its start: divide it at each "
        "multiple of 20000000\nexit 1\n");
}

TEST(check, notes_end_no_build) {
    const std::string elf = elf_file({sect(".data", 0x18400000, 16, 0x18440100),
                                      sect(".text", 0x18440000, 16, 0x18440000),
                                      nobits(".noinit", 0x18400100, 4, ram, 0x18440200)});
    const file_map inputs{{"fw.elf", elf}, {"bank0.dat", ""}, {"text_fw_1.dat", ""}};
    const std::string said = "note: [.data] 18400000 1840000f: is stored at 18440100" + stored +
                             "note: [.noinit] 18400100 18400103" + zeros;
    const std::string old = ": is an old image: its bank receives no section in this run\n";
    const std::string command = "bankimg -g 1x -g 0x1 -n fw.elf";
    EXPECT_EQ(
        terminal("mkdir bank1.dat; bankimg-check " + command + "; bankimg-check -q " + command,
                 inputs),
        "note: -g takes 0x1 as its number: read as 0\n" + said + "note: text_fw_1.dat" + old +
            "note: bank0.dat" + old);
    EXPECT_EQ(terminal("bankimg-check bankimg-map -g x -g ' 1' -lx .text fw.elf", inputs),
              "note: -g takes  1 as its number: read as 1\nnote: bank0.dat" + old);
}

TEST(check, its_own_command_line) {
    EXPECT_EQ(terminal("bankimg-check fw.elf"),
              "bankimg-check: fw.elf: not bankimg or bankimg-map\nexit 1\n");
    for (const std::string text : {"", "-1", "64K"}) {
        EXPECT_EQ(terminal("bankimg-check -m '" + text + "' bankimg"),
                  "bankimg-check: -m " + text + ": not a number of bytes\nexit 1\n");
    }
}
