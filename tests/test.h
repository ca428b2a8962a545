// Every test runs the built programs as a user does, in a directory of its own.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <map>

#include "elf_file.h"

using file_map = std::map<std::string, std::string>;  // name to content

/// Runs `command` with sh in a new directory that holds `inputs`; "bankimg" in it is the built one.
/// Returns what a terminal shows: both streams, then "exit N" if N is not 0.
std::string terminal(const std::string& command, const file_map& inputs = {});

/// Returns the block of text in the README or the manual that begins with `start`, or throws.
std::string documented(const std::string& start);
