// Reading a file at an offset and writing a buffer, completely even where the system splits calls.
#pragma once

#include <cstddef>
#include <cstdint>

/// Reads `len` bytes at file offset `pos` into `buf`. Returns how many bytes the file delivered:
/// fewer at its end, none where it cannot be read at an offset (a pipe).
size_t read_at(int fd, uint64_t pos, void* buf, size_t len);

/// Reads a file through the block that was read last. Names and the bytes of small sections mostly
/// follow one another, so one read serves many of them.
struct block_reader {
    int fd = -1;
    uint64_t pos = 0;  // file offset of the block's first byte
    size_t len = 0;
    char block[4096] = {};

    /// Returns the bytes at file offset `at` and sets `count` to how many of them are in memory: 0
    /// only where the file delivers none.
    const char* peek(uint64_t at, size_t& count);

    /// Reads `count` bytes at file offset `at` into `buf`. Returns how many the file delivered.
    size_t read(uint64_t at, char* buf, size_t count);
};

/// Writes `len` bytes. Returns false, and errno says why, if the system refuses some of them.
bool write_all(int fd, const char* buf, size_t len);

/// Closes a file after writing to it. Returns `complete`, but false if the system reports an error
/// only now. Where it returns false, errno says why.
bool close_written(int fd, bool complete);
