// bankimg-words: widths, lanes, gaps, lengths, and what is no image.
#include "test.h"

static std::string words(const std::string& options, const std::string& image) {
    return terminal("bankimg-words " + options, {{"a.dat", image}});
}

// A line of an image whose bytes ascend from 00, 10 and so on.
static std::string line(const std::string& address, char high = '0') {
    std::string text = "03020100 07060504 0b0a0908 0f0e0d0c //";
    for (size_t i = 0; i < 35; i += i % 9 == 6 ? 3 : 2) text[i] = high;
    return text + address + "\n";
}

TEST(words, are_what_od_shows_in_every_width_and_lane) {
    const file_map inputs{{"fw.elf", elf_file({{".text", 0x18440000, ascending(256, 1)}})}};
    const std::string compare =
        "bankimg -w fw.elf\n"
        "od -An -v -w8 -tx$((bits / 8)) text.bin | tr -s ' ' '\\n' | grep . |"
        "    awk \"(NR - 1) % ${lane#*/} == ${lane%/*}\" >expected\n"
        "POSIXLY_CORRECT=1 bankimg-words pram0.dat -w $bits -l $lane | diff expected -";
    for (const std::string bits : {"8", "16", "32", "64"}) {
        for (const std::string lane : {"0/1", "1/2", "2/3", "7/8", "16/17"}) {
            EXPECT_EQ(terminal("bits=" + bits + " lane=" + lane + "\n" + compare, inputs), "");
        }
    }
    EXPECT_EQ(words("<a.dat", line("18440000").substr(0, 46)),
              "03020100\n07060504\n0b0a0908\n0f0e0d0c\n");
}

// The last digit of an address does not count: the line has all words of its block.
TEST(words, records_tell_the_place_of_a_line_that_does_not_follow) {
    const std::string image =
        line("00000020") + line("00000038", '1') + line("00000058", '2') + line("00000000", '3');
    EXPECT_EQ(words("-a 0x00000000 -w 64 a.dat", image),
              "@4\n0706050403020100\n0f0e0d0c0b0a0908\n1716151413121110\n1f1e1d1c1b1a1918\n"
              "@a\n2726252423222120\n2f2e2d2c2b2a2928\n@0\n3736353433323130\n3f3e3d3c3b3a3938\n");
    EXPECT_EQ(words("-a 0 -w 128 -l 1/3 a.dat", line("00000010") + line("00000070")),
              "0f0e0d0c0b0a09080706050403020100\n@2\n0f0e0d0c0b0a09080706050403020100\n");
    EXPECT_EQ(words("-a 0 -w 8 -l 15/16 a.dat", line("fffffff0")), "@fffffff\n0f\n");
    EXPECT_EQ(words("-w 8 -l 0/16 a.dat", line("fffffff0") + line("00000000", '9')), "00\n90\n");
}

TEST(words, fill_a_memory_of_known_length) {
    const std::string image = line("1fffffe0", '1') + line("1fffffc8") + line("1fffffe0", '2');
    const std::string first = "0f0e0d0c0b0a09080706050403020100\n",
                      last = "2f2e2d2c2b2a29282726252423222120\n";
    const std::string filler = "0e0e0e0e0e0e0e0e0e0e0e0e0e0e0e0e\n";
    EXPECT_EQ(words("-w 128 -a 1FFFFFB0 -n 6 -f E a.dat", image),
              filler + first + filler + last + filler + filler);
    EXPECT_EQ(words("-w 8 -l 0/32 -a 1FFFFFB0 -e 0X1fffffef -f 0e a.dat", image), "0e\n0e\n");
    EXPECT_EQ(words("-w 32 -l 3/8 -a 1fffffc0 -e 1fffffff -f A5 a.dat", image),
              "0f0e0d0c\n2f2e2d2c\n");
    EXPECT_EQ(words("-w 8 -a 0 -e 0 </dev/null", ""), "00\n");
}

TEST(words, refuse_what_is_no_image_or_does_not_fit) {
    const std::string good = line("18440000"), gap = good + line("18440020");
    const std::string not_a_line = ": not a line of an image";
    std::vector<std::tuple<std::string, std::string, std::string>> cases{
        {"", gap, "a.dat:2: does not follow the line before: -a FIRST is needed"},
        {"-a 18440010", gap, "a.dat:1: lies below the first address of -a"},
        {"-n 3", good, "a.dat:1: needs 4 words, more than -n 3"},
        {"-a 18440000 -n 11", gap + good, "a.dat:3: needs 12 words, more than -n 11"},
        {"-a 18440000 -e 1844000f -w 8 -l 3/4", gap,
         "a.dat:2: needs 12 words, more than the 4 up to -e 1844000f"},
        {"missing.dat", "", "missing.dat: cannot be opened"},
        {".", "", ".: cannot be read"},
        {"<a.dat", "no image", "stdin:1" + not_a_line},
        {"", good + "\n", "a.dat:2" + not_a_line},
        {"", good + good.substr(0, 45), "a.dat:2" + not_a_line},
        {"", good.substr(0, 46) + "0", "a.dat:1" + not_a_line},
        {"-w 24", "", "-w 24: not 8, 16, 32, 64 or 128"},
        {"-n 1k", "", "-n 1k: not a number of words"},
        {"-n 010", "", "-n 010: not a number of words"},
        {"-n 1000000000", "", "-n 1000000000: not a number of words"},
        {"-a 18440008", "", "-a 18440008: not a multiple of 16"},
        {"-f 100 -n 1", "", "-f 100: not a byte of two hexadecimal digits"},
        {"-f Ff", "", "-f Ff: -n or -e is missing"},
        {"-e f", "", "-e f: -a FIRST is missing"},
        {"-e f -a 0 -n 4", "", "-e f: -n tells the length, too"},
        {"-e f -a 10", "", "-e f: lies below the first address of -a"},
        {"-e f -a 0 -l 0/3", "", "-e f: not a whole number of words of each lane"},
    };
    for (size_t i = 0; i < good.size(); i++) {  // any other character, in any place
        std::string image = good;
        image[i] = image[i] == ' ' ? '0' : ":`gA@G\xb0\xe1/"[i % 9];
        cases.push_back({"", image, "a.dat:1" + not_a_line});
    }
    for (const std::string lanes :
         {"4/4", "2", "1/", "/2", "0/0", "0/2/3", "-1/2", "0/1000000000"}) {
        const std::string option = "-l " + lanes;
        cases.push_back({option, "", option + ": not LANE/LANES, with LANE from 0 to LANES-1"});
    }
    for (const std::string addr : {"", "0x", "g", "123456780", "1 0"}) {
        cases.push_back({"-a '" + addr + "'", "", "-a " + addr + ": not a hexadecimal address"});
    }
    for (const auto& [options, image, message] : cases) {
        const bool names_image = options.find_first_of(".<") != std::string::npos;
        EXPECT_EQ(words(options + (names_image ? "" : " a.dat") + " >/dev/null", image),
                  "bankimg-words: " + message + "\nexit 1\n")
            << options;
    }
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
