// Bank configuration files: their grammar, every error, and how they join.
#include <gtest/gtest.h>

#include "run.h"

using namespace std::string_literals;

namespace {

// What "bankimg -b" says of a configuration file that replaces the built-in banks.
std::string list_banks(const std::string& config) {
    return terminal("bankimg -C a.cfg -b", {{"a.cfg", config}});
}

TEST(config, one_bank_per_line) {
    EXPECT_EQ(list_banks("# comment only\n"
                         "\n"
                         " \t \n"
                         "a.dat 0x 0xF\n"
                         "\t b.dat\t10  1f text \r\n"
                         "c.dat 0x20 2F data 0 ignored # comment\n"
                         "d.dat 30 \r3f;comment\n"
                         "\fe.dat\v 0xFFFFfff0 ffffffff x y"),
              "[0]: a.dat\t00000000 0000000f\n"
              "[1]: b.dat\t00000010 0000001f (text,)\n"
              "[2]: c.dat\t00000020 0000002f (data,0)\n"
              "[3]: d.dat\t00000030 0000003f\n"
              "[4]: \fe.dat\v\tfffffff0 ffffffff (x,y)\n");
    EXPECT_EQ(list_banks(""), "");
    // The text of a line ends at a zero byte.
    EXPECT_EQ(list_banks("a.dat 0 1\0b.dat\n\0x\nc.dat 2 3\0"s),
              "[0]: a.dat\t00000000 00000001\n"
              "[1]: c.dat\t00000002 00000003\n");
}

TEST(config, errors_show_the_line_as_it_was_read) {
    const std::string listed =
        "[0]: first.dat\t00001000 00001fff\n"
        "[1]: high.dat\t00005000 00005fff\n";
    const auto error = [](const std::string& line) {
        return list_banks("first.dat 1000 1fff\nhigh.dat 5000 5fff\n" + line + "\n");
    };
    EXPECT_EQ(error(" a.dat;x 0 10\r"), " a.dat;x 0 10\nBad cfg format\nexit 1\n");
    EXPECT_EQ(error("a.dat 0 # 10"), "a.dat 0 # 10\nBad cfg format\nexit 1\n");
    for (const std::string hex :
         {"0X100", "000000000", "0x000000000", "12g", "-1", "+1", "0x0x1"}) {
        EXPECT_EQ(error("a.dat " + hex + " f"), "a.dat " + hex + " f\nBad hex format\nexit 1\n");
    }
    EXPECT_EQ(error("a.dat 1 1x"), "a.dat 1 1x\nBad hex format\nexit 1\n");
    for (const std::string range : {"a.dat 100 100", "a.dat 0x 0", "FIRST.dat 200 100"}) {
        EXPECT_EQ(error(range), listed + range + "\nBad range\nexit 1\n");
    }
    for (const std::string clash :
         {"First.DAT 0 10", "a.dat 0 1000", "a.dat 1fff 2000", "a.dat 1200 1300",
          "a.dat 0 ffffffff", "a.dat 5fff 6000", "HIGH.DAT 0 f"}) {
        EXPECT_EQ(error(clash), listed + clash + "\nOverlapped banks\nexit 1\n");
    }
    // Neighbours do not clash, nor do banks that only their top three bits tell apart.
    EXPECT_EQ(error("a.dat 0 fff\nb.dat 2000 2001\nc.dat 80001000 80001fff\n#").find("exit"),
              std::string::npos);
}

TEST(config, long_lines_are_read_in_pieces) {
    const std::string blanks(1023 - strlen("a.dat 0 f"), ' ');
    EXPECT_EQ(list_banks("a.dat 0 f" + blanks + "b.dat 10 1f\n"),
              "[0]: a.dat\t00000000 0000000f\n"
              "[1]: b.dat\t00000010 0000001f\n");
    EXPECT_EQ(list_banks(std::string(1023, 'x') + "yz"),
              std::string(1023, 'x') + "\nBad cfg format\nexit 1\n");
}

TEST(config, files_join_in_command_line_order) {
    const file_map inputs{{"a", "a.dat 20000000 2000000f\n"}, {"b", "b.dat 20000010 2000001f\n"}};
    const std::string a = "a.dat\t20000000 2000000f\n", b = "b.dat\t20000010 2000001f\n";
    EXPECT_EQ(terminal("bankimg -b -c a -Cb", inputs), "[0]: " + a + "[1]: " + b);
    EXPECT_EQ(terminal("bankimg -Cb -bca", inputs), "[0]: " + b + "[1]: " + a);
    EXPECT_EQ(terminal("bankimg -bcb | tail -n 2", inputs),
              "[8]: bank3.dat\t1fc00000 1fffffff\n[9]: " + b);
    // All that before it is noticed that no ELF file is named.
    EXPECT_EQ(run("bankimg -c missing").out, "Can't open file missing\n");
    EXPECT_EQ(run("bankimg -c missing").status, 1);
    EXPECT_EQ(run("bankimg -c .").err, "Can't read file .\n");
}

}  // namespace
