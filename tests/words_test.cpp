// bankimg-words: widths, lanes, gaps, lengths, and what is no image.
#include "test.h"

static std::string words(const std::string& options, const std::string& image) {
    return terminal("bankimg-words <a.dat " + options, {{"a.dat", image}});
}

// A line of an image whose bytes ascend from 00, 10 and so on.
static std::string line(const std::string& address, char high = '0') {
    std::string text = "03020100 07060504 0b0a0908 0f0e0d0c //";
    for (size_t i = 0; i < 35; i += i % 9 == 6 ? 3 : 2) text[i] = high;
    return text + address + "\n";
}

TEST(words, are_what_od_shows_in_every_width_and_lane) {
    const file_map inputs{{"fw.elf", elf_file({{".text", 0x18440000, ascending(256, 1)}})}};
    // Where each bit of a word is the parity of one check bit, these are the word.
    const std::string compare =
        "bankimg -w fw.elf\n"
        "od -An -v -w8 -tx$((bits / 8)) text.bin | tr -s ' ' '\\n' | grep . |"
        "    awk \"(NR - 1) % ${lane#*/} == ${lane%/*}\" >expected\n"
        "POSIXLY_CORRECT=1 bankimg-words pram0.dat -w $bits -l $lane | diff expected -\n"
        "sed 's/.*/&&/' expected >twice\n"
        "bankimg-words pram0.dat -w $bits -l $lane -c $masks | diff twice -";
    for (const size_t bits : {8U, 16U, 32U, 64U}) {
        std::string set = "bits=" + std::to_string(bits) + " masks=1";
        for (size_t i = 1; i < bits; i++) set += {',', "1248"[i % 4]}, set.append(i / 4, '0');
        for (const std::string lane : {"0/1", "1/2", "2/3", "7/8", "16/17"}) {
            EXPECT_EQ(terminal(set + " lane=" + lane + "\n" + compare, inputs), "");
        }
    }
    EXPECT_EQ(words("", line("18440000").substr(0, 46)),
              "03020100\n07060504\n0b0a0908\n0f0e0d0c\n");
}

// The last digit of an address does not count: the line has all words of its block.
TEST(words, records_tell_the_place_of_a_line_that_does_not_follow) {
    const std::string image =
        line("00000020") + line("00000038", '1') + line("00000058", '2') + line("00000000", '3');
    EXPECT_EQ(words("-a 0x00000000 -w 64", image),
              "@4\n0706050403020100\n0f0e0d0c0b0a0908\n1716151413121110\n1f1e1d1c1b1a1918\n"
              "@a\n2726252423222120\n2f2e2d2c2b2a2928\n@0\n3736353433323130\n3f3e3d3c3b3a3938\n");
    EXPECT_EQ(words("-a 0 -w 128 -l 1/3", line("00000010") + line("00000070")),
              "0f0e0d0c0b0a09080706050403020100\n@2\n0f0e0d0c0b0a09080706050403020100\n");
    EXPECT_EQ(words("-a 0 -w 8 -l 15/16", line("fffffff0")), "@fffffff\n0f\n");
    EXPECT_EQ(words("-w 8 -l 0/16", line("fffffff0") + line("00000000", '9')), "00\n90\n");
}

TEST(words, fill_a_memory_of_known_length) {
    const std::string image = line("1fffffe0", '1') + line("1fffffc8") + line("1fffffe0", '2');
    const std::string first = "0f0e0d0c0b0a09080706050403020100\n",
                      last = "2f2e2d2c2b2a29282726252423222120\n";
    const std::string filler = "0e0e0e0e0e0e0e0e0e0e0e0e0e0e0e0e\n";
    EXPECT_EQ(words("-w 128 -a 1FFFFFB0 -n 6 -f E", image),
              filler + first + filler + last + filler + filler);
    EXPECT_EQ(words("-w 8 -l 0/32 -a 1FFFFFB0 -e 0X1fffffef -f 0e", image), "0e\n0e\n");
    EXPECT_EQ(words("-w 32 -l 3/8 -a 1fffffc0 -e 1fffffff -f A5", image), "0f0e0d0c\n2f2e2d2c\n");
    EXPECT_EQ(words("-w 8 -a 0 -e 1869f | uniq -c", ""), " 100000 00\n");
}

TEST(words, have_check_bits_above_them) {
    EXPECT_EQ(words("-c ff,ff00,ff0000,ff000000", line("18440000")),
              "603020100\n907060504\n90b0a0908\n60f0e0d0c\n");
    EXPECT_EQ(words("-w 8 -l 0/4 -c 0,0 -n 6 -f 1 -c '~FF'", line("00000000")),
              "100\n004\n008\n10c\n001\n001\n");
    EXPECT_EQ(
        words("-w 128 -c 0x80000000000000000000000000000001,0,0,~0,F -a 0", line("00000010", '9')),
        "@1\n099f9e9d9c9b9a99989796959493929190\n");
}

