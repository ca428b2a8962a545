// Bank configuration files: their grammar, every error, and how they join.
#include "test.h"

using namespace std::string_literals;

// Shows what "bankimg -b" says of a configuration file that replaces the built-in banks.
static std::string list_banks(const std::string& config) {
    return terminal("bankimg -C a.cfg -b", {{"a.cfg", config}});
}

TEST(config, one_bank_per_line) {
    EXPECT_EQ(list_banks("# comment; only\n; a # b 0 1\n\n \t \n"
                         "a.dat 0x 0xF\n"
                         "\t b.dat\t10  1f text \r\n"
                         "c.dat 0x20 2F data 0 ignored # comment\n"
                         "d.dat 30 \r3f;comment\n"
                         "e.dat 40 4f\0text\n"
                         "\0x\n"
                         "\ff.dat\v 0xFFFFfff0 ffffffff x y"s),
              "[0]: a.dat\t00000000 0000000f\n"
              "[1]: b.dat\t00000010 0000001f (text,)\n"
              "[2]: c.dat\t00000020 0000002f (data,0)\n"
              "[3]: d.dat\t00000030 0000003f\n"
              "[4]: e.dat\t00000040 0000004f\n"
              "[5]: \ff.dat\v\tfffffff0 ffffffff (x,y)\n");
}

TEST(config, errors_show_the_line_as_it_was_read) {
    const std::string listed = "[0]: first.dat\t00001000 00001fff\n";
    const auto error = [](const std::string& line) {
        return list_banks("first.dat 1000 1fff\n" + line + "\n");
    };
    EXPECT_EQ(error(" a.dat 0X;x 0 10\r"), " a.dat 0X;x 0 10\nBad cfg format\nexit 1\n");
    for (const std::string range :
         {"0X100 f", "000000000 f", "0x000000000 f", "12g f", "-1 f", "+1 f", "0x0x1 f", "1 1x"}) {
        EXPECT_EQ(error("a.dat " + range), "a.dat " + range + "\nBad hex format\nexit 1\n");
    }
    for (const std::string bank : {"a.dat 100 100", "a.dat 0x 0", "FIRST.dat 200 100"}) {
        EXPECT_EQ(error(bank), listed + bank + "\nBad range\nexit 1\n");
    }
    for (const std::string bank : {"First.DAT 0 10", "a.dat 0 1000", "a.dat 1fff 2000",
                                   "a.dat 1200 1300", "a.dat 0 ffffffff"}) {
        EXPECT_EQ(error(bank), listed + bank + "\nOverlapped banks\nexit 1\n");
    }
    // Neighbours do not clash, nor do banks that only their top three bits tell apart.
    EXPECT_EQ(error("a.dat 0 fff\nb.dat 2000 2001\nc.dat 80001000 80001fff\n#"),
              listed +
                  "[1]: a.dat\t00000000 00000fff\n"
                  "[2]: b.dat\t00002000 00002001\n"
                  "[3]: c.dat\t80001000 80001fff\n");
}

TEST(config, long_lines_are_read_in_pieces) {
    const std::string blanks(1023 - strlen("a.dat 0 f"), ' ');
    EXPECT_EQ(list_banks("a.dat 0 f" + blanks + "b.dat 0 0" + blanks + "c"),
              "[0]: a.dat\t00000000 0000000f\nb.dat 0 0" + blanks + "\nBad range\nexit 1\n");
}

TEST(config, files_join_in_command_line_order) {
    const file_map inputs{{"a", "a.dat 20000000 2000000f\n"},
                          {"b", "b.dat 20000010 2000001f\n"},
                          {"name", "PRAM0.DAT 20000000 20000001\n"},
                          {"range", "x.dat 07ffffff 08000000\n"}};
    const std::string a = "a.dat\t20000000 2000000f\n", b = "b.dat\t20000010 2000001f\n";
    EXPECT_EQ(terminal("bankimg -b -c a -Cb", inputs), "[0]: " + a + "[1]: " + b);
    EXPECT_EQ(terminal("bankimg -Cb -bca", inputs), "[0]: " + b + "[1]: " + a);
    EXPECT_EQ(terminal("bankimg -bcb | tail -n 2", inputs),
              "[8]: bank3.dat\t1fc00000 1fffffff\n[9]: " + b);
    for (const std::string clash : {"name", "range", "a -c a"}) {
        EXPECT_EQ(terminal("bankimg -bc " + clash + " >&-", inputs),
                  inputs.at(clash.substr(0, clash.find(' '))) + "Overlapped banks\nexit 1\n");
    }
    // All that before it is noticed that there is no ELF file.
    EXPECT_EQ(terminal("bankimg -c missing 2>&-"), "Can't open file missing\nexit 1\n");
    EXPECT_EQ(terminal("bankimg -c . missing.elf >&-"), "Can't read file .\nexit 1\n");
}
