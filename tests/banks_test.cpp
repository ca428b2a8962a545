// Banks: the built-in ones, which sections they take, and in which order they hold them.
#include "test.h"

TEST(banks, built_in_ones_are_listed_without_an_elf_file) {
    for (const char* args : {"-b", "-b missing.elf", "missing.elf -b -z"}) {
        EXPECT_EQ(terminal(std::string("bankimg ") + args), documented("[0]: pram0.dat")) << args;
    }
}

// Shows the name of the image that a section at `addr` goes into, or why there is none.
static std::string bank_of(uint32_t addr, const std::string& config) {
    return terminal("bankimg -C c fw.elf >&- && ls *.dat",
                    {{"fw.elf", elf_file({{"s", addr, "x"}})}, {"c", config}});
}

TEST(banks, first_address_decides_without_its_top_three_bits) {
    EXPECT_EQ(bank_of(0xbfc00001, "x.dat 1fc00000 1fc00001"), "x.dat\n");
    EXPECT_EQ(bank_of(0x1fff0000, "a.dat ffff0000 ffff0001\nb.dat 1fff0000 1fff0001"), "a.dat\n");
    // The masked end of this bank is below its masked start: it takes nothing.
    EXPECT_EQ(bank_of(0x1ffff000, "edge.dat 1ffff000 20000fff"),
              "Section s 0x1ffff000 0x1ffff000 can't add to banks\nexit 1\n");
}

TEST(banks, section_that_fits_none_ends_the_run) {
    const std::string elf = elf_file({{".text", 0x18440000, "x"}, {"%s", 0x18450000, "yy"}});
    EXPECT_EQ(terminal("bankimg -wp fw.elf || ! echo *.bin *.dat", {{"fw.elf", elf}}),
              "[.text] 18440000 18440000 (1,0x1)\n"
              "[%s] 18450000 18450001 (2,0x2)\n" +
                  documented("[0]: pram0.dat") +
                  "Section %s 0x18450000 0x18450001 can't add to banks\n"
                  "%s.bin text.bin *.dat\nexit 1\n");
}

// Shows the order in which a bank holds sections.
static std::string order(const std::vector<elf_section>& sections) {
    return terminal("echo $(bankimg -g 0 -P fw.elf | sed -n 's/^.\\([a-z]\\).*/\\1/p')",
                    {{"fw.elf", elf_file(sections)}});
}

TEST(banks, hold_a_section_before_the_first_that_reaches_it) {
    EXPECT_EQ(order({sect("a", 0), sect("b", 0, 20), sect("c", 0)}), "c b a\n");
    EXPECT_EQ(order({sect("a", 0, 99), sect("b", 9), sect("c", 30), sect("d", 99)}), "b c a d\n");
    EXPECT_EQ(order({sect("a", 0), sect("b", 0, 99), sect("c", 50), sect("d", 70)}), "c d b a\n");
    // The last address of b wraps to 0x0f, so that it does not reach c.
    EXPECT_EQ(order({sect("a", 0xffffff00), sect("b", 0xfffffff8), sect("c", 0xfffffffc, 4)}),
              "a b c\n");
}
