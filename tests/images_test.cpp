// Image files: their lines, gaps, starts and names.
#include <gtest/gtest.h>

#include <random>

#include "bank.h"
#include "elf_file.h"
#include "run.h"

namespace {

const std::string a_bytes = ascending(0x14), b_bytes = ascending(8, 0xa0);

// The image of pram0.dat, which is all that the run writes.
std::string pram0(const std::string& options, const std::vector<elf_section>& sections) {
    const outcome got = run_elf(options, elf_file(sections));
    EXPECT_EQ(got.files.size(), 1U) << got.out << got.err;
    return got.files.at("pram0.dat");
}

TEST(images, gap_between_sections) {
    const std::vector<elf_section> sections{{"A", 0x18440020, a_bytes}, {"B", 0x18440060, b_bytes}};
    const std::string filled =
        "03020100 07060504 0b0a0908 0f0e0d0c //18440020\n"
        "13121110 00000000 00000000 00000000 //18440030\n"
        "00000000 00000000 00000000 00000000 //18440040\n"
        "00000000 00000000 00000000 00000000 //18440050\n"
        "a3a2a1a0 a7a6a5a4 00000000 00000000 //18440060\n";
    EXPECT_EQ(pram0("", sections), filled);
    for (const char* off : {"-g 0", "-g x", "-g 4294967296", "-g 1 -g -0"}) {
        EXPECT_EQ(pram0(off, sections), filled.substr(0, 94) + filled.substr(188)) << off;
    }
    EXPECT_EQ(pram0("-g 0 -g 4294967297", sections), filled);
    EXPECT_EQ(pram0("-z", sections),
              "00000000 00000000 00000000 00000000 //18440000\n"
              "00000000 00000000 00000000 00000000 //18440010\n" +
                  filled);
}

TEST(images, sections_share_a_line) {
    EXPECT_EQ(pram0("", {{"A", 0x18440020, a_bytes}, {"B", 0x18440038, b_bytes}}),
              "03020100 07060504 0b0a0908 0f0e0d0c //18440020\n"
              "13121110 00000000 a3a2a1a0 a7a6a5a4 //18440030\n");
    // The gap behind a line that began inside its block is counted from the block.
    EXPECT_EQ(pram0("", {{"A", 0x1844000c, "A"}, {"B", 0x1844000f, "B"}, {"C", 0x18440021, "C"}}),
              "00000000 00000000 00000000 42000041 //1844000c\n"
              "00000000 00000000 00000000 00000000 //18440010\n"
              "00004300 00000000 00000000 00000000 //18440021\n");
}

TEST(images, start_inside_a_block) {
    const std::vector<elf_section> sections{{"A", 0x98440018, a_bytes}};
    EXPECT_EQ(pram0("", sections),
              "00000000 00000000 03020100 07060504 //98440018\n"
              "0b0a0908 0f0e0d0c 13121110 00000000 //98440020\n");
    EXPECT_EQ(pram0("-z", sections),
              "00000000 00000000 00000000 00000000 //98440000\n"
              "00000000 00000000 03020100 07060504 //98440010\n"
              "0b0a0908 0f0e0d0c 13121110 00000000 //98440020\n");
    EXPECT_EQ(terminal("echo x 98440000 9844ffff >c; bankimg -C c -z fw.elf; head -n 1 x",
                       {{"fw.elf", elf_file({{"A", 0x18440018, a_bytes}})}}),
              "00000000 00000000 00000000 00000000 //18440000\n");
}

TEST(images, overlapping_sections_are_written_in_bank_order) {
    // B begins inside A and stands before it; its line is still open when A's bytes come.
    EXPECT_EQ(pram0("", {{"A", 0x18440000, ascending(10)}, {"B", 0x18440008, ascending(4, 0xa0)}}),
              "03020100 07060504 a3a20908 00000000 //18440008\n");
    EXPECT_EQ(pram0("", {{"A", 0x18440000, ascending(16)}, {"B", 0x18440008, ascending(4, 0xa0)}}),
              "03020100 07060504 0b0a0908 0f0e0d0c //18440008\n");
    // Where B's line is complete it stays as it is, and A's line has the same address.
    EXPECT_EQ(pram0("", {{"A", 0x18440000, a_bytes}, {"B", 0x18440000, ascending(16, 0xa0)}}),
              "a3a2a1a0 a7a6a5a4 abaaa9a8 afaeadac //18440000\n"
              "03020100 07060504 0b0a0908 0f0e0d0c //18440000\n"
              "13121110 00000000 00000000 00000000 //18440010\n");
}

TEST(images, addresses_wrap_at_the_end_of_the_address_space) {
    EXPECT_EQ(run_elf("", elf_file({{"A", 0xfffffff8, a_bytes}})).files.at("bank3.dat"),
              "00000000 00000000 03020100 07060504 //fffffff8\n"
              "0b0a0908 0f0e0d0c 13121110 00000000 //00000000\n");
}

TEST(images, bytes_without_zero_fill_are_blank) {
    CBank bank;
    bank.name = "/dev/fd/1";
    bank.zero_fill = false;
    bank.sections.emplace_back().fill_zero(0x18440028, 8);
    testing::internal::CaptureStdout();
    bank.write();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "                  00000000 00000000 //18440028\n");
}