static void refused(const std::string& options, const std::string& image, const std::string& why) {
    EXPECT_EQ(words(options + " >/dev/null", image), "bankimg-words: " + why + "\nexit 1\n");
}

TEST(words, refuse_what_is_no_image_or_does_not_fit) {
    const std::string good = line("18440000"), gap = good + line("18440020");
    const std::string not_a_line = ": not a line of an image";
    refused("", gap, "stdin:2: does not follow the line before: -a FIRST is needed");
    refused("-a 18440010", gap, "stdin:1: lies below the first address of -a");
    refused("-n 3", good, "stdin:1: needs 4 words, more than -n 3");
    refused("-a 18440000 -n 11", gap + good, "stdin:3: needs 12 words, more than -n 11");
    refused("-a 18440000 -e 1844000f -w 8 -l 3/4", gap,
            "stdin:2: needs 12 words, more than the 4 up to -e 1844000f");
    refused("missing.dat", "", "missing.dat: cannot be opened");
    refused(".", "", ".: cannot be read");
    refused("a.dat", "no image", "a.dat:1" + not_a_line);
    refused("", good + "\n", "stdin:2" + not_a_line);
    refused("", good + good.substr(0, 45), "stdin:2" + not_a_line);
    refused("", good.substr(0, 46) + "0", "stdin:1" + not_a_line);
    for (size_t i = 0; i < good.size(); i++) {  // any other character, in any place
        std::string image = good;
        image[i] = image[i] == ' ' ? '0' : ":`gA@G\xb0\xe1/"[i % 9];
        refused("", image, "stdin:1" + not_a_line);
    }
}

TEST(words, refuse_options_that_do_not_fit) {
    refused("-a 18440008", "", "-a 18440008: not a multiple of 16");
    refused("-f Ff", "", "-f Ff: -n or -e is missing");
    refused("-e f", "", "-e f: -a FIRST is missing");
    refused("-e f -a 0 -n 4", "", "-e f: cannot be combined with -n");
    refused("-e f -a 10", "", "-e f: lies below the first address of -a");
    refused("-e f -a 0 -l 0/3", "", "-e f: not a whole number of words of each lane");
    refused("-c 0,0x100 -w 8", "", "-c 0x100: wider than a word");
    const auto wrong = [](const std::string& option, const std::vector<std::string>& values,
                          const std::string& why) {
        for (const std::string& value : values) {
            refused(option + " '" + value + "'", "", option + " " + value + ": " + why);
        }
    };
    wrong("-a", {"", "0x", "g", "123456780", "1 0"}, "not a hexadecimal address");
    wrong("-c", {"", "1,", ",1", "1,,2", "~", "0x", "~~1", "g", std::string(33, '0')},
          "not hexadecimal masks with commas between them");
    std::string masks = "0";
    for (size_t i = 0; i < 64; i++) masks += ",0";
    wrong("-c", {masks}, "more than 64 masks");
    wrong("-f", {"", "100", "0g"}, "not a hexadecimal byte");
    wrong("-l", {"4/4", "2", "1/", "/2", "0/0", "0/2/3", "-1/2", "0/1000000000"},
          "not LANE/LANES, with LANE from 0 to LANES-1");
    wrong("-n", {"", "1k", "010", "1000000000"}, "not a number of words");
    wrong("-w", {"", "24", "0"}, "not 8, 16, 32, 64 or 128");
}

TEST(words, of_a_long_image_are_complete_or_end_with_a_message) {
    const file_map inputs{{"fw.elf", elf_file({{"a", 0, "a"}, {"b", 200000, "b"}})}};
    const std::string make = "bankimg fw.elf; ";
    EXPECT_EQ(
        terminal(make + "sed -i 12000s/0/x/ bank0.dat; bankimg-words bank0.dat >/dev/null", inputs),
        "bankimg-words: bank0.dat:12000: not a line of an image\nexit 1\n");
    for (const std::string args : {"bank0.dat", "-n 100000 bank0.dat", "-n 4 /dev/null"}) {
        EXPECT_EQ(terminal(make + "bankimg-words " + args + " >/dev/full", inputs),
                  "bankimg-words: cannot write: No space left on device\nexit 1\n");
    }
}

#ifndef __SANITIZE_ADDRESS__  // which needs more address space than the limit leaves
TEST(words, take_no_memory_for_what_the_image_does_not_have) {
    EXPECT_EQ(terminal("ulimit -v 60000; bankimg-words -w 8 -a 0 -e 3ffffff a.dat | tail -n 1",
                       {{"a.dat", line("03fffff0")}}),
              "0f\n");
}
#endif
