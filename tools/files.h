// The files that a run is going to write: which names mean one file, and why one cannot be written.
// Links, and a directory that is yet to be created, make this more than comparing names.
#pragma once

#include <filesystem>
#include <string>

namespace fs = std::filesystem;

/// Returns a key that is the same for all names of a file: its device and inode or, where there is
/// no file yet, its path from the root without links.
std::string identity(const fs::path& path);

/// Returns the errno with which writing a file fails, or 0. If `directory` is not null, it is
/// created before, with its parents.
int why_not_written(const std::string& path, const char* directory);
