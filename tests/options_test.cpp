// Options, the order in which they take effect, and how a run ends early.
#include <gtest/gtest.h>

#include "elf_file.h"
#include "run.h"

namespace {

std::string usage_of(const std::string& program) {
    return "\nUsage: " + program +
           "  [-b] [-c config.txt] [-C config.txt] [-g] [-h] [-n] [-p] [-P] [-v] [-w] [-z] "
           "elf-file\n"
           "Options:\n"
           "  -b - print banks\n"
           "  -c config.txt - add banks config\n"
           "  -C config.txt - new banks config\n"
           "  -g n - zeroes gaps between sections (n=0 or 1) (default=1)\n"
           "  -h - usage\n"
           "  -n - complex bank name (prefix_elf_suffix.dat)\n"
           "  -p - print sections\n"
           "  -P - print banks and sections\n"
           "  -v - print version\n"
           "  -w - write sections to binary files (default=off)\n"
           "  -z - zeroes start bank (default=off)\n";
}

const std::string version = "v.2.09 14/08/2013\n";

TEST(options, usage_names_the_program_as_it_was_called) {
    const std::string link = "ln -s $(command -v bankimg) tool; ./tool ";
    for (const char* args : {"", "-h", "-g 2", "-g -1", "-g 99999999999999999999", "-h -v"}) {
        const outcome got = run(link + args);
        EXPECT_EQ(got.status, 1) << args;
        EXPECT_EQ(got.out, usage_of("./tool")) << args;
        EXPECT_EQ(got.err, "") << args;
    }
    for (const char* args : {"-p", "-g 1", "-g 4294967297", "-g x", "-g ' +1abc'", "--"}) {
        EXPECT_EQ(run(link + args).out, usage_of("bankimg")) << args;
    }
}

TEST(options, bad_ones_are_diagnosed_before_the_usage_text) {
    EXPECT_EQ(run("bankimg -x 2>&1").out, "bankimg: invalid option -- 'x'\n" + usage_of("bankimg"));
    EXPECT_EQ(run("bankimg -pc 2>&1").out,
              "bankimg: option requires an argument -- 'c'\n" + usage_of("bankimg"));
}

TEST(options, version_ends_the_run_while_options_are_parsed) {
    for (const char* args : {"-v", "-v -h", "-c missing -v", "-pv -g 2"}) {
        const outcome got = run(std::string("bankimg ") + args);
        EXPECT_EQ(got.status, 0) << args;
        EXPECT_EQ(got.out, version) << args;
    }
}

TEST(options, may_follow_the_elf_file_name) {
    const std::string elf = elf_file({{".text", 0x100, "x"}});
    const std::string listing = "[.text] 00000100 00000100 (1,0x1)\n";
    EXPECT_EQ(run("bankimg fw.elf ignored -p", {{"fw.elf", elf}}).out, listing);
    EXPECT_EQ(run("POSIXLY_CORRECT=1 bankimg fw.elf -p", {{"fw.elf", elf}}).out, listing);
}

TEST(options, elf_file_that_is_none) {
    EXPECT_EQ(run("bankimg missing").out, "Can't open file missing\n");
    EXPECT_EQ(run("bankimg ''").out, "Can't open file \n");
    EXPECT_EQ(run("bankimg missing").status, 1);
    for (const char* content : {"",
                                "\x7f"
                                "E",
                                "\x7f"
                                "EL",
                                "\x7f"
                                "ELX",
                                "plain text"}) {
        const outcome got = run("bankimg -wP a.txt", {{"a.txt", content}});
        EXPECT_EQ(got.status, 1);
        EXPECT_EQ(got.out + got.err, "is not ELF file\n");
    }
    EXPECT_EQ(run("bankimg .").err, "is not ELF file\n");
}

}  // namespace
