// Banks: the built-in ones, which sections they take, and in which order they hold them.
#include <gtest/gtest.h>

#include "elf_file.h"
#include "run.h"

namespace {

TEST(banks, built_in_ones_are_listed_without_an_elf_file) {
    for (const char* args : {"-b", "-b missing.elf", "missing.elf -b -z"}) {
        EXPECT_EQ(terminal(std::string("bankimg ") + args), readme_block("[0]: pram0.dat")) << args;
    }
}

// Gives back the image that a section at `addr` goes into.
std::string bank_of(uint32_t addr, const std::string& options = "") {
    const file_map inputs{{"fw.elf", elf_file({{"s", addr, "x"}})},
                          {"edge.cfg", "edge.dat 1ffff000 20000fff\n"},
                          {"all.cfg", "top.dat ffff0000 ffffffff\nall.dat 0 e0000000"}};
    const outcome got = run("bankimg fw.elf " + options, inputs);
    return got.files.empty() ? got.err : got.files.begin()->first;
}

TEST(banks, first_address_decides_without_its_top_three_bits) {
    EXPECT_EQ(bank_of(0x1844ffff), "pram0.dat");
    EXPECT_EQ(bank_of(0x98440010), "pram0.dat");
    EXPECT_EQ(bank_of(0x18010000), "cram.dat");
    EXPECT_EQ(bank_of(0xbfc00000), "bank3.dat");
    EXPECT_EQ(bank_of(0x1844ffff + 1), "Section s 0x18450000 0x18450000 can't add to banks\n");
    // The masked end of this one is below its masked start: it takes nothing.
    EXPECT_EQ(bank_of(0x1ffff000, "-C edge.cfg"),
              "Section s 0x1ffff000 0x1ffff000 can't add to banks\n");
    EXPECT_EQ(bank_of(0x1fff0000, "-C all.cfg"), "top.dat");
}

TEST(banks, section_that_fits_none_ends_the_run) {
    const std::string elf = elf_file({{".text", 0x18440000, "x"}, {"%s", 0x18450000, "yy"}});
    EXPECT_EQ(terminal("bankimg -wp fw.elf", {{"fw.elf", elf}}),
              "[.text] 18440000 18440000 (1,0x1)\n"
              "[%s] 18450000 18450001 (2,0x2)\n" +
                  readme_block("[0]: pram0.dat") +
                  "Section %s 0x18450000 0x18450001 can't add to banks\nexit 1\n");
    EXPECT_EQ(run_elf("-w", elf).files, (file_map{{"text.bin", "x"}, {"%s.bin", "yy"}}));
    EXPECT_EQ(terminal("echo a 18440000 18450000 >a; bankimg -P fw.elf -C a", {{"fw.elf", elf}}),
              "[0]: a\t18440000 18450000\n"
              "[.text] 18440000 18440000 (1,0x1)\n"
              "[%s] 18450000 18450001 (2,0x2)\n");
}

// Gives back the order in which a bank holds sections of these first addresses and sizes. Their
// names are a, b, c and so on.
std::string order_of(const std::vector<std::pair<uint32_t, uint32_t>>& spans) {
    std::vector<elf_section> sections;
    for (const auto& [addr, size] : spans) {
        const char name = static_cast<char>('a' + sections.size());
        sections.push_back({std::string(1, name), addr, std::string(size, 'x')});
    }
    return run("bankimg -g 0 -P fw.elf | sed -n 's/^.\\([a-z]\\).*/\\1/p' | tr -d '\\n'",
               {{"fw.elf", elf_file(sections)}})
        .out;
}

TEST(banks, hold_a_section_before_the_first_that_reaches_it) {
    EXPECT_EQ(order_of({{0, 16}, {16, 16}, {32, 16}}), "abc");
    EXPECT_EQ(order_of({{0, 4}, {0, 8}, {0, 4}}), "cba");
    EXPECT_EQ(order_of({{0, 100}, {10, 5}, {20, 5}, {200, 5}}), "bcad");
    EXPECT_EQ(order_of({{0, 1}, {0, 100}, {50, 1}, {60, 1}}), "cdba");
    // The last address of b wraps to 0x0f, so that it does not reach c.
    EXPECT_EQ(order_of({{0xffffff00, 4}, {0xfffffff0, 0x20}, {0xfffffff8, 4}}), "abc");
}

}  // namespace
