// Options, the order in which they take effect, and how a run ends early.
#include "test.h"

static std::string usage_of(const std::string& program) {
    std::string text = documented("\nUsage: bankimg");
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
    EXPECT_EQ(terminal("bankimg -c missing -pv -h -g 2 2>&-"), "v.2.09 14/08/2013\n");
}

TEST(options, usage_of_bankimg_map_has_more_options) {
    EXPECT_EQ(
        terminal("bankimg -h >a; ln -s $(command -v bankimg-map) m; ./m -h | diff a - | grep '>'"),
        "> Usage: ./m  [-b] [-c config.txt] [-C config.txt] [-g n] [-h] [-l] [-n] [-o "
        "directory] [-p] [-P] [-v] [-w] [-x section] [-z] elf-file\n"
        ">   -l - place sections at their load addresses, leave out those without bytes\n"
        ">   -o directory - write all files below this directory, which is created\n"
        ">   -x section - leave out this section\n> All 32 bits of an address count.\n");
    for (const std::string args : {"-h -v", "-g 2", "-g x -g -1", "-z"}) {
        EXPECT_EQ(terminal("bankimg-map " + args), terminal("bankimg-map")) << args;
    }
}

TEST(options, usage_of_the_other_programs) {
    for (const std::string name : {"bankimg-map", "bankimg-check", "bankimg-words"}) {
        const std::string usage = terminal(name + " -h || true");
        EXPECT_LE(usage.find("Usage: " + name + " "), 1);
        EXPECT_EQ(terminal(name + " -Z"), name + ": invalid option -- 'Z'\n" + usage + "exit 1\n");
    }
    EXPECT_EQ(terminal("bankimg-words a b >&-"), terminal("bankimg-words -h; false"));
    EXPECT_EQ(terminal("bankimg-check >&-"), terminal("bankimg-check -h; false"));
}

// Options may follow the ELF file, and each does its own work and not its neighbour's: the number
// of lines and the names of the files that are written.
TEST(options, stand_alone) {
    const file_map inputs{{"fw.elf", elf_file({{".a", 0x18440020, "a"}, {".b", 0x18440050, "b"}})},
                          {"c", "x.cfg 20000000 2000000f"}};
    EXPECT_EQ(terminal("for option in '-c c' '-g 1' -w -z -n; do\n"
                       "POSIXLY_CORRECT=1 bankimg fw.elf ignored $option\n"
                       "echo $(cat *.dat | wc -l) *.bin *.dat; rm -f *.dat *.bin; done",
                       inputs),
              "4 *.bin pram0.dat\n4 *.bin pram0.dat\n4 a.bin b.bin pram0.dat\n6 *.bin pram0.dat\n4 "
              "*.bin text_fw_0.dat\n");
}

TEST(options, elf_file_that_is_none) {
    EXPECT_EQ(terminal("bankimg missing 2>&-"), "Can't open file missing\nexit 1\n");
    EXPECT_EQ(terminal("bankimg . >&-"), "is not ELF file\nexit 1\n");
    EXPECT_EQ(terminal("mkfifo pipe; cat a.elf >pipe & bankimg pipe", {{"a.elf", elf_file({})}}),
              "is not ELF file\nexit 1\n");
    for (const char* text : {"", "\177E", "\177EL", "\177ELX", "plain text"}) {
        EXPECT_EQ(terminal("bankimg -wP a.txt", {{"a.txt", text}}), "is not ELF file\nexit 1\n");
    }
}
