// Image files: their lines, gaps, starts and names.
#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <sstream>

#include "bank.h"
#include "elf_file.h"
#include "run.h"

namespace {

const std::string a_bytes = ascending(0x14);
const std::string b_bytes = ascending(8, 0xa0);

// The image of bank pram0.dat.
std::string pram0(const std::string& options, const std::vector<elf_section>& sections) {
    const outcome got = run_elf(options, elf_file(sections));
    EXPECT_EQ(got.status, 0);
    EXPECT_EQ(got.out + got.err, "");
    EXPECT_EQ(got.files.size(), 1U);
    return got.files.at("pram0.dat");
}

TEST(images, gap_between_sections) {
    const std::vector<elf_section> sections{{"A", 0x18440020, a_bytes}, {"B", 0x18440060, b_bytes}};
    EXPECT_EQ(pram0("", sections),
              "03020100 07060504 0b0a0908 0f0e0d0c //18440020\n"
              "13121110 00000000 00000000 00000000 //18440030\n"
              "00000000 00000000 00000000 00000000 //18440040\n"
              "00000000 00000000 00000000 00000000 //18440050\n"
              "a3a2a1a0 a7a6a5a4 00000000 00000000 //18440060\n");
    EXPECT_EQ(pram0("-g 0", sections),
              "03020100 07060504 0b0a0908 0f0e0d0c //18440020\n"
              "13121110 00000000 00000000 00000000 //18440030\n"
              "a3a2a1a0 a7a6a5a4 00000000 00000000 //18440060\n");
    EXPECT_EQ(pram0("-z", sections),
              "00000000 00000000 00000000 00000000 //18440000\n"
              "00000000 00000000 00000000 00000000 //18440010\n" +
                  pram0("", sections));
}

TEST(images, gap_counts_whole_blocks) {
    const auto lines_to = [](uint32_t addr) {
        return pram0("", {{"A", 0x18440000, "x"}, {"B", addr, "x"}}).size() / 47;
    };
    EXPECT_EQ(lines_to(0x1844000f), 1U);
    EXPECT_EQ(lines_to(0x18440010), 2U);
    EXPECT_EQ(lines_to(0x1844001f), 2U);
    EXPECT_EQ(lines_to(0x18440020), 3U);
    EXPECT_EQ(lines_to(0x18440048), 5U);
}

TEST(images, sections_share_a_line) {
    EXPECT_EQ(pram0("", {{"A", 0x18440020, a_bytes}, {"B", 0x18440038, b_bytes}}),
              "03020100 07060504 0b0a0908 0f0e0d0c //18440020\n"
              "13121110 00000000 a3a2a1a0 a7a6a5a4 //18440030\n");
    // A section that ends its block closes the line, so that the next one begins another.
    EXPECT_EQ(pram0("", {{"A", 0x1844000c, ascending(4)}, {"B", 0x18440010, b_bytes}}),
              "00000000 00000000 00000000 03020100 //1844000c\n"
              "a3a2a1a0 a7a6a5a4 00000000 00000000 //18440010\n");
    // The gap behind a line that began inside its block is counted from the block.
    EXPECT_EQ(pram0("", {{"A", 0x1844000c, "A"}, {"B", 0x1844000f, "B"}, {"C", 0x18440021, "C"}}),
              "00000000 00000000 00000000 42000041 //1844000c\n"
              "00000000 00000000 00000000 00000000 //18440010\n"
              "00004300 00000000 00000000 00000000 //18440021\n");
}

TEST(images, start_inside_a_block) {
    EXPECT_EQ(pram0("", {{"A", 0x18440028, a_bytes}}),
              "00000000 00000000 03020100 07060504 //18440028\n"
              "0b0a0908 0f0e0d0c 13121110 00000000 //18440030\n");
    EXPECT_EQ(pram0("-z", {{"A", 0x18440028, a_bytes}}),
              "00000000 00000000 00000000 00000000 //18440000\n"
              "00000000 00000000 00000000 00000000 //18440010\n"
              "00000000 00000000 03020100 07060504 //18440020\n"
              "0b0a0908 0f0e0d0c 13121110 00000000 //18440030\n");
}

TEST(images, zero_start_takes_its_top_bits_from_the_first_section) {
    EXPECT_EQ(pram0("-z", {{"A", 0x98440020, b_bytes}}),
              "00000000 00000000 00000000 00000000 //98440000\n"
              "00000000 00000000 00000000 00000000 //98440010\n"
              "a3a2a1a0 a7a6a5a4 00000000 00000000 //98440020\n");
    EXPECT_EQ(pram0("-z", {{"A", 0x18440000, b_bytes}}),
              "a3a2a1a0 a7a6a5a4 00000000 00000000 //18440000\n");
}

TEST(images, overlapping_sections_are_written_in_bank_order) {
    // B begins inside A and stands before it; its line is still open when A's bytes come.
    EXPECT_EQ(pram0("", {{"A", 0x18440000, ascending(10)}, {"B", 0x18440008, ascending(4, 0xa0)}}),
              "03020100 07060504 a3a20908 00000000 //18440008\n");
    // Where B's line is complete it stays as it is, and A's line has the same address.
    EXPECT_EQ(pram0("", {{"A", 0x18440000, a_bytes}, {"B", 0x18440000, ascending(16, 0xa0)}}),
              "a3a2a1a0 a7a6a5a4 abaaa9a8 afaeadac //18440000\n"
              "03020100 07060504 0b0a0908 0f0e0d0c //18440000\n"
              "13121110 00000000 00000000 00000000 //18440010\n");
}

TEST(images, addresses_wrap_at_the_end_of_the_address_space) {
    const outcome got = run_elf("", elf_file({{"A", 0xfffffff8, a_bytes}}));
    EXPECT_EQ(got.files.at("bank3.dat"),
              "00000000 00000000 03020100 07060504 //fffffff8\n"
              "0b0a0908 0f0e0d0c 13121110 00000000 //00000000\n");
}

TEST(images, bytes_without_zero_fill_are_blank) {
    CBank bank;
    bank.name = testing::TempDir() + "blank.dat";
    bank.zero_fill = false;
    CSect sect;
    sect.fill_zero(0x18440028, 8);
    bank += sect;
    bank.write();
    std::stringstream image;
    image << std::ifstream(bank.name).rdbuf();
    EXPECT_EQ(image.str(), "                  00000000 00000000 //18440028\n");
}

TEST(images, complex_names_join_prefix_elf_base_name_and_suffix) {
    const file_map inputs{{"fw.rev.elf", elf_file({{"A", 0x18440000, "A"}, {"B", 0, "B"}})}};
    const auto names_for = [&](const std::string& path) {
        const std::string copy = "d=$(dirname " + path + "); mkdir -p $d; cp fw.rev.elf ";
        std::string names;
        for (const auto& file : run(copy + path + "; bankimg -n " + path, inputs).files) {
            if (file.first.find(".dat") != std::string::npos) names += file.first + " ";
        }
        return names;
    };
    EXPECT_EQ(names_for("fw.rev.elf"), "bank0.dat text_fw_0.dat ");
    EXPECT_EQ(names_for("dir.d/fw"), "bank0.dat text_fw_0.dat ");
    EXPECT_EQ(names_for("dir//b.c"), "bank0.dat text_b_0.dat ");
    EXPECT_EQ(names_for("dir/.elf"), "bank0.dat pram0.dat ");
}

// Sections that do not overlap, in the banks cram.dat and bank0.dat, at addresses and with bytes
// drawn at random; close enough that they often share a line.
std::vector<elf_section> random_sections(std::mt19937& random) {
    const auto draw = [&](uint32_t below) { return static_cast<uint32_t>(random() % below); };
    std::vector<elf_section> sections;
    for (uint32_t base : {0x18000000U, 0x00000000U}) {
        uint32_t addr = base + draw(100);
        for (uint32_t left = draw(6); left > 0; left--) {
            const uint32_t size = 1 + draw(70);
            sections.push_back({"s", addr, ascending(size, static_cast<int>(draw(256)))});
            addr += size + draw(2) * draw(80);
        }
    }
    return sections;
}

// Reads an image back into memory and checks each line's form and address on the way.
std::map<uint32_t, char> memory_of(const std::string& image, bool gap_fill) {
    std::map<uint32_t, char> memory;
    uint32_t expected = 0;
    for (size_t at = 0; at < image.size(); at += 47) {
        uint32_t words[4], addr = 0;
        const std::string line = image.substr(at, 47);
        EXPECT_EQ(sscanf(line.c_str(), "%8x %8x %8x %8x //%8x", &words[0], &words[1], &words[2],
                         &words[3], &addr),
                  5)
            << line;
        EXPECT_EQ(line.find('\n'), 46U);
        const uint32_t block = addr & ~15U;
        EXPECT_TRUE(at == 0 || (gap_fill ? block == expected : block >= expected)) << line;
        expected = block + 16;
        for (uint32_t i = 0; i < 16; i++) {
            memory[block + i] = static_cast<char>(words[i / 4] >> (i % 4 * 8));
        }
    }
    return memory;
}

TEST(images, read_back_they_hold_the_bytes_of_the_sections_and_zeros) {
    std::mt19937 random(1);
    for (int round = 0; round < 300; round++) {
        const std::vector<elf_section> sections = random_sections(random);
        const bool gap_fill = random() % 2 == 0, zero_start = random() % 2 == 0;
        const std::string options = std::string(gap_fill ? "" : "-g0 ") + (zero_start ? "-z" : "");
        const outcome got = run_elf(options, elf_file(sections));
        std::map<uint32_t, char> memory;
        for (const auto& [name, image] : got.files) memory.merge(memory_of(image, gap_fill));
        for (const elf_section& sect : sections) {
            for (uint32_t i = 0; i < sect.data.size(); i++) {
                ASSERT_EQ(memory.count(sect.addr + i), 1U);
                ASSERT_EQ(memory[sect.addr + i], sect.data[i]);
                memory[sect.addr + i] = 0;
            }
            ASSERT_TRUE(!zero_start || memory.count(sect.addr & 0x18000000));
        }
        for (const auto& [addr, byte] : memory) ASSERT_EQ(byte, 0) << std::hex << addr;
    }
}

}  // namespace
