// How a run ends early: with the usage text or with one message. Such a function ends the process
// with exit status 1; no error is returned up the call chain.
#pragma once

#include <cstdint>
#include <string>

/// The version line.
constexpr char version_line[] = "v.2.09 14/08/2013";

/// Returns the eight hexadecimal digits of an address, for a message.
std::string hex8(uint32_t address);

/// Prints the usage text with `name` as the program name on stdout and ends the process.
[[noreturn]] void usage(const char* name);

/// Prints the usage text of a program with more options than bankimg: `synopsis` names them all,
/// and the lines of `more` follow those of bankimg's own.
[[noreturn]] void usage(const char* name, const char* synopsis, const char* more);

/// Prints `message` and a newline on stderr, after all that was printed on stdout, and ends the
/// process.
[[noreturn]] void oops(const std::string& message);

/// Prints "Can't open file" and the path of an input file on stdout and ends the process.
[[noreturn]] void cant_open(const std::string& path);
