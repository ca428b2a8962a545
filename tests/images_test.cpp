// Image files: their lines, gaps, starts and names, and what may go wrong with them.
#include <random>

#include "test.h"

static const std::string a_bytes = ascending(0x14), b_bytes = ascending(8, 0xa0);

// Shows the images of `sections`; bank.cfg holds `config`.
static std::string images(const std::string& options, const std::vector<elf_section>& sections,
                          const std::string& config = "") {
    return terminal("bankimg fw.elf " + options + "\ncat *.dat",
                    {{"fw.elf", elf_file(sections)}, {"bank.cfg", config}});
}

TEST(images, sections_share_lines_or_leave_gaps) {
    const std::vector<elf_section> sections{sect("A", 0x18440020, 20), sect("B", 0x18440060, 8),
                                            sect("C", 0x1844006d, 1), sect("D", 0x18440079, 1),
                                            sect("E", 0x18440090, 1)};
    const std::string image =
        "04030201 08070605 0c0b0a09 100f0e0d //18440020\n"
        "14131211 00000000 00000000 00000000 //18440030\n"
        "00000000 00000000 00000000 00000000 //18440040\n"
        "00000000 00000000 00000000 00000000 //18440050\n"
        "04030201 08070605 00000000 00000100 //18440060\n"
        "00000000 00000000 00000100 00000000 //18440079\n"
        "00000000 00000000 00000000 00000000 //18440080\n"
        "00000001 00000000 00000000 00000000 //18440090\n";
    for (const char* on : {"", "-g 0 -g 4294967297"}) EXPECT_EQ(images(on, sections), image);
    const std::string without_gaps = terminal("grep -v '^[0 ]*/' image", {{"image", image}});
    for (const char* off : {"-g 0", "-g x", "-g 0x1", "-g 4294967296", "-g 1 -g -0"}) {
        EXPECT_EQ(images(off, sections), without_gaps) << off;
    }
}

// Of three banks one receives nothing and has an image already. A descriptor that stays open is one
// too many.
TEST(images, are_one_for_each_bank_with_sections) {
    const file_map inputs{
        {"fw.elf", elf_file({{".a", 0x1f, a_bytes}, {".b", 0x100f, "b"}, {".c", 0x1040, "c"}})},
        {"c", "a.dat 14 fef text 0\nold.dat 2000 2fff\nz.dat ff4 1fff"},
        {"old.dat", "older\n"}};
    EXPECT_EQ(terminal("(exec 3>&-; ulimit -n 4; bankimg -nPwzC c -g 0 fw.elf); tail -n +1 *.dat",
                       inputs),
              "[0]: a.dat\t00000014 00000fef (text,0)\n"
              "[.a] 0000001f 00000032 (20,0x14)\n"
              "[1]: old.dat\t00002000 00002fff\n"
              "[2]: z.dat\t00000ff4 00001fff\n"
              "[.b] 0000100f 0000100f (1,0x1)\n"
              "[.c] 00001040 00001040 (1,0x1)\n"
              "==> old.dat <==\nolder\n"
              "\n==> text_fw_0.dat <==\n"
              "00000000 00000000 00000000 00000000 //00000014\n"
              "04030201 08070605 0c0b0a09 100f0e0d //00000020\n"
              "00131211 00000000 00000000 00000000 //00000030\n"
              "\n==> z.dat <==\n"
              "00000000 00000000 00000000 00000000 //00000ff4\n"
              "00000000 00000000 00000000 62000000 //00001000\n"
              "00000063 00000000 00000000 00000000 //00001040\n");
    EXPECT_EQ(terminal("bankimg -C c fw.elf; cat *.dat | wc -l", inputs), "9\n");
}

TEST(images, begin_with_their_bank_or_their_first_section) {
    const std::vector<elf_section> sections{{"A", 0x98440018, a_bytes}};
    EXPECT_EQ(images("-zC bank.cfg", sections, "a.dat b8440000 b844ffff"),
              "00000000 00000000 00000000 00000000 //98440000\n"
              "00000000 00000000 03020100 07060504 //98440010\n"
              "0b0a0908 0f0e0d0c 13121110 00000000 //98440020\n");
    // Addresses wrap. In a gap all of their bits count.
    EXPECT_EQ(images("", {{"A", 0xfffffff8, a_bytes}}),
              "00000000 00000000 03020100 07060504 //fffffff8\n"
              "0b0a0908 0f0e0d0c 13121110 00000000 //00000000\n");
    EXPECT_EQ(
        images("-C bank.cfg", {{"A", 0x1ffffff0, "A"}, {"B", 0x20000010, "B"}}, "a.dat 0 1fffffff"),
        "00000041 00000000 00000000 00000000 //1ffffff0\n"
        "00000000 00000000 00000000 00000000 //20000000\n"
        "00000042 00000000 00000000 00000000 //20000010\n");
}

