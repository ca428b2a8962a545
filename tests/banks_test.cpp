// Banks: the built-in table, the range tests, and which sections a bank holds in which order.
#include <gtest/gtest.h>

#include "bankimg.h"
#include "elf_file.h"
#include "run.h"

namespace {

const std::string built_in =
    "[0]: pram0.dat\t18440000 1844ffff (text,0)\n"
    "[1]: xram0.dat\t18400000 1842ffff (data,0)\n"
    "[2]: pram1.dat\t18840000 1884ffff (text,1)\n"
    "[3]: xram1.dat\t18800000 1882ffff (data,1)\n"
    "[4]: cram.dat\t18000000 18010000\n"
    "[5]: bank0.dat\t00000000 07ffffff\n"
    "[6]: bank1.dat\t08000000 0fffffff\n"
    "[7]: bank2.dat\t10000000 17ffffff\n"
    "[8]: bank3.dat\t1fc00000 1fffffff\n";

TEST(banks, built_in_ones_are_listed_without_an_elf_file) {
    for (const char* args : {"-b", "-b missing.elf", "missing.elf -b -z"}) {
        const outcome got = run(std::string("bankimg ") + args);
        EXPECT_EQ(got.status, 0) << args;
        EXPECT_EQ(got.out, built_in) << args;
    }
}

CBank range(uint32_t start, uint32_t end) {
    CBank bank;
    bank.start = start;
    bank.end = end;
    return bank;
}

TEST(banks, membership_ignores_the_top_three_address_bits) {
    struct row {
        uint32_t start, end, addr;
        bool in;
    };
    for (const row& r : std::initializer_list<row>{
             {0x18440000, 0x1844ffff, 0x98440010, true},
             {0x18440000, 0x1844ffff, 0x1844ffff, true},
             {0x18440000, 0x1844ffff, 0x18450000, false},
             {0x18440000, 0x1844ffff, 0x1843ffff, false},
             {0xbfc00000, 0xbfffffff, 0x1fc00000, true},
             {0x1ffff000, 0x20000fff, 0x1ffff000, false},  // its masked end is below its start
             {0x00000000, 0xffffffff, 0xe0000000, true},
         }) {
        uint32_t base = 1;
        EXPECT_EQ(range(r.start, r.end).in_bank(r.addr, base), r.in) << std::hex << r.addr;
        EXPECT_EQ(base, r.in ? r.start & 0x1fffffff : 1) << std::hex << r.addr;
    }
}

TEST(banks, overlap_counts_all_address_bits) {
    EXPECT_TRUE(range(0x100, 0x200).overlap(range(0x200, 0x300)));
    EXPECT_TRUE(range(0x200, 0x300).overlap(range(0x100, 0x200)));
    EXPECT_TRUE(range(0x100, 0x400).overlap(range(0x200, 0x300)));
    EXPECT_TRUE(range(0x200, 0x300).overlap(range(0x100, 0x400)));
    EXPECT_FALSE(range(0x100, 0x1ff).overlap(range(0x200, 0x300)));
    EXPECT_FALSE(range(0x1fc00000, 0x1fffffff).overlap(range(0xbfc00000, 0xbfffffff)));
}

TEST(placement, first_address_decides) {
    const std::string elf = elf_file({
        {".text", 0x1844fff0, std::string(0x100, 'x')},  // reaches beyond the bank's end
        {".data", 0x98400000, "x"},
        {".boot", 0xbfc00000, "x"},
    });
    const outcome got = run("bankimg -P fw.elf | sed -n '1,4p; /bank3/,$p'", {{"fw.elf", elf}});
    EXPECT_EQ(got.out,
              "[0]: pram0.dat\t18440000 1844ffff (text,0)\n"
              "[.text] 1844fff0 184500ef (256,0x100)\n"
              "[1]: xram0.dat\t18400000 1842ffff (data,0)\n"
              "[.data] 98400000 98400000 (1,0x1)\n"
              "[8]: bank3.dat\t1fc00000 1fffffff\n"
              "[.boot] bfc00000 bfc00000 (1,0x1)\n");
}

TEST(placement, section_outside_every_bank_ends_the_run) {
    const std::string elf = elf_file({
        {".text", 0x18440000, "x"},
        {"%s", 0x18450000, std::string(16, 'x')},
    });
    const outcome got = run("bankimg -wp fw.elf 2>&1", {{"fw.elf", elf}});
    EXPECT_EQ(got.status, 1);
    EXPECT_EQ(got.out,
              "[.text] 18440000 18440000 (1,0x1)\n"
              "[%s] 18450000 1845000f (16,0x10)\n" +
                  built_in + "Section %s 0x18450000 0x1845000f can't add to banks\n");
    EXPECT_EQ(got.files, (file_map{{"text.bin", "x"}, {"%s.bin", std::string(16, 'x')}}));
}

// Places sections of the given first addresses and sizes into bank0 and gives back the order of
// their names, which are a, b, c and so on.
std::string order_of(const std::vector<std::pair<uint32_t, uint32_t>>& spans) {
    std::vector<CBank> banks{range(0, 0x1fffffff)};
    std::list<CSect> sections;
    CBank by_hand;
    for (const auto& [addr, size] : spans) {
        CSect& sect = sections.emplace_back();
        sect.name = static_cast<char>('a' + sections.size() - 1);
        sect.fill_zero(addr, size);
        by_hand += sect;
    }
    sec2banks(banks, sections);
    std::string order, expected;
    for (const CSect& sect : banks[0].sections) order += sect.name;
    for (const CSect& sect : by_hand.sections) expected += sect.name;
    EXPECT_EQ(order, expected);
    return order;
}

TEST(placement, section_goes_before_the_first_that_reaches_it) {
    EXPECT_EQ(order_of({{0, 16}, {16, 16}, {32, 16}}), "abc");
    EXPECT_EQ(order_of({{0, 4}, {0, 8}, {0, 4}}), "cba");
    EXPECT_EQ(order_of({{0, 100}, {10, 5}, {20, 5}, {200, 5}}), "bcad");
    EXPECT_EQ(order_of({{0, 1}, {0, 100}, {50, 1}, {60, 1}}), "cdba");
    // The second one's last address wraps to 0x0f: nothing reaches beyond it there.
    EXPECT_EQ(order_of({{0xffffff00, 4}, {0xfffffff0, 0x20}, {0xfffffff8, 4}}), "abc");
}

}  // namespace
