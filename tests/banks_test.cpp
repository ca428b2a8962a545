// Banks: the built-in table and the range tests.
#include <gtest/gtest.h>

#include "bankimg.h"
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

}  // namespace