TEST(images, overlapping_sections_are_written_in_bank_order) {
    // B begins inside A and stands before it; its line is still open when A's bytes come.
    EXPECT_EQ(images("", {{"A", 0x18440000, ascending(16)}, {"B", 0x18440008, b_bytes.substr(4)}}),
              "03020100 07060504 0b0a0908 0f0e0d0c //18440008\n");
    // Where B's line is complete it stays as it is, and A's line has the same address.
    EXPECT_EQ(images("", {{"A", 0x18440000, a_bytes}, {"B", 0x18440000, ascending(16, 0xa0)}}),
              "a3a2a1a0 a7a6a5a4 abaaa9a8 afaeadac //18440000\n"
              "03020100 07060504 0b0a0908 0f0e0d0c //18440000\n"
              "13121110 00000000 00000000 00000000 //18440010\n");
}

TEST(images, complex_names_join_prefix_elf_base_name_and_suffix) {
    const std::string elf = elf_file({{"A", 0x18440000, "A"}, {"B", 0, "B"}, {"C", 0x20, "C"}});
    EXPECT_EQ(
        terminal("mkdir dir.d; for path in fw.rev.elf dir.d//.elf; do\n"
                 "cp fw $path; bankimg -C c -n $path; echo *.dat; rm *.dat; done",
                 {{"fw", elf}, {"c", "a.dat 18440000 18440001 a 0\nb.dat 0 f\nc.dat 20 2f c"}}),
        "a_fw_0.dat b.dat c_fw.dat\na.dat b.dat c.dat\n");
}

// Many sections share a line. The last one and the gap before it have more lines than are gathered
// at a time. A line has the address of its first byte, od's of its block: the last digit is free.
TEST(images, are_what_od_shows_of_the_memory_that_the_sections_fill) {
    std::mt19937 random(1);
    std::vector<elf_section> sections;
    std::string memory;
    const auto add = [&](size_t gap, size_t size) {
        memory.append(gap, '\0');
        sections.push_back({"s", static_cast<uint32_t>(memory.size()), ascending(size, random())});
        memory += sections.back().data;
    };
    for (size_t i = 0; i < 2000; i++) add(i % 2 * (i % 80), 1 + random() % 70);
    add(0x60000, 0x500000);
    memory.resize((memory.size() + 15) / 16 * 16);
    EXPECT_EQ(
        terminal(
            "od -v -A x -t x4 -w16 memory | sed -n 's|\\(......\\) \\(.*\\)|\\2 //00\\1|p' >od\n"
            "bankimg -z fw.elf; sed 's/.$/0/' bank0.dat | cmp od -",
            {{"fw.elf", elf_file(sections)}, {"memory", memory}}),
        "");
}

// Two images, of which one of an earlier run is there.
static const file_map firmware{
    {"fw.elf", elf_file({{".text", 0x18440000, "code"}, {".boot", 0x1fc00000, "boot"}})},
    {"pram0.dat", std::string(999, 'x')}};
static const std::string pram0 = "65646f63 00000000 00000000 00000000 //18440000\n";

TEST(images, come_after_all_that_is_listed) {
    for (const std::string run :
         {"bankimg -pw", "bankimg-map -pw", "bankimg -P", "bankimg-map -P"}) {
        EXPECT_EQ(terminal("(ulimit -f 0; " + run + " fw.elf; true) 2>&- | sed /]:/d", firmware),
                  "[.text] 18440000 18440003 (4,0x4)\n[.boot] 1fc00000 1fc00003 (4,0x4)\n");
    }
}

TEST(images, do_not_depend_on_who_takes_the_output) {
    EXPECT_EQ(terminal("bankimg -pP fw.elf >&- 2>&- <&- && cat pram0.dat", firmware), pram0);
    EXPECT_EQ(terminal("mkdir bank3.dat; bankimg -P fw.elf >&- || cat pram0.dat", firmware),
              "Can't open file bank3.dat\n" + pram0);
    EXPECT_EQ(terminal("trap '' XFSZ; ulimit -f 0; bankimg fw.elf && wc -c <pram0.dat", firmware),
              "0\n");
}

#ifndef __SANITIZE_ADDRESS__  // which needs more address space than the limit leaves
TEST(images, of_an_earlier_run_survive_when_memory_runs_out) {
    const file_map inputs{{"fw.elf", elf_file({nobits("s", 0, 0x7fffffff), sect("x", 0)})},
                          {"bank0.dat", "old\n"}};
    for (const std::string run : {"bankimg", "bankimg-map -x x", "bankimg-check bankimg"}) {
        EXPECT_EQ(terminal("ulimit -v 400000; " + run + " fw.elf || cat bank0.dat", inputs),
                  "Out of memory\nold\n");
    }
}
#endif
