// What happens when memory, disk or permissions run out, and at the sizes a file can claim.
#include <gtest/gtest.h>

#include "elf_file.h"
#include "run.h"

namespace {

const std::string code_elf = elf_file({{".text", 0x18440000, "code"}, {".boot", 0x1fc00000, "b"}});
const std::string code_image = "65646f63 00000000 00000000 00000000 //18440000\n";

TEST(faults, memory_runs_out) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "AddressSanitizer needs more address space than the limit leaves";
#endif
    const std::string image = "an image of an earlier run\n";
    const elf_section huge{"huge", 0x18440100, "", SHF_ALLOC, SHT_NOBITS, 0x7fffffff};
    const outcome got = run("ulimit -v 500000; bankimg fw.elf",
                            {{"fw.elf", elf_file({huge})}, {"pram0.dat", image}});
    EXPECT_EQ(got.status, 1);
    EXPECT_EQ(got.err, "Out of memory\n");
    EXPECT_TRUE(got.files.empty());
}

TEST(faults, image_that_cannot_be_created) {
    const outcome dir = run("mkdir bank3.dat; bankimg fw.elf", {{"fw.elf", code_elf}});
    EXPECT_EQ(dir.status, 1);
    EXPECT_EQ(dir.err, "Can't open file bank3.dat\n");
    EXPECT_EQ(dir.files, (file_map{{"pram0.dat", code_image}}));
    const outcome path = run("bankimg fw.elf -C banks.cfg",
                             {{"fw.elf", code_elf}, {"banks.cfg", "no/folder.dat 0 ffffffff"}});
    EXPECT_EQ(path.err, "Can't open file no/folder.dat\n");
}

TEST(faults, nobody_reads_what_is_printed) {
    for (const char* sink : {">&-", "2>&-", ">&- 2>&- <&-", ">/dev/full", "| true"}) {
        const outcome got =
            run(std::string("bankimg -g 0 -pP fw.elf ") + sink, {{"fw.elf", code_elf}});
        EXPECT_EQ(got.status, 0) << sink;
        EXPECT_EQ(got.files.at("pram0.dat"), code_image) << sink;
    }
    const std::string full = "ln -s /dev/full pram0.dat; bankimg fw.elf";
    EXPECT_EQ(run(full, {{"fw.elf", code_elf}}).status, 0);
}

TEST(faults, largest_counts_and_offsets) {
    std::vector<elf_section> sections(65533, {".s", 0x18440000, "x"});
    EXPECT_EQ(run("bankimg -p fw.elf | wc -l", {{"fw.elf", elf_file(sections)}}).out, "65533\n");

    // The offset of a name wraps at 2^32: here it leads back to the section's own bytes, while
    // those are said to lie beyond the end of the file.
    std::string elf = elf_file({{".text", 0x18440000, "name"}});
    const auto header = static_cast<uint32_t>(sizeof(Ehdr) + 4 + sizeof(Shdr));
    const auto names = static_cast<uint32_t>(header + 2 * sizeof(Shdr));
    elf = patched<uint32_t>(elf, header, static_cast<uint32_t>(sizeof(Ehdr)) - names);
    elf = patched<uint32_t>(elf, header + offsetof(Shdr, sh_offset), 0xfffffffe);
    EXPECT_EQ(run("bankimg -p fw.elf", {{"fw.elf", elf}}).out,
              "[name] 18440000 18440003 (4,0x4)\n");
}

TEST(faults, large_bank_files) {
    EXPECT_EQ(run("bankimg -C a -b", {{"a", std::string(1000000, 'x')}}).status, 1);
    std::string banks;
    for (int i = 0; i < 20000; i++) {
        const std::string number = std::to_string(10000 + i);
        banks += "bank" + number + " " + number + "000 " + number + "fff\n";
    }
    EXPECT_EQ(run("bankimg -C a -b | wc -l", {{"a", banks}}).out, "20000\n");
}

}  // namespace
