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
}

TEST(options, usage_of_bankimg_map_begins_with_its_own_options) {
    const std::string own =
        "bankimg-map runs like bankimg, but all 32 bits of an address count. Options of its own:\n"
        "  -l - place sections at their load addresses, leave out those without bytes\n"
        "  -x section - leave out this section\n";
    for (const std::string args : {"", "-h -v", "-g 2", "-g x -g -1"}) {
        EXPECT_EQ(terminal("ln -s \"$(command -v bankimg-map)\" m; ./m " + args),
                  own + usage_of("./m"));
    }
    EXPECT_EQ(terminal("bankimg-map -z"), own + usage_of("bankimg-map"));
    EXPECT_EQ(terminal("bankimg-map -x"),
              "bankimg-map: option requires an argument -- 'x'\n" + own + usage_of("bankimg-map"));
}

TEST(options, usage_of_programs_that_print_no_image) {
    for (const std::string name : {"bankimg-check", "bankimg-words"}) {
        const std::string usage = terminal(name + " -h");
        EXPECT_EQ(usage.find("Usage: " + name + " ["), 0);
        EXPECT_EQ(terminal(name + " -b >&-"),
                  name + ": invalid option -- 'b'\n" + usage + "exit 1\n");
    }
    EXPECT_EQ(terminal("bankimg-words a b >&-"), terminal("bankimg-words -h; false"));
}

TEST(options, version_ends_the_run_while_options_are_parsed) {
    for (const char* args : {"-v", "-v -h", "-c missing -v", "-pv -g 2"}) {
        EXPECT_EQ(terminal(std::string("bankimg 2>&- ") + args), "v.2.09 14/08/2013\n") << args;
    }
}

// Options may follow the ELF file, and each does its own work and not its neighbour's: the number
// of lines and the names of the files that are written.
TEST(options, stand_alone) {
    const file_map inputs{{"fw.elf", elf_file({{".a", 0x18440020, "a"}, {".b", 0x18440050, "b"}})},
                          {"c", "x.cfg 20000000 2000000f"}};
    const std::pair<std::string, std::string> cases[] = {
        {"-c c", "4 *.bin pram0.dat\n"},     {"-g 1", "4 *.bin pram0.dat\n"},
        {"-w", "4 a.bin b.bin pram0.dat\n"}, {"-z", "6 *.bin pram0.dat\n"},
        {"-n", "4 *.bin text_fw_0.dat\n"},
    };
    for (const auto& [args, shown] : cases) {
        const std::string command = "POSIXLY_CORRECT=1 bankimg fw.elf ignored " + args;
        EXPECT_EQ(terminal(command + "; echo $(cat *.dat | wc -l) *.bin *.dat", inputs), shown);
    }
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
