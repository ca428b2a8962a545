// How a run ends early: with the usage text or with one message. Both end the process with
// exit status 1; nothing is handed back up the call chain.
#pragma once

/// Prints the usage text with `name` as the program name on stdout and ends the process.
[[noreturn]] void usage(const char* name);

/// Prints `message` and a newline on stderr, after all that was printed on stdout, and ends the
/// process.
[[noreturn]] void oops(const char* message);
