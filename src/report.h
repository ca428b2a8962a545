// How a run ends early: with the usage text or with one message. Each of these ends the process
// with exit status 1; no error is returned up the call chain.
#pragma once

#include <string>

/// Prints the usage text with `name` as the program name on stdout and ends the process.
[[noreturn]] void usage(const char* name);

/// Prints `message` and a newline on stderr, after all that was printed on stdout, and ends the
/// process.
[[noreturn]] void oops(const std::string& message);

/// Prints "Can't open file" and the path of an input file on stdout and ends the process.
[[noreturn]] void cant_open(const std::string& path);
