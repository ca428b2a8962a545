// Bank configuration files: their grammar, every error, and how they join.
#include <gtest/gtest.h>

#include "elf_file.h"
#include "run.h"
#include "xstring.h"

using namespace std::string_literals;

namespace {

// "bankimg -C a.cfg -b", both streams in one.
outcome list_banks(const std::string& config) {
    return run("bankimg -C a.cfg -b 2>&1", {{"a.cfg", config}});
}

// What is printed above an error that shows the list: always one bank, named first.
const std::string first = "first.dat 1000 1fff\n";
const std::string first_listed = "[0]: first.dat\t00001000 00001fff\n";

TEST(config, a_bank_a_line) {
    EXPECT_EQ(list_banks("# comment only\n"
                         "\n"
                         " \t \n"
                         "a.dat 0x0 0xF\n"
                         "\t b.dat\t10  1f text\r\n"
                         "c.dat 0x20 2F data 0 ignored # comment\n"
                         "d.dat 30 \r3f;comment\n"
                         "\fe.dat\v 0xFFFFfff0 ffffffff x y")
                  .out,
              "[0]: a.dat\t00000000 0000000f\n"
              "[1]: b.dat\t00000010 0000001f (text,)\n"
              "[2]: c.dat\t00000020 0000002f (data,0)\n"
              "[3]: d.dat\t00000030 0000003f\n"
              "[4]: \fe.dat\v\tfffffff0 ffffffff (x,y)\n");
    EXPECT_EQ(list_banks("").out, "");
    // The text of a line ends at a zero byte.
    EXPECT_EQ(list_banks("a.dat 0x 1\0b.dat\n\0x\nc.dat 2 3\0"s).out,
              "[0]: a.dat\t00000000 00000001\n"
              "[1]: c.dat\t00000002 00000003\n");
}

TEST(config, errors_show_the_line_as_it_was_read) {
    const auto error = [](const std::string& line) {
        const outcome got = list_banks(first + line + "\n");
        EXPECT_EQ(got.status, 1) << line;
        return got.out;
    };
    EXPECT_EQ(error(" a.dat;x 0 10\r"), " a.dat;x 0 10\nBad cfg format\n");
    EXPECT_EQ(error("a.dat 0 # 10"), "a.dat 0 # 10\nBad cfg format\n");
    for (const char* hex :
         {"0X100", "000000000", "0x000000000", "12g", "-1", "+1", "0x0x1", "1h"}) {
        const std::string line = "a.dat " + std::string(hex) + " ffffffff";
        EXPECT_EQ(error(line), line + "\nBad hex format\n");
    }
    EXPECT_EQ(error("a.dat 1 x"), "a.dat 1 x\nBad hex format\n");
    EXPECT_EQ(error("a.dat 100 100"), first_listed + "a.dat 100 100\nBad range\n");
    EXPECT_EQ(error("a.dat 0x 0"), first_listed + "a.dat 0x 0\nBad range\n");
    EXPECT_EQ(error("FIRST.dat 200 100"), first_listed + "FIRST.dat 200 100\nBad range\n");
    for (const char* clash : {"First.DAT 0 10", "a.dat 0 1000", "a.dat 1fff 2000",
                              "a.dat 1200 1300", "a.dat 0 ffffffff", "a.dat 1000 1fff"}) {
        EXPECT_EQ(error(clash), first_listed + clash + "\nOverlapped banks\n");
    }
    EXPECT_EQ(list_banks(first + "a.dat 0 fff\nb.dat 2000 2001\n").status, 0);
}

TEST(config, long_lines_are_read_in_pieces) {
    const std::string blanks(1023 - strlen("a.dat 0 f"), ' ');
    EXPECT_EQ(list_banks("a.dat 0 f" + blanks + "b.dat 10 1f\n").out,
              "[0]: a.dat\t00000000 0000000f\n"
              "[1]: b.dat\t00000010 0000001f\n");
    EXPECT_EQ(list_banks(std::string(1023, 'x') + "yz").out,
              std::string(1023, 'x') + "\nBad cfg format\n");
}

TEST(config, files_join_in_command_line_order) {
    const file_map inputs{{"a", "a.dat 20000000 2000000f\n"}, {"b", "b.dat 20000010 2000001f\n"}};
    const std::string a = "a.dat\t20000000 2000000f\n", b = "b.dat\t20000010 2000001f\n";
    EXPECT_EQ(run("bankimg -b -c a -Cb", inputs).out, "[0]: " + a + "[1]: " + b);
    EXPECT_EQ(run("bankimg -Cb -bca", inputs).out, "[0]: " + b + "[1]: " + a);
    EXPECT_EQ(run("bankimg -bcb | tail -n 2", inputs).out,
              "[8]: bank3.dat\t1fc00000 1fffffff\n[9]: " + b);
    const file_map clash{{"a", "PRAM0.DAT 20000000 2000000f\n"}};
    EXPECT_EQ(run("bankimg -c a -b", clash).err, "PRAM0.DAT 20000000 2000000f\nOverlapped banks\n");
}

TEST(config, files_are_read_before_the_elf_file_is_missed) {
    EXPECT_EQ(run("bankimg -c missing -b").out, "Can't open file missing\n");
    EXPECT_EQ(run("bankimg -c missing").status, 1);
    EXPECT_EQ(run("bankimg -c .").err, "Can't read file .\n");
    EXPECT_EQ(run("bankimg -C a", {{"a", "x\n"}}).err, "x\nBad cfg format\n");
}

TEST(config, first_bank_that_fits_takes_the_section) {
    const std::string elf = elf_file({{"A", 0x10, "A"}, {"B", 0x18, "B"}});
    const std::string banks =
        "first.dat 80000010 8000001f pre\n"
        "never.dat 00000000 20000010 pre 0\n";  // its masked end is 10, so that it holds A too
    const outcome got =
        run("bankimg -n -C banks.cfg fw.elf", {{"fw.elf", elf}, {"banks.cfg", banks}});
    EXPECT_EQ(got.files,
              (file_map{{"pre_fw.dat", "00000041 00000000 00000042 00000000 //00000010\n"}}));
}

TEST(config, text_of_a_line) {
    xstring text = "\t  a b\f \t";
    text.trim();
    EXPECT_EQ(text, "a b\f");
    text = " \t ";
    text.trim();
    EXPECT_EQ(text, "");
    std::vector<std::string> fields{"old"};
    EXPECT_FALSE(xstring(" \t").tokenize(fields));
    EXPECT_TRUE(fields.empty());
    EXPECT_TRUE(xstring("\ta  b\t").tokenize(fields));
    EXPECT_EQ(fields, (std::vector<std::string>{"a", "b"}));
}

}  // namespace
