// What happens when memory, disk or permissions run out, and at the sizes a file can claim.
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>

#include "elf_file.h"
#include "run.h"
#include "sect.h"

namespace {

const file_map firmware{
    {"fw.elf", elf_file({{".text", 0x18440000, "code"}, {".boot", 0x1fc00000, "boot"}})}};
const std::string pram0 = "65646f63 00000000 00000000 00000000 //18440000\n";

TEST(faults, memory_runs_out) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "AddressSanitizer needs more address space than the limit leaves";
#endif
    // Once while the section is read, once for the zeros in front of it.
    const std::string huge = elf_file({{"s", 0x100, "", SHF_ALLOC, SHT_NOBITS, 0x7fffffff}});
    const std::string far = elf_file({{"s", 0x1f000000, "x"}});
    for (const std::string& elf : {huge, far}) {
        const outcome got = run("ulimit -v 400000; bankimg -z -C a.cfg fw.elf",
                                {{"fw.elf", elf}, {"a.cfg", "a.dat 0 1fffffff"}, {"a.dat", "old"}});
        EXPECT_EQ(got.status, 1);
        EXPECT_EQ(got.err, "Out of memory\n");
        EXPECT_TRUE(got.files.empty());  // the image of an earlier run is as it was
    }
}

TEST(faults, image_that_cannot_be_created) {
    const outcome got = run("mkdir bank3.dat; bankimg fw.elf", firmware);
    EXPECT_EQ(got.status, 1);
    EXPECT_EQ(got.err, "Can't open file bank3.dat\n");
    EXPECT_EQ(got.files, (file_map{{"pram0.dat", pram0}}));
    EXPECT_EQ(terminal("echo no/folder.dat 0 ffffffff >a; bankimg fw.elf -C a", firmware),
              "Can't open file no/folder.dat\nexit 1\n");
}

TEST(faults, output_that_nobody_takes) {
    for (const std::string sink : {">&-", "2>&-", ">&- 2>&- <&-", ">/dev/full", "| true"}) {
        const outcome got = run("bankimg -pP fw.elf " + sink, firmware);
        EXPECT_EQ(got.status, 0) << sink;
        EXPECT_EQ(got.files.at("pram0.dat"), pram0) << sink;
    }
    EXPECT_EQ(terminal("ln -s /dev/full pram0.dat; bankimg fw.elf", firmware), "");
}

TEST(faults, largest_counts_and_offsets) {
    const std::vector<elf_section> sections(65533, {".s", 0x18440000, "x"});
    EXPECT_EQ(run("bankimg -p fw.elf | wc -l", {{"fw.elf", elf_file(sections)}}).out, "65533\n");

    // The sum that leads to a name wraps at 2^32, here back to the section's own bytes; the
    // section's offset is beyond the end of the file.
    std::string elf = elf_file({{".text", 0x18440000, "name"}});
    const uint32_t header = sizeof(Ehdr) + 4 + sizeof(Shdr), names = header + 2 * sizeof(Shdr);
    elf = patched(elf, header, uint32_t{sizeof(Ehdr)} - names);
    elf = patched<uint32_t>(elf, header + offsetof(Shdr, sh_offset), 0xfffffffe);
    EXPECT_EQ(run_elf("-p", elf).out, "[name] 18440000 18440003 (4,0x4)\n");
}

TEST(faults, interrupted_writes_are_continued) {
    struct sigaction action = {};
    action.sa_handler = [](int) {};  // without SA_RESTART
    sigaction(SIGALRM, &action, nullptr);
    const itimerval every_millisecond{{0, 1000}, {0, 1000}}, never{};
    const std::string bytes = ascending(1 << 20);
    const std::string name = testing::TempDir() + "bankimg-received-" + std::to_string(getpid());
    FILE* receiver = popen(("sleep 0.05; cat >" + name).c_str(), "w");
    setitimer(ITIMER_REAL, &every_millisecond, nullptr);
    write_all(fileno(receiver), bytes.data(), bytes.size());
    setitimer(ITIMER_REAL, &never, nullptr);
    pclose(receiver);
    EXPECT_TRUE(run("cat " + name + "; rm " + name).out == bytes);
}

TEST(faults, large_bank_files) {
    EXPECT_EQ(terminal("bankimg -C a -b", {{"a", std::string(1000000, 'x')}}),
              std::string(1023, 'x') + "\nBad cfg format\nexit 1\n");
    // At most one second of processor time.
    EXPECT_EQ(terminal("seq 10000 29999 | sed 's/.*/bank& &000 &fff/' >a; ulimit -t 1;"
                       "bankimg -bCa | wc -l"),
              "20000\n");
}

}  // namespace
