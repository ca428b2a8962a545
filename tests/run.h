// Runs the built program the way a user does: a shell command in a folder of its own.
#pragma once

#include <map>
#include <string>

using file_map = std::map<std::string, std::string>;  // name to content

struct outcome {
    int status;       // of the command; 128 and more after a signal
    std::string out;  // stdout
    std::string err;  // stderr
    file_map files;   // the folder afterwards, without input files that are as they were
};

/// Runs `command` with sh in a new folder that holds `inputs`; "bankimg" in it is the built one.
outcome run(const std::string& command, const file_map& inputs = {});

/// Runs "bankimg OPTIONS fw.elf" on the ELF file `elf`.
outcome run_elf(const std::string& options, const std::string& elf);

/// Gives back what a terminal shows of `command`: both streams, and "exit N" if N is not 0.
std::string terminal(const std::string& command, const file_map& inputs = {});

/// Gives back the block of the README's example text that begins with `start`.
std::string readme_block(const std::string& start);