TEST(images, complex_names_join_prefix_elf_base_name_and_suffix) {
    const std::string elf = elf_file({{"A", 0x18440000, "A"}, {"B", 0, "B"}});
    const auto names_for = [&](const std::string& path) {
        return terminal("mkdir -p dir.d; cp fw " + path + "; bankimg -n " + path + "; echo *.dat",
                        {{"fw", elf}});
    };
    EXPECT_EQ(names_for("fw.rev.elf"), "bank0.dat text_fw_0.dat\n");
    EXPECT_EQ(names_for("dir.d//b"), "bank0.dat text_b_0.dat\n");
    EXPECT_EQ(names_for("dir.d/.elf"), "bank0.dat pram0.dat\n");
    EXPECT_EQ(terminal("echo a 0 ffffffff pre >c; bankimg -g 0 -C c -n fw; ls pre*", {{"fw", elf}}),
              "pre_fw.dat\n");
}

// Sections that do not overlap, in cram.dat and bank0.dat, close enough that they often share a
// line; addresses and bytes are drawn at random.
std::vector<elf_section> random_sections(std::mt19937& random) {
    std::vector<elf_section> sections;
    for (uint32_t addr : {0x18000000U, 0U}) {
        for (size_t left = random() % 6; left > 0; left--) {
            addr += static_cast<uint32_t>(random() % 2 * (random() % 80));
            sections.push_back({"s", addr, ascending(1 + random() % 70, random() % 256)});
            addr += static_cast<uint32_t>(sections.back().data.size());
        }
    }
    return sections;
}

// Reads an image back into memory and checks the form and the address of each line on the way.
std::map<uint32_t, char> memory_of(const std::string& image, bool gap_fill) {
    std::map<uint32_t, char> memory;
    uint32_t next = 0;
    for (size_t at = 0; at < image.size(); at += 47) {
        const std::string line = image.substr(at, 47);
        uint32_t words[4], addr = 0;
        int end = 0;
        sscanf(line.c_str(), "%8x %8x %8x %8x //%8x%n", &words[0], &words[1], &words[2], &words[3],
               &addr, &end);
        EXPECT_TRUE(end == 46 && line.back() == '\n') << line;
        const uint32_t block = addr & ~15U;
        EXPECT_TRUE(at == 0 || block == next || (!gap_fill && block > next)) << line;
        next = block + 16;
        for (uint32_t i = 0; i < 16; i++) {
            memory[block + i] = static_cast<char>(words[i / 4] >> (i % 4 * 8));
        }
    }
    return memory;
}

// Expects the images of `sections` under `options` to hold their bytes, and zeros elsewhere.
void expect_round_trip(const std::vector<elf_section>& sections, bool gap_fill, bool zero_start) {
    const outcome got =
        run_elf(std::string(gap_fill ? "" : "-g0") + (zero_start ? " -z" : ""), elf_file(sections));
    std::map<uint32_t, char> memory;
    for (const auto& [name, image] : got.files) memory.merge(memory_of(image, gap_fill));
    for (const elf_section& sect : sections) {
        ASSERT_TRUE(!zero_start || memory.count(sect.addr & 0x18000000) == 1);
        for (uint32_t addr = sect.addr; addr < sect.addr + sect.data.size(); addr++) {
            ASSERT_EQ(memory.at(addr), sect.data[addr - sect.addr]);
            memory[addr] = 0;
        }
    }
    for (const auto& [addr, byte] : memory) ASSERT_EQ(byte, 0) << std::hex << addr;
}

TEST(images, read_back_they_hold_the_bytes_of_the_sections_and_zeros) {
    std::mt19937 random(1);
    for (int round = 0; round < 300; round++) {
        expect_round_trip(random_sections(random), random() % 2 == 0, random() % 2 == 0);
    }
    // More lines than are gathered at a time, of a section and of a gap.
    expect_round_trip({{"A", 8, ascending(0x60000)}, {"B", 0x100000, "B"}}, true, true);
}

}  // namespace
