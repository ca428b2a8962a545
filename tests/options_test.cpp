// Options, the order in which they take effect, and how a run ends early.
#include <gtest/gtest.h>

#include "elf_file.h"
#include "run.h"

namespace {

std::string usage_of(const std::string& program) {
    std::string text = readme_block("\nUsage: bankimg");
    return text.replace(text.find("bankimg"), strlen("bankimg"), program) + "exit 1\n";
}

TEST(options, usage_names_the_program_as_it_was_called) {
    const std::string link = "ln -s \"$(command -v bankimg)\" tool; ./tool ";
    for (const char* args : {"", "-h", "-h -v", "-g 2", "-g -1", "-g 99999999999999999999"}) {
        EXPECT_EQ(terminal(link + args), usage_of("./tool")) << args;
    }
    for (const char* args : {"-p", "-g 1", "-g 4294967297", "-g x", "-g ' +1abc'", "--"}) {
        EXPECT_EQ(terminal(link + args), usage_of("bankimg")) << args;
    }
    EXPECT_EQ(terminal("bankimg -x"), "bankimg: invalid option -- 'x'\n" + usage_of("bankimg"));
    EXPECT_EQ(terminal("bankimg -pc"),
              "bankimg: option requires an argument -- 'c'\n" + usage_of("bankimg"));
    EXPECT_EQ(run("bankimg -h").err, "");
}

TEST(options, version_ends_the_run_while_options_are_parsed) {
    for (const char* args : {"-v", "-v -h", "-c missing -v", "-pv -g 2"}) {
        EXPECT_EQ(terminal(std::string("bankimg ") + args), "v.2.09 14/08/2013\n") << args;
    }
}

TEST(options, may_follow_the_elf_file_name) {
    const file_map inputs{{"fw.elf", elf_file({{".text", 0x100, "x"}})}};
    const std::string listing = "[.text] 00000100 00000100 (1,0x1)\n";
    EXPECT_EQ(terminal("bankimg fw.elf ignored -p", inputs), listing);
    EXPECT_EQ(terminal("POSIXLY_CORRECT=1 bankimg fw.elf -p", inputs), listing);
}

TEST(options, elf_file_that_is_none) {
    EXPECT_EQ(run("bankimg missing").out, "Can't open file missing\n");
    EXPECT_EQ(terminal("bankimg ''"), "Can't open file \nexit 1\n");
    EXPECT_EQ(run("bankimg .").err, "is not ELF file\n");
    for (const char* text : {"", "\177E", "\177EL", "\177ELX", "plain text"}) {
        EXPECT_EQ(terminal("bankimg -wP a.txt", {{"a.txt", text}}), "is not ELF file\nexit 1\n");
    }
}

}  // namespace
